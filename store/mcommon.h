#pragma once
// The module of common routines.
#include <QList>
#include <QString>

#include <utility>

class MsgBox;

namespace mCommon {

// The system's temporary folder, with a closing slash.
QString getTempFolder();

// "&" -> "&amp;", then "<" -> "&lt;", then ">" -> "&gt;"; quotes stay.
QString escapeXML(const QString& text);
// escapeXML plus '"' -> "&quot;": for attribute values written in double
// quotes, which a value holding a quote would otherwise break.
QString escapeXMLAttribute(const QString& text);
// The same two on UTF-8 bytes, appending to out.
void escapeXMLTo(std::string& out, std::string_view text);
void escapeXMLAttributeTo(std::string& out, std::string_view text);

// If url begins with "file://" followed by base, the rest; else url.
QString stripFileURL(const QString& url, const QString& base);

// True if the text holds none of "<", "&", ">"; otherwise an exclamation box
// naming the field, and false.
bool checkXMLChars(const QString& text, const QString& fieldName, MsgBox& box);
// A form's required fields, by their labels: when any is empty, the message
// followed by a line naming the empty ones ("Empty: Author, Version.").
// Empty when all are filled.
QString emptyFieldsMessage(const QString& message, const QList<std::pair<QString, QString>>& labelledValues);
// Its message for text, or "" when the text passes.
QString xmlCharsProblem(const QString& text, const QString& fieldName);

// Second component of a tree path split at backslashes.
QString getChapterFromPath(const QString& fullPath);

// True when the file system holding path can be reached and has more than
// 1,048,576 bytes free.
bool hasFreeSpace(const QString& path);
// The message for a failed hasFreeSpace on that path.
QString freeSpaceMessage(const QString& path);
// hasFreeSpace, showing the message on failure.
bool checkFreeSpace(const QString& path, MsgBox& box);

// Date, one blank, time, in the system's short formats.
QString nowStamp();
QString nowDate();
QString nowTime();

} // namespace mCommon
