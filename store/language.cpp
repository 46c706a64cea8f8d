#include "language.h"

namespace {
QString& slot()
{
    static QString s;
    return s;
}
}

const QString& currentLanguage()
{
    return slot();
}

void setCurrentLanguage(const QString& abbreviation)
{
    slot() = abbreviation;
}
