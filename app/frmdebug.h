#pragma once
// A bare list of lines for looking into the program while it runs.
#include <QDialog>
#include <QString>

class QListWidget;

class frmDebug : public QDialog {
    Q_OBJECT
public:
    explicit frmDebug(QWidget* parent = nullptr);

    // Appends a line and keeps it in view.
    void add(const QString& line);

    QListWidget* lstDebug;
};
