#pragma once
// The pictures of the desktop program, drawn in code so that they stay sharp
// at any scale and need no resource files: the tree's image list, the
// toolbar buttons and the window icon.
#include <QIcon>
#include <QPixmap>
#include <QString>

namespace appicons {

// Image of the tree's image list by its index (1 to 8); a null icon for 0.
QIcon treeImage(int index);
// The same as a pixmap of the given logical size (status bar picture).
QPixmap treePixmap(int index, int size = 16);
// Toolbar button by its key ("Save", "Topic Title", "Align Left", ...).
QIcon toolbarIcon(const QString& key);
QIcon windowIcon();

} // namespace appicons
