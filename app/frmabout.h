#pragma once
// The about box: product name and version.
#include <QDialog>

class QLabel;
class QPushButton;

class frmAbout : public QDialog {
    Q_OBJECT
public:
    explicit frmAbout(QWidget* parent = nullptr);

    static QString productName();
    static QString version();

    QLabel* lblProduct;
    QLabel* lblVersion;
    QPushButton* cmdOK;
};
