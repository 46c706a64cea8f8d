#include "publishpaths.h"

#include "paths.h"

namespace publishpaths {

namespace {
QString& fontOverride()
{
    static QString p;
    return p;
}
}

QString fontConfigurationFile()
{
    if (!fontOverride().isEmpty())
        return fontOverride();
    return paths::configFolder() + QStringLiteral("/fop/fonts/conf.xml");
}

void setFontConfigurationFile(const QString& path)
{
    fontOverride() = path;
}

QString quillaryXsl()
{
    return paths::programFolder() + QStringLiteral("/quillary.xsl");
}

QString docbookLayerXsl(bool html)
{
    return paths::programFolder() +
           (html ? QStringLiteral("/docbook-layer-html.xsl") : QStringLiteral("/docbook-layer.xsl"));
}

QString webhelpXsl()
{
    return paths::programFolder() + QStringLiteral("/webhelp.xsl");
}

QString webhelpImage(const QString& name)
{
    return paths::programFolder() + QLatin1Char('/') + name;
}

} // namespace publishpaths
