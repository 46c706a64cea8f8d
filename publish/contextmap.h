#pragma once
// The context IDs of a published book for applications that open a web
// help at an ID: each ID to the page (and anchor) of its topic, as JSON.
#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

struct ContextTarget {
    QString id;      // the context help ID
    QString name;    // the form name
    QString section; // the id of the topic's section
};

// The targets the DocBook file carries, in document order. Empty when it has
// none or cannot be read.
QList<ContextTarget> contextTargets(const QString& docBookFile);

// {"ID": "page.html#section", ...}: each ID to the first of `pages` (files
// below `folder`) that holds its section's anchor, the path relative to
// `folder`. An ID whose section is on no page is left out; the first topic
// of an ID wins.
QByteArray contextMapJson(const QList<ContextTarget>& targets, const QString& folder, const QStringList& pages);
