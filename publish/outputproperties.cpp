#include "outputproperties.h"

#include "fontconfiguration.h"

#include "fileio.h"
#include "msgbox.h"
#include "paths.h"
#include "publishpaths.h"

#include <QFileInfo>
#include <QStringDecoder>

#include <array>
#include <optional>

namespace {

const QStringList kStyleList = {
    "optDescrpAfter", "optDescrpBefore", "chkDescrpUline", "chkDescrpItalic", "chkDescrpBold",
    "picDescrpBGColor", "cmbDescrpFont", "picDescrpColor", "cmbDescrpSize", "chkHeaderUline",
    "chkHeaderItalic", "chkHeaderBold", "cmbHeaderSize", "picHeaderColor", "cmbHeaderFont",
    "picHeaderBGColor", "chkAuthorUline", "chkAuthorItalic", "chkAuthorBold", "picAuthorBGColor",
    "cmbAuthorFont", "picAuthorColor", "cmbAuthorSize", "chkChapterTitleUline",
    "chkChapterTitleItalic", "chkChapterTitleBold", "chkSameSize", "picChapterTitleBGColor",
    "cmbChapterTitleFont", "picChapterTitleColor", "cmbChapterTitleSize", "chkBookTitleUline",
    "chkBookTitleItalic", "chkBookTitleBold", "picBookTitleBGColor", "cmbBookTitleFont",
    "picBookTitleColor", "cmbBookTitleSize", "chkBodyUline", "chkBodyItalic", "chkBodyBold",
    "cmbBodySize", "picBodyColor", "cmbBodyFont", "picBodyBGColor", "chkNoteBodyUline",
    "chkNoteBodyItalic", "chkNoteBodyBold", "chkNoteTitleUline", "chkNoteTitleItalic",
    "chkNoteTitleBold", "picNoteBGColor", "cmbNoteBodyFont", "cmbNoteBodySize", "picNoteBodyColor",
    "cmbNoteTitleFont", "picNoteTitleColor", "cmbNoteTitleSize"};

// Controls that the PDF tab does not have.
const QStringList kNotOnPDF = {
    "chkAuthorUline", "chkAuthorItalic", "chkAuthorBold", "picAuthorBGColor", "cmbAuthorFont",
    "picAuthorColor", "cmbAuthorSize", "picDescrpBGColor", "picChapterTitleBGColor",
    "chkBookTitleUline", "chkBookTitleItalic", "chkBookTitleBold", "picBookTitleBGColor",
    "cmbBookTitleFont", "picBookTitleColor", "cmbBookTitleSize", "picBodyBGColor"};

const QString kHeader = QStringLiteral("Quillary output properties file 1.0");

cOutputProperties::Kind kindOf(const QString& name)
{
    if (name.startsWith(QLatin1String("chk")))
        return cOutputProperties::Kind::Check;
    if (name.startsWith(QLatin1String("opt")))
        return cOutputProperties::Kind::Option;
    if (name.startsWith(QLatin1String("txt")))
        return cOutputProperties::Kind::Text;
    if (name.startsWith(QLatin1String("cmb")))
        return cOutputProperties::Kind::Combo;
    return cOutputProperties::Kind::Picture;
}

// The platform's system colours (index = value AND 255), as RRGGBB.
const std::array<const char*, 31> kSystemColors = {
    "C8C8C8", "000000", "99B4D1", "BFCDDB", "F0F0F0", "FFFFFF", "646464", "000000",
    "000000", "000000", "B4B4B4", "F4F7FC", "ABABAB", "0078D7", "FFFFFF", "F0F0F0",
    "A0A0A0", "6D6D6D", "000000", "000000", "FFFFFF", "696969", "E3E3E3", "000000",
    "FFFFE1", "000000", "0066CC", "B9D1EA", "D7E4F2", "3399FF", "F0F0F0"};

} // namespace

cOutputProperties::cOutputProperties()
{
    for (int i = 3; i >= 0; --i)
        add(QStringLiteral("txtCoverImage"), i, Kind::Text);
    // Tab 3, the left pane frame first (single controls).
    for (const char* n : {"picToCBGColor", "cmbToCFont", "picToCColor", "cmbToCSize", "chkToCBold",
                          "chkTocItalic", "chkToCUline"})
        add(QString::fromLatin1(n), -1, kindOf(QString::fromLatin1(n)));
    for (int tab : {3, 2}) {
        for (const char* n : {"optPrinted", "optOnline", "txtToCDepth", "chkToCChapter", "chkListTables",
                              "chkListFigures", "chkAutoNumber", "chkToC"})
            add(QString::fromLatin1(n), tab, kindOf(QString::fromLatin1(n)));
        addStyleList(tab);
    }
    add(QStringLiteral("optPrinted"), 1, Kind::Option);
    add(QStringLiteral("optOnline"), 1, Kind::Option);
    for (const char* n : {"cmbPaperType", "chkRule", "chkBookmarks", "txtColNumber"})
        add(QString::fromLatin1(n), -1, kindOf(QString::fromLatin1(n)));
    for (const char* n : {"txtToCDepth", "chkToCChapter", "chkListTables", "chkListFigures", "chkAutoNumber",
                          "chkToC"})
        add(QString::fromLatin1(n), 1, kindOf(QString::fromLatin1(n)));
    addStyleList(1);
    add(QStringLiteral("optPrinted"), 0, Kind::Option);
    add(QStringLiteral("optOnline"), 0, Kind::Option);
    add(QStringLiteral("chkHHToCRoot"), -1, Kind::Check);
    add(QStringLiteral("chkHHAdvSearch"), -1, Kind::Check);
    for (const char* n : {"txtToCDepth", "chkToCChapter", "chkListTables", "chkListFigures", "chkToC"})
        add(QString::fromLatin1(n), 0, kindOf(QString::fromLatin1(n)));
    addStyleList(0);
    for (int tab : {kWebHelp, kEPUB}) {
        add(QStringLiteral("txtCoverImage"), tab, Kind::Text);
        for (const char* n : {"optPrinted", "optOnline", "txtToCDepth", "chkToCChapter", "chkListTables",
                              "chkListFigures", "chkAutoNumber", "chkToC"})
            add(QString::fromLatin1(n), tab, kindOf(QString::fromLatin1(n)));
        addStyleList(tab);
    }

    resetHH();
    resetPDF();
    resetHTML();
    resetHTMLFrames();
    resetWebHelp();
    resetEPUB();
}

void cOutputProperties::add(const QString& name, int index, Kind kind)
{
    Control c;
    c.name = name;
    c.index = index;
    c.kind = kind;
    m_controls.push_back(c);
}

void cOutputProperties::addStyleList(int tab)
{
    for (const QString& n : kStyleList) {
        if (tab == kPDF && kNotOnPDF.contains(n))
            continue;
        add(n, tab, kindOf(n));
    }
}

cOutputProperties::Control* cOutputProperties::find(const QString& name, int index)
{
    return const_cast<Control*>(std::as_const(*this).find(name, index));
}

const cOutputProperties::Control* cOutputProperties::find(const QString& name, int index) const
{
    const Control* single = nullptr;
    for (const Control& c : m_controls) {
        if (c.name != name)
            continue;
        if (c.index == index)
            return &c;
        if (c.index == -1)
            single = &c;
    }
    return single;
}

bool cOutputProperties::check(const QString& name, int tab) const
{
    const Control* c = find(name, tab);
    return c && c->value == 1;
}

void cOutputProperties::setCheck(const QString& name, int tab, bool on)
{
    Control* c = find(name, tab);
    if (!c)
        return;
    c->value = on ? 1 : 0;
    // The size of titles only counts when all levels share it.
    if (name == QLatin1String("chkSameSize"))
        if (Control* size = find(QStringLiteral("cmbChapterTitleSize"), tab))
            size->enabled = on;
}

bool cOutputProperties::option(const QString& name, int tab) const
{
    const Control* c = find(name, tab);
    return c && c->option;
}

void cOutputProperties::setOption(const QString& name, int tab, bool on)
{
    Control* c = find(name, tab);
    if (!c)
        return;
    c->option = on;
    if (!on)
        return;
    static const QList<QPair<QString, QString>> groups = {
        {"optPrinted", "optOnline"}, {"optDescrpAfter", "optDescrpBefore"}};
    for (const auto& g : groups) {
        QString partner = name == g.first ? g.second : name == g.second ? g.first : QString();
        if (!partner.isEmpty())
            if (Control* p = find(partner, tab))
                p->option = false;
    }
}

QString cOutputProperties::text(const QString& name, int tab) const
{
    const Control* c = find(name, tab);
    return c ? c->text : QString();
}

void cOutputProperties::setText(const QString& name, int tab, const QString& text)
{
    if (Control* c = find(name, tab))
        c->text = text;
}

bool cOutputProperties::setListIndex(const QString& name, int tab, int listIndex)
{
    Control* c = find(name, tab);
    if (!c || c->kind != Kind::Combo || listIndex < -1 || listIndex >= c->items.size())
        return false;
    c->text = listIndex < 0 ? QString() : c->items[listIndex];
    return true;
}

bool cOutputProperties::isEnabled(const QString& name, int tab) const
{
    const Control* c = find(name, tab);
    return c && c->enabled;
}

int32_t cOutputProperties::color(const QString& name, int tab) const
{
    const Control* c = find(name, tab);
    return c ? c->color : 0;
}

void cOutputProperties::setColor(const QString& name, int tab, int32_t value)
{
    if (Control* c = find(name, tab))
        c->color = value;
}

void cOutputProperties::setColorHex(const QString& name, int tab, const QString& rrggbb)
{
    setColor(name, tab, hexToColor(rrggbb));
}

QStringList cOutputProperties::fontList(bool noComicSans)
{
    QStringList l{"Times New Roman", "Arial", "Courier"};
    if (!noComicSans)
        l << QStringLiteral("Comic Sans");
    return l;
}

QStringList cOutputProperties::sizeList()
{
    return {"8", "9", "10", "11", "12", "14", "16", "18", "20", "22", "24"};
}

QStringList cOutputProperties::paperList()
{
    QStringList l{"USletter"};
    for (const char* s : {"A", "B", "C"})
        for (int i = 0; i <= 10; ++i)
            l << QString::fromLatin1(s) + QString::number(i);
    return l;
}

// fillFontList, fillSizeList, fillPaperList: a combo is filled only when empty,
// then its text is set to the first font, to "12" or to "A4".
void cOutputProperties::fillCombos(int tab)
{
    for (Control& c : m_controls) {
        if (c.kind != Kind::Combo)
            continue;
        bool mine = c.index == tab || (c.index == -1 && ((c.name == QLatin1String("cmbPaperType") && tab == kPDF) ||
                                                          (c.name.startsWith(QLatin1String("cmbToC")) &&
                                                           tab == kHTMLFrames)));
        if (!mine)
            continue;
        if (c.name == QLatin1String("cmbPaperType")) {
            if (c.items.isEmpty())
                c.items = paperList();
            c.text = QStringLiteral("A4");
        } else if (c.name.endsWith(QLatin1String("Font"))) {
            if (c.items.isEmpty())
                c.items = fontList(tab == kPDF);
            c.text = c.items.first();
        } else {
            if (c.items.isEmpty())
                c.items = sizeList();
            c.text = c.items[4];
        }
    }
}

namespace {
struct Group {
    const char* name;
    const char* font;
    int size;
    const char* color;
    const char* bg; // nullptr: no background on this tab
    bool bold;
    bool italic;
};
}

void cOutputProperties::resetCommon(int tab)
{
    fillCombos(tab);
    setCheck(QStringLiteral("chkSameSize"), tab, false);
    setOption(QStringLiteral("optDescrpAfter"), tab, true);
    setText(QStringLiteral("txtCoverImage"), tab, QString());
}

static void applyGroups(cOutputProperties& p, int tab, const std::vector<Group>& groups)
{
    for (const Group& g : groups) {
        QString n = QString::fromLatin1(g.name);
        p.setText(QStringLiteral("cmb") + n + QStringLiteral("Font"), tab, QString::fromLatin1(g.font));
        p.setText(QStringLiteral("cmb") + n + QStringLiteral("Size"), tab, QString::number(g.size));
        p.setColorHex(QStringLiteral("pic") + n + QStringLiteral("Color"), tab, QString::fromLatin1(g.color));
        if (g.bg)
            p.setColorHex(QStringLiteral("pic") + n + QStringLiteral("BGColor"), tab, QString::fromLatin1(g.bg));
        p.setCheck(QStringLiteral("chk") + n + QStringLiteral("Bold"), tab, g.bold);
        p.setCheck(QStringLiteral("chk") + n + QStringLiteral("Italic"), tab, g.italic);
        p.setCheck(QStringLiteral("chk") + n + QStringLiteral("Uline"), tab, false);
    }
}

static void applyNote(cOutputProperties& p, int tab, const char* titleFont, int titleSize, const char* bodyFont,
                      int bodySize, const char* bg)
{
    applyGroups(p, tab,
                {{"NoteTitle", titleFont, titleSize, "000000", nullptr, true, false},
                 {"NoteBody", bodyFont, bodySize, "000000", nullptr, false, false}});
    p.setColorHex(QStringLiteral("picNoteBGColor"), tab, QString::fromLatin1(bg));
}

// The style groups of the three web tabs, which differ only in the chapter
// title's background.
static void applyWebGroups(cOutputProperties& p, int tab, const char* chapterTitleBg)
{
    applyGroups(p, tab,
                {{"Body", "Times New Roman", 12, "000000", "FFFFFF", false, false},
                 {"BookTitle", "Times New Roman", 24, "000000", "ADD0FC", true, false},
                 {"ChapterTitle", "Times New Roman", 18, "000000", chapterTitleBg, true, false},
                 {"Author", "Times New Roman", 14, "000000", "FFFFFF", true, false},
                 {"Header", "Times New Roman", 12, "000000", "ADD0FC", true, false},
                 {"Descrp", "Times New Roman", 12, "000000", "FFFFFF", false, true}});
    applyNote(p, tab, "Times New Roman", 14, "Times New Roman", 12, "ADD0FC");
}

// The contents settings of a tab's defaults.
struct TocDefaults {
    bool toc, autoNumber;
    const char* depth;
    bool figures, tables, inChapters, online;
};

static void applyToc(cOutputProperties& p, int t, const TocDefaults& d)
{
    p.setCheck(QStringLiteral("chkToC"), t, d.toc);
    p.setCheck(QStringLiteral("chkAutoNumber"), t, d.autoNumber);
    p.setText(QStringLiteral("txtToCDepth"), t, QString::fromLatin1(d.depth));
    p.setCheck(QStringLiteral("chkListFigures"), t, d.figures);
    p.setCheck(QStringLiteral("chkListTables"), t, d.tables);
    p.setCheck(QStringLiteral("chkToCChapter"), t, d.inChapters);
    p.setOption(d.online ? QStringLiteral("optOnline") : QStringLiteral("optPrinted"), t, true);
}

void cOutputProperties::resetHH()
{
    const int t = kHH;
    resetCommon(t);
    applyWebGroups(*this, t, "ADD0FC");
    setCheck(QStringLiteral("chkToC"), t, false);
    setText(QStringLiteral("txtToCDepth"), t, QStringLiteral("10"));
    setCheck(QStringLiteral("chkListFigures"), t, false);
    setCheck(QStringLiteral("chkListTables"), t, false);
    setCheck(QStringLiteral("chkToCChapter"), t, true);
    setOption(QStringLiteral("optOnline"), t, true);
    setCheck(QStringLiteral("chkHHAdvSearch"), t, true);
    setCheck(QStringLiteral("chkHHToCRoot"), t, true);
}

void cOutputProperties::resetPDF()
{
    const int t = kPDF;
    resetCommon(t);
    applyGroups(*this, t,
                {{"Body", "Times New Roman", 10, "000000", nullptr, false, false},
                 {"ChapterTitle", "Arial", 16, "000000", nullptr, true, false},
                 {"Header", "Times New Roman", 10, "000000", "D8D8D8", true, false},
                 {"Descrp", "Times New Roman", 10, "000000", nullptr, false, true}});
    applyNote(*this, t, "Arial", 12, "Times New Roman", 10, "D8D8D8");
    setCheck(QStringLiteral("chkToC"), t, true);
    setCheck(QStringLiteral("chkAutoNumber"), t, true);
    setText(QStringLiteral("txtToCDepth"), t, QStringLiteral("10"));
    setCheck(QStringLiteral("chkListFigures"), t, true);
    setCheck(QStringLiteral("chkListTables"), t, true);
    setCheck(QStringLiteral("chkToCChapter"), t, false);
    setOption(QStringLiteral("optPrinted"), t, true);
    setText(QStringLiteral("txtColNumber"), t, QStringLiteral("1"));
    setCheck(QStringLiteral("chkBookmarks"), t, true);
    setCheck(QStringLiteral("chkRule"), t, true);
    setText(QStringLiteral("cmbPaperType"), t, QStringLiteral("A4"));
}

void cOutputProperties::resetHTML()
{
    const int t = kHTML;
    resetCommon(t);
    applyWebGroups(*this, t, "FFFFFF");
    applyToc(*this, t, {true, true, "10", true, true, true, true});
}

void cOutputProperties::resetHTMLFrames()
{
    const int t = kHTMLFrames;
    resetCommon(t);
    applyWebGroups(*this, t, "ADD0FC");
    applyGroups(*this, t, {{"ToC", "Arial", 10, "000080", "FFFFFF", true, false}});
    // The left pane's italic box is spelled chkTocItalic.
    setCheck(QStringLiteral("chkTocItalic"), t, false);
    applyToc(*this, t, {true, true, "10", true, true, true, true});
}

void cOutputProperties::resetWebHelp()
{
    const int t = kWebHelp;
    resetCommon(t);
    applyWebGroups(*this, t, "FFFFFF");
    // Screens of every size: a sans-serif face reads better than Times.
    for (const char* g : {"Body", "BookTitle", "ChapterTitle", "Author", "Header", "Descrp", "NoteTitle", "NoteBody"})
        setText(QStringLiteral("cmb") + QString::fromLatin1(g) + QStringLiteral("Font"), t, QStringLiteral("Arial"));
    setText(QStringLiteral("cmbBodySize"), t, QStringLiteral("11"));
    setColorHex(QStringLiteral("picBookTitleBGColor"), t, QStringLiteral("FFFFFF"));
    setColorHex(QStringLiteral("picChapterTitleColor"), t, QStringLiteral("1F3A60"));
    // The sidebar is the contents: none on the pages.
    applyToc(*this, t, {true, false, "10", false, false, false, true});
}

void cOutputProperties::resetEPUB()
{
    const int t = kEPUB;
    resetCommon(t);
    applyWebGroups(*this, t, "FFFFFF");
    // A reader sets the page's colours and size; the book keeps to black on
    // white and sizes a reader can scale.
    setColorHex(QStringLiteral("picBookTitleBGColor"), t, QStringLiteral("FFFFFF"));
    setColorHex(QStringLiteral("picHeaderBGColor"), t, QStringLiteral("E8E8E8"));
    setColorHex(QStringLiteral("picNoteBGColor"), t, QStringLiteral("F0F0F0"));
    applyToc(*this, t, {true, true, "3", false, false, false, false});
}

void cOutputProperties::reset(int tab)
{
    switch (tab) {
    case kHH: resetHH(); break;
    case kPDF: resetPDF(); break;
    case kHTML: resetHTML(); break;
    case kHTMLFrames: resetHTMLFrames(); break;
    case kWebHelp: resetWebHelp(); break;
    case kEPUB: resetEPUB(); break;
    default: break;
    }
}

int cOutputProperties::tabOfKey(const QString& key)
{
    if (key == QLatin1String("HH"))
        return kHH;
    if (key == QLatin1String("PDF"))
        return kPDF;
    if (key == QLatin1String("HTML"))
        return kHTML;
    if (key == QLatin1String("HTMLFrames"))
        return kHTMLFrames;
    if (key == QLatin1String("WebHelp"))
        return kWebHelp;
    if (key == QLatin1String("EPUB"))
        return kEPUB;
    return -1;
}

void cOutputProperties::SwitchTab(const QString& key)
{
    int t = tabOfKey(key);
    if (t >= 0)
        m_tab = t;
}

QString cOutputProperties::outputOf(int tab) const
{
    return option(QStringLiteral("optOnline"), tab) ? QStringLiteral("online") : QStringLiteral("print");
}

QString cOutputProperties::GetCoverImage(const QString& key)
{
    fontConfigurationFound = QFileInfo::exists(publishpaths::fontConfigurationFile());
    configuredFonts = fontConfigurationFound ? configuredFontNames(publishpaths::fontConfigurationFile())
                                             : QStringList();
    int t = tabOfKey(key);
    if (t < 0)
        return QString();
    return text(QStringLiteral("txtCoverImage"), t);
}

QString cOutputProperties::colorToHex(int32_t value)
{
    uint32_t v = uint32_t(value);
    if (v & 0x80000000u) {
        uint32_t idx = v & 255u;
        QString rgb = idx < kSystemColors.size() ? QString::fromLatin1(kSystemColors[idx]) : QStringLiteral("000000");
        v = uint32_t(hexToColor(rgb));
    }
    QString hex = QString::number(v, 16).toUpper().rightJustified(6, QLatin1Char('0')).right(6);
    // BBGGRR to RRGGBB.
    return hex.mid(4, 2) + hex.mid(2, 2) + hex.mid(0, 2);
}

int32_t cOutputProperties::hexToColor(const QString& rrggbb)
{
    bool ok = false;
    int r = rrggbb.mid(0, 2).toInt(&ok, 16);
    int g = rrggbb.mid(2, 2).toInt(&ok, 16);
    int b = rrggbb.mid(4, 2).toInt(&ok, 16);
    return int32_t(r + g * 256 + b * 65536);
}

// ---------------------------------------------------------------- .qop file

QByteArray cOutputProperties::propertiesText() const
{
    QString out;
    auto line = [&out](const QString& s) {
        out += s;
        out += QStringLiteral("\r\n");
    };
    line(QLatin1Char('"') + kHeader + QLatin1Char('"'));
    for (const Control& c : m_controls) {
        line(c.name);
        switch (c.kind) {
        case Kind::Check: line(QString::number(c.value)); break;
        case Kind::Option: line(c.option ? QStringLiteral("#TRUE#") : QStringLiteral("#FALSE#")); break;
        case Kind::Text: line(QLatin1Char('"') + c.text + QLatin1Char('"')); break;
        case Kind::Combo: line(QString::number(c.listIndex())); break;
        case Kind::Picture: line(QString::number(c.color)); break;
        }
        line(c.index < 0 ? QStringLiteral("#NULL#") : QString::number(c.index));
    }
    return out.toUtf8();
}

bool cOutputProperties::SaveProperties(const QString& path, QString* error) const
{
    return fileio::atomicReplace(path, propertiesText(), {}, error);
}

namespace {

// A value as the reader types it.
struct Item {
    enum Type { Empty, Null, Bool, Number, String } type = Empty;
    bool b = false;
    double n = 0;
    QString s;
};

// Reads items as the platform's sequential input does: commas and line ends
// separate, a quoted text ends at its next quote, the rest up to the
// separator is skipped.
class ItemReader {
public:
    explicit ItemReader(QString text) : m_t(std::move(text)) {}
    bool atEnd()
    {
        return m_p >= m_t.size();
    }
    Item next()
    {
        Item it;
        while (m_p < m_t.size() && (m_t[m_p] == QLatin1Char(' ') || m_t[m_p] == QLatin1Char('\t')))
            ++m_p;
        if (m_p < m_t.size() && m_t[m_p] == QLatin1Char('"')) {
            qsizetype end = m_t.indexOf(QLatin1Char('"'), m_p + 1);
            if (end < 0)
                end = m_t.size();
            it.type = Item::String;
            it.s = m_t.mid(m_p + 1, end - m_p - 1);
            m_p = end + 1;
            skipToSeparator();
            return it;
        }
        qsizetype start = m_p;
        while (m_p < m_t.size() && !isSeparator(m_t[m_p]))
            ++m_p;
        QString raw = m_t.mid(start, m_p - start).trimmed();
        consumeSeparator();
        if (raw.isEmpty())
            return it;
        if (raw.compare(QLatin1String("#TRUE#"), Qt::CaseInsensitive) == 0) {
            it.type = Item::Bool;
            it.b = true;
        } else if (raw.compare(QLatin1String("#FALSE#"), Qt::CaseInsensitive) == 0) {
            it.type = Item::Bool;
        } else if (raw.compare(QLatin1String("#NULL#"), Qt::CaseInsensitive) == 0) {
            it.type = Item::Null;
        } else {
            bool ok = false;
            double d = raw.toDouble(&ok);
            if (ok) {
                it.type = Item::Number;
                it.n = d;
            } else {
                it.type = Item::String;
                it.s = raw;
            }
        }
        return it;
    }

private:
    static bool isSeparator(QChar c)
    {
        return c == QLatin1Char(',') || c == QLatin1Char('\r') || c == QLatin1Char('\n');
    }
    void consumeSeparator()
    {
        if (m_p >= m_t.size())
            return;
        if (m_t[m_p] == QLatin1Char('\r')) {
            ++m_p;
            if (m_p < m_t.size() && m_t[m_p] == QLatin1Char('\n'))
                ++m_p;
        } else {
            ++m_p;
        }
    }
    void skipToSeparator()
    {
        while (m_p < m_t.size() && !isSeparator(m_t[m_p]))
            ++m_p;
        consumeSeparator();
    }
    QString m_t;
    qsizetype m_p = 0;
};

std::optional<double> asNumber(const Item& it)
{
    switch (it.type) {
    case Item::Number: return it.n;
    case Item::Bool: return it.b ? -1.0 : 0.0;
    case Item::String: {
        bool ok = false;
        double d = it.s.trimmed().toDouble(&ok);
        if (ok)
            return d;
        return std::nullopt;
    }
    default: return std::nullopt;
    }
}

QString decodeAnsi(const QByteArray& bytes)
{
    // The files are written as UTF-8; older ones in a Windows code page.
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString s = utf8(bytes);
    if (!utf8.hasError())
        return s;
    return QString::fromLatin1(bytes);
}

} // namespace

bool cOutputProperties::LoadProperties(const QString& path, MsgBox& box)
{
    if (!QFileInfo::exists(path))
        return false;
    // A file that cannot be read fails the header test below.
    QByteArray bytes;
    fileio::readFile(path, bytes);
    ItemReader r(decodeAnsi(bytes));
    Item head = r.next();
    if (head.type != Item::String || head.s != kHeader) {
        box.exclamation(QStringLiteral("File is not a ") + kAppTitle + QStringLiteral(" Data File"),
                        QStringLiteral("Error reading file"));
        return false;
    }
    while (!r.atEnd()) {
        Item name = r.next();
        Item value = r.next();
        Item index = r.next();
        QString n = name.type == Item::String ? name.s
                    : name.type == Item::Number ? QString::number(name.n)
                                                : QString();
        if (n.isEmpty())
            continue;
        Control* target = nullptr;
        for (Control& c : m_controls) {
            if (c.name != n)
                continue;
            auto idx = asNumber(index);
            bool indexMatches = index.type == Item::Number && idx && c.index >= 0 && double(c.index) == *idx;
            if (indexMatches || c.index < 0) {
                target = &c;
                break;
            }
        }
        if (!target)
            continue;
        // An assignment the control refuses is passed over.
        switch (target->kind) {
        case Kind::Check: {
            auto v = asNumber(value);
            if (v && (*v == 0 || *v == 1 || *v == 2))
                setCheck(target->name, target->index, *v == 1);
            break;
        }
        case Kind::Option: {
            if (value.type == Item::Bool)
                setOption(target->name, target->index, value.b);
            else if (auto v = asNumber(value))
                setOption(target->name, target->index, *v != 0);
            break;
        }
        case Kind::Text:
            if (value.type == Item::String)
                target->text = value.s;
            else if (value.type == Item::Number)
                target->text = QString::number(value.n);
            else if (value.type == Item::Bool)
                target->text = value.b ? QStringLiteral("True") : QStringLiteral("False");
            else if (value.type == Item::Empty)
                target->text.clear();
            break;
        case Kind::Combo: {
            auto v = asNumber(value);
            if (v && *v == double(int(*v)))
                setListIndex(target->name, target->index, int(*v));
            break;
        }
        case Kind::Picture: {
            auto v = asNumber(value);
            if (v && *v >= -2147483648.0 && *v <= 4294967295.0)
                target->color = int32_t(uint32_t(int64_t(*v)));
            break;
        }
        }
    }
    return true;
}

QString cOutputProperties::lastQopPath()
{
    return paths::configFolder() + QStringLiteral("/last.qop");
}

void cOutputProperties::formLoad(MsgBox& box)
{
    resetHH();
    resetPDF();
    resetHTML();
    resetHTMLFrames();
    if (QFileInfo::exists(lastQopPath()))
        LoadProperties(lastQopPath(), box);
}

void cOutputProperties::cmdOK()
{
    SaveProperties(lastQopPath());
}

void cOutputProperties::cmdCancel(MsgBox& box)
{
    if (QFileInfo::exists(lastQopPath()))
        LoadProperties(lastQopPath(), box);
}
