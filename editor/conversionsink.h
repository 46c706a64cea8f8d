#pragma once
// The one interface of the conversion pair: element events (odd opens, the
// following even closes), attribute events and text. cXMLDoc and cHTMLDoc
// both receive through it and send to it, so neither knows the other's names.
#include <QString>

#include <cstdint>
#include <stdexcept>

class ConversionSink {
public:
    virtual ~ConversionSink() = default;
    virtual void SendElem(int32_t code) = 0;
    virtual void SendAttrib(int32_t code, const QString& value) = 0;
    virtual void SendText(const QString& text) = 0;
};

// Element events.
namespace ev {
enum : int32_t {
    Topic = 1,
    TopicEnd = 2,
    Title = 3,
    TitleEnd = 4,
    Para = 5,
    ParaEnd = 6,
    Image = 7,
    ImageEnd = 8,
    Link = 9,
    LinkEnd = 10,
    Anchor = 11,
    AnchorEnd = 12,
    Notice = 13,
    NoticeEnd = 14,
    NoticeTitle = 15,
    NoticeTitleEnd = 16,
    Sign = 17,
    SignEnd = 18,
    List = 19,
    ListEnd = 20,
    Item = 21,
    ItemEnd = 22,
    Table = 23,
    TableEnd = 24,
    Header = 25,
    HeaderEnd = 26,
    Row = 27,
    RowEnd = 28,
    Cell = 29,
    CellEnd = 30,
    NoticePara = 31,
    NoticeParaEnd = 32,
    TableTitle = 33, // sent towards XML
    TableTitleEnd = 34,
    Col = 35, // sent towards XML
    ColEnd = 36,
    Caption = 37, // sent towards HTML
    CaptionEnd = 38,
    TableCaption = 39, // sent towards HTML
    TableCaptionEnd = 40,
    ParaTitle = 41,
    ParaTitleEnd = 42,
};
} // namespace ev

// Attribute events.
namespace at {
enum : int32_t {
    Id = 1,
    Output = 3,
    File = 5,
    Format = 6,
    Scale = 7,
    Ref = 8,
    WebLabel = 9,
    Name = 10,
    ListFormat = 11,
    Border = 12,
    Align = 13,
    Lang = 14,
    ColNumber = 15,
    Width = 16,
    TransId = 17,
};
} // namespace at

// A failure inside a walk: the walk leaves the level it happened at.
class ConversionFailure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};
