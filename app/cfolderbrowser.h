#pragma once
// Choosing a folder: the desktop's folder dialog with a title over an owner.
#include <QString>

#include <functional>

class QWidget;

class cFolderBrowser {
public:
    // The chosen folder's path, or "" when none was chosen.
    static QString Browse(const QString& title, QWidget* owner);

    // The same call made replaceable, for tests and scripts.
    using BrowseFn = std::function<QString(const QString& title, QWidget* owner)>;
};
