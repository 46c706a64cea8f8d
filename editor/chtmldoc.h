#pragma once
// The surface side of the conversion pair. As a sink it builds the HTML of a
// topic in the surface document; as a walker it filters the surface's HTML
// and sends the events of the topic vocabulary.
#include "conversionsink.h"
#include "holders.h"

#include <QString>
#include <QStringList>

#include <libxml/tree.h>

#include <cstdint>
#include <vector>

class MsgBox;

class cHTMLDoc : public ConversionSink {
public:
    explicit cHTMLDoc(MsgBox& box);

    // The surface's BaseURL: file URLs under it come back relative.
    QString baseDocURL;

    // Takes the surface document (not owned); start and current node become
    // its BODY.
    void SetDoc(xmlDoc* document);

    // Sends event 1, walks the BODY, sends event 2. Nothing without a document.
    void StartParsing(ConversionSink& target);

    void SendElem(int32_t code) override;
    void SendAttrib(int32_t code, const QString& value) override;
    void SendText(const QString& text) override;

    // Link and image addresses of the walk that isAllowedAddress refused;
    // a conversion with any of them must not be saved.
    const QStringList& refusedAddresses() const { return m_refused; }

private:
    struct ConversionState {
        int16_t cellCounter = 0;
        int16_t rowCounter = 0;
        std::vector<cLong> columnLengths;
        int32_t textLength = 0;
        QString seenTransids;
        xmlNode* wrapper = nullptr;
        xmlNode* saved = nullptr;
    };

    void walkHTML(xmlNode* node, ConversionSink& target);
    void walkChild(xmlNode* child, ConversionSink& target);
    void textRule(xmlNode* parent, xmlNode* child, ConversionSink& target);
    void transidRule(xmlNode* element, ConversionSink& target);
    void imageRule(xmlNode* p, ConversionSink& target);
    void tableRule(xmlNode* p, ConversionSink& target);
    void cellRule(xmlNode* td, ConversionSink& target);
    void noticeRule(xmlNode* dd, ConversionSink& target);
    QString checkedAddress(const QString& address);
    static xmlNode* findChildByTag(xmlNode* node, const char* tagName);

    xmlNode* append(const char* name);
    void addAttribute(const char* name, const QString& value);
    void addAttribute(xmlNode* node, const char* name, const QString& value);
    void toParent();

    MsgBox& m_box;
    xmlDoc* m_doc = nullptr;
    xmlNode* m_start = nullptr;
    xmlNode* m_current = nullptr;
    bool m_docSet = false;
    ConversionState m_state;
    QStringList m_refused;
};

// Whether a link or image address may be stored: http, https, mailto and
// ftp addresses, relative paths and topic or anchor ids. Anything with
// another scheme (javascript:, vbscript:, data:, file: ...) is refused, as a
// browser reads it: tabs and line breaks anywhere and leading control
// characters and blanks do not count, letter case does not matter.
bool isAllowedAddress(const QString& address);

// The relative width of a column from its mean text length, against the mean
// and half of the mean of all columns: "1*", "2*", "5*" or "10*".
QString columnWidth(int32_t value, int32_t mean, int32_t half);

// numerator / denominator rounded to an integer, half to even. Throws
// ConversionFailure for a zero denominator.
int32_t divideHalfEven(int64_t numerator, int64_t denominator);
