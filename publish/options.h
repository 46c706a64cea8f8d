#pragma once
// The settings dialog frmOptions as a model: the HTML Help compiler's path
// and the three colours of conf.xml, with the dialog's checks.
#include <QString>

#include <cstdint>

class MsgBox;
class cConfigFile;

class cOptions {
public:
    explicit cOptions(MsgBox& box) : m_box(box) {}

    // Opening: reads conf.xml (the user's copy unless a path is given).
    bool formLoad(const QString& confPath = QString());

    QString txtFile;      // the compiler's path
    int32_t picOnline = 0; // colour numbers, red in the low byte
    int32_t picPrint = 0;
    int32_t picAnchor = 0;

    // cmdOpen with the file the file dialog returned ("" for Cancel).
    void cmdOpen(const QString& chosen);
    // cmdAutoFind: looks for chmcmd on PATH.
    bool cmdAutoFind();
    // cmdOK: true when the settings were saved and the dialog closes.
    bool cmdOK();

    // Texts of the dialog.
    static QString downloadPackage() { return QStringLiteral("fp-utils"); }
    static QString downloadText();
    static QString placementText();

    // The conversions of the colour pictures.
    static int32_t textToColor(const QString& rrggbb);
    static QString colorToText(int32_t value);

private:
    bool checkFile(const QString& path);
    MsgBox& m_box;
    QString m_confPath;
};

// The look-up of the start: with an empty mshhw, chmcmd found on PATH is
// stored. Returns the compiler's path afterwards.
QString lookUpHHCompiler(cConfigFile& conf);
