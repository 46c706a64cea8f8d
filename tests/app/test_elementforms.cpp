// The element dialogs: link targets, images with their preview and import,
// the table's shape, and the keyword tree.
#include "cproject.h"
#include "elementvalues.h"
#include "frmimage.h"
#include "frmindex.h"
#include "frmlink.h"
#include "frmtable.h"
#include "holders.h"
#include "language.h"
#include "msgbox.h"
#include "testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QPushButton>
#include <QDir>
#include <QFile>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPixmap>
#include <QRadioButton>
#include <QTest>
#include <QTreeWidget>

#include <gtest/gtest.h>

using testing_support::TempDir;

namespace {

// A project with a chapter, two topics (one with an anchor) and a subchapter.
QString linkProject(const QString& dir)
{
    const QString project = testing_support::makeProject(dir);
    ScriptedMsgBox box;
    cProject p(box);
    EXPECT_TRUE(p.Load(project));
    const QString chapter = QStringLiteral(
        "<chapter><title lang=\"en\">Basics</title>"
        "<topic id=\"topic1\"><title lang=\"en\" state=\"uncomplete\" stamp=\"\">Start</title>"
        "<onelang lang=\"en\"><p>a<anchor id=\"anchor1\" name=\"Here\"/></p></onelang></topic>"
        "<subchapter id=\"sub1\"><title lang=\"en\">More</title>"
        "<topic id=\"topic2\"><title lang=\"en\" state=\"complete\" stamp=\"\">Deep</title><onelang lang=\"en\"/>"
        "</topic></subchapter></chapter>");
    testing_support::writeUtf16(p.GetProjectFolder() + QStringLiteral("chapter1.xml"), chapter);
    QString book = testing_support::readText(p.getBookFile());
    book.replace(QStringLiteral("]>"), QStringLiteral("<!ENTITY chapter1 SYSTEM \"chapter1.xml\">]>"));
    book.replace(QStringLiteral("</book>"), QStringLiteral("&chapter1;</book>"));
    testing_support::writeUtf16(p.getBookFile(), book);
    p.InsertChapter(QStringLiteral("Basics"), QStringLiteral("chapter1"), QStringLiteral("chapter1.xml"));
    return project;
}

class LinkForm : public ::testing::Test {
protected:
    void SetUp() override
    {
        setCurrentLanguage(QStringLiteral("en"));
        ASSERT_TRUE(project.Load(linkProject(tmp.path())));
        form.SetProject(&project);
        form.LinkElement(&link);
        form.OKorCancel(&ok);
    }
    TempDir tmp;
    ScriptedMsgBox box;
    cProject project{box};
    cLink link;
    cOKorCancel ok;
    frmLink form{&box};
};

} // namespace

TEST_F(LinkForm, TheTreeOfTargets)
{
    form.load();
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Link Properties"));
    ASSERT_EQ(form.trvTopics->topLevelItemCount(), 1);
    QTreeWidgetItem* book = form.trvTopics->topLevelItem(0);
    EXPECT_EQ(book->text(0), QStringLiteral("Manual"));
    ASSERT_NE(form.itemOf(QStringLiteral("anchor1")), nullptr);
    EXPECT_EQ(form.itemOf(QStringLiteral("anchor1"))->text(0), QStringLiteral("Here"));
    EXPECT_EQ(frmLink::tagOf(form.itemOf(QStringLiteral("topic2"))), QStringLiteral("topic"));
    EXPECT_EQ(frmLink::tagOf(form.itemOf(QStringLiteral("sub1"))), QStringLiteral("chapter"));
    // A new link: local mode, nothing chosen.
    EXPECT_TRUE(form.optLocal->isChecked());
    EXPECT_TRUE(form.trvTopics->isEnabled());
    EXPECT_FALSE(form.txtURLAdress->isEnabled());
    EXPECT_EQ(form.txtURLAdress->text(), QStringLiteral("http://"));
    EXPECT_EQ(form.txtLinkDescription->text(), QStringLiteral("link description"));
    EXPECT_EQ(form.trvTopics->selectedItems().size(), 0);
}

TEST_F(LinkForm, AChapterIsNoTarget)
{
    form.load();
    form.trvTopics->setCurrentItem(form.itemOf(QStringLiteral("sub1")));
    form.cmdInsert->click();
    EXPECT_EQ(box.last(), QStringLiteral("Topic or anchor must be selected!"));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_NE(form.result(), QDialog::Accepted);
    // Nothing selected is the same.
    box.clear();
    form.trvTopics->clearSelection();
    form.cmdInsert->click();
    EXPECT_EQ(box.last(), QStringLiteral("Topic or anchor must be selected!"));
}

TEST_F(LinkForm, ATopicOrAnchorIsTheReference)
{
    form.load();
    form.trvTopics->setCurrentItem(form.itemOf(QStringLiteral("anchor1")));
    form.cmdInsert->click();
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_TRUE(ok.Change);
    EXPECT_TRUE(link.IsLocal);
    EXPECT_EQ(link.Reference, QStringLiteral("anchor1"));
    EXPECT_EQ(link.WebLabel, QStringLiteral("\"Here\""));
}

TEST_F(LinkForm, OpeningOnALocalLinkSelectsItsNode)
{
    ok.Change = true;
    link.IsLocal = true;
    link.Reference = QStringLiteral("topic2");
    form.load();
    ASSERT_NE(form.trvTopics->currentItem(), nullptr);
    EXPECT_EQ(frmLink::keyOf(form.trvTopics->currentItem()), QStringLiteral("topic2"));
    // Cancel leaves the link alone and says so.
    form.cmdCancel->click();
    EXPECT_FALSE(ok.Change);
    EXPECT_EQ(link.Reference, QStringLiteral("topic2"));
}

TEST_F(LinkForm, ATargetThatIsGoneSelectsNothing)
{
    ok.Change = true;
    link.Reference = QStringLiteral("topic99");
    form.load();
    EXPECT_EQ(form.trvTopics->selectedItems().size(), 0);
}

TEST_F(LinkForm, WebLinksNeedBothFields)
{
    ok.Change = true;
    link.IsLocal = false;
    link.WebLabel = QStringLiteral("selected words");
    form.load();
    EXPECT_TRUE(form.optURL->isChecked());
    EXPECT_FALSE(form.trvTopics->isEnabled());
    EXPECT_EQ(form.txtLinkDescription->text(), QStringLiteral("selected words"));
    EXPECT_EQ(form.txtURLAdress->text(), QString());
    form.cmdInsert->click();
    EXPECT_EQ(box.last(), QStringLiteral("Both fields have to be filled!\r\nEmpty: URL adress."));
    form.txtURLAdress->setText(QStringLiteral("http://"));
    form.cmdInsert->click();
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_FALSE(link.IsLocal);
    EXPECT_EQ(link.Reference, QStringLiteral("http://"));
    EXPECT_EQ(link.WebLabel, QStringLiteral("selected words"));
    // The options switch the fields.
    form.optLocal->click();
    EXPECT_TRUE(form.trvTopics->isEnabled());
    EXPECT_FALSE(form.txtLinkDescription->isEnabled());
}

// --- images ---------------------------------------------------------------------------

namespace {

class ImageForm : public ::testing::Test {
protected:
    void SetUp() override
    {
        setCurrentLanguage(QStringLiteral("en"));
        folder = tmp.path() + QStringLiteral("/manual/img/en/");
        QDir().mkpath(folder);
        QImage small(40, 30, QImage::Format_RGB32);
        small.fill(Qt::green);
        ASSERT_TRUE(small.save(folder + QStringLiteral("a.png"), "PNG"));
        ASSERT_TRUE(small.save(folder + QStringLiteral("b.jpeg"), "JPEG"));
        ASSERT_TRUE(small.save(folder + QStringLiteral("c.tif"), "TIFF"));
        ASSERT_TRUE(small.save(folder + QStringLiteral("d.bmp"), "BMP"));
        QImage large(1200, 600, QImage::Format_RGB32);
        large.fill(Qt::red);
        ASSERT_TRUE(large.save(folder + QStringLiteral("large.png"), "PNG"));
        testing_support::writeBytes(folder + QStringLiteral("broken.gif"), QByteArray("not a picture"));
        testing_support::writeBytes(folder + QStringLiteral("notes.svg"), QByteArray("<svg/>"));
        form.Element(&image);
        form.OKorCancel(&ok);
        form.ProjectFolder(folder);
    }
    QStringList files() const
    {
        QStringList out;
        for (int i = 0; i < form.filImages->count(); ++i)
            out << form.filImages->item(i)->text();
        return out;
    }
    TempDir tmp;
    QString folder;
    ScriptedMsgBox box;
    cImage image;
    cOKorCancel ok;
    frmImage form{&box};
};

} // namespace

TEST_F(ImageForm, TheFolderAndTheDefaults)
{
    form.load();
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Image Properties"));
    EXPECT_EQ(files(), (QStringList{"a.png", "b.jpeg", "broken.gif", "c.tif", "d.bmp", "large.png", "notes.svg"}));
    EXPECT_EQ(form.cmbFormat->currentText(), QString());
    EXPECT_EQ(form.cmbFormat->itemText(form.cmbFormat->count() - 1), QStringLiteral("TIFF"));
    EXPECT_EQ(form.txtDescription->text(), QStringLiteral("image description"));
    EXPECT_TRUE(form.optBoth->isChecked());
    EXPECT_EQ(form.frmOutput->title(), QStringLiteral("Image Appearance"));
    // Nothing chosen: no format.
    form.cmdInsert->click();
    EXPECT_EQ(box.last(), QStringLiteral("Image format is missing! Image may be not inserted!"));
    EXPECT_FALSE(ok.Change);
}

TEST_F(ImageForm, EveryFormatIsPreviewed)
{
    form.load();
    const QList<std::pair<QString, QString>> cases = {{"a.png", "PNG"}, {"b.jpeg", "JPG"}, {"c.tif", "TIFF"},
                                                      {"d.bmp", "BMP"}};
    for (const auto& [file, format] : cases) {
        ASSERT_TRUE(form.selectFile(file));
        EXPECT_EQ(form.cmbFormat->currentText(), format) << file.toStdString();
        EXPECT_FALSE(form.imgPreview->pixmap().isNull()) << file.toStdString();
        EXPECT_EQ(form.previewWidth(), 40) << file.toStdString();
        EXPECT_EQ(form.previewHeight(), 30) << file.toStdString();
        EXPECT_EQ(form.lblPreviewMessage->text(), QString());
    }
    // A large picture is scaled down into the box, keeping its proportion.
    ASSERT_TRUE(form.selectFile(QStringLiteral("large.png")));
    const QPixmap pix = form.imgPreview->pixmap();
    EXPECT_LE(pix.width(), form.imgPreview->width());
    EXPECT_LE(pix.height(), form.imgPreview->height());
    EXPECT_EQ(pix.width(), 2 * pix.height());
    EXPECT_EQ(form.previewWidth(), 1200);
}

TEST_F(ImageForm, AnUnreadableFileLeavesThePreviewEmptyAndTheDialogUsable)
{
    form.load();
    ASSERT_TRUE(form.selectFile(QStringLiteral("a.png")));
    ASSERT_TRUE(form.selectFile(QStringLiteral("broken.gif")));
    EXPECT_EQ(form.cmbFormat->currentText(), QStringLiteral("GIF"));
    EXPECT_TRUE(form.imgPreview->pixmap().isNull());
    EXPECT_TRUE(form.lblPreviewMessage->text().contains(QStringLiteral("broken.gif")));
    EXPECT_TRUE(box.empty());
    form.cmdInsert->click();
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(image.FileName, QStringLiteral("img\\en\\broken.gif"));
    EXPECT_EQ(image.pxWidth, 0);
    EXPECT_EQ(image.pxHeight, 0);
}

TEST_F(ImageForm, AnUnknownExtensionKeepsTheFormat)
{
    form.load();
    ASSERT_TRUE(form.selectFile(QStringLiteral("notes.svg")));
    EXPECT_EQ(form.cmbFormat->currentText(), QString());
    ASSERT_TRUE(form.selectFile(QStringLiteral("a.png")));
    ASSERT_TRUE(form.selectFile(QStringLiteral("notes.svg")));
    EXPECT_EQ(form.cmbFormat->currentText(), QStringLiteral("PNG"));
}

TEST_F(ImageForm, InsertGivesTheValues)
{
    form.load();
    ASSERT_TRUE(form.selectFile(QStringLiteral("b.jpeg")));
    form.txtScale->setText(QStringLiteral("-5"));
    form.txtDescription->setText(QStringLiteral("Green"));
    form.optPrint->setChecked(true);
    form.cmdInsert->click();
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(form.result(), QDialog::Accepted);
    EXPECT_EQ(image.FileName, QStringLiteral("img\\en\\b.jpeg"));
    EXPECT_EQ(image.ImageFormat, QStringLiteral("JPG"));
    EXPECT_EQ(image.ImageScale, QStringLiteral("100"));
    EXPECT_EQ(image.Description, QStringLiteral("Green"));
    EXPECT_EQ(image.OutputForm, QStringLiteral("print"));
    EXPECT_EQ(image.pxWidth, 40);
    EXPECT_EQ(image.pxHeight, 30);
}

TEST_F(ImageForm, AnEditStartsFromTheImage)
{
    ok.Change = true;
    image.FileName = QStringLiteral("img\\en\\c.tif");
    image.ImageFormat = QStringLiteral("TIFF");
    image.ImageScale = QStringLiteral("big");
    image.Description = QStringLiteral("Old caption");
    image.OutputForm = QStringLiteral("online");
    form.load();
    ASSERT_NE(form.filImages->currentItem(), nullptr);
    EXPECT_EQ(form.filImages->currentItem()->text(), QStringLiteral("c.tif"));
    EXPECT_EQ(form.cmbFormat->currentText(), QStringLiteral("TIFF"));
    EXPECT_EQ(form.txtScale->text(), QStringLiteral("big"));
    EXPECT_EQ(form.txtDescription->text(), QStringLiteral("Old caption"));
    EXPECT_TRUE(form.optOnline->isChecked());
    form.cmdInsert->click();
    // Not a number: kept as typed.
    EXPECT_EQ(image.ImageScale, QStringLiteral("big"));
    EXPECT_EQ(image.OutputForm, QStringLiteral("online"));
    // Cancel says so.
    frmImage again(&box);
    cOKorCancel ok2;
    ok2.Change = true;
    again.OKorCancel(&ok2);
    again.cmdCancel->click();
    EXPECT_FALSE(ok2.Change);
}

TEST_F(ImageForm, ImportCopiesIntoTheFolder)
{
    form.load();
    QImage pic(10, 10, QImage::Format_RGB32);
    pic.fill(Qt::black);
    const QString outside = tmp.path() + QStringLiteral("/new.png");
    ASSERT_TRUE(pic.save(outside, "PNG"));
    form.cdlOpen = [&](QWidget*) { return outside; };
    form.cmdImport->click();
    EXPECT_TRUE(box.empty());
    EXPECT_TRUE(QFile::exists(folder + QStringLiteral("new.png")));
    ASSERT_NE(form.filImages->currentItem(), nullptr);
    EXPECT_EQ(form.filImages->currentItem()->text(), QStringLiteral("new.png"));
    EXPECT_EQ(form.cmbFormat->currentText(), QStringLiteral("PNG"));
    EXPECT_EQ(form.previewWidth(), 10);
    // The same name again changes nothing.
    form.cmdImport->click();
    EXPECT_EQ(box.last(), QStringLiteral("File with same name already exists in image folder!"));
    // A file that is not there.
    form.cdlOpen = [&](QWidget*) { return tmp.path() + QStringLiteral("/none.png"); };
    form.cmdImport->click();
    EXPECT_EQ(box.last(), QStringLiteral("File does not exist!"));
    // Cancel ends silently.
    box.clear();
    form.cdlOpen = [](QWidget*) { return QString(); };
    form.cmdImport->click();
    EXPECT_TRUE(box.empty());
}

// --- tables ------------------------------------------------------------------------------

TEST(TableForm, TheShapeOfANewTable)
{
    ScriptedMsgBox box;
    cDesignTable table;
    cOKorCancel ok;
    frmTable form(&box);
    form.Element(&table);
    form.OKorCancel(&ok);
    EXPECT_EQ(form.windowTitle(), QStringLiteral("Table Properties"));
    EXPECT_EQ(form.txtDescription->text(), QStringLiteral("table description"));
    EXPECT_TRUE(form.chkBorder->isChecked());
    EXPECT_TRUE(form.chkHeader->isChecked());
    form.txtRows->setText(QStringLiteral("3"));
    form.txtColumns->setText(QStringLiteral("2"));
    form.chkBorder->setChecked(false);
    form.txtDescription->setText(QStringLiteral("Sizes"));
    form.cmdInsert->click();
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(table.RowNum, 3);
    EXPECT_EQ(table.ColumnNum, 2);
    EXPECT_FALSE(table.Border);
    EXPECT_TRUE(table.Header);
    EXPECT_EQ(table.Description, QStringLiteral("Sizes"));
}

TEST(TableForm, NumbersAsTheyAreRead)
{
    ScriptedMsgBox box;
    cDesignTable table;
    cOKorCancel ok;
    frmTable form(&box);
    form.Element(&table);
    form.OKorCancel(&ok);
    form.txtRows->setText(QStringLiteral("many"));
    form.txtColumns->setText(QStringLiteral("-3"));
    form.cmdInsert->click();
    // No message: the command inserts nothing for 0.
    EXPECT_TRUE(box.empty());
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(table.RowNum, 0);
    EXPECT_EQ(table.ColumnNum, 0);
    form.txtRows->setText(QStringLiteral("2.5"));
    form.txtColumns->setText(QStringLiteral("3.5"));
    form.cmdInsert->click();
    EXPECT_EQ(table.RowNum, 2);
    EXPECT_EQ(table.ColumnNum, 4);
    // Beyond 16 bits the click fails.
    ok.Change = false;
    form.txtRows->setText(QStringLiteral("70000"));
    form.cmdInsert->click();
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_FALSE(ok.Change);
    form.cmdCancel->click();
    EXPECT_FALSE(ok.Change);
}

// --- keywords -------------------------------------------------------------------------------

namespace {

QStringList treeLines(QTreeWidget* tree)
{
    QStringList out;
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        QTreeWidgetItem* p = tree->topLevelItem(i);
        out << p->text(0) + QLatin1Char('|') + frmIndex::keyOf(p);
        for (int j = 0; j < p->childCount(); ++j)
            out << QStringLiteral("  ") + p->child(j)->text(0) + QLatin1Char('|') + frmIndex::keyOf(p->child(j));
    }
    return out;
}

} // namespace

TEST(IndexForm, FillsTheTreeAndWritesTheText)
{
    cString text;
    text.TextString = QStringLiteral(
        "<index transid=\"trans1\"><primary>Printing</primary><secondary>Paper</secondary></index>"
        "<index transid=\"trans2\"><primary>Alpha</primary></index>");
    cOKorCancel ok;
    frmIndex form;
    form.Indexes(&text);
    form.OKorCancel(&ok);
    form.load();
    EXPECT_EQ(treeLines(form.trvIndex), (QStringList{"Printing|", "  Paper|trans1", "Alpha|trans2"}));
    // An edited keyword keeps its transid, and its level sorts by text.
    QTreeWidgetItem* printing = form.trvIndex->topLevelItem(0);
    printing->setText(0, QStringLiteral("Output"));
    EXPECT_EQ(treeLines(form.trvIndex), (QStringList{"Alpha|trans2", "Output|", "  Paper|trans1"}));
    form.trvIndex->topLevelItem(1)->child(0)->setText(0, QStringLiteral("Sheets"));
    form.cmdOK->click();
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(text.TextString,
              QStringLiteral("<index transid=\"trans2\"><primary>Alpha</primary></index><index transid=\"trans1\">"
                             "<primary>Output</primary><secondary>Sheets</secondary></index>"));
}

// Two keywords with one transid: both stay, OK writes both.
TEST(IndexForm, AKeywordWhoseTransidRepeatsIsNotDropped)
{
    cString text;
    text.TextString = QStringLiteral("<index transid=\"trans1\"><primary>Alpha</primary></index>"
                                     "<index transid=\"trans1\"><primary>Beta</primary></index>");
    cOKorCancel ok;
    frmIndex form;
    form.Indexes(&text);
    form.OKorCancel(&ok);
    form.load();
    EXPECT_EQ(treeLines(form.trvIndex), (QStringList{"Alpha|trans1", "Beta|trans1"}));
    form.cmdOK->click();
    EXPECT_TRUE(ok.Change);
    EXPECT_EQ(text.TextString, QStringLiteral("<index transid=\"trans1\"><primary>Alpha</primary></index>"
                                              "<index transid=\"trans1\"><primary>Beta</primary></index>"));
}

TEST(IndexForm, NewNodesAndTheMenu)
{
    cString text;
    cOKorCancel ok;
    frmIndex form;
    form.Indexes(&text);
    form.OKorCancel(&ok);
    form.show();
    QMenu* shown = nullptr;
    form.popup = [&shown](QMenu* m, const QPoint&) { shown = m; };

    // On empty space only a primary keyword can be inserted.
    form.rightClick(nullptr, QPoint());
    EXPECT_EQ(shown, form.mnuInsert);
    EXPECT_TRUE(form.mnuInsertPrimary->isVisible());
    EXPECT_FALSE(form.mnuInsertSecondary->isVisible());
    EXPECT_FALSE(form.mnuSep->isVisible());
    EXPECT_FALSE(form.mnuRemove->isVisible());
    form.mnuInsertPrimary->trigger();
    ASSERT_EQ(form.trvIndex->topLevelItemCount(), 1);
    QTreeWidgetItem* primary = form.trvIndex->topLevelItem(0);
    EXPECT_EQ(primary->text(0), QStringLiteral("New keyword"));
    EXPECT_EQ(frmIndex::tagOf(primary), QStringLiteral("primary"));

    form.rightClick(primary, QPoint());
    EXPECT_TRUE(form.mnuInsertPrimary->isVisible());
    EXPECT_TRUE(form.mnuInsertSecondary->isVisible());
    EXPECT_TRUE(form.mnuRemove->isVisible());
    form.mnuInsertSecondary->trigger();
    ASSERT_EQ(primary->childCount(), 1);
    QTreeWidgetItem* secondary = primary->child(0);
    EXPECT_EQ(frmIndex::tagOf(secondary), QStringLiteral("secondary"));

    form.rightClick(secondary, QPoint());
    EXPECT_FALSE(form.mnuInsertPrimary->isVisible());
    EXPECT_TRUE(form.mnuInsertSecondary->isVisible());
    form.mnuInsertSecondary->trigger();
    EXPECT_EQ(primary->childCount(), 2);
    // The tree stays expanded.
    primary->setExpanded(false);
    EXPECT_TRUE(primary->isExpanded());

    form.rightClick(primary->child(1), QPoint());
    form.mnuRemove->trigger();
    EXPECT_EQ(primary->childCount(), 1);
    form.cmdOK->click();
    EXPECT_EQ(text.TextString, QStringLiteral("<index><primary>New keyword</primary><secondary>New keyword"
                                              "</secondary></index>"));
}

TEST(IndexForm, AnEmptyTreeAndCancel)
{
    cString text;
    text.TextString = QStringLiteral("<index><primary>Gone</primary></index>");
    cOKorCancel ok;
    frmIndex form;
    form.Indexes(&text);
    form.OKorCancel(&ok);
    form.load();
    form.popup = [](QMenu*, const QPoint&) {};
    form.rightClick(form.trvIndex->topLevelItem(0), QPoint());
    form.mnuRemove->trigger();
    form.cmdOK->click();
    EXPECT_EQ(text.TextString, QString());
    frmIndex other;
    cOKorCancel ok2;
    ok2.Change = true;
    other.OKorCancel(&ok2);
    other.cmdCancel->click();
    EXPECT_FALSE(ok2.Change);
}
