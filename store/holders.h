#pragma once
// Value holders that dialogs hand results back through.
#include <QString>
#include <cstdint>

class cString {
public:
    QString TextString;
};

class cLong {
public:
    int32_t Value = 0;
};

class cOKorCancel {
public:
    bool Change = false;
};
