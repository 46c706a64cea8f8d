#pragma once
// What the desktop program remembers between runs: the recent projects, the
// window's layout, the tree and topic of each project, the folders and sizes
// of its dialogs. An INI file in the user's configuration folder, written by
// QSettings (which replaces the file whole and locks it against a second
// program writing at the same moment).
#include "booktree.h"

#include <QByteArray>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>

class QSettings;

class DesktopSettings {
public:
    static constexpr int kMaxRecent = 8;
    // How many projects keep their tree and topic.
    static constexpr int kMaxProjectStates = 32;

    // Empty: "quillary-author.conf" in the configuration folder.
    explicit DesktopSettings(const QString& file = {});
    ~DesktopSettings();
    DesktopSettings(const DesktopSettings&) = delete;
    DesktopSettings& operator=(const DesktopSettings&) = delete;

    QString fileName() const;
    // Writes what changed to the disk now.
    void sync();
    // Forgets everything.
    void clear();

    // Recent projects, the latest first; a project whose file is gone is
    // listed with exists false until it is removed.
    struct Recent {
        QString path;
        bool exists = false;
    };
    QList<Recent> recentProjects() const;
    // Puts a project at the top (once: the same file under another spelling
    // of its path counts as the same), keeping the last kMaxRecent.
    void addRecent(const QString& projectFile);
    void removeRecent(const QString& projectFile);
    // Removes every project whose file is gone; returns how many.
    int removeMissing();

    // Whether the last project opens again at start.
    bool reopenLast() const;
    void setReopenLast(bool on);
    // The project to open at start: the latest recent one when the user
    // chose so and its file is there; empty otherwise.
    QString projectToReopen() const;

    // The main window's layout, as Qt saves it.
    QByteArray windowGeometry() const;
    void setWindowGeometry(const QByteArray& data);
    QByteArray windowState() const;
    void setWindowState(const QByteArray& data);
    QByteArray splitterState() const;
    void setSplitterState(const QByteArray& data);

    // A project's tree and topic as the user left them.
    struct ProjectState {
        QStringList expanded; // node identities (nodeIdentity)
        QString openTopic;    // node identity of the topic on the page
        bool operator==(const ProjectState&) const = default;
    };
    ProjectState projectState(const QString& projectFile) const;
    void setProjectState(const QString& projectFile, const ProjectState& state);

    // The folder a file dialog of a purpose ("open", "image", ...) last
    // used; empty when none or when it is gone.
    QString lastFolder(const QString& purpose) const;
    void setLastFolder(const QString& purpose, const QString& folderOrFile);
    // A dialog's size as the user left it; invalid when unknown.
    QSize dialogSize(const QString& dialog) const;
    void setDialogSize(const QString& dialog, const QSize& size);

    // The same file under one spelling: absolute, clean, links resolved
    // where the file exists.
    static QString canonical(const QString& projectFile);

private:
    QString projectGroup(const QString& projectFile) const;
    std::unique_ptr<QSettings> m_settings;
};

// A node of the book tree by something that survives a new run: its id, or
// for a node without one (the book, a top-level chapter) its path of texts.
QString nodeIdentity(const NodePtr& node);
// The node of an identity in a tree; null when it is not there.
NodePtr nodeByIdentity(const BookTree& tree, const QString& identity);
