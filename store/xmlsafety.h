#pragma once
// Safe use of libxml2 for every parser of the program: no network, external
// entities only from allowed folders (the project folder), libxml2's limits on
// entity expansion kept, and errors collected for the caller's message.
#include <QString>
#include <QStringList>

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace xmlsafe {

// Base parser options: never reach the network, never lift the limits.
constexpr int kBaseOptions = XML_PARSE_NONET;

// Installs the guarded external entity loader once per process.
void init();

// While alive, external entities and DTDs may be loaded from files inside
// the given folders only. Scopes nest; without one, nothing external loads.
class EntityScope {
public:
    explicit EntityScope(const QStringList& allowedFolders);
    explicit EntityScope(const QString& allowedFolder) : EntityScope(QStringList{allowedFolder}) {}
    ~EntityScope();
    EntityScope(const EntityScope&) = delete;
    EntityScope& operator=(const EntityScope&) = delete;

private:
    QStringList m_previous;
};

// True when path (after resolving) lies inside one of the allowed folders
// of the innermost scope.
bool isAllowed(const QString& path);

struct XmlError {
    bool present = false;
    int code = 0;
    int line = 0;
    int column = 0;
    QString file;
    QString message; // the parser's reason, trimmed
};

// Collects the first error reported by libxml2 (parser, validity, entity
// refusal) while alive.
class ErrorCapture {
public:
    ErrorCapture();
    ~ErrorCapture();
    ErrorCapture(const ErrorCapture&) = delete;
    ErrorCapture& operator=(const ErrorCapture&) = delete;

    const XmlError& first() const { return m_first; }
    bool any() const { return m_first.present; }
    void record(const xmlError* e);
    void recordMessage(const QString& message);

private:
    XmlError m_first;
    ErrorCapture* m_previous = nullptr;
};

// The message of the refusal of an entity that lies outside the allowed folders.
QString refusedEntityMessage(const QString& url);

// Entity expansion, by libxml2's amplification rule: past a fixed allowance
// the text that entities expand to (each reference also costing a fixed
// amount) may not exceed kMaxAmplification times the input read so far.
constexpr size_t kExpansionAllowance = 1000000;
constexpr size_t kMaxAmplification = 5;
constexpr size_t kEntityFixedCost = 20;
bool amplificationExceeded(size_t expanded, size_t consumed);
QString amplificationMessage(const QString& file);
// Whether internal entities (name, replacement text) refer to each other in
// a cycle: only then is a refusal of libxml2 a loop and not an amplification.
bool entityCycle(const std::vector<std::pair<std::string, std::string>>& internalEntities);
// The size of the text that the entity references of a parsed document
// expand to (what reading its text would build), each reference with its
// fixed cost; saturates instead of overflowing.
size_t expandedEntityText(xmlDoc* doc);

// Files that may be read: regular files only, after following links; a
// FIFO, device, socket or folder is refused at once, without blocking.
// Opens path for reading (the caller closes the descriptor); -1 with a
// reason in *reason.
int openRegularFile(const QString& path, QString* reason);
// Reads a whole regular file; false with a reason.
bool readRegularFile(const QString& path, QByteArray& out, QString* reason = nullptr);
// True when path, with every link followed, lies inside folder (also
// resolved). A path that does not exist is judged by its existing part.
bool liesInside(const QString& path, const QString& folder);
// The refusal of a path outside the project folder.
QString outsideFolderMessage(const QString& path);

struct DocDeleter {
    void operator()(xmlDoc* d) const { xmlFreeDoc(d); }
};
using DocPtr = std::unique_ptr<xmlDoc, DocDeleter>;

// Parses a file or memory into a DOM. With validate, a document that has a
// DTD is validated while it is parsed. Returns null on any error, and the
// first error in *error.
DocPtr readFile(const QString& path, int options, bool validate, XmlError* error);
DocPtr readMemory(const QByteArray& data, const QString& baseName, int options, bool validate,
                  XmlError* error);

// Text of a line of a file's or buffer's text (1-based), for error reports.
QString sourceLine(const QByteArray& bytes, int line);

// Serialises a DOM as the project files store it: declaration without
// encoding, the document's children (DTD with internal subset, root) on
// their own lines with CRLF, as UTF-16 LE with byte order mark.
// With a doctype text given (as read from the file), that text is written
// in place of the DTD, so a file keeps its declarations letter for letter.
QByteArray serializeUtf16(xmlDoc* doc, const QString& doctype = {});
// The same text as a string (no byte order mark).
QString serializeText(xmlDoc* doc, const QString& doctype = {});
// The document type declaration of a document's text, from "<!DOCTYPE" to
// its closing ">", or "" when there is none.
QString doctypeFromSource(const QString& text);
// A DTD's internal subset in one line: "<!DOCTYPE name [" declarations "]>".
QString doctypeText(xmlDtd* dtd);
// A content model in compact form, as "(title*,author,version)".
std::string contentModel(int elementType, xmlElementContent* content);
// An attribute type and default as written in a declaration.
std::string attributeType(int type, xmlEnumeration* tree);
std::string attributeDefault(int def);
// Serialises one node (with children) to a string.
QString nodeXml(xmlNode* node);

// Helpers on nodes.
QString qs(const xmlChar* s);
QString nodeText(xmlNode* node);            // concatenated text content
QString attr(xmlNode* node, const char* name);
bool hasAttr(xmlNode* node, const char* name);
xmlNode* firstChildElement(xmlNode* parent, const char* name);

} // namespace xmlsafe
