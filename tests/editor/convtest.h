#pragma once
// Helpers of the conversion tests: events as text, each half of the pair
// driven on its own, and the round trip as the session runs it.
#include "conversionsink.h"
#include "ctopic.h"
#include "language.h"
#include "testsupport.h"

#include <QStringList>

#include <gtest/gtest.h>

namespace convtest {

// Events as text: "5" element, "@3=online" attribute, "'x'" text.
class Recorder : public ConversionSink {
public:
    void SendElem(int32_t code) override { events << QString::number(code); }
    void SendAttrib(int32_t code, const QString& v) override { events << QStringLiteral("@%1=%2").arg(code).arg(v); }
    void SendText(const QString& text) override { events << "'" + text + "'"; }
    QStringList events;
};

class LanguageScope {
public:
    explicit LanguageScope(const QString& lang) : m_old(currentLanguage()) { setCurrentLanguage(lang); }
    ~LanguageScope() { setCurrentLanguage(m_old); }

private:
    QString m_old;
};

// A stored topic "topic1" in "en" with title "Title" and this body.
QString topic(const QString& onelang);
// Sends events written as the Recorder writes them (texts hold no quote).
void play(ConversionSink& sink, const QString& script);

QString xmlEvents(const QString& topicXml, MsgBox& box);
QString htmlEvents(const QString& bodyHtml, MsgBox& box, const QString& base = {});
QString htmlFrom(const QString& script, MsgBox& box);
QString xmlFrom(const QString& script, const cTopic& record, MsgBox& box);

// Stored topic -> FakeSurface -> topic XML, with the record filled from the
// stored topic as the session does.
QString roundTrip(const QString& storedXml, MsgBox& box, QString* bodyHtml = nullptr);
// Topic XML without col elements and colnumber attributes (recomputed).
QString withoutCols(QString xml);

} // namespace convtest
