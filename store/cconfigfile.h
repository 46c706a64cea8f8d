#pragma once
#include "xmlsafety.h"

#include <QString>

class MsgBox;

// Reader and writer of conf.xml: the HTML Help compiler's path and three
// colours. Each setter saves the file at once.
class cConfigFile {
public:
    explicit cConfigFile(MsgBox& box) : m_box(box) {}

    bool Load(const QString& path);
    bool isLoaded() const { return m_doc != nullptr; }

    QString getHHWFile() const { return get("mshhw"); }
    void setHHWFile(const QString& v) { set("mshhw", v); }
    QString getOnlineColor() const { return get("onlinecolor"); }
    void setOnlineColor(const QString& v) { set("onlinecolor", v); }
    QString getPrintColor() const { return get("printcolor"); }
    void setPrintColor(const QString& v) { set("printcolor", v); }
    QString getAnchorColor() const { return get("anchorcolor"); }
    void setAnchorColor(const QString& v) { set("anchorcolor", v); }

private:
    QString get(const char* element) const;
    void set(const char* element, const QString& value);
    MsgBox& m_box;
    xmlsafe::DocPtr m_doc;
    QString m_path;
};

// The box text of a DOM load error: "error on line N", the source text, the reason.
QString domLoadErrorText(const xmlsafe::XmlError& e, const QByteArray& source);
