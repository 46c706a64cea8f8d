#include "webenginesetup.h"

#include <QApplication>
#include <QMainWindow>

int main(int argc, char** argv)
{
    prepareWebEngine();
    QApplication app(argc, argv);
    QMainWindow w;
    w.setObjectName(QStringLiteral("frmMain"));
    w.setWindowTitle(QStringLiteral("Quillary Author"));
    w.resize(900, 600);
    w.show();
    return app.exec();
}
