#include "editagent.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

namespace {

QString resourceText(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly)) {
        qWarning("editagent: the page script %s is missing", qPrintable(path));
        return {};
    }
    return QString::fromUtf8(f.readAll());
}

// Read once: the resource does not change while the program runs.
const QString& keysPrelude()
{
    static const QString prelude = [] {
        const QByteArray json = QJsonDocument::fromJson(resourceText(QStringLiteral(":/js/keys.json")).toUtf8())
                                    .toJson(QJsonDocument::Compact);
        return QStringLiteral("(window.quillary = window.quillary || {}).keys = %1;\n")
            .arg(QString::fromUtf8(json));
    }();
    return prelude;
}

} // namespace

namespace editagent {

QString pageScript(const QString& file)
{
    const QString text = resourceText(QStringLiteral(":/js/") + file);
    return text.isEmpty() ? QString() : keysPrelude() + text;
}

QString script()
{
    static const QString s = pageScript(QStringLiteral("editagent.js"));
    return s;
}

QString surfaceScript()
{
    static const QString s =
        pageScript(QStringLiteral("context.js")) + QLatin1Char('\n') + pageScript(QStringLiteral("surface.js"));
    return s;
}

QString callExpression(const QString& function, const QVariantList& args)
{
    // A JSON array is a JavaScript array literal; spread, it is the arguments.
    const QByteArray json = QJsonDocument(QJsonArray::fromVariantList(args)).toJson(QJsonDocument::Compact);
    return QStringLiteral("%1(...%2)").arg(function, QString::fromUtf8(json));
}

} // namespace editagent
