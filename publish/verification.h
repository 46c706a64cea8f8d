#pragma once
// The verification report frmVerify as a model: four HTML pages about every
// language of a project (unfinished topics, missing images) and the main
// language's images (used, redundant).
#include <QString>
#include <QStringList>

#include <array>
#include <functional>

class cProject;
class MsgBox;

class cVerification {
public:
    enum Page { Topics = 0, Missing = 1, All = 2, Redundant = 3 };

    cVerification(cProject& project, MsgBox& box) : m_project(project), m_box(box) {}
    ~cVerification();

    // Builds the four texts (the form's load). going, when given, is told
    // how many languages are done of all before each and after the last;
    // false stops the build (false is returned then).
    bool build(const std::function<bool(int done, int total)>& going = {});
    QString page(Page p) const { return m_pages[p]; }
    static QString caption(Page p);

    // Writes the four pages as files in the system's temporary folder, the
    // form's way; they are removed by unload() or the destructor.
    bool writeTemporaryFiles();
    QString temporaryFile(Page p) const { return m_files[p]; }
    void unload();

    // Writes the four pages into a folder under fixed names; returns the paths
    // written, and the reason of the first failure in *error.
    QStringList writePages(const QString& folder, QString* error = nullptr) const;
    static QString pageFileName(Page p);

private:
    void languageStep(const QString& language, bool main);
    cProject& m_project;
    MsgBox& m_box;
    std::array<QString, 4> m_pages;
    std::array<QString, 4> m_files;
};
