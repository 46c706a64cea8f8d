#include "elementhtml.h"

#include <QStringList>

#include <cmath>

namespace elementhtml {

QString anchorHTML(const QString& id)
{
    return QStringLiteral("<a name=\"") + id + QStringLiteral("\" class=\"anchor\">anchor description</a>");
}

QString linkHTML(const cLink& link)
{
    if (link.IsLocal)
        return QStringLiteral("<a href=\"") + link.Reference + QStringLiteral("\" target=\"local\">link to ") +
               link.Reference + QStringLiteral("</a>");
    return QStringLiteral("<a href=\"") + link.Reference + QStringLiteral("\" target=\"web\">") + link.WebLabel +
           QStringLiteral("</a>");
}

QString imageHTML(const cImage& image)
{
    QString html;
    if (image.OutputForm == QLatin1String("online"))
        html = QStringLiteral("<p title=\"image\" class=\"online\"><img src=\"");
    else if (image.OutputForm == QLatin1String("print"))
        html = QStringLiteral("<p title=\"image\" class=\"print\"><img src=\"");
    else
        html = QStringLiteral("<p title=\"image\" class=\"\"><img src=\"");
    html += image.FileName + QStringLiteral("\" alt=\"") + image.ImageFormat + QStringLiteral("\" scale=\"") +
            image.ImageScale + QStringLiteral("\"");
    if (image.pxWidth > 0 && image.pxHeight > 0)
        html += QStringLiteral(" width=\"") + QString::number(image.pxWidth) + QStringLiteral("\" height=\"") +
                QString::number(image.pxHeight) + QStringLiteral("\"");
    html += QStringLiteral("/><br><em title=\"image\">") + image.Description + QStringLiteral("</em></p>");
    return html;
}

QString tableText(const cDesignTable& table)
{
    if (table.RowNum < 1 || table.ColumnNum < 1)
        return {};
    QString html = QStringLiteral("<table cellspacing=\"0\" cellpadding=\"5\" ");
    html += table.Border ? QStringLiteral("border=\"1\">") : QStringLiteral("border=\"0\">");
    const QString cell = table.Border ? QStringLiteral("<td></td>") : QStringLiteral("<td class=\"dottedBorder\"></td>");
    for (int row = 1; row <= table.RowNum; ++row) {
        html += row == 1 && table.Header ? QStringLiteral("<tr class=\"header\">") : QStringLiteral("<tr>");
        for (int col = 0; col < table.ColumnNum; ++col)
            html += cell;
        html += QStringLiteral("</tr>");
    }
    html += QStringLiteral("</table>");
    return html;
}

QString tableHTML(const cDesignTable& table)
{
    const QString text = tableText(table);
    if (text.isEmpty())
        return {};
    return QStringLiteral("<p title=\"table\">") + text + QStringLiteral("<em title=\"table\">") + table.Description +
           QStringLiteral("</em></p><p></p>");
}

QString formatForExtension(const QString& extension)
{
    const QString e = extension.toLower();
    if (e == QLatin1String("jpg") || e == QLatin1String("jpeg"))
        return QStringLiteral("JPG");
    if (e == QLatin1String("bmp"))
        return QStringLiteral("BMP");
    if (e == QLatin1String("gif"))
        return QStringLiteral("GIF");
    if (e == QLatin1String("tif") || e == QLatin1String("tiff"))
        return QStringLiteral("TIFF");
    if (e == QLatin1String("png"))
        return QStringLiteral("PNG");
    return {};
}

QStringList imageFormats()
{
    return {QStringLiteral("JPG"), QStringLiteral("BMP"), QStringLiteral("GIF"), QStringLiteral("PNG"),
            QStringLiteral("TIFF")};
}

QString imageScale(const QString& typed)
{
    return numericValue(typed) >= 0 ? typed : QStringLiteral("100");
}

QString imageFileName(const QString& language, const QString& name)
{
    return QStringLiteral("img\\") + language + QLatin1Char('\\') + name;
}

double numericValue(const QString& text)
{
    QString digits;
    bool point = false, exponent = false, any = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r'))
            continue;
        if ((c == QLatin1Char('-') || c == QLatin1Char('+')) &&
            (digits.isEmpty() || (exponent && (digits.endsWith(QLatin1Char('e')))))) {
            digits += c;
            continue;
        }
        if (c.isDigit() && c.unicode() < 128) {
            digits += c;
            any = true;
            continue;
        }
        if (c == QLatin1Char('.') && !point && !exponent) {
            digits += c;
            point = true;
            continue;
        }
        if ((c == QLatin1Char('e') || c == QLatin1Char('E') || c == QLatin1Char('d') || c == QLatin1Char('D')) &&
            any && !exponent) {
            digits += QLatin1Char('e');
            exponent = true;
            continue;
        }
        break;
    }
    if (!any)
        return 0;
    // An exponent without digits counts for nothing.
    while (!digits.isEmpty() && !digits.back().isDigit() && digits.back() != QLatin1Char('.'))
        digits.chop(1);
    bool ok = false;
    const double v = digits.toDouble(&ok);
    return ok ? v : 0;
}

std::optional<int16_t> toInt16(double value)
{
    const double r = std::nearbyint(value); // the default rounding mode is half to even
    if (!std::isfinite(r) || r < -32768.0 || r > 32767.0)
        return std::nullopt;
    return int16_t(r);
}

} // namespace elementhtml
