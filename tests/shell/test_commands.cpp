// The table of the window's commands.
#include "commands.h"

#include <QSet>

#include <gtest/gtest.h>

TEST(CommandTable, OneRowPerIdInOrderWithUniqueNamesAndKeys)
{
    QSet<QString> names, keys;
    int row = 0;
    for (const Command& c : commandTable()) {
        // Looked up by position: the rows follow the enum.
        EXPECT_EQ(static_cast<int>(c.id), row++) << c.objectName;
        EXPECT_EQ(&commandInfo(c.id), &c);
        const QString name = QString::fromLatin1(c.objectName);
        EXPECT_TRUE(name.startsWith(QLatin1String("mnu")) || name.startsWith(QLatin1String("tlb"))) << c.objectName;
        EXPECT_FALSE(names.contains(name)) << c.objectName;
        names.insert(name);
        EXPECT_FALSE(QString::fromLatin1(c.text).isEmpty()) << c.objectName;
        EXPECT_EQ(commandByName(name), c.id);
        if (c.toolbarKey) {
            EXPECT_EQ(commandByName(QString::fromLatin1(c.toolbarKey)), c.id);
        }
        if (c.shortcut) {
            for (const QString& k : QString::fromLatin1(c.shortcut).split(QLatin1Char(';'))) {
                EXPECT_FALSE(k.isEmpty() || k.contains(QLatin1Char(' '))) << c.objectName;
                EXPECT_FALSE(keys.contains(k)) << k.toStdString();
                keys.insert(k);
            }
        }
    }
    EXPECT_EQ(row, static_cast<int>(CommandId::TableTools) + 1);
    EXPECT_FALSE(commandByName(QStringLiteral("mnuNothing")));
}

TEST(CommandTable, TheSpecsNamesAndNumbers)
{
    EXPECT_STREQ(commandInfo(CommandId::Save).objectName, "mnuSave");
    EXPECT_STREQ(commandInfo(CommandId::Save).shortcut, "Ctrl+S");
    EXPECT_STREQ(commandInfo(CommandId::Complete).text, "&Lock");
    EXPECT_STREQ(commandInfo(CommandId::InsertChapter).objectName, "mnuInsertChapter");
    EXPECT_STREQ(commandInfo(CommandId::InsertChapter).text, "Insert &Subchapter...");
    // Every command has its form now.
    for (const Command& c : commandTable())
        EXPECT_TRUE(c.available) << c.objectName;
    EXPECT_EQ(static_cast<int>(TopicAction::Save), 1);
    EXPECT_EQ(static_cast<int>(TopicAction::Insert), 5);
    EXPECT_EQ(static_cast<int>(ChapterAction::Delete), 6);
    EXPECT_EQ(static_cast<int>(ChapterAction::Insert), 9);
}
