#pragma once
// Pieces shared by the publishing dialogs: placing a dialog over the main
// window, colour swatches, and the file, colour and address choosers, which
// tests replace.
#include <QColor>
#include <QString>
#include <QUrl>

#include <cstdint>
#include <functional>
#include <optional>

class QAbstractButton;
class QFileDialog;
class QWidget;

namespace dialogsupport {

// Centres the dialog on the main window when it fits inside it; otherwise
// it takes the main window's left or top.
void centreOnMainWindow(QWidget* dialog);

// Colour numbers carry red in the low byte.
QColor toColor(int32_t number);
int32_t toNumber(const QColor& color);
// Shows the colour on a swatch button.
void paintSwatch(QAbstractButton* swatch, int32_t number);

// A file chooser: nullopt for Cancel, otherwise the name (possibly empty).
// The filter is in Qt's form ("Name (*.a *.b);;Other (*.*)").
using FileAskFn = std::function<std::optional<QString>(QWidget* parent, const QString& folder,
                                                       const QString& filter)>;
// A colour chooser that starts at the colour given; false for Cancel.
using ColorAskFn = std::function<bool(QWidget* parent, QColor& color)>;
// Hands a file or an address to the desktop's default application.
using OpenUrlFn = std::function<bool(const QUrl& url)>;

// Runs a file dialog of a purpose ("project", "image", ...): it opens in
// the folder last used for that purpose unless the caller gave one, in the
// size the user last left it, and remembers both. The desktop's own dialog
// is used where the platform offers one. The first chosen path, or
// nullopt for Cancel.
std::optional<QString> execFileDialog(QFileDialog& dlg, const QString& purpose, const QString& folder = {});

std::optional<QString> askOpenFile(QWidget* parent, const QString& folder, const QString& filter);
std::optional<QString> askSaveFile(QWidget* parent, const QString& folder, const QString& filter);
bool askColor(QWidget* parent, QColor& color);
bool openUrl(const QUrl& url);

} // namespace dialogsupport
