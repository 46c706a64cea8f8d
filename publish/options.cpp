#include "options.h"

#include "cconfigfile.h"
#include "msgbox.h"
#include "outputproperties.h"
#include "paths.h"
#include "processrunner.h"

#include <QFileInfo>

bool cOptions::formLoad(const QString& confPath)
{
    m_confPath = confPath.isEmpty() ? paths::settingsFile(QStringLiteral("conf.xml")) : confPath;
    cConfigFile conf(m_box);
    if (!conf.Load(m_confPath))
        return false;
    txtFile = conf.getHHWFile();
    picOnline = textToColor(conf.getOnlineColor());
    picPrint = textToColor(conf.getPrintColor());
    picAnchor = textToColor(conf.getAnchorColor());
    return true;
}

bool cOptions::checkFile(const QString& path)
{
    QFileInfo fi(path);
    if (!fi.exists() || !fi.isFile()) {
        m_box.exclamation(QStringLiteral("File does not exist!"));
        return false;
    }
    if (!fi.isExecutable()) {
        m_box.exclamation(QStringLiteral("File is not executable!"));
        return false;
    }
    return true;
}

void cOptions::cmdOpen(const QString& chosen)
{
    if (chosen.isEmpty())
        return;
    if (checkFile(chosen))
        txtFile = chosen;
}

bool cOptions::cmdAutoFind()
{
    QString found = findOnPath(QStringLiteral("chmcmd"));
    if (!found.isEmpty() && QFileInfo(found).isFile()) {
        txtFile = found;
        m_box.info(QStringLiteral("HTML Help compiler has been found successfully."));
        return true;
    }
    m_box.exclamation(QStringLiteral("Unable to locate HTML Help compiler! Most likely you will need to install it."));
    return false;
}

bool cOptions::cmdOK()
{
    if (txtFile.isEmpty())
        return false;
    if (!checkFile(txtFile))
        return false;
    cConfigFile conf(m_box);
    if (!conf.Load(m_confPath.isEmpty() ? paths::settingsFile(QStringLiteral("conf.xml")) : m_confPath))
        return false;
    conf.setHHWFile(txtFile);
    conf.setOnlineColor(colorToText(picOnline));
    conf.setPrintColor(colorToText(picPrint));
    conf.setAnchorColor(colorToText(picAnchor));
    return true;
}

QString cOptions::downloadText()
{
    return QStringLiteral("If you cannot find \"chmcmd\", you need to install the Debian package ") +
           downloadPackage() + QStringLiteral(".");
}

QString cOptions::placementText()
{
    return QStringLiteral("You need the HTML Help compiler to create HTML Help. Please correctly specify "
                          "placement of it's command line compiler \"chmcmd\".");
}

int32_t cOptions::textToColor(const QString& rrggbb)
{
    return cOutputProperties::hexToColor(rrggbb);
}

QString cOptions::colorToText(int32_t value)
{
    return cOutputProperties::colorToHex(value);
}

QString lookUpHHCompiler(cConfigFile& conf)
{
    if (conf.getHHWFile().isEmpty()) {
        QString found = findOnPath(QStringLiteral("chmcmd"));
        if (!found.isEmpty() && QFileInfo(found).isFile())
            conf.setHHWFile(found);
    }
    return conf.getHHWFile();
}
