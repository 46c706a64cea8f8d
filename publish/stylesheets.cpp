// The generators of the customisation stylesheets: one line of XSLT per
// format, made of the values of that format's tab.
#include "outputproperties.h"

#include "fontconfiguration.h"
#include "publishpaths.h"

#include <QFileInfo>
#include <QUrl>

#include <cmath>
#include <cfenv>

namespace stylesheet {

namespace {
QString& docbookOverride()
{
    static QString f;
    return f;
}
}

double val(const QString& text)
{
    // The leading number of the text: blanks skipped, optional sign, digits,
    // decimal point, exponent; anything else ends it.
    std::string s = text.toStdString();
    size_t i = 0;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t'))
        ++i;
    size_t start = i;
    if (i < s.size() && (s[i] == '+' || s[i] == '-'))
        ++i;
    bool digits = false;
    while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
        ++i;
        digits = true;
    }
    if (i < s.size() && s[i] == '.') {
        ++i;
        while (i < s.size() && std::isdigit(static_cast<unsigned char>(s[i]))) {
            ++i;
            digits = true;
        }
    }
    if (!digits)
        return 0;
    size_t mantissaEnd = i;
    if (i < s.size() && (s[i] == 'e' || s[i] == 'E')) {
        size_t j = i + 1;
        if (j < s.size() && (s[j] == '+' || s[j] == '-'))
            ++j;
        size_t k = j;
        while (k < s.size() && std::isdigit(static_cast<unsigned char>(s[k])))
            ++k;
        mantissaEnd = k > j ? k : i;
    }
    try {
        return std::stod(s.substr(start, mantissaEnd - start));
    } catch (...) {
        return 0;
    }
}

long long roundEven(double v)
{
    if (!std::isfinite(v))
        return 0;
    if (v > 9e15 || v < -9e15)
        return v > 0 ? 9000000000000000LL : -9000000000000000LL;
    int saved = std::fegetround();
    std::fesetround(FE_TONEAREST);
    double r = std::nearbyint(v);
    std::fesetround(saved);
    return static_cast<long long>(r);
}

QString sizeText(const QString& comboText)
{
    long long n = roundEven(val(comboText));
    if (n < 2)
        n = 10;
    return QString::number(n);
}

QString cssFontFamily(const QString& t)
{
    if (t == QLatin1String("Arial"))
        return QStringLiteral("Arial,Helvetica,Lucida,sans-serif");
    if (t == QLatin1String("Courier"))
        return QStringLiteral("\"Courier New\",Courier,monospace");
    if (t == QLatin1String("Comic Sans"))
        return QStringLiteral("\"Comic Sans\",cursive");
    return QStringLiteral("\"Times New Roman\",Times,Bookman,serif");
}

QString foFontFamily(const QString& t, bool found)
{
    if (t == QLatin1String("Arial"))
        return found ? QStringLiteral("Arial") : QStringLiteral("sans-serif");
    if (t == QLatin1String("Courier"))
        return found ? QStringLiteral("Courier") : QStringLiteral("monospace");
    return found ? QStringLiteral("Times") : QStringLiteral("serif");
}

QString docbookFolder()
{
    if (!docbookOverride().isEmpty())
        return docbookOverride();
    return QStringLiteral("/usr/share/xml/docbook/stylesheet/docbook-xsl");
}

void setDocbookFolder(const QString& folder)
{
    docbookOverride() = folder;
}

namespace {
bool& layerSwitch()
{
    static bool on = true;
    return on;
}
}

bool docbookLayerEnabled()
{
    return layerSwitch();
}

void setDocbookLayerEnabled(bool on)
{
    layerSwitch() = on;
}

QString importHref(const QString& format)
{
    QString path;
    if (format == QLatin1String("HH"))
        path = docbookFolder() + QStringLiteral("/htmlhelp/htmlhelp.xsl");
    else if (format == QLatin1String("PDF"))
        path = docbookFolder() + QStringLiteral("/fo/docbook.xsl");
    else if (format == QLatin1String("HTML"))
        path = docbookFolder() + QStringLiteral("/html/docbook.xsl");
    else if (format == QLatin1String("WebHelp"))
        path = publishpaths::webhelpPagesXsl();
    else
        path = publishpaths::webhelpXsl();
    return QString::fromUtf8(QUrl::fromLocalFile(path).toEncoded());
}

} // namespace stylesheet

using namespace stylesheet;

namespace {

const QString kHead = QStringLiteral(
    "<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">");
const QString kTail = QStringLiteral("</xsl:stylesheet>");

QString importOf(const QString& format)
{
    QString s = QStringLiteral("<xsl:import href=\"") + importHref(format) + QStringLiteral("\"/>");
    // Imported after DocBook's, so that its templates take precedence.
    const QString layer = publishpaths::docbookLayerXsl(format);
    if (docbookLayerEnabled() && QFileInfo::exists(layer))
        s += QStringLiteral("<xsl:import href=\"") + QString::fromUtf8(QUrl::fromLocalFile(layer).toEncoded()) +
             QStringLiteral("\"/>");
    // Last, so that it is above both.
    const QString output = publishpaths::outputLayerXsl(format);
    if (!output.isEmpty() && QFileInfo::exists(output))
        s += QStringLiteral("<xsl:import href=\"") + QString::fromUtf8(QUrl::fromLocalFile(output).toEncoded()) +
             QStringLiteral("\"/>");
    return s;
}

QString param(const QString& name, const QString& select)
{
    return QStringLiteral("<xsl:param name=\"") + name + QStringLiteral("\" select=\"") + select +
           QStringLiteral("\"/>");
}

QString boolParam(const QString& name, bool on)
{
    return param(name, on ? QStringLiteral("1") : QStringLiteral("0"));
}

QString attribute(const QString& name, const QString& value)
{
    return QStringLiteral("<xsl:attribute name=\"") + name + QStringLiteral("\">") + value +
           QStringLiteral("</xsl:attribute>");
}

// Reads the controls of one tab.
struct Tab {
    const cOutputProperties& p;
    int t;
    bool chk(const char* n) const { return p.check(QString::fromLatin1(n), t); }
    bool opt(const char* n) const { return p.option(QString::fromLatin1(n), t); }
    QString txt(const char* n) const { return p.text(QString::fromLatin1(n), t); }
    QString hex(const char* n) const { return cOutputProperties::colorToHex(p.color(QString::fromLatin1(n), t)); }

    QString tocParam() const
    {
        QString s = QStringLiteral("<xsl:param name=\"generate.toc\">");
        s += chk("chkToC") ? QStringLiteral("book toc") : QStringLiteral("book nop");
        if (chk("chkListFigures"))
            s += QStringLiteral(",figure");
        if (chk("chkListTables"))
            s += QStringLiteral(",table");
        s += chk("chkToCChapter") ? QStringLiteral(" chapter toc section toc")
                                  : QStringLiteral("chapter nop section nop");
        return s + QStringLiteral("</xsl:param>");
    }

    QString depth() const
    {
        long long n = roundEven(val(txt("txtToCDepth")));
        return n < 1 ? QStringLiteral("0") : QString::number(n);
    }

    // STYLE(x) and, without the background, STYLEFG(x). Written as valid
    // CSS: the font in longhands (the "font:" shorthand of a chapter title
    // without its size is invalid, and browsers drop the whole rule), and
    // colours with their "#". Every value the tab sets is kept.
    QString style(const QString& group, const QString& bgControl, bool withBackground) const
    {
        auto c = [&](const QString& pre, const QString& suf) { return pre + group + suf; };
        QString s = QStringLiteral("font-style: ") +
                    (p.check(c("chk", "Italic"), t) ? QStringLiteral("italic") : QStringLiteral("normal")) +
                    QStringLiteral("; font-weight: ") +
                    (p.check(c("chk", "Bold"), t) ? QStringLiteral("bold") : QStringLiteral("normal")) +
                    QStringLiteral("; ");
        if (group != QLatin1String("ChapterTitle") || p.check(QStringLiteral("chkSameSize"), t))
            s += QStringLiteral("font-size: ") + sizeText(p.text(c("cmb", "Size"), t)) + QStringLiteral("pt; ");
        s += QStringLiteral("font-family: ") + cssFontFamily(p.text(c("cmb", "Font"), t)) + QStringLiteral("; ");
        if (p.check(c("chk", "Uline"), t))
            s += QStringLiteral("text-decoration: underline; ");
        s += QStringLiteral("color: #") + cOutputProperties::colorToHex(p.color(c("pic", "Color"), t)) +
             QStringLiteral("; ");
        if (withBackground)
            s += QStringLiteral("background-color: #") + cOutputProperties::colorToHex(p.color(bgControl, t));
        return s;
    }
    QString style(const QString& group) const
    {
        return style(group, QStringLiteral("pic") + group + QStringLiteral("BGColor"), true);
    }

    // The pages' headings start at h1 on every page, so the book's title is
    // told by its place, not by h1; the author is a line of the title page;
    // a note's title has its division's level plus one; captions are bold.
    // headExtra comes first in the pages' heads.
    QString cssPart(const QString& headExtra = QString()) const
    {
        QString s;
        s += QStringLiteral("<xsl:template name=\"body.attributes\"><xsl:attribute name=\"style\">") +
             style(QStringLiteral("Body")) + QStringLiteral("</xsl:attribute></xsl:template>");
        s += QStringLiteral("<xsl:param name=\"admon.style\"><xsl:text>margin-left: 0.5in; margin-right: 0.5in; ") +
             style(QStringLiteral("NoteBody"), QStringLiteral("picNoteBGColor"), true) +
             QStringLiteral("</xsl:text></xsl:param>");
        s += placement();
        s += QStringLiteral("<xsl:template name=\"user.head.content\">") + headExtra +
             QStringLiteral("<style type=\"text/css\">") + cssRules() + QStringLiteral("</style></xsl:template>");
        return s;
    }

    // The tab's look as CSS rules for DocBook's HTML.
    QString cssRules() const
    {
        QString s;
        QString chapter = style(QStringLiteral("ChapterTitle"));
        for (const char* h : {"h1", "h2", "h3", "h4", "h5", "h6"})
            s += QString::fromLatin1(h) + QStringLiteral(".title{") + chapter + QStringLiteral("}");
        s += QStringLiteral("div.book>div.titlepage h1.title{") + style(QStringLiteral("BookTitle")) +
             QStringLiteral("}");
        s += QStringLiteral(".corpauthor{") + style(QStringLiteral("Author")) + QStringLiteral("}");
        s += QStringLiteral("div.note>.title{") +
             style(QStringLiteral("NoteTitle"), QStringLiteral("picNoteBGColor"), true) + QStringLiteral("}");
        s += QStringLiteral("p.title b,p.title i{") + style(QStringLiteral("Descrp")) + QStringLiteral("}");
        QString header = style(QStringLiteral("Header"), QString(), false);
        s += QStringLiteral("thead tr th{") + header + QStringLiteral("}");
        s += QStringLiteral("thead tr th span.bold b{") + header + QStringLiteral("}");
        s += QStringLiteral("thead{background-color: #") + hex("picHeaderBGColor") + QStringLiteral("}");
        // The contents are lists now, shown as the indented lines they were.
        s += QStringLiteral("div.toc ul,div.list-of-figures ul,div.list-of-tables ul{list-style-type: none}");
        return s;
    }

    // The parameters of the chunked web formats.
    QString chunkedParams() const
    {
        QString s = param(QStringLiteral("saxon.character.representation"), QStringLiteral("native"));
        s += param(QStringLiteral("toc.section.depth"), QStringLiteral("20"));
        s += param(QStringLiteral("chunk.first.sections"), QStringLiteral("1"));
        s += param(QStringLiteral("generate.section.toc.level"), QStringLiteral("20"));
        s += tocParam();
        s += param(QStringLiteral("section.label.includes.component.label"), QStringLiteral("1"));
        s += boolParam(QStringLiteral("chapter.autolabel"), chk("chkAutoNumber"));
        s += boolParam(QStringLiteral("section.autolabel"), chk("chkAutoNumber"));
        s += param(QStringLiteral("chunk.section.depth"), depth());
        return s;
    }

    QString placement() const
    {
        QString pl = opt("optDescrpAfter") ? QStringLiteral("after") : QStringLiteral("before");
        return QStringLiteral("<xsl:param name=\"formal.title.placement\">figure ") + pl +
               QStringLiteral(" table ") + pl + QStringLiteral("</xsl:param>");
    }

    // ATTRS(x) of the PDF sheet.
    QString attrs(const QString& group) const
    {
        auto c = [&](const QString& pre, const QString& suf) { return pre + group + suf; };
        QString s = attribute(QStringLiteral("font-family"), foFamily(p.text(c("cmb", "Font"), t)));
        if (group != QLatin1String("ChapterTitle") || p.check(QStringLiteral("chkSameSize"), t))
            s += attribute(QStringLiteral("font-size"), sizeText(p.text(c("cmb", "Size"), t)) + QStringLiteral("pt"));
        if (p.check(c("chk", "Italic"), t))
            s += attribute(QStringLiteral("font-style"), QStringLiteral("italic"));
        s += attribute(QStringLiteral("font-weight"),
                       p.check(c("chk", "Bold"), t) ? QStringLiteral("bold") : QStringLiteral("normal"));
        if (p.check(c("chk", "Uline"), t))
            s += attribute(QStringLiteral("text-decoration"), QStringLiteral("underline"));
        s += attribute(QStringLiteral("color"),
                       QStringLiteral("#") + cOutputProperties::colorToHex(p.color(c("pic", "Color"), t)));
        return s;
    }
    // The tab's font with the configured fallbacks, so that a script the
    // font lacks still prints in an embedded face.
    QString foFamily(const QString& comboText) const
    {
        return foFontList(foFontFamily(comboText, p.fontConfigurationFound), p.configuredFonts);
    }

    QString background(const char* control) const
    {
        return attribute(QStringLiteral("background-color"), QStringLiteral("#") + hex(control));
    }
};

} // namespace

QString cOutputProperties::GetHHStylesheet() const
{
    Tab x{*this, kHH};
    QString s = kHead + importOf(QStringLiteral("HH"));
    s += param(QStringLiteral("saxon.character.representation"), QStringLiteral("native"));
    s += param(QStringLiteral("chunk.tocs.and.lots"), QStringLiteral("0"));
    s += param(QStringLiteral("htmlhelp.hhc.section.depth"), QStringLiteral("20"));
    s += param(QStringLiteral("toc.section.depth"), QStringLiteral("20"));
    s += param(QStringLiteral("chunk.first.sections"), QStringLiteral("1"));
    s += param(QStringLiteral("generate.section.toc.level"), QStringLiteral("20"));
    s += x.tocParam();
    s += boolParam(QStringLiteral("htmlhelp.show.advanced.search"), x.chk("chkHHAdvSearch"));
    s += boolParam(QStringLiteral("htmlhelp.hhc.show.root"), x.chk("chkHHToCRoot"));
    // The keywords go into index.hhk, from which the compiler builds the
    // Index tab; it does not collect them from the pages.
    s += param(QStringLiteral("htmlhelp.use.hhk"), QStringLiteral("1"));
    s += param(QStringLiteral("chunk.section.depth"), x.depth());
    s += x.cssPart();
    return s + kTail;
}

QString cOutputProperties::GetHTMLStylesheet() const
{
    Tab x{*this, kHTML};
    QString s = kHead + importOf(QStringLiteral("HTML"));
    s += param(QStringLiteral("saxon.character.representation"), QStringLiteral("native"));
    s += x.tocParam();
    s += param(QStringLiteral("section.label.includes.component.label"), QStringLiteral("1"));
    s += boolParam(QStringLiteral("chapter.autolabel"), x.chk("chkAutoNumber"));
    s += boolParam(QStringLiteral("section.autolabel"), x.chk("chkAutoNumber"));
    s += param(QStringLiteral("toc.section.depth"), x.depth());
    s += x.cssPart();
    return s + kTail;
}

QString cOutputProperties::GetHTMLFramesStylesheet() const
{
    Tab x{*this, kHTMLFrames};
    QString s = kHead + importOf(QStringLiteral("HTMLFrames"));
    s += x.chunkedParams();
    s += x.cssPart();
    s += QStringLiteral("<xsl:template name=\"toc.user.head.content\"><style type=\"text/css\">");
    // Valid CSS as in the pages' part; "cursor: hand" is pointer's old
    // name, which no browser after IE 5 knows.
    QString T = QStringLiteral("font-style: ") +
                (x.chk("chkTocItalic") ? QStringLiteral("italic") : QStringLiteral("normal")) +
                QStringLiteral("; font-weight: ") +
                (x.chk("chkToCBold") ? QStringLiteral("bold") : QStringLiteral("normal")) +
                QStringLiteral("; font-size: ") + sizeText(x.txt("cmbToCSize")) + QStringLiteral("pt; font-family: ") +
                cssFontFamily(x.txt("cmbToCFont")) + QStringLiteral("; ");
    T += x.chk("chkToCUline") ? QStringLiteral("text-decoration: underline; ")
                              : QStringLiteral("text-decoration: none; ");
    T += QStringLiteral("color: #") + x.hex("picToCColor") + QStringLiteral("; ") +
         QStringLiteral("background-color: #") + x.hex("picToCBGColor");
    s += QStringLiteral("a{") + T + QStringLiteral("}") + QStringLiteral("a:visited{") + T + QStringLiteral("}");
    s += QStringLiteral("a.symbol{cursor:pointer}div{margin-left: 10pt}");
    s += QStringLiteral("body{background-color: #") + x.hex("picToCBGColor") + QStringLiteral("}");
    s += QStringLiteral("</style></xsl:template>");
    auto sp = [](const QString& name, const QString& value) {
        return QStringLiteral("<xsl:param name=\"") + name + QStringLiteral("\" select=\"'") + value +
               QStringLiteral("'\"/>");
    };
    s += sp(QStringLiteral("toc.inactive.color"), x.hex("picToCColor"));
    s += sp(QStringLiteral("toc.inactive.bgcolor"), x.hex("picToCBGColor"));
    s += sp(QStringLiteral("toc.active.color"), x.hex("picToCBGColor"));
    s += sp(QStringLiteral("toc.active.bgcolor"), x.hex("picToCColor"));
    return s + kTail;
}

QString cOutputProperties::GetWebHelpStylesheet() const
{
    Tab x{*this, kWebHelp};
    QString s = kHead + importOf(QStringLiteral("WebHelp"));
    s += x.chunkedParams();
    // The sidebar's depth: the page script shows no deeper entries.
    s += QStringLiteral("<xsl:param name=\"webhelp.toc.depth\" select=\"") + x.depth() + QStringLiteral("\"/>");
    s += x.cssPart(QStringLiteral("<xsl:call-template name=\"webhelp.head\"/>"));
    return s + kTail;
}

QString cOutputProperties::GetEPUBStyle() const
{
    Tab x{*this, kEPUB};
    return QStringLiteral("body{") + x.style(QStringLiteral("Body")) + QStringLiteral("}") +
           QStringLiteral("div.note{") + x.style(QStringLiteral("NoteBody"), QStringLiteral("picNoteBGColor"), true) +
           QStringLiteral("}") + x.cssRules();
}

int cOutputProperties::GetEPUBToCDepth() const
{
    Tab x{*this, kEPUB};
    return x.depth().toInt();
}

QString cOutputProperties::GetPDFStylesheet() const
{
    Tab x{*this, kPDF};
    auto set = [](const QString& name, const QString& useSets = QString()) {
        return QStringLiteral("<xsl:attribute-set name=\"") + name + QStringLiteral("\"") +
               (useSets.isEmpty() ? QString() : QStringLiteral(" use-attribute-sets=\"") + useSets + QStringLiteral("\"")) +
               QStringLiteral(">");
    };
    const QString endSet = QStringLiteral("</xsl:attribute-set>");
    QString s = kHead + importOf(QStringLiteral("PDF"));
    s += QStringLiteral("<xsl:output method=\"xml\" encoding=\"utf-8\"/>");
    s += param(QStringLiteral("title.margin.left"), QStringLiteral("'0pt'"));
    s += param(QStringLiteral("insert.xref.page.number"), QStringLiteral("1"));
    s += param(QStringLiteral("generate.index"), QStringLiteral("1"));
    s += set(QStringLiteral("list.item.spacing")) + attribute(QStringLiteral("space-before.optimum"), QStringLiteral("0.3em")) +
         attribute(QStringLiteral("space-before.minimum"), QStringLiteral("0.2em")) +
         attribute(QStringLiteral("space-before.maximum"), QStringLiteral("0.4em")) + endSet;
    s += set(QStringLiteral("formal.object.properties")) +
         attribute(QStringLiteral("space-before.minimum"), QStringLiteral("1em")) +
         attribute(QStringLiteral("space-before.optimum"), QStringLiteral("2em")) +
         attribute(QStringLiteral("space-before.maximum"), QStringLiteral("3em")) +
         attribute(QStringLiteral("space-after.minimum"), QStringLiteral("0.3em")) +
         attribute(QStringLiteral("space-after.optimum"), QStringLiteral("0.7em")) +
         attribute(QStringLiteral("space-after.maximum"), QStringLiteral("1.5em")) + endSet;
    s += param(QStringLiteral("segmentedlist.as.table"), QStringLiteral("1"));
    s += param(QStringLiteral("page.margin.bottom"), QStringLiteral("'0.3in'"));
    s += param(QStringLiteral("region.after.extent"), QStringLiteral("'0.3in'"));
    s += param(QStringLiteral("page.orientation"), QStringLiteral("'portrait'"));
    s += param(QStringLiteral("generate.section.toc.level"), QStringLiteral("20"));
    s += x.tocParam();
    s += boolParam(QStringLiteral("fop.extensions"), x.chk("chkBookmarks"));
    s += boolParam(QStringLiteral("header.rule"), x.chk("chkRule"));
    s += boolParam(QStringLiteral("footer.rule"), x.chk("chkRule"));
    s += param(QStringLiteral("section.label.includes.component.label"), QStringLiteral("1"));
    s += boolParam(QStringLiteral("chapter.autolabel"), x.chk("chkAutoNumber"));
    s += boolParam(QStringLiteral("section.autolabel"), x.chk("chkAutoNumber"));
    s += param(QStringLiteral("toc.section.depth"), x.depth());
    long long cols = roundEven(val(x.txt("txtColNumber")));
    s += param(QStringLiteral("column.count.body"), cols < 1 ? QStringLiteral("1") : QString::number(cols));
    s += QStringLiteral("<xsl:param name=\"paper.type\" select=\"'") + x.txt("cmbPaperType") + QStringLiteral("'\"/>");
    // DocBook's title page, headings, running heads, page numbers and list
    // marks take these families, not the attribute sets: without them FOP
    // falls back on its base fonts, which are neither embedded nor more than
    // Western European.
    const QString body = x.foFamily(x.txt("cmbBodyFont"));
    auto fp = [](const QString& name, const QString& value) {
        return QStringLiteral("<xsl:param name=\"") + name + QStringLiteral("\" select=\"'") + value +
               QStringLiteral("'\"/>");
    };
    s += fp(QStringLiteral("body.font.family"), body);
    s += fp(QStringLiteral("title.font.family"), x.foFamily(x.txt("cmbChapterTitleFont")));
    s += fp(QStringLiteral("sans.font.family"), x.foFamily(QStringLiteral("Arial")));
    s += fp(QStringLiteral("monospace.font.family"), x.foFamily(QStringLiteral("Courier")));
    s += fp(QStringLiteral("symbol.font.family"), body);
    s += fp(QStringLiteral("dingbat.font.family"), body);
    s += set(QStringLiteral("root.properties")) + x.attrs(QStringLiteral("Body")) + endSet;
    s += set(QStringLiteral("admonition.title.properties")) + x.attrs(QStringLiteral("NoteTitle")) +
         x.background("picNoteBGColor") + endSet;
    s += set(QStringLiteral("admonition.properties")) + x.attrs(QStringLiteral("NoteBody")) +
         x.background("picNoteBGColor") + endSet;
    s += x.placement();
    s += set(QStringLiteral("formal.title.properties"), QStringLiteral("normal.para.spacing")) +
         x.attrs(QStringLiteral("Descrp")) + attribute(QStringLiteral("hyphenate"), QStringLiteral("false")) +
         attribute(QStringLiteral("space-before.minimum"), QStringLiteral("0.1em")) +
         attribute(QStringLiteral("space-before.optimum"), QStringLiteral("0.2em")) +
         attribute(QStringLiteral("space-before.maximum"), QStringLiteral("0.3em")) +
         attribute(QStringLiteral("space-after.minimum"), QStringLiteral("0.1em")) +
         attribute(QStringLiteral("space-after.optimum"), QStringLiteral("0.2em")) +
         attribute(QStringLiteral("space-after.maximum"), QStringLiteral("0.3em")) + endSet;
    s += set(QStringLiteral("table.header.properties")) + x.attrs(QStringLiteral("Header")) +
         x.background("picHeaderBGColor") + endSet;
    s += set(QStringLiteral("section.title.properties")) + x.attrs(QStringLiteral("ChapterTitle")) + endSet;
    return s + kTail;
}
