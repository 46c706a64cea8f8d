#pragma once
#include "xmlsafety.h"

class MsgBox;

// The error handler given to every SAX reader: a fatal error shows a stop box.
class cSAXErrorHandler {
public:
    explicit cSAXErrorHandler(MsgBox& box) : m_box(box) {}
    void fatalError(const xmlsafe::XmlError& error);
    static QString messageFor(const xmlsafe::XmlError& error);
    bool failed() const { return m_failed; }

private:
    MsgBox& m_box;
    bool m_failed = false;
};
