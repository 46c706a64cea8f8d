// The generated stylesheets, letter for letter, against texts written out by hand.
#include "outputproperties.h"
#include "paths.h"

#include <gtest/gtest.h>

namespace {

const QString TNR = QStringLiteral("\"Times New Roman\",Times,Bookman,serif");
const QString HEAD = QStringLiteral(
    "<?xml version=\"1.0\"?><xsl:stylesheet xmlns:xsl=\"http://www.w3.org/1999/XSL/Transform\" version=\"1.0\">");

class Generators : public ::testing::Test {
protected:
    void SetUp() override
    {
        stylesheet::setDocbookFolder(QStringLiteral("/db"));
        paths::setProgramFolder(QStringLiteral("/prog"));
    }
    void TearDown() override
    {
        stylesheet::setDocbookFolder(QString());
        paths::setProgramFolder(QString());
    }
};

// The CSS part as the defaults of the HTML tab give it, typed out: valid
// CSS, the font in longhands, colours with "#".
QString cssPartHTML()
{
    const QString F = "; font-family: " + TNR + "; ";
    const QString chapter = "font-style: normal; font-weight: bold" + F + "color: #000000; background-color: #FFFFFF";
    QString s = "<xsl:template name=\"body.attributes\"><xsl:attribute name=\"style\">font-style: normal; "
                "font-weight: normal; font-size: 12pt" + F + "color: #000000; background-color: #FFFFFF"
                "</xsl:attribute></xsl:template>"
                "<xsl:param name=\"admon.style\"><xsl:text>margin-left: 0.5in; margin-right: 0.5in; font-style: "
                "normal; font-weight: normal; font-size: 12pt" + F + "color: #000000; background-color: #ADD0FC"
                "</xsl:text></xsl:param>"
                "<xsl:param name=\"formal.title.placement\">figure after table after</xsl:param>"
                "<xsl:template name=\"user.head.content\"><style type=\"text/css\">";
    for (const char* h : {"h1", "h2", "h3", "h4", "h5", "h6"})
        s += QString(h) + ".title{" + chapter + "}";
    s += "div.book>div.titlepage h1.title{font-style: normal; font-weight: bold; font-size: 24pt" + F +
         "color: #000000; background-color: #ADD0FC}"
         ".corpauthor{font-style: normal; font-weight: bold; font-size: 14pt" + F +
         "color: #000000; background-color: #FFFFFF}"
         "div.note>.title{font-style: normal; font-weight: bold; font-size: 14pt" + F +
         "color: #000000; background-color: #ADD0FC}"
         "p.title b,p.title i{font-style: italic; font-weight: normal; font-size: 12pt" + F +
         "color: #000000; background-color: #FFFFFF}"
         "thead tr th{font-style: normal; font-weight: bold; font-size: 12pt" + F + "color: #000000; }"
         "thead tr th span.bold b{font-style: normal; font-weight: bold; font-size: 12pt" + F + "color: #000000; }"
         "thead{background-color: #ADD0FC}div.toc ul,div.list-of-figures ul,div.list-of-tables ul{list-style-type: none}"
         "</style></xsl:template>";
    return s;
}

TEST_F(Generators, HTMLDefaults)
{
    cOutputProperties p;
    QString expected = HEAD + "<xsl:import href=\"file:///db/html/docbook.xsl\"/>" +
                       "<xsl:param name=\"saxon.character.representation\" select=\"native\"/>" +
                       "<xsl:param name=\"generate.toc\">book toc,figure,table chapter toc section toc</xsl:param>" +
                       "<xsl:param name=\"section.label.includes.component.label\" select=\"1\"/>" +
                       "<xsl:param name=\"chapter.autolabel\" select=\"1\"/>" +
                       "<xsl:param name=\"section.autolabel\" select=\"1\"/>" +
                       "<xsl:param name=\"toc.section.depth\" select=\"10\"/>" + cssPartHTML() + "</xsl:stylesheet>";
    EXPECT_EQ(p.GetHTMLStylesheet(), expected);
}

TEST_F(Generators, TocParameterRunsTogetherWithoutChapterToc)
{
    cOutputProperties p;
    const int t = cOutputProperties::kHTML;
    p.setCheck("chkToC", t, false);
    p.setCheck("chkListFigures", t, false);
    p.setCheck("chkListTables", t, false);
    p.setCheck("chkToCChapter", t, false);
    EXPECT_TRUE(p.GetHTMLStylesheet().contains(
        "<xsl:param name=\"generate.toc\">book nopchapter nop section nop</xsl:param>"));
    p.setCheck("chkListTables", t, true);
    EXPECT_TRUE(p.GetHTMLStylesheet().contains(
        "<xsl:param name=\"generate.toc\">book nop,tablechapter nop section nop</xsl:param>"));
}

TEST_F(Generators, HHDefaults)
{
    cOutputProperties p;
    QString css = cssPartHTML();
    // HTML Help's chapter titles have a blue background by default.
    for (const char* h : {"h1", "h2", "h3", "h4", "h5", "h6"})
        css.replace(QString(h) + ".title{font-style: normal; font-weight: bold; font-family: " + TNR +
                        "; color: #000000; background-color: #FFFFFF}",
                    QString(h) + ".title{font-style: normal; font-weight: bold; font-family: " + TNR +
                        "; color: #000000; background-color: #ADD0FC}");
    QString expected = HEAD + "<xsl:import href=\"file:///db/htmlhelp/htmlhelp.xsl\"/>" +
                       "<xsl:param name=\"saxon.character.representation\" select=\"native\"/>" +
                       "<xsl:param name=\"chunk.tocs.and.lots\" select=\"0\"/>" +
                       "<xsl:param name=\"htmlhelp.hhc.section.depth\" select=\"20\"/>" +
                       "<xsl:param name=\"toc.section.depth\" select=\"20\"/>" +
                       "<xsl:param name=\"chunk.first.sections\" select=\"1\"/>" +
                       "<xsl:param name=\"generate.section.toc.level\" select=\"20\"/>" +
                       "<xsl:param name=\"generate.toc\">book nop chapter toc section toc</xsl:param>" +
                       "<xsl:param name=\"htmlhelp.show.advanced.search\" select=\"1\"/>" +
                       "<xsl:param name=\"htmlhelp.hhc.show.root\" select=\"1\"/>" +
                       "<xsl:param name=\"htmlhelp.use.hhk\" select=\"1\"/>" +
                       "<xsl:param name=\"chunk.section.depth\" select=\"10\"/>" + css + "</xsl:stylesheet>";
    EXPECT_EQ(p.GetHHStylesheet(), expected);
}

TEST_F(Generators, FramesDefaults)
{
    cOutputProperties p;
    QString css = cssPartHTML();
    for (const char* h : {"h1", "h2", "h3", "h4", "h5", "h6"})
        css.replace(QString(h) + ".title{font-style: normal; font-weight: bold; font-family: " + TNR +
                        "; color: #000000; background-color: #FFFFFF}",
                    QString(h) + ".title{font-style: normal; font-weight: bold; font-family: " + TNR +
                        "; color: #000000; background-color: #ADD0FC}");
    const QString T = "font-style: normal; font-weight: bold; font-size: 10pt; font-family: "
                      "Arial,Helvetica,Lucida,sans-serif; text-decoration: none; color: #000080; "
                      "background-color: #FFFFFF";
    QString expected = HEAD + "<xsl:import href=\"file:///prog/webhelp.xsl\"/>" +
                       "<xsl:param name=\"saxon.character.representation\" select=\"native\"/>" +
                       "<xsl:param name=\"toc.section.depth\" select=\"20\"/>" +
                       "<xsl:param name=\"chunk.first.sections\" select=\"1\"/>" +
                       "<xsl:param name=\"generate.section.toc.level\" select=\"20\"/>" +
                       "<xsl:param name=\"generate.toc\">book toc,figure,table chapter toc section toc</xsl:param>" +
                       "<xsl:param name=\"section.label.includes.component.label\" select=\"1\"/>" +
                       "<xsl:param name=\"chapter.autolabel\" select=\"1\"/>" +
                       "<xsl:param name=\"section.autolabel\" select=\"1\"/>" +
                       "<xsl:param name=\"chunk.section.depth\" select=\"10\"/>" + css +
                       "<xsl:template name=\"toc.user.head.content\"><style type=\"text/css\">" + "a{" + T + "}" +
                       "a:visited{" + T + "}" + "a.symbol{cursor:pointer}div{margin-left: 10pt}" +
                       "body{background-color: #FFFFFF}" + "</style></xsl:template>" +
                       "<xsl:param name=\"toc.inactive.color\" select=\"'000080'\"/>" +
                       "<xsl:param name=\"toc.inactive.bgcolor\" select=\"'FFFFFF'\"/>" +
                       "<xsl:param name=\"toc.active.color\" select=\"'FFFFFF'\"/>" +
                       "<xsl:param name=\"toc.active.bgcolor\" select=\"'000080'\"/>" + "</xsl:stylesheet>";
    EXPECT_EQ(p.GetHTMLFramesStylesheet(), expected);
}

QString attr(const QString& n, const QString& v)
{
    return "<xsl:attribute name=\"" + n + "\">" + v + "</xsl:attribute>";
}

TEST_F(Generators, PDFDefaults)
{
    cOutputProperties p;
    p.fontConfigurationFound = false;
    QString expected =
        HEAD + "<xsl:import href=\"file:///db/fo/docbook.xsl\"/>" + "<xsl:output method=\"xml\" encoding=\"utf-8\"/>" +
        "<xsl:param name=\"title.margin.left\" select=\"'0pt'\"/>" +
        "<xsl:param name=\"insert.xref.page.number\" select=\"1\"/>" + "<xsl:param name=\"generate.index\" select=\"1\"/>" +
        "<xsl:attribute-set name=\"list.item.spacing\">" + attr("space-before.optimum", "0.3em") +
        attr("space-before.minimum", "0.2em") + attr("space-before.maximum", "0.4em") + "</xsl:attribute-set>" +
        "<xsl:attribute-set name=\"formal.object.properties\">" + attr("space-before.minimum", "1em") +
        attr("space-before.optimum", "2em") + attr("space-before.maximum", "3em") + attr("space-after.minimum", "0.3em") +
        attr("space-after.optimum", "0.7em") + attr("space-after.maximum", "1.5em") + "</xsl:attribute-set>" +
        "<xsl:param name=\"segmentedlist.as.table\" select=\"1\"/>" +
        "<xsl:param name=\"page.margin.bottom\" select=\"'0.3in'\"/>" +
        "<xsl:param name=\"region.after.extent\" select=\"'0.3in'\"/>" +
        "<xsl:param name=\"page.orientation\" select=\"'portrait'\"/>" +
        "<xsl:param name=\"generate.section.toc.level\" select=\"20\"/>" +
        "<xsl:param name=\"generate.toc\">book toc,figure,tablechapter nop section nop</xsl:param>" +
        "<xsl:param name=\"fop.extensions\" select=\"1\"/>" + "<xsl:param name=\"header.rule\" select=\"1\"/>" +
        "<xsl:param name=\"footer.rule\" select=\"1\"/>" +
        "<xsl:param name=\"section.label.includes.component.label\" select=\"1\"/>" +
        "<xsl:param name=\"chapter.autolabel\" select=\"1\"/>" + "<xsl:param name=\"section.autolabel\" select=\"1\"/>" +
        "<xsl:param name=\"toc.section.depth\" select=\"10\"/>" + "<xsl:param name=\"column.count.body\" select=\"1\"/>" +
        "<xsl:param name=\"paper.type\" select=\"'A4'\"/>" +
        "<xsl:param name=\"body.font.family\" select=\"'serif'\"/>" +
        "<xsl:param name=\"title.font.family\" select=\"'sans-serif'\"/>" +
        "<xsl:param name=\"sans.font.family\" select=\"'sans-serif'\"/>" +
        "<xsl:param name=\"monospace.font.family\" select=\"'monospace'\"/>" +
        "<xsl:param name=\"symbol.font.family\" select=\"'serif'\"/>" +
        "<xsl:param name=\"dingbat.font.family\" select=\"'serif'\"/>" + "<xsl:attribute-set name=\"root.properties\">" +
        attr("font-family", "serif") + attr("font-size", "10pt") + attr("font-weight", "normal") +
        attr("color", "#000000") + "</xsl:attribute-set>" + "<xsl:attribute-set name=\"admonition.title.properties\">" +
        attr("font-family", "sans-serif") + attr("font-size", "12pt") + attr("font-weight", "bold") +
        attr("color", "#000000") + attr("background-color", "#D8D8D8") + "</xsl:attribute-set>" +
        "<xsl:attribute-set name=\"admonition.properties\">" + attr("font-family", "serif") + attr("font-size", "10pt") +
        attr("font-weight", "normal") + attr("color", "#000000") + attr("background-color", "#D8D8D8") +
        "</xsl:attribute-set>" + "<xsl:param name=\"formal.title.placement\">figure after table after</xsl:param>" +
        "<xsl:attribute-set name=\"formal.title.properties\" use-attribute-sets=\"normal.para.spacing\">" +
        attr("font-family", "serif") + attr("font-size", "10pt") + attr("font-style", "italic") +
        attr("font-weight", "normal") + attr("color", "#000000") + attr("hyphenate", "false") +
        attr("space-before.minimum", "0.1em") + attr("space-before.optimum", "0.2em") +
        attr("space-before.maximum", "0.3em") + attr("space-after.minimum", "0.1em") +
        attr("space-after.optimum", "0.2em") + attr("space-after.maximum", "0.3em") + "</xsl:attribute-set>" +
        "<xsl:attribute-set name=\"table.header.properties\">" + attr("font-family", "serif") +
        attr("font-size", "10pt") + attr("font-weight", "bold") + attr("color", "#000000") +
        attr("background-color", "#D8D8D8") + "</xsl:attribute-set>" + "<xsl:attribute-set name=\"section.title.properties\">" +
        attr("font-family", "sans-serif") + attr("font-weight", "bold") + attr("color", "#000000") +
        "</xsl:attribute-set>" + "</xsl:stylesheet>";
    EXPECT_EQ(p.GetPDFStylesheet(), expected);

    // With the font configuration the triplets are named, and the same size
    // brings the title size back.
    p.fontConfigurationFound = true;
    p.configuredFonts = {"Arial", "ArialMT", "Times", "TimesMT", "Courier", "CourierMT"};
    p.setCheck("chkSameSize", cOutputProperties::kPDF, true);
    QString s = p.GetPDFStylesheet();
    EXPECT_TRUE(s.contains("<xsl:attribute-set name=\"section.title.properties\">" + attr("font-family", "Arial") +
                           attr("font-size", "16pt") + attr("font-weight", "bold") + attr("color", "#000000") +
                           "</xsl:attribute-set>"));
    EXPECT_TRUE(s.contains("<xsl:attribute-set name=\"root.properties\">" + attr("font-family", "Times")));
    EXPECT_TRUE(s.contains("<xsl:param name=\"title.font.family\" select=\"'Arial'\"/>"));

    // The configured fallbacks follow each font, in the order of its kind.
    p.configuredFonts << "DejaVuSerif" << "DejaVuSans" << "DejaVuSansMono" << "CJK";
    s = p.GetPDFStylesheet();
    EXPECT_TRUE(s.contains("<xsl:param name=\"body.font.family\" select=\"'Times,DejaVuSerif,DejaVuSans,CJK'\"/>"));
    EXPECT_TRUE(s.contains("<xsl:param name=\"title.font.family\" select=\"'Arial,DejaVuSans,CJK'\"/>"));
    EXPECT_TRUE(s.contains(
        "<xsl:param name=\"monospace.font.family\" select=\"'Courier,DejaVuSansMono,DejaVuSans,CJK'\"/>"));
    EXPECT_TRUE(s.contains("<xsl:param name=\"symbol.font.family\" select=\"'Times,DejaVuSerif,DejaVuSans,CJK'\"/>"));
    EXPECT_TRUE(s.contains("<xsl:attribute-set name=\"admonition.title.properties\">" +
                           attr("font-family", "Arial,DejaVuSans,CJK")));
    p.configuredFonts = {"Arial", "Times", "Courier", "CJK"};
    EXPECT_TRUE(p.GetPDFStylesheet().contains(
        "<xsl:param name=\"body.font.family\" select=\"'Times,CJK'\"/>"));
}

TEST_F(Generators, ValueRoutines)
{
    EXPECT_EQ(stylesheet::sizeText("1"), "10");
    EXPECT_EQ(stylesheet::sizeText("word"), "10");
    EXPECT_EQ(stylesheet::sizeText("12"), "12");
    EXPECT_EQ(stylesheet::sizeText("12.5"), "12");
    EXPECT_EQ(stylesheet::sizeText("13.5"), "14");
    EXPECT_EQ(stylesheet::cssFontFamily("Comic Sans"), "\"Comic Sans\",cursive");
    EXPECT_EQ(stylesheet::cssFontFamily("Courier"), "\"Courier New\",Courier,monospace");
    EXPECT_EQ(stylesheet::cssFontFamily("Wingdings"), TNR);
    EXPECT_EQ(stylesheet::foFontFamily("Courier", false), "monospace");
    EXPECT_EQ(stylesheet::foFontFamily("Comic Sans", true), "Times");
    EXPECT_EQ(cOutputProperties::colorToHex(0x00FCD0AD), "ADD0FC");
    EXPECT_EQ(cOutputProperties::hexToColor("ADD0FC"), 0x00FCD0AD);
    // A system colour is resolved: the window background.
    EXPECT_EQ(cOutputProperties::colorToHex(int32_t(0x80000005u)), "FFFFFF");
}

TEST_F(Generators, DepthAndColumnsFallBack)
{
    cOutputProperties p;
    for (const char* v : {"0", "", "word"}) {
        p.setText("txtToCDepth", cOutputProperties::kHTML, v);
        EXPECT_TRUE(p.GetHTMLStylesheet().contains("<xsl:param name=\"toc.section.depth\" select=\"0\"/>")) << v;
        p.setText("txtColNumber", cOutputProperties::kPDF, v);
        EXPECT_TRUE(p.GetPDFStylesheet().contains("<xsl:param name=\"column.count.body\" select=\"1\"/>")) << v;
    }
}

TEST_F(Generators, ComicSansAndUnderline)
{
    cOutputProperties p;
    const int t = cOutputProperties::kHTML;
    p.setText("cmbBodyFont", t, "Comic Sans");
    p.setCheck("chkBodyUline", t, true);
    EXPECT_TRUE(p.GetHTMLStylesheet().contains(
        "<xsl:attribute name=\"style\">font-style: normal; font-weight: normal; font-size: 12pt; font-family: "
        "\"Comic Sans\",cursive; text-decoration: underline; color: #000000; background-color: #FFFFFF"
        "</xsl:attribute>"));
}

} // namespace
