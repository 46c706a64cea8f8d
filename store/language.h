#pragma once
#include <QString>

// The current language: the abbreviation of the language being edited. Set to
// the main language at open and at creation, empty after close; the import of
// a language sets it for a moment to the language it brings in.
const QString& currentLanguage();
void setCurrentLanguage(const QString& abbreviation);
