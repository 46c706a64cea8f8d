// The context help forms over their model: the record dialog's rules with the
// dialog kept open, and the workbench driven by mouse clicks on its trees.
#include "apptestsupport.h"
#include "booktreewidget.h"
#include "frmcontexthelp.h"

#include "ccontexthelp.h"
#include "cproject.h"
#include "holders.h"
#include "msgbox.h"
#include "testsupport.h"
#include "workbench.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

using testing_support::copySample;
using testing_support::readText;
using testing_support::TempDir;

namespace {

const char kForms[] =
    "<?xml version=\"1.0\"?><forms>"
    "<form><name>frmMain</name><caption>Main Window</caption><helpid>1000</helpid></form>"
    "<form><name>frmOpen</name><caption>Open File</caption><helpid>2000</helpid></form>"
    "<form><name>frmOpenRecent</name><caption>Recent Files</caption><helpid>2000</helpid></form>"
    "<form><name>frmAbout</name><caption>About</caption><helpid>3000</helpid></form>"
    "</forms>";

void fill(frmContextHelpRecord* f, const QString& caption, const QString& id, const QString& name)
{
    f->txtCaption->setText(caption);
    f->txtID->setText(id);
    f->txtName->setText(name);
}

// A left click on a node's row, as the user gives it.
void click(BookTreeWidget* tree, const NodePtr& node)
{
    QTreeWidgetItem* item = tree->itemOf(node);
    ASSERT_TRUE(item);
    tree->scrollToItem(item);
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, tree->visualItemRect(item).center());
}

QStringList texts(BookTreeWidget* tree)
{
    QStringList out;
    for (int i = 0; i < tree->topLevelItemCount(); ++i)
        out << tree->topLevelItem(i)->text(0);
    return out;
}

} // namespace

TEST(ContextRecordForm, RulesKeepItOpenAndOkFillsTheRecord)
{
    ScriptedMsgBox box;
    cContextHelp record{QStringLiteral("Main Window"), QStringLiteral("frmMain"), QString()};
    cOKorCancel ok;
    frmContextHelpRecord f(&box);
    f.Form(&record);
    f.OKorCancel(&ok);
    f.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&f));
    // Filled from the record where it has a value.
    EXPECT_EQ(f.txtCaption->text(), QStringLiteral("Main Window"));
    EXPECT_EQ(f.txtName->text(), QStringLiteral("frmMain"));
    EXPECT_TRUE(f.txtID->text().isEmpty());

    const std::pair<const char*, const char*> refused[] = {
        {"", "Name and ID values must be typed down!"},
        {"007", "Context help ID must start with non-zero!"},
        {"1a", "Context help ID can include only digits!"},
    };
    for (const auto& [id, message] : refused) {
        f.txtID->setText(QString::fromLatin1(id));
        QTest::mouseClick(f.cmdInsert, Qt::LeftButton);
        EXPECT_EQ(box.last(), QString::fromLatin1(message));
        EXPECT_TRUE(f.isVisible());
        EXPECT_FALSE(ok.Change);
    }
    f.txtName->setText(QStringLiteral("_main"));
    f.txtID->setText(QStringLiteral("10"));
    QTest::mouseClick(f.cmdInsert, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Form name must start with letter!"));
    EXPECT_EQ(record.Tag, QStringLiteral("frmMain")); // untouched until OK

    fill(&f, QString(), QStringLiteral("10"), QStringLiteral("a_b-c"));
    QTest::mouseClick(f.cmdInsert, Qt::LeftButton);
    EXPECT_FALSE(f.isVisible());
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(record.Tag, QStringLiteral("a_b-c"));
    EXPECT_EQ(record.ID, QStringLiteral("10"));
    EXPECT_TRUE(record.Caption.isEmpty());
}

class ContextHelpFormTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        qly = copySample(dir.path(), QStringLiteral("work"));
        ASSERT_TRUE(project.Load(qly));
        testing_support::writeBytes(dir.file(QStringLiteral("forms.xml")), kForms);
        form = std::make_unique<frmContextHelp>(&box);
        form->SetProject(&project);
        form->cdlOpen = [this](QWidget*, const QString&, const QString& filter) -> std::optional<QString> {
            filters << filter;
            return dir.file(QStringLiteral("forms.xml"));
        };
        form->resize(900, 600);
        form->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(form.get()));
    }
    NodePtr topic(const QString& id) { return form->workbench()->topics().FindKey(id); }
    NodePtr formNode(const QString& name) { return form->workbench()->forms().FindKey(name); }
    QString chapter(int i) const
    {
        return readText(dir.file(QStringLiteral("work/sample/chapter%1.xml").arg(i)));
    }

    TempDir dir;
    QString qly;
    ScriptedMsgBox box;
    cProject project{box};
    std::unique_ptr<frmContextHelp> form;
    QStringList filters;
};

TEST_F(ContextHelpFormTest, LoadGroupAssignNewAndOk)
{
    EXPECT_EQ(form->windowTitle(), QStringLiteral("Context Help ID Assigning"));
    for (const char* name : {"trvTopics", "trvForms", "lblNumForms", "cmdAdd", "cmdRemove", "cmdLoad", "cmdClear",
                             "cmdNew", "cmdEdit", "cmdDelete", "cmdOK", "cmdCancel"})
        EXPECT_NE(form->findChild<QWidget*>(QString::fromLatin1(name)), nullptr) << name;
    EXPECT_EQ(form->cmdLoad->text(), QStringLiteral("Load File"));
    EXPECT_EQ(form->cmdClear->text(), QStringLiteral("Clear All"));
    EXPECT_EQ(texts(form->trvTopics), QStringList{QStringLiteral("Sample Manual")});
    EXPECT_TRUE(texts(form->trvForms).isEmpty());

    QTest::mouseClick(form->cmdLoad, Qt::LeftButton);
    EXPECT_EQ(filters, QStringList{QStringLiteral("XML file (*.xml);;All files (*.*)")});
    EXPECT_EQ(texts(form->trvForms),
              QStringList({QStringLiteral("About (frmAbout, 3000)"), QStringLiteral("Main Window (frmMain, 1000)"),
                           QStringLiteral("Open File (frmOpen, 2000)"),
                           QStringLiteral("Recent Files (frmOpenRecent, 2000)")}));

    // A click on a form colours its group and counts it.
    click(form->trvForms, formNode(QStringLiteral("frmOpenRecent")));
    EXPECT_EQ(form->lblNumForms->text(), QStringLiteral("2"));
    EXPECT_EQ(form->trvForms->background(formNode(QStringLiteral("frmOpen"))), QColor(210, 210, 210));
    EXPECT_FALSE(form->trvForms->background(formNode(QStringLiteral("frmAbout"))).isValid());

    // Two topics get three forms (one group of two).
    click(form->trvTopics, topic(QStringLiteral("topic5")));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    click(form->trvForms, formNode(QStringLiteral("frmAbout")));
    EXPECT_EQ(form->lblNumForms->text(), QStringLiteral("1"));
    click(form->trvTopics, topic(QStringLiteral("topic3")));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(formNode(QStringLiteral("frmOpen"))->Image, 5);
    EXPECT_EQ(topic(QStringLiteral("topic5"))->Image, 5);
    // The group takes no second topic.
    click(form->trvForms, formNode(QStringLiteral("frmOpen")));
    EXPECT_EQ(form->workbench()->currentTopic(), topic(QStringLiteral("topic5")));
    click(form->trvTopics, topic(QStringLiteral("topic2")));
    EXPECT_EQ(form->workbench()->currentForm(), formNode(QStringLiteral("frmOpen")));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    EXPECT_EQ(box.last(), QStringLiteral("Form(s) has already assigned topic!"));

    // A new form through the record dialog: refused once, then taken.
    int shown = 0;
    form->prepareRecord = [&](frmContextHelpRecord*) {
        ++shown;
        app_testing::onNextModal<frmContextHelpRecord>([&](frmContextHelpRecord* r) {
            fill(r, QStringLiteral("Print"), QStringLiteral("0"), QStringLiteral("frmPrint"));
            QTest::mouseClick(r->cmdInsert, Qt::LeftButton);
            EXPECT_TRUE(r->isVisible());
            r->txtID->setText(QStringLiteral("3000"));
            QTest::mouseClick(r->cmdInsert, Qt::LeftButton);
        });
    };
    QTest::mouseClick(form->cmdNew, Qt::LeftButton);
    EXPECT_EQ(shown, 1);
    EXPECT_TRUE(box.texts().contains(QStringLiteral("Context help ID must start with non-zero!")));
    ASSERT_TRUE(formNode(QStringLiteral("frmPrint")));
    // It joins an assigned ID: it counts as assigned.
    EXPECT_EQ(formNode(QStringLiteral("frmPrint"))->Image, 5);

    QTest::mouseClick(form->cmdOK, Qt::LeftButton);
    EXPECT_FALSE(form->isVisible());
    EXPECT_EQ(form->result(), QDialog::Accepted);
    EXPECT_TRUE(chapter(2).contains(QStringLiteral("<context><id>2000</id><name>frmOpenRecent</name></context>")))
        << chapter(2).toStdString();
    EXPECT_TRUE(chapter(2).contains(QStringLiteral("<context><id>3000</id><name>frmAbout</name></context>")));
    EXPECT_TRUE(readText(dir.file(QStringLiteral("work/sample/helpcontextid.xml"))).contains(
        QStringLiteral("<form><name>frmPrint</name><caption>Print</caption><helpid>3000</helpid></form>")));
}

TEST_F(ContextHelpFormTest, CancelWritesNothing)
{
    QTest::mouseClick(form->cmdLoad, Qt::LeftButton);
    const QString before = chapter(2);
    click(form->trvTopics, topic(QStringLiteral("topic4")));
    click(form->trvForms, formNode(QStringLiteral("frmAbout")));
    QTest::mouseClick(form->cmdAdd, Qt::LeftButton);
    QTest::mouseClick(form->cmdCancel, Qt::LeftButton);
    EXPECT_EQ(form->result(), QDialog::Rejected);
    EXPECT_EQ(chapter(2), before);
}
