#pragma once
// The drivers of the conversion pair and the steps of a topic save that work
// on the surface's content: the session calls these.
#include <QString>

#include <libxml/tree.h>

class EditSurface;
class MsgBox;
class cTopic;

// Shows a topic on the surface: the stored topic XML (all languages) is
// converted for the current language into the body of the page.
// Assumes the page shell is loaded and the base is set.
void TopicToEditor(const QString& topicXml, EditSurface& surface, MsgBox& box);

// Converts the surface's body back to single-language topic XML for the topic
// record (ID, Stamp, State, index are read from it). A link or image address
// that isAllowedAddress refuses gives "" (validateTopic then says why).
QString EditorToTopic(EditSurface& surface, const cTopic& topic, MsgBox& box);

// Save steps 1 and 2: the body must begin with an H1 that has content; the
// title is its first text node with following text siblings merged in.
// False when there is no such title.
bool topicTitleFromBody(const QString& bodyHtml, QString& title);

// The two directions on text, without a surface: the body HTML that
// TopicToEditor gives the surface, and the topic XML that EditorToTopic makes
// of body HTML under a base URL.
QString topicToBodyHTML(const QString& topicXml, MsgBox& box);
QString bodyHTMLToTopic(const QString& bodyHtml, const QString& baseURL, const cTopic& topic,
                        MsgBox& box);

// Save step 7: validates single-language topic XML against the topic DTD.
// On failure, message is the complete text of the box, as
// "Topic is not valid! Please rewrite or delete problem part." ...
bool validateTopic(const QString& topicXml, QString& message);
// The same judgement on a topic element in memory, without writing and
// reading it again: true when it is valid (say why with validateTopic).
bool topicElementIsValid(const xmlNode* topic);
// The same for a document whose root is the topic (it stays as it is, but
// for the ids validation records in it).
bool topicDocumentIsValid(xmlDoc* doc);

// Save step 9: merges the new single-language topic into the stored topic of
// all languages: this language's title and onelang are replaced, the state
// of the other languages' titles is emptied, context stays. Returns the text
// of the merged topic element.
QString mergeTopic(const QString& storedXml, const QString& newXml, const QString& language);
