#pragma once
// The surface's HTML as a DOM held in C++ (libxml2's HTML tree), and the text
// form in which HTML crosses to and from the surface (the BODY's innerHTML).
#include "xmlsafety.h"

#include <QString>

#include <libxml/tree.h>

namespace htmldom {

using xmlsafe::DocPtr;

// A new page: html with an empty head and an empty body.
DocPtr newPage();

// Parses the inner HTML of a BODY into a page. Never null. A wrapper P that
// the HTML parser closed in front of its TABLE gets the TABLE and its EM back,
// as the surface holds them.
DocPtr parseBody(const QString& bodyHtml);

// The BODY of a page, null if there is none.
xmlNode* body(xmlDoc* doc);

// The children of node as HTML text: attribute values and text escaped, the
// non-breaking space as "&nbsp;", empty elements without end tag.
QString innerHTML(xmlNode* node);

// Upper-case tag name of an element; empty for other nodes.
QString tagName(xmlNode* node);
// getAttribute: the value, empty when absent.
QString getAttribute(xmlNode* node, const char* name);
// Sets (or replaces) an attribute.
void setAttribute(xmlNode* node, const char* name, const QString& value);
// Text of a non-element node (text, comment, processing instruction).
QString nodeValue(xmlNode* node);

} // namespace htmldom
