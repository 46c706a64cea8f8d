#include "icons.h"

#include <QFont>
#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPolygonF>

#include <functional>

namespace appicons {

namespace {

using Draw = std::function<void(QPainter&)>;

const QColor kInk(0x3C, 0x40, 0x43);
const QColor kOutline(0x5F, 0x6B, 0x7A);
const QColor kLines(0x9A, 0xA5, 0xB1);
const QColor kBlue(0x2F, 0x6F, 0xD0);
const QColor kBlueDark(0x24, 0x56, 0xA6);
const QColor kBlueLight(0xDC, 0xE9, 0xFB);
const QColor kHeading(0xAD, 0xD0, 0xFC);
const QColor kAmber(0xE0, 0xA2, 0x1B);
const QColor kAmberDark(0x9C, 0x6F, 0x0E);
const QColor kGreen(0x2E, 0x8B, 0x57);
const QColor kRed(0xC0, 0x39, 0x2B);

// Draws on a square canvas of `canvas` units, shown at `logical` pixels.
QPixmap render(int logical, qreal dpr, int canvas, const Draw& draw)
{
    const int px = qRound(logical * dpr);
    QPixmap pm(px, px);
    pm.fill(Qt::transparent);
    pm.setDevicePixelRatio(dpr);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setRenderHint(QPainter::TextAntialiasing);
    p.scale(qreal(logical) / canvas, qreal(logical) / canvas);
    draw(p);
    return pm;
}

QIcon make(int canvas, std::initializer_list<int> sizes, const Draw& draw)
{
    QIcon icon;
    for (int s : sizes) {
        // Selected too, or the style would tint the picture in a selected row.
        for (QIcon::Mode mode : {QIcon::Normal, QIcon::Selected}) {
            icon.addPixmap(render(s, 1.0, canvas, draw), mode);
            icon.addPixmap(render(s, 2.0, canvas, draw), mode);
        }
    }
    return icon;
}

QPen pen(const QColor& c, qreal w)
{
    QPen p(c, w);
    p.setCapStyle(Qt::RoundCap);
    p.setJoinStyle(Qt::RoundJoin);
    return p;
}

// --- tree pictures, on a 16-unit canvas ----------------------------------

void page16(QPainter& p, const QColor& fill, const QColor& edge)
{
    QPainterPath path;
    path.moveTo(3, 1.5);
    path.lineTo(10, 1.5);
    path.lineTo(13, 4.5);
    path.lineTo(13, 14.5);
    path.lineTo(3, 14.5);
    path.closeSubpath();
    p.setPen(pen(edge, 1));
    p.setBrush(fill);
    p.drawPath(path);
    p.drawPolyline(QPolygonF({QPointF(10, 1.5), QPointF(10, 4.5), QPointF(13, 4.5)}));
    p.setPen(pen(kLines, 1));
    p.drawLine(QPointF(5, 7), QPointF(11, 7));
    p.drawLine(QPointF(5, 9.5), QPointF(11, 9.5));
    p.drawLine(QPointF(5, 12), QPointF(9, 12));
}

void padlock16(QPainter& p)
{
    p.setPen(pen(QColor(0x6B, 0x72, 0x80), 1.6));
    p.setBrush(Qt::NoBrush);
    QPainterPath shackle;
    shackle.moveTo(5.3, 8);
    shackle.lineTo(5.3, 5.2);
    shackle.arcTo(QRectF(5.3, 2.2, 5.4, 6), 180, -180);
    shackle.lineTo(10.7, 8);
    p.drawPath(shackle);
    p.setPen(pen(kAmberDark, 1));
    p.setBrush(kAmber);
    p.drawRoundedRect(QRectF(3, 7.5, 10, 7.5), 1.5, 1.5);
    p.setPen(Qt::NoPen);
    p.setBrush(kAmberDark);
    p.drawEllipse(QPointF(8, 10.6), 1.2, 1.2);
    p.drawRect(QRectF(7.5, 11, 1, 2.4));
}

void smallPadlock(QPainter& p)
{
    p.save();
    p.translate(6.5, 6.5);
    p.scale(0.6, 0.6);
    padlock16(p);
    p.restore();
}

void pencil(QPainter& p)
{
    p.save();
    p.translate(11.5, 11.5);
    p.rotate(45);
    p.setPen(pen(kBlueDark, 0.8));
    p.setBrush(kAmber);
    p.drawRect(QRectF(-1.4, -6, 2.8, 7));
    QPolygonF tip({QPointF(-1.4, 1), QPointF(1.4, 1), QPointF(0, 4)});
    p.setBrush(QColor(0xF3, 0xD9, 0xA4));
    p.drawPolygon(tip);
    p.restore();
}

void closedBook(QPainter& p)
{
    p.setPen(pen(kBlueDark, 1));
    p.setBrush(kBlue);
    p.drawRoundedRect(QRectF(2.5, 1.5, 11, 13), 1.5, 1.5);
    p.setPen(Qt::NoPen);
    p.setBrush(kBlueDark);
    p.drawRect(QRectF(3, 2, 2, 12));
    p.setBrush(Qt::white);
    p.drawRoundedRect(QRectF(6.5, 4, 5, 3), 0.6, 0.6);
}

void openBook(QPainter& p)
{
    p.setPen(pen(kBlueDark, 1));
    p.setBrush(kBlue);
    QPolygonF cover({QPointF(0.5, 4), QPointF(8, 5.5), QPointF(15.5, 4), QPointF(15.5, 14), QPointF(8, 15),
                     QPointF(0.5, 14)});
    p.drawPolygon(cover);
    p.setPen(pen(kOutline, 0.8));
    p.setBrush(Qt::white);
    p.drawPolygon(QPolygonF({QPointF(1.5, 2.5), QPointF(7.6, 4), QPointF(7.6, 13.5), QPointF(1.5, 12.3)}));
    p.drawPolygon(QPolygonF({QPointF(8.4, 4), QPointF(14.5, 2.5), QPointF(14.5, 12.3), QPointF(8.4, 13.5)}));
    p.setPen(pen(kLines, 0.8));
    for (qreal y : {6.0, 8.3, 10.6}) {
        p.drawLine(QPointF(3, y - 0.9), QPointF(6.5, y));
        p.drawLine(QPointF(9.5, y), QPointF(13, y - 0.9));
    }
}

Draw treeDraw(int index)
{
    switch (index) {
    case 1: return closedBook;
    case 2: return openBook;
    case 3: return [](QPainter& p) { page16(p, Qt::white, kOutline); smallPadlock(p); };
    case 4: return [](QPainter& p) { page16(p, kBlueLight, kBlue); smallPadlock(p); };
    case 5: return [](QPainter& p) { page16(p, Qt::white, kOutline); };
    case 6: return [](QPainter& p) { page16(p, kBlueLight, kBlue); pencil(p); };
    case 7: return padlock16;
    case 8:
        return [](QPainter& p) {
            p.setPen(Qt::NoPen);
            p.setBrush(kBlueLight);
            p.drawRoundedRect(QRectF(0.5, 0.5, 15, 15), 3, 3);
            padlock16(p);
        };
    default: return {};
    }
}

// --- toolbar pictures, on a 24-unit canvas ---------------------------------

void lines(QPainter& p, const QList<QLineF>& ls, const QColor& c = kInk, qreal w = 2)
{
    p.setPen(pen(c, w));
    for (const QLineF& l : ls)
        p.drawLine(l);
}

void text(QPainter& p, const QRectF& r, const QString& s, int px, bool bold, const QColor& c)
{
    QFont f;
    f.setPixelSize(px);
    f.setBold(bold);
    p.setFont(f);
    p.setPen(c);
    p.drawText(r, Qt::AlignCenter, s);
}

void page24(QPainter& p, const QRectF& r, bool withLines)
{
    const qreal fold = 4;
    QPainterPath path;
    path.moveTo(r.left(), r.top());
    path.lineTo(r.right() - fold, r.top());
    path.lineTo(r.right(), r.top() + fold);
    path.lineTo(r.right(), r.bottom());
    path.lineTo(r.left(), r.bottom());
    path.closeSubpath();
    p.setPen(pen(kOutline, 1.3));
    p.setBrush(Qt::white);
    p.drawPath(path);
    p.drawPolyline(QPolygonF({QPointF(r.right() - fold, r.top()), QPointF(r.right() - fold, r.top() + fold),
                              QPointF(r.right(), r.top() + fold)}));
    if (withLines) {
        p.setPen(pen(kLines, 1.3));
        for (qreal y = r.top() + 7; y < r.bottom() - 2; y += 3.2)
            p.drawLine(QPointF(r.left() + 2.5, y), QPointF(r.right() - 2.5, y));
    }
}

void arrow(QPainter& p)
{
    QPainterPath path;
    path.moveTo(19, 19);
    path.cubicTo(19, 11, 15, 8.5, 9, 8.5);
    p.setPen(pen(kBlue, 2.6));
    p.setBrush(Qt::NoBrush);
    p.drawPath(path);
    p.setPen(Qt::NoPen);
    p.setBrush(kBlue);
    p.drawPolygon(QPolygonF({QPointF(3.5, 8.5), QPointF(10, 3.5), QPointF(10, 13.5)}));
}

void grid(QPainter& p, const QRectF& highlight, const QColor& fill)
{
    const QRectF r(2.5, 2.5, 15, 15);
    p.setPen(Qt::NoPen);
    p.setBrush(Qt::white);
    p.drawRect(r);
    p.setBrush(fill);
    p.drawRect(highlight);
    p.setPen(pen(kOutline, 1.2));
    p.setBrush(Qt::NoBrush);
    p.drawRect(r);
    for (int i = 1; i < 3; ++i) {
        p.drawLine(QPointF(r.left() + i * 5, r.top()), QPointF(r.left() + i * 5, r.bottom()));
        p.drawLine(QPointF(r.left(), r.top() + i * 5), QPointF(r.right(), r.top() + i * 5));
    }
}

void badge(QPainter& p, bool plus)
{
    p.setPen(pen(Qt::white, 1.2));
    p.setBrush(plus ? kGreen : kRed);
    p.drawEllipse(QPointF(18, 18), 5, 5);
    p.setPen(pen(Qt::white, 2));
    p.drawLine(QPointF(15.3, 18), QPointF(20.7, 18));
    if (plus)
        p.drawLine(QPointF(18, 15.3), QPointF(18, 20.7));
}

void align(QPainter& p, int how)
{
    const qreal longW = 18, shortW = 11;
    p.setPen(pen(kInk, 2.2));
    for (int i = 0; i < 4; ++i) {
        const qreal w = i % 2 ? shortW : longW;
        const qreal y = 5 + i * 4.7;
        qreal x = 3;
        if (how == 1)
            x = 12 - w / 2;
        else if (how == 2)
            x = 21 - w;
        p.drawLine(QPointF(x, y), QPointF(x + w, y));
    }
}

Draw toolbarDraw(const QString& key)
{
    static const QHash<QString, Draw> draws = {
        {QStringLiteral("New"), [](QPainter& p) { page24(p, QRectF(5, 2.5, 14, 19), false); }},
        {QStringLiteral("Open"),
         [](QPainter& p) {
             p.setPen(pen(kAmberDark, 1.2));
             p.setBrush(QColor(0xE8, 0xB3, 0x39));
             p.drawPolygon(QPolygonF({QPointF(2.5, 5), QPointF(9, 5), QPointF(11, 7.5), QPointF(20, 7.5),
                                      QPointF(20, 19.5), QPointF(2.5, 19.5)}));
             p.setBrush(QColor(0xF7, 0xCD, 0x62));
             p.drawPolygon(QPolygonF({QPointF(5, 10.5), QPointF(22.5, 10.5), QPointF(20, 19.5), QPointF(2.5, 19.5)}));
         }},
        {QStringLiteral("Save"),
         [](QPainter& p) {
             p.setPen(pen(kBlueDark, 1.2));
             p.setBrush(kBlue);
             QPainterPath body;
             body.moveTo(3, 3);
             body.lineTo(18, 3);
             body.lineTo(21, 6);
             body.lineTo(21, 21);
             body.lineTo(3, 21);
             body.closeSubpath();
             p.drawPath(body);
             p.setPen(Qt::NoPen);
             p.setBrush(QColor(0xDC, 0xE6, 0xF5));
             p.drawRect(QRectF(7, 3.6, 9, 5.5));
             p.setBrush(kBlueDark);
             p.drawRect(QRectF(12.5, 4.5, 2, 3.6));
             p.setBrush(Qt::white);
             p.drawRoundedRect(QRectF(6, 12.5, 12, 7.8), 1, 1);
         }},
        {QStringLiteral("Undo"), arrow},
        {QStringLiteral("Redo"),
         [](QPainter& p) {
             p.translate(24, 0);
             p.scale(-1, 1);
             arrow(p);
         }},
        {QStringLiteral("Copy"),
         [](QPainter& p) {
             page24(p, QRectF(8.5, 2.5, 12, 15), false);
             page24(p, QRectF(3.5, 7, 12, 15), true);
         }},
        {QStringLiteral("Paste"),
         [](QPainter& p) {
             p.setPen(pen(QColor(0x8A, 0x6A, 0x3A), 1.2));
             p.setBrush(QColor(0xC9, 0xA4, 0x6B));
             p.drawRoundedRect(QRectF(3, 4, 14, 17.5), 1.5, 1.5);
             p.setBrush(QColor(0x9A, 0xA5, 0xB1));
             p.setPen(pen(kOutline, 1));
             p.drawRoundedRect(QRectF(6.5, 2, 7, 4), 1, 1);
             page24(p, QRectF(9.5, 9, 11.5, 13), true);
         }},
        {QStringLiteral("Cut"),
         [](QPainter& p) {
             lines(p, {QLineF(8.5, 15.5, 16.5, 2.5), QLineF(15.5, 15.5, 7.5, 2.5)}, kInk, 2);
             p.setPen(pen(kRed, 2));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(7, 18.3), 3.2, 3.2);
             p.drawEllipse(QPointF(17, 18.3), 3.2, 3.2);
         }},
        {QStringLiteral("Find"),
         [](QPainter& p) {
             p.setPen(pen(kInk, 3.6));
             p.drawLine(QPointF(15, 15), QPointF(21, 21));
             p.setPen(pen(kInk, 2.2));
             p.setBrush(kBlueLight);
             p.drawEllipse(QPointF(10, 10), 6.3, 6.3);
         }},
        {QStringLiteral("Topic Title"),
         [](QPainter& p) {
             p.setPen(pen(QColor(0x5B, 0x8F, 0xD6), 1));
             p.setBrush(kHeading);
             p.drawRoundedRect(QRectF(2, 5, 20, 14), 2, 2);
             text(p, QRectF(2, 5, 20, 14), QStringLiteral("H1"), 11, true, kBlueDark);
         }},
        {QStringLiteral("Paragraph"),
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(kInk);
             QPainterPath bowl;
             bowl.moveTo(12, 3.5);
             bowl.arcTo(QRectF(5, 3.5, 9, 9.5), 90, 180);
             bowl.closeSubpath();
             p.drawPath(bowl);
             lines(p, {QLineF(12, 3.5, 18.5, 3.5), QLineF(12, 3.5, 12, 21), QLineF(16.5, 3.5, 16.5, 21)}, kInk, 2);
         }},
        {QStringLiteral("ParaHeader"),
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(kInk);
             p.drawRect(QRectF(3, 4, 13, 3.6));
             lines(p, {QLineF(3, 10, 16, 10)}, kBlue, 1.6);
             lines(p, {QLineF(3, 14.5, 21, 14.5), QLineF(3, 18, 21, 18), QLineF(3, 21.5, 14, 21.5)}, kLines, 1.8);
         }},
        {QStringLiteral("Note"),
         [](QPainter& p) {
             p.setPen(pen(QColor(0x5B, 0x8F, 0xD6), 1.2));
             p.setBrush(kHeading);
             p.drawRoundedRect(QRectF(2.5, 3.5, 19, 17), 2.5, 2.5);
             lines(p, {QLineF(6, 8, 14, 8)}, kInk, 2.2);
             lines(p, {QLineF(6, 12.5, 18, 12.5), QLineF(6, 16.5, 15, 16.5)}, kBlueDark, 1.5);
         }},
        {QStringLiteral("Sign"),
         [](QPainter& p) { text(p, QRectF(0, 0, 24, 24), QStringLiteral("B"), 18, true, kInk); }},
        {QStringLiteral("Bulleted List"),
         [](QPainter& p) {
             p.setPen(Qt::NoPen);
             p.setBrush(kBlue);
             for (qreal y : {5.5, 12.0, 18.5})
                 p.drawEllipse(QPointF(5, y), 2, 2);
             lines(p, {QLineF(10, 5.5, 21, 5.5), QLineF(10, 12, 21, 12), QLineF(10, 18.5, 21, 18.5)});
         }},
        {QStringLiteral("Ordered List"),
         [](QPainter& p) {
             int n = 1;
             for (qreal y : {5.5, 12.0, 18.5})
                 text(p, QRectF(1, y - 4, 7, 8), QString::number(n++), 7, true, kBlue);
             lines(p, {QLineF(10, 5.5, 21, 5.5), QLineF(10, 12, 21, 12), QLineF(10, 18.5, 21, 18.5)});
         }},
        {QStringLiteral("Link"),
         [](QPainter& p) {
             p.translate(12, 12);
             p.rotate(-45);
             p.setPen(pen(kBlue, 2.2));
             p.setBrush(Qt::NoBrush);
             p.drawRoundedRect(QRectF(-10, -3.5, 11, 7), 3.5, 3.5);
             p.drawRoundedRect(QRectF(-1, -3.5, 11, 7), 3.5, 3.5);
         }},
        {QStringLiteral("Anchor"),
         [](QPainter& p) {
             p.setPen(pen(kBlue, 2));
             p.setBrush(Qt::NoBrush);
             p.drawEllipse(QPointF(12, 4.5), 2.2, 2.2);
             p.drawLine(QPointF(12, 6.8), QPointF(12, 20.5));
             p.drawLine(QPointF(8, 10), QPointF(16, 10));
             p.drawArc(QRectF(4.5, 7, 15, 14), 200 * 16, 140 * 16);
             p.drawLine(QPointF(4.3, 13), QPointF(5.2, 16.2));
             p.drawLine(QPointF(19.7, 13), QPointF(18.8, 16.2));
         }},
        {QStringLiteral("Image"),
         [](QPainter& p) {
             p.setPen(pen(kOutline, 1.3));
             p.setBrush(Qt::white);
             p.drawRoundedRect(QRectF(2.5, 4.5, 19, 15), 1.5, 1.5);
             p.setPen(Qt::NoPen);
             p.setBrush(kAmber);
             p.drawEllipse(QPointF(16.5, 9), 2, 2);
             p.setBrush(kGreen);
             p.drawPolygon(QPolygonF({QPointF(4, 18.5), QPointF(9.5, 11), QPointF(13.5, 16), QPointF(15.5, 13.5),
                                      QPointF(20, 18.5)}));
         }},
        {QStringLiteral("Printed Output"),
         [](QPainter& p) {
             p.setPen(pen(kOutline, 1.2));
             p.setBrush(Qt::white);
             p.drawRect(QRectF(7, 2.5, 10, 7));
             p.setBrush(QColor(0x6B, 0x72, 0x80));
             p.drawRoundedRect(QRectF(2.5, 8.5, 19, 9), 2, 2);
             p.setBrush(QColor(0xFF, 0xE0, 0xB3));
             p.drawRect(QRectF(7, 13.5, 10, 8));
             lines(p, {QLineF(9, 16.5, 15, 16.5), QLineF(9, 19, 13.5, 19)}, kOutline, 1.1);
         }},
        {QStringLiteral("Online Output"),
         [](QPainter& p) {
             p.setPen(pen(kInk, 1.4));
             p.setBrush(QColor(0xCC, 0xF2, 0xCC));
             p.drawRoundedRect(QRectF(2.5, 3.5, 19, 13), 1.5, 1.5);
             p.setPen(Qt::NoPen);
             p.setBrush(kInk);
             p.drawRect(QRectF(10.5, 16.5, 3, 3));
             p.drawRoundedRect(QRectF(6.5, 19.5, 11, 2), 1, 1);
         }},
        {QStringLiteral("Table"),
         [](QPainter& p) {
             const QRectF r(2.5, 4, 19, 16);
             p.setPen(Qt::NoPen);
             p.setBrush(Qt::white);
             p.drawRect(r);
             p.setBrush(kHeading);
             p.drawRect(QRectF(2.5, 4, 19, 5.3));
             p.setPen(pen(kOutline, 1.2));
             p.setBrush(Qt::NoBrush);
             p.drawRect(r);
             p.drawLine(QPointF(2.5, 9.3), QPointF(21.5, 9.3));
             p.drawLine(QPointF(2.5, 14.6), QPointF(21.5, 14.6));
             p.drawLine(QPointF(8.8, 4), QPointF(8.8, 20));
             p.drawLine(QPointF(15.2, 4), QPointF(15.2, 20));
         }},
        {QStringLiteral("Align Left"), [](QPainter& p) { align(p, 0); }},
        {QStringLiteral("Align Center"), [](QPainter& p) { align(p, 1); }},
        {QStringLiteral("Align Right"), [](QPainter& p) { align(p, 2); }},
        {QStringLiteral("Insert Row"),
         [](QPainter& p) {
             grid(p, QRectF(2.5, 7.5, 15, 5), QColor(0xCC, 0xF2, 0xCC));
             badge(p, true);
         }},
        {QStringLiteral("Delete Row"),
         [](QPainter& p) {
             grid(p, QRectF(2.5, 7.5, 15, 5), QColor(0xF8, 0xD0, 0xCB));
             badge(p, false);
         }},
        {QStringLiteral("Insert Column"),
         [](QPainter& p) {
             grid(p, QRectF(7.5, 2.5, 5, 15), QColor(0xCC, 0xF2, 0xCC));
             badge(p, true);
         }},
        {QStringLiteral("Delete Column"),
         [](QPainter& p) {
             grid(p, QRectF(7.5, 2.5, 5, 15), QColor(0xF8, 0xD0, 0xCB));
             badge(p, false);
         }},
    };
    return draws.value(key);
}

} // namespace

QIcon treeImage(int index)
{
    static QHash<int, QIcon> cache;
    auto it = cache.find(index);
    if (it != cache.end())
        return it.value();
    Draw d = treeDraw(index);
    QIcon icon = d ? make(16, {16, 24, 32}, d) : QIcon();
    cache.insert(index, icon);
    return icon;
}

QPixmap treePixmap(int index, int size)
{
    Draw d = treeDraw(index);
    return d ? render(size, 2.0, 16, d) : QPixmap();
}

QIcon toolbarIcon(const QString& key)
{
    Draw d = toolbarDraw(key);
    return d ? make(24, {16, 20, 24, 32}, d) : QIcon();
}

QIcon windowIcon()
{
    return make(16, {16, 32, 48, 64, 128}, openBook);
}

} // namespace appicons
