// The book search dock on its own: typing, searching off the interface
// thread, the listed hits, and the hit the window is told to open.
#include "searchpanel.h"

#include "testsupport.h"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

using testing_support::copySample;
using testing_support::TempDir;
using testing_support::writeUtf16;

namespace {

class SearchPanelTest : public ::testing::Test {
protected:
    TempDir dir;
    QString qly = copySample(dir.path());
    QString language = QStringLiteral("en");
    SearchPanel panel;

    void SetUp() override
    {
        panel.setSource([this] { return SearchPanel::SourceInfo{qly, language}; });
        panel.show();
    }

    // Types the text, presses Return and waits for the list.
    void search(const QString& text)
    {
        panel.txtSearch->clear();
        QTest::keyClicks(panel.txtSearch, text);
        QTest::keyClick(panel.txtSearch, Qt::Key_Return);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !panel.isSearching(); }, 10000));
    }

    QString status() const { return panel.lblSearchStatus->text(); }
};

} // namespace

TEST_F(SearchPanelTest, ControlsAreNamedForTheWindow)
{
    EXPECT_EQ(panel.objectName(), QStringLiteral("dckSearch"));
    EXPECT_EQ(panel.windowTitle(), QStringLiteral("Search"));
    EXPECT_EQ(panel.txtSearch->placeholderText(), QStringLiteral("Search the book"));
    EXPECT_EQ(panel.chkMatchCase->text(), QStringLiteral("Match &case"));
    EXPECT_EQ(panel.chkWholeWord->text(), QStringLiteral("&Whole words"));
    EXPECT_EQ(panel.btnSearch->text(), QStringLiteral("&Search"));
    EXPECT_EQ(panel.lstResults->columnCount(), 2);
    for (const char* name : {"txtSearch", "chkMatchCase", "chkWholeWord", "btnSearch", "lstResults", "lblSearchStatus"})
        EXPECT_TRUE(panel.findChild<QWidget*>(QString::fromLatin1(name))) << name;
}

TEST_F(SearchPanelTest, TypedWordIsFoundAndAClickReportsTheHit)
{
    QSignalSpy activated(&panel, &SearchPanel::hitActivated);
    panel.txtSearch->clear();
    QTest::keyClicks(panel.txtSearch, QStringLiteral("the"));
    QTest::keyClick(panel.txtSearch, Qt::Key_Return);
    // The interface thread went on at once.
    EXPECT_EQ(status(), QStringLiteral("Searching…"));
    ASSERT_TRUE(QTest::qWaitFor([this] { return !panel.isSearching(); }, 10000));

    const int rows = panel.lstResults->topLevelItemCount();
    ASSERT_GT(rows, 1);
    ASSERT_EQ(panel.hits().size(), rows);
    QSet<QString> topics;
    for (const SearchHit& h : panel.hits())
        topics.insert(h.topicId);
    ASSERT_GT(topics.size(), 1);
    EXPECT_EQ(status(), QStringLiteral("%1 results in %2 topics").arg(rows).arg(topics.size()));

    QTreeWidgetItem* first = panel.lstResults->topLevelItem(0);
    EXPECT_EQ(first->text(0), QStringLiteral("Sample Manual > Getting Started > Welcome"));
    EXPECT_EQ(first->text(1), panel.hits()[0].snippet);
    EXPECT_TRUE(first->data(1, SearchPanel::kSnippetHtmlRole).toString().contains(QStringLiteral("<b>the</b>")));

    // A click on the second row reports its hit, nothing is opened here.
    QTreeWidgetItem* second = panel.lstResults->topLevelItem(1);
    const QRect rect = panel.lstResults->visualItemRect(second);
    QTest::mouseClick(panel.lstResults->viewport(), Qt::LeftButton, {}, rect.center());
    ASSERT_EQ(activated.count(), 1);
    const SearchHit clicked = activated.at(0).at(0).value<SearchHit>();
    EXPECT_EQ(clicked.topicId, panel.hits()[1].topicId);
    EXPECT_EQ(clicked.occurrence, panel.hits()[1].occurrence);
    EXPECT_EQ(clicked.snippet, second->text(1));

    // Moving with the keys does not; Enter does.
    panel.lstResults->setFocus();
    panel.lstResults->setCurrentItem(first);
    QTest::keyClick(panel.lstResults, Qt::Key_Down);
    EXPECT_EQ(activated.count(), 1);
    QTest::keyClick(panel.lstResults, Qt::Key_Return);
    ASSERT_EQ(activated.count(), 2);
    EXPECT_EQ(activated.at(1).at(0).value<SearchHit>().topicId, panel.hits()[1].topicId);
}

TEST_F(SearchPanelTest, OptionsLanguageAndTheStatusLine)
{
    search(QStringLiteral("zzzz"));
    EXPECT_EQ(status(), QStringLiteral("No results."));
    EXPECT_EQ(panel.lstResults->topLevelItemCount(), 0);

    search(QStringLiteral("The"));
    const int anyCase = panel.lstResults->topLevelItemCount();
    panel.chkMatchCase->setChecked(true);
    QTest::mouseClick(panel.btnSearch, Qt::LeftButton);
    ASSERT_TRUE(QTest::qWaitFor([this] { return !panel.isSearching(); }, 10000));
    EXPECT_GT(anyCase, panel.lstResults->topLevelItemCount());
    for (const SearchHit& h : panel.hits())
        EXPECT_EQ(h.snippet.mid(h.snippetStart, h.length), QStringLiteral("The"));
    panel.chkMatchCase->setChecked(false);

    panel.setMaxResults(2);
    search(QStringLiteral("the"));
    EXPECT_EQ(status(), QStringLiteral("More than 2 results; only the first 2 are shown."));
    EXPECT_EQ(panel.lstResults->topLevelItemCount(), 2);
    panel.setMaxResults(1000);

    language = QStringLiteral("de");
    search(QStringLiteral("Fenster"));
    ASSERT_GT(panel.lstResults->topLevelItemCount(), 0);
    EXPECT_TRUE(panel.lstResults->topLevelItem(0)->text(0).startsWith(QStringLiteral("Beispielhandbuch > ")));

    qly.clear();
    search(QStringLiteral("Fenster"));
    EXPECT_EQ(status(), QStringLiteral("No project is open."));
}

TEST_F(SearchPanelTest, AFileThatCannotBeReadIsListedAndOpensNothing)
{
    writeUtf16(dir.file(QStringLiteral("sample/chapter2.xml")), QStringLiteral("<chapter><topic"));
    QSignalSpy activated(&panel, &SearchPanel::hitActivated);
    search(QStringLiteral("the"));
    EXPECT_TRUE(status().endsWith(QStringLiteral("1 file could not be searched."))) << status().toStdString();
    const int rows = panel.lstResults->topLevelItemCount();
    ASSERT_EQ(rows, panel.hits().size() + 1);
    QTreeWidgetItem* error = panel.lstResults->topLevelItem(rows - 1);
    EXPECT_TRUE(error->text(1).contains(QStringLiteral("chapter2.xml")));
    QTest::mouseClick(panel.lstResults->viewport(), Qt::LeftButton, {},
                      panel.lstResults->visualItemRect(error).center());
    EXPECT_EQ(activated.count(), 0);
}

TEST_F(SearchPanelTest, ANewSearchReplacesTheRunningOne)
{
    panel.txtSearch->setText(QStringLiteral("window"));
    panel.startSearch();
    panel.txtSearch->setText(QStringLiteral("Tables"));
    panel.startSearch();
    ASSERT_TRUE(QTest::qWaitFor([this] { return !panel.isSearching(); }, 10000));
    ASSERT_GT(panel.hits().size(), 0);
    for (const SearchHit& h : panel.hits())
        EXPECT_EQ(h.snippet.mid(h.snippetStart, h.length).toLower(), QStringLiteral("tables"));
    // Nothing of the first search arrives later.
    const int rows = panel.lstResults->topLevelItemCount();
    QTest::qWait(200);
    EXPECT_EQ(panel.lstResults->topLevelItemCount(), rows);
}
