#include "chtmldoc.h"

#include "htmldom.h"
#include "mcommon.h"
#include "msgbox.h"

#include <cstdlib>
#include <limits>

using htmldom::getAttribute;
using htmldom::tagName;

namespace {

const xmlChar* X(const char* s)
{
    return reinterpret_cast<const xmlChar*>(s);
}

QString className(xmlNode* node)
{
    return getAttribute(node, "class");
}

xmlNode* parentElement(xmlNode* node)
{
    if (node && node->parent && node->parent->type == XML_ELEMENT_NODE)
        return node->parent;
    return nullptr;
}

// A DD that holds nothing but one STRONG: the title of a notice.
bool titleLike(xmlNode* node)
{
    return node->children && tagName(node->children) == QLatin1String("STRONG") &&
           node->children == node->last;
}

void increment(int16_t& counter)
{
    if (counter == std::numeric_limits<int16_t>::max())
        throw ConversionFailure("Overflow");
    ++counter;
}

} // namespace

int32_t divideHalfEven(int64_t numerator, int64_t denominator)
{
    if (denominator == 0)
        throw ConversionFailure("Division by zero");
    int64_t q = numerator / denominator;
    int64_t r = numerator % denominator;
    int64_t twice = 2 * std::llabs(r);
    int64_t d = std::llabs(denominator);
    if (twice > d || (twice == d && q % 2 != 0))
        q += ((numerator < 0) != (denominator < 0)) ? -1 : 1;
    if (q > std::numeric_limits<int32_t>::max() || q < std::numeric_limits<int32_t>::min())
        throw ConversionFailure("Overflow");
    return int32_t(q);
}

bool isAllowedAddress(const QString& address)
{
    QString a;
    a.reserve(address.size());
    for (QChar c : address)
        if (c != QLatin1Char('\t') && c != QLatin1Char('\n') && c != QLatin1Char('\r'))
            a += c;
    qsizetype start = 0;
    while (start < a.size() && a[start].unicode() <= 0x20)
        ++start;
    a = a.mid(start);
    // A scheme is what stands before the first colon, when no "/", "?" or
    // "#" comes first; without one the address is relative (or an id).
    qsizetype colon = a.indexOf(QLatin1Char(':'));
    if (colon < 0)
        return true;
    for (qsizetype i = 0; i < colon; ++i)
        if (a[i] == QLatin1Char('/') || a[i] == QLatin1Char('?') || a[i] == QLatin1Char('#'))
            return true;
    const QString scheme = a.left(colon).toLower();
    return scheme == QLatin1String("http") || scheme == QLatin1String("https") ||
           scheme == QLatin1String("mailto") || scheme == QLatin1String("ftp");
}

QString columnWidth(int32_t value, int32_t mean, int32_t half)
{
    if (value < half)
        return QStringLiteral("1*");
    if (value <= mean)
        return QStringLiteral("2*");
    if (int64_t(value) <= 2 * int64_t(mean))
        return QStringLiteral("5*");
    return QStringLiteral("10*");
}

cHTMLDoc::cHTMLDoc(MsgBox& box) : m_box(box) {}

void cHTMLDoc::SetDoc(xmlDoc* document)
{
    m_doc = document;
    m_start = htmldom::body(document);
    m_current = m_start;
    m_docSet = m_start != nullptr;
}

void cHTMLDoc::StartParsing(ConversionSink& target)
{
    if (!m_docSet)
        return;
    target.SendElem(ev::Topic);
    walkHTML(m_start, target);
    target.SendElem(ev::TopicEnd);
}

xmlNode* cHTMLDoc::findChildByTag(xmlNode* node, const char* tag)
{
    for (xmlNode* c = node->children; c; c = c->next)
        if (c->type == XML_ELEMENT_NODE && tagName(c) == QLatin1String(tag))
            return c;
    return nullptr;
}

void cHTMLDoc::walkHTML(xmlNode* node, ConversionSink& target)
{
    if (!node->children)
        return;
    try {
        for (xmlNode* child = node->children; child; child = child->next) {
            if (child->type != XML_ELEMENT_NODE)
                textRule(node, child, target);
            else
                walkChild(child, target);
        }
    } catch (const std::exception& e) {
        // The rest of this level is skipped; the levels above go on, and the
        // validation of the result shows what broke.
        m_box.stop(QString::fromUtf8(e.what()));
    }
}

void cHTMLDoc::textRule(xmlNode* parent, xmlNode* child, ConversionSink& target)
{
    const QString value = htmldom::nodeValue(child);
    if (tagName(parent) != QLatin1String("A")) {
        m_state.textLength += int32_t(value.size());
        target.SendText(value);
        return;
    }
    const QString href = getAttribute(parent, "href");
    const QString linkTarget = getAttribute(parent, "target");
    if (!href.isEmpty()) {
        if (linkTarget == QLatin1String("web")) {
            target.SendAttrib(at::WebLabel, value);
        } else if (linkTarget.isEmpty()) {
            m_state.textLength += int32_t(value.size());
            target.SendText(value);
        }
        // Any other target ("local"): the generated "link to" text is dropped.
    }
    if (!getAttribute(parent, "name").isEmpty())
        target.SendAttrib(at::Name, value);
}

void cHTMLDoc::walkChild(xmlNode* child, ConversionSink& target)
{
    const QString tag = tagName(child);
    auto wrap = [&](int32_t open) {
        target.SendElem(open);
        walkHTML(child, target);
        target.SendElem(open + 1);
    };

    if (tag == QLatin1String("DIV") || tag == QLatin1String("EM") || tag == QLatin1String("TBODY") ||
        tag == QLatin1String("B") || tag == QLatin1String("I") || tag == QLatin1String("SPAN")) {
        // Pasted formatting has no element of its own: its text stays.
        walkHTML(child, target);
    } else if (tag == QLatin1String("H1")) {
        wrap(ev::Title);
    } else if (tag == QLatin1String("U")) {
        wrap(ev::ParaTitle);
    } else if (tag == QLatin1String("P")) {
        const QString title = getAttribute(child, "title");
        if (title.isEmpty()) {
            if (child->children) {
                target.SendElem(ev::Para);
                if (!className(child).isEmpty())
                    target.SendAttrib(at::Output, className(child));
                transidRule(child, target);
                walkHTML(child, target);
                target.SendElem(ev::ParaEnd);
            }
        } else if (title == QLatin1String("image")) {
            imageRule(child, target);
        } else if (title == QLatin1String("table")) {
            tableRule(child, target);
        }
    } else if (tag == QLatin1String("STRONG")) {
        wrap(ev::Sign);
    } else if (tag == QLatin1String("A")) {
        const QString href = getAttribute(child, "href");
        const QString linkTarget = getAttribute(child, "target");
        if (!href.isEmpty() && linkTarget.isEmpty()) {
            // A link the surface made by itself: its text stays, plain.
            walkHTML(child, target);
        } else if (!href.isEmpty()) {
            target.SendElem(ev::Link);
            target.SendAttrib(at::Ref, checkedAddress(mCommon::stripFileURL(href, baseDocURL)));
            walkHTML(child, target);
            target.SendElem(ev::LinkEnd);
        }
        const QString name = getAttribute(child, "name");
        if (!name.isEmpty()) {
            target.SendElem(ev::Anchor);
            target.SendAttrib(at::Id, name);
            walkHTML(child, target);
            target.SendElem(ev::AnchorEnd);
        }
    } else if (tag == QLatin1String("DL")) {
        target.SendElem(ev::Notice);
        transidRule(child, target);
        walkHTML(child, target);
        target.SendElem(ev::NoticeEnd);
    } else if (tag == QLatin1String("DD")) {
        noticeRule(child, target);
    } else if (tag == QLatin1String("UL") || tag == QLatin1String("OL")) {
        target.SendElem(ev::List);
        target.SendAttrib(at::ListFormat, tag == QLatin1String("UL") ? QStringLiteral("bullet")
                                                                      : QStringLiteral("number"));
        transidRule(child, target);
        walkHTML(child, target);
        target.SendElem(ev::ListEnd);
    } else if (tag == QLatin1String("LI")) {
        wrap(ev::Item);
    } else if (tag == QLatin1String("TR")) {
        m_state.cellCounter = 0;
        if (className(child) == QLatin1String("header")) {
            wrap(ev::Header);
        } else {
            increment(m_state.rowCounter);
            wrap(ev::Row);
        }
    } else if (tag == QLatin1String("TD")) {
        cellRule(child, target);
    }
    // Any other element is dropped with its content.
}

void cHTMLDoc::transidRule(xmlNode* element, ConversionSink& target)
{
    const QString id = getAttribute(element, "transid");
    if (id.isEmpty())
        return;
    const QString mark = QLatin1Char('#') + id + QLatin1Char('#');
    if (m_state.seenTransids.contains(mark))
        return;
    // Only the first copy of a copied element keeps its transid.
    m_state.seenTransids += mark;
    target.SendAttrib(at::TransId, id);
}

void cHTMLDoc::imageRule(xmlNode* p, ConversionSink& target)
{
    xmlNode* img = findChildByTag(p, "IMG");
    if (!img)
        return;
    target.SendElem(ev::Image);
    target.SendAttrib(at::File, checkedAddress(mCommon::stripFileURL(getAttribute(img, "src"), baseDocURL)));
    target.SendAttrib(at::Format, getAttribute(img, "alt"));
    target.SendAttrib(at::Scale, getAttribute(img, "scale"));
    transidRule(img, target);
    if (!className(p).isEmpty())
        target.SendAttrib(at::Output, className(p));
    if (xmlNode* em = findChildByTag(p, "EM"))
        walkHTML(em, target);
    target.SendElem(ev::ImageEnd);
}

QString cHTMLDoc::checkedAddress(const QString& address)
{
    if (isAllowedAddress(address))
        return address;
    m_refused << address;
    return QString(); // never stored: the save is refused
}

void cHTMLDoc::tableRule(xmlNode* p, ConversionSink& target)
{
    xmlNode* table = findChildByTag(p, "TABLE");
    if (!table)
        return;
    // A table inside a cell counts its own rows and columns; those of the
    // table around it go on afterwards.
    struct Outer {
        ConversionState& state;
        int16_t cells, rows;
        std::vector<cLong> columns;
        int32_t text;
        ~Outer()
        {
            state.cellCounter = cells;
            state.rowCounter = rows;
            state.columnLengths = std::move(columns);
            state.textLength = text;
        }
    } outer{m_state, m_state.cellCounter, m_state.rowCounter, std::move(m_state.columnLengths),
            m_state.textLength};
    m_state.columnLengths.clear();
    m_state.cellCounter = 0;
    m_state.rowCounter = 0;
    target.SendElem(ev::Table);
    const QString border = getAttribute(table, "border");
    if (border.isEmpty() || border == QLatin1String("0"))
        target.SendAttrib(at::Border, QStringLiteral("none"));
    else if (border == QLatin1String("1"))
        target.SendAttrib(at::Border, QStringLiteral("all"));
    transidRule(table, target);
    if (!className(p).isEmpty())
        target.SendAttrib(at::Output, className(p));

    walkHTML(table, target);
    target.SendAttrib(at::ColNumber, QString::number(m_state.cellCounter));

    // Widths from the mean text length per column of the non-header rows.
    int64_t sum = 0;
    for (cLong& column : m_state.columnLengths) {
        column.Value = divideHalfEven(column.Value, m_state.rowCounter);
        sum += column.Value;
    }
    const int32_t mean = divideHalfEven(sum, m_state.cellCounter);
    const int32_t half = divideHalfEven(mean, 2);
    for (const cLong& column : m_state.columnLengths) {
        target.SendElem(ev::Col);
        target.SendAttrib(at::Width, columnWidth(column.Value, mean, half));
        target.SendElem(ev::ColEnd);
    }
    while (!m_state.columnLengths.empty())
        m_state.columnLengths.pop_back();

    if (xmlNode* em = findChildByTag(p, "EM")) {
        target.SendElem(ev::TableTitle);
        walkHTML(em, target);
        target.SendElem(ev::TableTitleEnd);
    }
    target.SendElem(ev::TableEnd);
}

void cHTMLDoc::cellRule(xmlNode* td, ConversionSink& target)
{
    increment(m_state.cellCounter);
    if (m_state.rowCounter == 1)
        m_state.columnLengths.emplace_back();
    m_state.textLength = 0;
    target.SendElem(ev::Cell);
    const QString align = getAttribute(td, "align");
    if (!align.isEmpty())
        target.SendAttrib(at::Align, align);
    walkHTML(td, target);
    target.SendElem(ev::CellEnd);
    if (m_state.rowCounter >= 1) {
        // Header cells before the first row count for nothing; a row longer
        // than the first has no column.
        if (size_t(m_state.cellCounter) > m_state.columnLengths.size())
            throw ConversionFailure("Subscript out of range");
        m_state.columnLengths[size_t(m_state.cellCounter) - 1].Value += m_state.textLength;
    }
}

void cHTMLDoc::noticeRule(xmlNode* dd, ConversionSink& target)
{
    bool asTitle = titleLike(dd);
    for (xmlNode* s = dd->prev; asTitle && s; s = s->prev)
        if (titleLike(s))
            asTitle = false;
    if (!asTitle) {
        target.SendElem(ev::NoticePara);
        walkHTML(dd, target);
        target.SendElem(ev::NoticeParaEnd);
        return;
    }
    // Walking the STRONG's content, so that the title holds no sign.
    target.SendElem(ev::NoticeTitle);
    walkHTML(dd->children, target);
    target.SendElem(ev::NoticeTitleEnd);
}

// The sink: builds the surface's nodes.

xmlNode* cHTMLDoc::append(const char* name)
{
    xmlNode* n = xmlNewDocNode(m_doc, nullptr, X(name), nullptr);
    xmlAddChild(m_current, n);
    m_current = n;
    return n;
}

void cHTMLDoc::addAttribute(const char* name, const QString& value)
{
    addAttribute(m_current, name, value);
}

void cHTMLDoc::addAttribute(xmlNode* node, const char* name, const QString& value)
{
    if (node)
        htmldom::setAttribute(node, name, value);
}

void cHTMLDoc::toParent()
{
    if (xmlNode* p = parentElement(m_current))
        m_current = p;
}

void cHTMLDoc::SendElem(int32_t code)
{
    if (!m_current)
        return;
    switch (code) {
    case ev::Title: append("h1"); break;
    case ev::Para: append("p"); break;
    case ev::Image:
        m_state.wrapper = append("p");
        addAttribute("title", QStringLiteral("image"));
        append("img");
        break;
    case ev::LinkEnd:
        if (getAttribute(m_current, "target").isEmpty()) {
            addAttribute("target", QStringLiteral("local"));
            SendText(QStringLiteral("link to ") + getAttribute(m_current, "href"));
        }
        toParent();
        break;
    case ev::Link: append("a"); break;
    case ev::Anchor:
        append("a");
        addAttribute("class", QStringLiteral("anchor"));
        break;
    case ev::Notice: append("dl"); break;
    case ev::NoticeTitle:
        append("dd");
        append("strong");
        break;
    case ev::NoticeTitleEnd:
        toParent();
        toParent();
        break;
    case ev::Sign: append("strong"); break;
    case ev::List: break; // the list element comes with its format
    case ev::Item: append("li"); break;
    case ev::Table:
        m_state.wrapper = append("p");
        addAttribute("title", QStringLiteral("table"));
        append("table");
        addAttribute("cellspacing", QStringLiteral("0"));
        addAttribute("cellpadding", QStringLiteral("5"));
        append("tbody");
        break;
    case ev::TableEnd:
        toParent();
        toParent();
        toParent();
        break;
    case ev::Header:
        append("tr");
        addAttribute("class", QStringLiteral("header"));
        break;
    case ev::Row: append("tr"); break;
    case ev::Cell: {
        append("td");
        xmlNode* table = parentElement(parentElement(parentElement(m_current)));
        if (getAttribute(table, "border") == QLatin1String("0"))
            addAttribute("class", QStringLiteral("dottedBorder"));
        break;
    }
    case ev::NoticePara: append("dd"); break;
    case ev::Caption: {
        xmlNode* wrapper = m_state.wrapper ? m_state.wrapper : m_current;
        m_current = wrapper;
        append("br");
        m_current = wrapper;
        append("em");
        addAttribute("title", QStringLiteral("image"));
        break;
    }
    case ev::TableCaption: {
        m_state.saved = m_current;
        m_current = m_state.wrapper ? m_state.wrapper : m_current;
        append("em");
        addAttribute("title", QStringLiteral("table"));
        break;
    }
    case ev::TableCaptionEnd:
        if (m_state.saved)
            m_current = m_state.saved;
        break;
    case ev::ParaTitle: append("u"); break;
    case ev::TitleEnd:
    case ev::ParaEnd:
    case ev::ImageEnd:
    case ev::AnchorEnd:
    case ev::NoticeEnd:
    case ev::SignEnd:
    case ev::ListEnd:
    case ev::ItemEnd:
    case ev::HeaderEnd:
    case ev::RowEnd:
    case ev::CellEnd:
    case ev::NoticeParaEnd:
    case ev::CaptionEnd:
    case ev::ParaTitleEnd: toParent(); break;
    default: break; // 1, 2, 33 to 36 and unknown codes
    }
}

void cHTMLDoc::SendAttrib(int32_t code, const QString& value)
{
    if (!m_current)
        return;
    const QString current = tagName(m_current);
    switch (code) {
    case at::Id: addAttribute("name", value); break;
    case at::Output:
        // The output class sits on the wrapper of an image or a table.
        if (current == QLatin1String("IMG"))
            addAttribute(parentElement(m_current), "class", value);
        else if (current == QLatin1String("TBODY"))
            addAttribute(parentElement(parentElement(m_current)), "class", value);
        else
            addAttribute("class", value);
        break;
    case at::File: addAttribute("src", value); break;
    case at::Format: addAttribute("alt", value); break;
    case at::Scale: addAttribute("scale", value); break;
    case at::Ref: addAttribute("href", value); break;
    case at::WebLabel:
        addAttribute("target", QStringLiteral("web"));
        SendText(value);
        break;
    case at::Name: SendText(value); break;
    case at::ListFormat:
        if (value == QLatin1String("number"))
            append("ol");
        else if (value == QLatin1String("bullet"))
            append("ul");
        break;
    case at::Border: {
        QString border;
        if (value == QLatin1String("none"))
            border = QStringLiteral("0");
        else if (value == QLatin1String("all"))
            border = QStringLiteral("1");
        addAttribute(parentElement(m_current), "border", border);
        break;
    }
    case at::Align: addAttribute("align", value); break;
    case at::Lang: addAttribute("lang", value); break;
    case at::TransId:
        if (current == QLatin1String("TBODY"))
            addAttribute(parentElement(m_current), "transid", value);
        else
            addAttribute("transid", value);
        break;
    default: addAttribute("unknown_attrib", value); break;
    }
}

void cHTMLDoc::SendText(const QString& text)
{
    if (m_current)
        xmlAddChild(m_current, xmlNewDocText(m_doc, X(text.toUtf8().constData())));
}
