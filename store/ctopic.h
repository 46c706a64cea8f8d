#pragma once
#include <QString>

#include <memory>

class MsgBox;
class TreeNode; // a node of the book tree; the tree lives in the session

// The record of the topic on the editing surface.
class cTopic {
public:
    explicit cTopic(MsgBox& box) : m_box(&box) {}

    QString ID;
    QString index;
    QString Stamp;
    std::weak_ptr<::TreeNode> TreeNode;
    QString State = QStringLiteral("uncomplete");

    QString ExtractState(const QString& topicXml) const;
    QString ExtractStamp(const QString& topicXml) const;
    QString ExtractIndexes(const QString& topicXml) const;

private:
    QString titleAttribute(const QString& topicXml, const char* name) const;
    MsgBox* m_box;
};

// The selected chapter or book node.
class cChapter {
public:
    std::weak_ptr<::TreeNode> TreeNode;
};
