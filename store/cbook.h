#pragma once
#include "cstack.h"

#include <QString>

// Book properties, passed to and from the book dialogs.
class cBook {
public:
    QString MainLangAbbrev;
    QString MainLangName;
    cStack LangAbrevs;
    cStack LangNames;
    QString ProjectFile;
    QString BookFile;
    QString BookTime;
    QString BookDate;
    QString Version;
    QString CoverImage;
    QString Author;
    QString Title;
};
