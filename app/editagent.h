#pragma once
// The page's scripts, kept as files in app/js and compiled into the
// resource :/js. Every script is given with the message keys (keys.json) in
// front, as window.quillary.keys, so it can run on its own in any order.
#include <QString>
#include <QVariantList>

namespace editagent {

// The editing agent (window.__qe); running it twice does no harm.
QString script();
// The surface agent (window.__q) with the context menu's helpers
// (window.quillary.kindAt, caretAt).
QString surfaceScript();
// One script of :/js with the keys in front; empty if it is missing.
QString pageScript(const QString& file);

// A call of a page function with its arguments passed as JSON, so that no
// text reaches the page as code: function(arg, ...).
QString callExpression(const QString& function, const QVariantList& args = {});

} // namespace editagent
