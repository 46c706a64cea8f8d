#pragma once
// The logic behind the new-project form and createProject: checks, messages
// and the files a new project starts with.
#include <QString>
#include <QStringList>

#include <vector>

class MsgBox;
class cBook;

struct LanguageEntry {
    QString name;
    QString abbrev;
    QString wordcode;
};

// Reads langs.xml from the program folder (or the given path). On failure
// shows "File with available languages is missing! ..." or "... damaged!".
bool loadLanguageList(std::vector<LanguageEntry>& out, MsgBox& box, const QString& path = {});

// The fields of the new-project form.
struct BookForm {
    QString title, author, version, date, time;
    QString mainLang, mainAbbrev;
    QStringList otherNames, otherAbbrevs;
};

// The form's "Add" button: adds name and abbreviation to the other
// languages unless either is empty, already listed (case-insensitive) or the
// main language. Gives no message in any case; true when added.
bool addOtherLanguage(BookForm& form, const QString& name, const QString& abbrev);

// The checks of the form's "Insert" button before the path is asked, in
// order; fills the book. False after showing the message of the first check
// that fails.
bool checkBookForm(const BookForm& form, cBook& book, MsgBox& box);

// The checks on the chosen project path: the file and the project folder
// must not exist.
bool checkProjectPath(const QString& path, MsgBox& box);

// The project folder of a project file: its path without the last extension, with "/".
QString projectFolderOf(const QString& projectFile);

// Writes the folders, the book file and the project file of a new project.
// Tests free space first. False after a message; nothing is left half-made.
bool createProjectFiles(const cBook& book, MsgBox& box);

// The texts of a new project file and book file (one line, no line end).
QString newProjectFileText(const cBook& book);

// The declaration and document type a project file starts with.
extern const char* const kProjectFileHead;
