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

QString docbookLayerXsl(const QString& format)
{
    const QString name = format == QLatin1String("PDF")          ? QStringLiteral("/docbook-layer.xsl")
                         : format == QLatin1String("HH")         ? QStringLiteral("/docbook-layer-hh.xsl")
                         : format == QLatin1String("HTMLFrames") || format == QLatin1String("WebHelp")
                             ? QStringLiteral("/docbook-layer-chunk.xsl")
                                                                 : QStringLiteral("/docbook-layer-html.xsl");
    return paths::programFolder() + name;
}

QString outputLayerXsl(const QString& format)
{
    const QString name = format == QLatin1String("PDF")          ? QStringLiteral("/output-fo.xsl")
                         : format == QLatin1String("HH")           ? QStringLiteral("/output-pages.xsl")
                         : format == QLatin1String("HTMLFrames") || format == QLatin1String("WebHelp")
                             ? QStringLiteral("/output-frames.xsl")
                                                                 : QStringLiteral("/output-html.xsl");
    return paths::programFolder() + name;
}

QString partsXsl(bool pages)
{
    return paths::programFolder() +
           (pages ? QStringLiteral("/docbook-parts-pages.xsl") : QStringLiteral("/docbook-parts.xsl"));
}

QString webhelpXsl()
{
    return paths::programFolder() + QStringLiteral("/webhelp.xsl");
}

QString webhelpPagesXsl()
{
    return paths::programFolder() + QStringLiteral("/webhelp-pages.xsl");
}

QString dataFile(const QString& name)
{
    return paths::programFolder() + QLatin1Char('/') + name;
}

QString webhelpImage(const QString& name)
{
    return paths::programFolder() + QLatin1Char('/') + name;
}

QString epubXsl()
{
    return paths::programFolder() + QStringLiteral("/epub.xsl");
}

} // namespace publishpaths
