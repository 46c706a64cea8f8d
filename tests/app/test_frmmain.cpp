// The main window on the real page: a project made through the forms and
// the menus, topics typed and saved and found again, the save prompt, a
// locked project, drag and drop in the tree, the keys and the start-up.
#include "booktreewidget.h"
#include "findbar.h"
#include "frmbook.h"
#include "frmmain.h"
#include "frmabout.h"
#include "frmtopictitle.h"
#include "searchpanel.h"
#include "startup.h"
#include "websurface.h"

#include "apptestsupport.h"

#include "cproject.h"
#include "desktopsettings.h"
#include "fileio.h"
#include "language.h"
#include "msgbox.h"
#include "testsupport.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMimeData>
#include <QPushButton>
#include <QSplitter>
#include <QStatusBar>
#include <QTableWidget>
#include <QTest>
#include <QToolBar>

#include <gtest/gtest.h>

#include <functional>

using app_testing::copyTree;
using app_testing::onNextModal;
using testing_support::TempDir;
using testing_support::readText;

namespace {

// The page answers within this time, also on a busy machine.
bool waitFor(const std::function<bool()>& done)
{
    return app_testing::waitFor(done, 8000);
}

class MainWindowTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        window = std::make_unique<frmMain>(box);
        // Context menus are recorded; the test picks an item as a user would.
        window->setPopup([this](QMenu* menu, const QPoint&) {
            popups << menu->objectName();
            QStringList visible;
            for (QAction* a : menu->actions())
                if (a->isVisible() && !a->objectName().isEmpty())
                    visible << a->objectName();
            shownItems = visible;
            if (!choice.isEmpty()) {
                QAction* a = window->action(choice);
                choice.clear();
                if (a && a->isEnabled() && visible.contains(a->objectName()))
                    a->trigger();
            }
        });
        window->resize(1100, 700);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
        window->startUp(QString());
        surface()->setTimeouts(20000, 20000);
    }

    void TearDown() override { window.reset(); }

    WebSurface* surface() { return window->dEdit; }
    BookTreeWidget* tree() { return window->trvBook; }
    Session& session() { return window->session(); }
    QWidget* input() { return surface()->focusProxy() ? surface()->focusProxy() : surface(); }

    QString copySample(const QString& folder = QStringLiteral("work"))
    {
        const QString to = dir.file(folder);
        copyTree(testing_support::sampleFolder(), to);
        return to + QStringLiteral("/sample.qly");
    }

    NodePtr node(const QString& pathBelowBook)
    {
        NodePtr root = session().tree().Root();
        if (!root)
            return nullptr;
        if (pathBelowBook.isEmpty())
            return root;
        return session().tree().FindPath(root->Text + QLatin1Char('\\') + pathBelowBook);
    }

    // A mouse click on a node of the tree (the book for an empty path).
    void click(const QString& pathBelowBook, Qt::MouseButton button = Qt::LeftButton)
    {
        NodePtr n = node(pathBelowBook);
        ASSERT_TRUE(n) << pathBelowBook.toStdString();
        tree()->sync();
        QTreeWidgetItem* item = tree()->itemOf(n);
        ASSERT_TRUE(item);
        for (QTreeWidgetItem* p = item->parent(); p; p = p->parent())
            p->setExpanded(true);
        tree()->scrollToItem(item);
        const QRect r = tree()->visualItemRect(item);
        ASSERT_TRUE(r.isValid());
        QTest::mouseClick(tree()->viewport(), button, Qt::NoModifier, r.center());
    }

    // Right click on a node and choose a menu item.
    void menuOn(const QString& pathBelowBook, const QString& item)
    {
        choice = item;
        click(pathBelowBook, Qt::RightButton);
    }

    // Answers the next title dialog through the real form.
    void answerTitle(const QString& text)
    {
        onNextModal<frmTopicTitle>([text](frmTopicTitle* dlg) {
            dlg->txtTitle->setText(text);
            QTest::mouseClick(dlg->cmdInsert, Qt::LeftButton);
        });
    }

    void focusPage()
    {
        window->activateWindow();
        surface()->setFocus();
        ASSERT_NE(surface()->focusProxy(), nullptr);
        surface()->focusProxy()->setFocus();
        surface()->runScript(QStringLiteral("document.body.focus(); true"));
    }

    // Puts the caret at the end of the last element matching selector.
    void caretAtEnd(const QString& selector)
    {
        surface()->runScript(QStringLiteral("(function(){var l=document.querySelectorAll(%1);var e=l[l.length-1];"
                                            "var r=document.createRange();r.selectNodeContents(e);r.collapse(false);"
                                            "var s=getSelection();s.removeAllRanges();s.addRange(r);})()")
                                 .arg(WebSurface::jsString(selector)));
    }

    void type(const QString& text)
    {
        QTest::keyClicks(input(), text);
        ASSERT_TRUE(waitFor([&] { return surface()->bodyHTML().contains(text); })) << surface()->bodyHTML().toStdString();
    }

    bool shown(const QString& pathBelowBook)
    {
        NodePtr t = session().shownTopic();
        return t && t == node(pathBelowBook);
    }

    QStringList treeLines()
    {
        QStringList out;
        session().tree().forEach([&](const NodePtr& n, int depth) {
            out << QString(depth * 2, QLatin1Char(' ')) + n->Text;
        });
        return out;
    }

    TempDir dir;
    ScriptedMsgBox box;
    std::unique_ptr<frmMain> window;
    QStringList popups;
    QStringList shownItems;
    QString choice;
};

} // namespace

TEST_F(MainWindowTest, EveryControlAndCommandCarriesItsName)
{
    const char* const names[] = {
        "frmMain", "trvBook", "dEdit", "sbrStatus", "labActElement", "picActElement", "tlbCommon", "tlbElements",
        "tlbAlign", "mnuNew", "mnuOpen", "mnuSave", "mnuExit", "mnuUndo", "mnuRedo", "mnuCopy", "mnuPaste",
        "mnuCut", "mnuFind", "mnuOutput", "mnuVerify", "mnuBackup", "mnuExportImport", "mnuExport", "mnuImport",
        "mnuUnlock", "mnuContextHelp", "mnuNewLanguage", "mnuSpelling", "mnuSynonyms", "mnuAntonyms", "mnuBook",
        "mnuInsertBook", "mnuInsertChapterToBook", "mnuBookSeparator", "mnuDeleteBook", "mnuBookSeparator2",
        "mnuBookProperties", "mnuChapter", "mnuInsertTopic", "mnuInsertChapterBefore", "mnuInsertChapterAfter",
        "mnuInsertChapter", "mnuDeleteChapter", "mnuChapterProperties", "mnuTopic", "mnuInsertTopicBefore",
        "mnuInsertTopicAfter", "mnuDeleteTopic", "mnuComplete", "mnuIndex", "mnuLockedBook", "mnuUnlockProject"};
    for (const char* n : names) {
        const QString name = QString::fromLatin1(n);
        EXPECT_TRUE(window->objectName() == name || window->findChild<QObject*>(name)) << n;
    }
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quillary Author"));
    EXPECT_EQ(window->minimumSize(), QSize(533, 267));
    EXPECT_EQ(window->action(QStringLiteral("mnuComplete"))->text(), QStringLiteral("&Lock"));
    EXPECT_EQ(window->action(QStringLiteral("mnuUnlockProject"))->text(), QStringLiteral("&Unlock Project"));

    auto keys = [](QToolBar* bar) {
        QStringList out;
        for (QAction* a : bar->actions())
            if (!a->isSeparator() && !a->data().toString().isEmpty())
                out << a->data().toString() + QLatin1Char('=') + a->toolTip();
        return out;
    };
    EXPECT_EQ(keys(window->tlbCommon), QStringList({"New=New", "Open=Open", "Save=Save", "Undo=Undo", "Redo=Redo",
                                                    "Copy=Copy", "Paste=Paste", "Cut=Cut", "Find=Find"}));
    EXPECT_EQ(keys(window->tlbElements),
              QStringList({"Topic Title=Topic Title", "Paragraph=Paragraph", "ParaHeader=Paragraph Header",
                           "Note=Note", "Sign=Bold", "Bulleted List=Bulleted List", "Ordered List=Numbered List",
                           "Link=Link", "Anchor=Anchor", "Image=Image", "Printed Output=Printed Output",
                           "Online Output=Online Output", "Table=Table"}));
    EXPECT_EQ(keys(window->tlbAlign),
              QStringList({"Align Left=Align Left", "Align Center=Align Center", "Align Right=Align Right",
                           "Insert Row=Insert Row", "Delete Row=Delete Row", "Insert Column=Insert Column",
                           "Delete Column=Delete Column"}));

    // No project: New and Open, nothing of the editing state.
    auto on = [this](const char* n) { return window->action(QString::fromLatin1(n))->isEnabled(); };
    EXPECT_TRUE(on("New"));
    EXPECT_TRUE(on("Open"));
    EXPECT_TRUE(on("mnuOpen"));
    for (const char* n : {"Save", "Undo", "Copy", "Find", "mnuSave", "mnuCopy", "mnuFind", "Topic Title",
                          "Align Left", "mnuOutput", "mnuExportImport"})
        EXPECT_FALSE(on(n)) << n;
    EXPECT_EQ(window->panel[0]->text(), QStringLiteral("Ready"));
    EXPECT_EQ(window->panel[1]->text(), QStringLiteral("State"));
    EXPECT_EQ(window->panel[2]->text(), QStringLiteral("Last Change"));
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("Open or create project")));

    // With a project the project menus follow its state: an unlocked project
    // can be exported, not unlocked or imported into.
    const QString project = copySample();
    window->startUp(project);
    ASSERT_TRUE(session().isOpen());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quillary Author - ") + project + QStringLiteral(" (en)"));
    EXPECT_TRUE(on("mnuExportImport"));
    EXPECT_FALSE(on("mnuUnlock"));
    EXPECT_FALSE(on("mnuImport"));
    EXPECT_TRUE(on("mnuExport"));
    EXPECT_TRUE(on("mnuNewLanguage"));
    EXPECT_TRUE(on("mnuBackup"));
    EXPECT_TRUE(on("mnuOutput"));
    EXPECT_TRUE(on("mnuNew"));
}

TEST_F(MainWindowTest, AnAuthorCreatesABookWritesTopicsSavesAndFindsThemAgain)
{
    const QString projectFile = dir.file(QStringLiteral("manual.qly"));
    QString saveFilter;
    window->setNewProjectPath([&](QWidget*, const QString& filter) {
        saveFilter = filter;
        return projectFile;
    });

    // The empty tree offers Insert Book only; it opens the new-project form.
    onNextModal<frmBook>([](frmBook* form) {
        form->txtTitle->setText(QStringLiteral("My Manual"));
        form->txtAuthor->setText(QStringLiteral("Jane Author"));
        form->txtVersion->setText(QStringLiteral("1.0"));
        const int i = form->cmbMainLang->findText(QStringLiteral("English"));
        form->cmbMainLang->setCurrentIndex(i);
        emit form->cmbMainLang->activated(i);
        QTest::mouseClick(form->cmdInsert, Qt::LeftButton);
    });
    choice = QStringLiteral("mnuInsertBook");
    QTest::mouseClick(tree()->viewport(), Qt::RightButton, Qt::NoModifier,
                      QPoint(40, tree()->viewport()->height() - 10));
    ASSERT_EQ(popups, QStringList({"mnuBook"}));
    EXPECT_EQ(shownItems, QStringList({"mnuInsertBook"}));
    ASSERT_TRUE(session().isOpen()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(saveFilter, frmBook::kSaveFilter);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quillary Author - ") + projectFile + QStringLiteral(" (en)"));
    EXPECT_EQ(treeLines(), QStringList({"My Manual"}));

    // Chapters through the book's menu and the title dialog.
    QString caption, label, button;
    onNextModal<frmTopicTitle>([&](frmTopicTitle* dlg) {
        caption = dlg->windowTitle();
        label = dlg->lblDesc->text();
        button = dlg->cmdInsert->text();
        dlg->txtTitle->setText(QStringLiteral("Basics"));
        QTest::mouseClick(dlg->cmdInsert, Qt::LeftButton);
    });
    menuOn(QString(), QStringLiteral("mnuInsertChapterToBook"));
    EXPECT_EQ(shownItems, QStringList({"mnuInsertChapterToBook", "mnuBookSeparator", "mnuDeleteBook",
                                       "mnuBookSeparator2", "mnuBookProperties"}));
    EXPECT_EQ(caption, QStringLiteral("Chapter Title"));
    EXPECT_EQ(label, QStringLiteral("Insert new chapter title"));
    EXPECT_EQ(button, QStringLiteral("Insert"));
    answerTitle(QStringLiteral("Advanced"));
    menuOn(QString(), QStringLiteral("mnuInsertChapterToBook"));
    ASSERT_TRUE(node(QStringLiteral("Advanced")));

    // A topic: it opens on the surface; typing and Ctrl+S save it.
    answerTitle(QStringLiteral("First Steps"));
    menuOn(QStringLiteral("Basics"), QStringLiteral("mnuInsertTopic"));
    ASSERT_TRUE(shown(QStringLiteral("Basics\\First Steps")));
    EXPECT_FALSE(surface()->browseMode());
    EXPECT_TRUE(window->action(QStringLiteral("mnuSave"))->isEnabled());
    focusPage();
    caretAtEnd(QStringLiteral("h1"));
    QTest::keyClick(input(), Qt::Key_Return);
    type(QStringLiteral("Alpha paragraph text"));
    EXPECT_TRUE(surface()->isDirty());
    EXPECT_EQ(window->lblSaved->text(), QString());
    QTest::keyClick(input(), Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(surface()->isDirty());
    EXPECT_EQ(window->lblSaved->text(), QStringLiteral("Saved"));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(readText(session().project().getChapterFile(QStringLiteral("Basics")))
                    .contains(QStringLiteral("<p>Alpha paragraph text</p>")));

    // A subchapter with a topic, saved by the toolbar button.
    answerTitle(QStringLiteral("Details"));
    menuOn(QStringLiteral("Basics"), QStringLiteral("mnuInsertChapter"));
    answerTitle(QStringLiteral("Deep Topic"));
    menuOn(QStringLiteral("Basics\\Details"), QStringLiteral("mnuInsertTopic"));
    ASSERT_TRUE(shown(QStringLiteral("Basics\\Details\\Deep Topic")));
    focusPage();
    caretAtEnd(QStringLiteral("h1"));
    QTest::keyClick(input(), Qt::Key_Return);
    type(QStringLiteral("Beta text"));
    window->action(QStringLiteral("Save"))->trigger();
    EXPECT_FALSE(surface()->isDirty());

    // The second chapter's topic, saved by the menu.
    answerTitle(QStringLiteral("Other Topic"));
    menuOn(QStringLiteral("Advanced"), QStringLiteral("mnuInsertTopic"));
    ASSERT_TRUE(shown(QStringLiteral("Advanced\\Other Topic")));
    focusPage();
    caretAtEnd(QStringLiteral("h1"));
    QTest::keyClick(input(), Qt::Key_Return);
    type(QStringLiteral("Gamma words"));
    window->action(QStringLiteral("mnuSave"))->trigger();
    EXPECT_FALSE(surface()->isDirty());

    // A topic before another, through the topic's menu.
    answerTitle(QStringLiteral("Intro"));
    menuOn(QStringLiteral("Basics\\First Steps"), QStringLiteral("mnuInsertTopicBefore"));
    EXPECT_EQ(shownItems, QStringList({"mnuInsertTopicBefore", "mnuInsertTopicAfter", "mnuDeleteTopic",
                                       "mnuComplete", "mnuIndex"}));
    const QStringList book = {"My Manual",   "  Basics",     "    Intro",      "    First Steps",
                              "    Details", "      Deep Topic", "  Advanced", "    Other Topic"};
    EXPECT_EQ(treeLines(), book);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();

    // New closes the project and clears its mark.
    window->action(QStringLiteral("New"))->trigger();
    EXPECT_FALSE(session().isOpen());
    EXPECT_TRUE(treeLines().isEmpty());
    EXPECT_EQ(tree()->topLevelItemCount(), 0);
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quillary Author"));
    EXPECT_FALSE(fileio::isMarked(projectFile));

    // Ctrl+O in the tree opens it again through the file dialog.
    QString openFilter;
    window->setOpenPath([&](QWidget*, const QString& filter) {
        openFilter = filter;
        return projectFile;
    });
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_O, Qt::ControlModifier);
    ASSERT_TRUE(session().isOpen());
    EXPECT_EQ(openFilter, QStringLiteral("Quillary project files (*.qly);;All files (*.*)"));
    EXPECT_TRUE(fileio::isMarked(projectFile));
    EXPECT_EQ(treeLines(), book);

    click(QStringLiteral("Basics\\First Steps"));
    ASSERT_TRUE(shown(QStringLiteral("Basics\\First Steps")));
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("Alpha paragraph text")));
    EXPECT_EQ(window->panel[0]->text(), QStringLiteral("My Manual\\Basics\\First Steps"));
    focusPage();
    QTest::keyClick(input(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(window->findBar->isVisible());
    QTest::keyClicks(window->findBar->txtFind, QStringLiteral("Alpha"));
    EXPECT_TRUE(waitFor([&] { return window->findBar->lblResult->text() == QStringLiteral("1 match"); }))
        << window->findBar->lblResult->text().toStdString();
    QTest::keyClick(window->findBar->txtFind, Qt::Key_Escape);
    EXPECT_FALSE(window->findBar->isVisible());

    click(QStringLiteral("Basics\\Details\\Deep Topic"));
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("Beta text")));
    click(QStringLiteral("Advanced\\Other Topic"));
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("Gamma words")));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

TEST_F(MainWindowTest, LeavingAChangedTopicAsksToSaveIt)
{
    const QString project = copySample();
    window->startUp(project);
    ASSERT_TRUE(session().isOpen());
    const QString chapter = session().project().getChapterFile(QStringLiteral("Getting Started"));
    const QString before = readText(chapter);
    const QString question = QStringLiteral("Topic \"Welcome\" has been changed. Save?");

    // The keyboard moves through the tree and shows what it reaches.
    click(QStringLiteral("Getting Started\\Starting the Program"));
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_Up);
    ASSERT_TRUE(shown(QStringLiteral("Getting Started\\Welcome")));
    EXPECT_TRUE(box.empty());

    focusPage();
    caretAtEnd(QStringLiteral("p"));
    type(QStringLiteral(" XYZ"));

    // Cancel: the topic stays, with its change, and stays selected.
    box.answer(MsgAnswer::Cancel);
    click(QStringLiteral("Getting Started\\Starting the Program"));
    ASSERT_EQ(box.all().size(), 1u);
    EXPECT_EQ(box.last(), question);
    EXPECT_EQ(box.all().back().buttons, MsgButtons::YesNoCancel);
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_TRUE(shown(QStringLiteral("Getting Started\\Welcome")));
    EXPECT_EQ(tree()->currentItem(), tree()->itemOf(node(QStringLiteral("Getting Started\\Welcome"))));
    EXPECT_TRUE(surface()->isDirty());
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("XYZ")));

    // No: the change is dropped and the other topic shows.
    box.clear();
    box.answer(MsgAnswer::No);
    click(QStringLiteral("Getting Started\\Starting the Program"));
    EXPECT_EQ(box.texts(), QStringList({question}));
    EXPECT_TRUE(shown(QStringLiteral("Getting Started\\Starting the Program")));
    EXPECT_EQ(readText(chapter), before);
    box.clear();
    click(QStringLiteral("Getting Started\\Welcome"));
    EXPECT_TRUE(box.empty());
    EXPECT_FALSE(surface()->bodyHTML().contains(QStringLiteral("XYZ")));

    // Yes: saved, then the other topic shows.
    focusPage();
    caretAtEnd(QStringLiteral("p"));
    type(QStringLiteral(" XYZ"));
    box.answer(MsgAnswer::Yes);
    click(QStringLiteral("Getting Started\\Starting the Program"));
    EXPECT_EQ(box.texts(), QStringList({question}));
    EXPECT_TRUE(shown(QStringLiteral("Getting Started\\Starting the Program")));
    EXPECT_TRUE(readText(chapter).contains(QStringLiteral("XYZ")));
    box.clear();
    click(QStringLiteral("Getting Started\\Welcome"));
    EXPECT_TRUE(box.empty());
    EXPECT_TRUE(surface()->bodyHTML().contains(QStringLiteral("XYZ")));
}

TEST_F(MainWindowTest, ALockedProjectIsReadOnly)
{
    const QString project = copySample();
    {
        ScriptedMsgBox quiet;
        cProject p(quiet);
        ASSERT_TRUE(p.Load(project));
        p.SetLock(QStringLiteral("qlk123"), QStringLiteral("11/21/26 10:00"), QStringLiteral("For translation"));
    }
    fileio::setMarked(project, false);

    window->startUp(QStringLiteral("\"") + project + QStringLiteral("\""));
    ASSERT_TRUE(session().isOpen());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Project has been exported and still is locked.\r\n\r\n"
                                                       "STAMP: 11/21/26 10:00\r\nCOMMENT: For translation\r\n\r\n"
                                                       "Therefore, project is read-only.")}));
    EXPECT_EQ(box.lastIcon(), MsgIcon::Exclamation);
    EXPECT_FALSE(tree()->dropsEnabled());
    EXPECT_FALSE(tree()->viewport()->acceptDrops());
    EXPECT_TRUE(window->action(QStringLiteral("mnuUnlock"))->isEnabled());
    EXPECT_FALSE(window->action(QStringLiteral("mnuExport"))->isEnabled());
    box.clear();

    // Topics show, read-only: typing changes nothing; copy and find stay.
    click(QStringLiteral("Getting Started\\Welcome"));
    ASSERT_TRUE(shown(QStringLiteral("Getting Started\\Welcome")));
    EXPECT_TRUE(surface()->browseMode());
    EXPECT_TRUE(waitFor([&] { return window->lblReadOnly->isVisible(); }));
    EXPECT_FALSE(window->action(QStringLiteral("mnuSave"))->isEnabled());
    EXPECT_FALSE(window->action(QStringLiteral("Topic Title"))->isEnabled());
    EXPECT_TRUE(window->action(QStringLiteral("mnuCopy"))->isEnabled());
    EXPECT_TRUE(window->action(QStringLiteral("mnuFind"))->isEnabled());
    const QString body = surface()->bodyHTML();
    focusPage();
    caretAtEnd(QStringLiteral("p"));
    QTest::keyClicks(input(), QStringLiteral("XYZ"));
    QTest::keyClick(input(), Qt::Key_S, Qt::ControlModifier);
    QTest::qWait(200);
    EXPECT_EQ(surface()->bodyHTML(), body);
    EXPECT_FALSE(surface()->isDirty());
    EXPECT_TRUE(box.empty());

    // No tree editing: only the book offers a menu, with Unlock alone.
    click(QStringLiteral("Getting Started"), Qt::RightButton);
    click(QStringLiteral("Getting Started\\Welcome"), Qt::RightButton);
    EXPECT_TRUE(popups.isEmpty());
    click(QString(), Qt::RightButton);
    EXPECT_EQ(popups, QStringList({"mnuLockedBook"}));
    EXPECT_EQ(shownItems, QStringList({"mnuUnlockProject"}));

    // No drops.
    const QString chapterText = readText(session().project().getChapterFile(QStringLiteral("Appendix")));
    QMimeData mime;
    mime.setData(BookTreeWidget::kMimeType, node(QStringLiteral("Getting Started\\Welcome"))->FullPath().toUtf8());
    const QPoint at = tree()->visualItemRect(tree()->itemOf(node(QStringLiteral("Appendix")))).center();
    QDragEnterEvent enter(at, Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &enter);
    EXPECT_FALSE(enter.isAccepted());
    QDropEvent drop(QPointF(at), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &drop);
    QTest::qWait(100);
    EXPECT_TRUE(node(QStringLiteral("Getting Started\\Welcome")));
    EXPECT_EQ(readText(session().project().getChapterFile(QStringLiteral("Appendix"))), chapterText);
}

TEST_F(MainWindowTest, DraggingATopicOntoAChapterMovesIt)
{
    const QString project = copySample();
    window->startUp(project);
    ASSERT_TRUE(session().isOpen());
    click(QStringLiteral("Getting Started\\Welcome"));
    tree()->expandAll();
    tree()->sync();

    const NodePtr source = node(QStringLiteral("Getting Started\\Starting the Program"));
    ASSERT_TRUE(source);
    QMimeData mime;
    mime.setData(BookTreeWidget::kMimeType, source->FullPath().toUtf8());
    auto pointOf = [this](const QString& path) {
        return tree()->visualItemRect(tree()->itemOf(node(path))).center();
    };

    QDragEnterEvent enter(pointOf(QStringLiteral("Appendix")), Qt::MoveAction, &mime, Qt::LeftButton,
                          Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &enter);
    EXPECT_TRUE(enter.isAccepted());

    // Over the book nothing may go; over a chapter the target lights up.
    QDragMoveEvent overBook(pointOf(QString()), Qt::MoveAction, &mime, Qt::LeftButton, Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &overBook);
    EXPECT_FALSE(overBook.isAccepted());
    EXPECT_FALSE(tree()->dropTarget());
    QDragMoveEvent overChapter(pointOf(QStringLiteral("Appendix")), Qt::MoveAction, &mime, Qt::LeftButton,
                               Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &overChapter);
    EXPECT_TRUE(overChapter.isAccepted());
    EXPECT_EQ(tree()->dropTarget(), node(QStringLiteral("Appendix")));

    QDropEvent drop(QPointF(pointOf(QStringLiteral("Appendix"))), Qt::MoveAction, &mime, Qt::LeftButton,
                    Qt::NoModifier);
    QCoreApplication::sendEvent(tree()->viewport(), &drop);
    EXPECT_TRUE(drop.isAccepted());
    ASSERT_TRUE(waitFor([&] { return bool(node(QStringLiteral("Appendix\\Starting the Program"))); }));
    EXPECT_FALSE(node(QStringLiteral("Getting Started\\Starting the Program")));
    EXPECT_FALSE(tree()->dropTarget());
    EXPECT_TRUE(tree()->itemOf(node(QStringLiteral("Appendix\\Starting the Program"))));
    EXPECT_TRUE(readText(session().project().getChapterFile(QStringLiteral("Appendix")))
                    .contains(QStringLiteral("<topic id=\"topic2\"")));
    EXPECT_FALSE(readText(session().project().getChapterFile(QStringLiteral("Getting Started")))
                     .contains(QStringLiteral("<topic id=\"topic2\"")));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();

    // The tree widget shows what the book now holds.
    QStringList items;
    std::function<void(QTreeWidgetItem*, int)> walk = [&](QTreeWidgetItem* it, int depth) {
        items << QString(depth * 2, QLatin1Char(' ')) + it->text(0);
        for (int i = 0; i < it->childCount(); ++i)
            walk(it->child(i), depth + 1);
    };
    for (int i = 0; i < tree()->topLevelItemCount(); ++i)
        walk(tree()->topLevelItem(i), 0);
    EXPECT_EQ(items, treeLines());
}

TEST_F(MainWindowTest, TheFinishedMarkMakesTheTopicReadOnly)
{
    const QString project = copySample();
    window->startUp(project);
    click(QStringLiteral("Getting Started\\Welcome"));
    for (const char* tool : {"mnuSpelling", "mnuSynonyms", "mnuAntonyms"})
        EXPECT_TRUE(window->action(QString::fromLatin1(tool))->isEnabled()) << tool;
    menuOn(QStringLiteral("Getting Started\\Welcome"), QStringLiteral("mnuComplete"));
    EXPECT_EQ(session().topic().State, QStringLiteral("complete"));
    for (const char* tool : {"mnuSpelling", "mnuSynonyms", "mnuAntonyms"})
        EXPECT_FALSE(window->action(QString::fromLatin1(tool))->isEnabled()) << tool;
    EXPECT_TRUE(window->action(QStringLiteral("mnuComplete"))->isChecked());
    EXPECT_EQ(window->panel[1]->text(), QStringLiteral("locked"));
    EXPECT_FALSE(window->panelPicture->pixmap().isNull());
    EXPECT_TRUE(surface()->browseMode());
    EXPECT_TRUE(window->action(QStringLiteral("mnuSave"))->isEnabled());
    EXPECT_FALSE(window->action(QStringLiteral("Paragraph"))->isEnabled());
    EXPECT_TRUE(waitFor([&] { return window->lblReadOnly->isVisible(); }));
    NodePtr welcome = node(QStringLiteral("Getting Started\\Welcome"));
    EXPECT_EQ(welcome->Image, 3);

    // The next popup shows the mark; leaving asks, and No puts the picture back.
    menuOn(QStringLiteral("Getting Started\\Welcome"), QString());
    EXPECT_TRUE(window->action(QStringLiteral("mnuComplete"))->isChecked());
    EXPECT_FALSE(window->action(QStringLiteral("mnuIndex"))->isEnabled());
    box.answer(MsgAnswer::No);
    click(QStringLiteral("Getting Started\\Starting the Program"));
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Topic \"Welcome\" has been changed. Save?")}));
    EXPECT_EQ(welcome->Image, 5);
    EXPECT_EQ(window->panel[1]->text(), QString());
    EXPECT_TRUE(window->panelPicture->isHidden());
    EXPECT_TRUE(waitFor([&] { return !window->lblReadOnly->isVisible(); }));
}

TEST_F(MainWindowTest, ThePageKeysRunTheWindowsCommandsOnly)
{
    const QString project = copySample();
    window->startUp(project);
    click(QStringLiteral("Getting Started\\Welcome"));
    focusPage();
    caretAtEnd(QStringLiteral("p"));
    type(QStringLiteral(" abc"));

    // The page's own Ctrl+I never fires.
    QTest::keyClick(input(), Qt::Key_I, Qt::ControlModifier);
    type(QStringLiteral("d"));
    EXPECT_FALSE(surface()->bodyHTML().contains(QStringLiteral("<i>")));
    EXPECT_FALSE(surface()->bodyHTML().contains(QStringLiteral("<em>d")));

    // Undo and redo go through the window's commands.
    QTest::keyClick(input(), Qt::Key_Z, Qt::ControlModifier);
    EXPECT_TRUE(waitFor([&] { return !surface()->bodyHTML().contains(QStringLiteral(" abcd")); }));
    QTest::keyClick(input(), Qt::Key_Y, Qt::ControlModifier);
    EXPECT_TRUE(waitFor([&] { return surface()->bodyHTML().contains(QStringLiteral(" abcd")); }));

    // F1 shows the about box.
    bool about = false;
    onNextModal<frmAbout>([&](frmAbout* dlg) {
        about = true;
        dlg->accept();
    });
    QTest::keyClick(input(), Qt::Key_F1);
    EXPECT_TRUE(about);

    // Copy and paste of the program's own text.
    surface()->runScript(QStringLiteral("(function(){var p=document.querySelector('p');var r=document.createRange();"
                                        "r.selectNodeContents(p);var s=getSelection();s.removeAllRanges();"
                                        "s.addRange(r);})()"));
    QTest::keyClick(input(), Qt::Key_C, Qt::ControlModifier);
    EXPECT_TRUE(QGuiApplication::clipboard()->text().startsWith(QStringLiteral("Welcome to the")));
    caretAtEnd(QStringLiteral("p"));
    QTest::keyClick(input(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_TRUE(waitFor([&] { return surface()->bodyHTML().count(QStringLiteral("Welcome to the")) == 2; }))
        << surface()->bodyHTML().toStdString();

    // Outside the page and the tree the menu's shortcuts do the same.
    window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(window.get()));
    QTest::keyClick(input(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(window->findBar->txtFind->hasFocus());
    EXPECT_TRUE(surface()->isDirty());
    QTest::keyClick(window->findBar->txtFind, Qt::Key_S, Qt::ControlModifier);
    EXPECT_FALSE(surface()->isDirty());
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(readText(session().project().getChapterFile(QStringLiteral("Getting Started")))
                    .contains(QStringLiteral(" abcd")));
}

TEST_F(MainWindowTest, ClosingTheWindowAsksAndClearsTheProjectMark)
{
    const QString project = copySample();
    window->startUp(project);
    ASSERT_TRUE(fileio::isMarked(project));
    click(QStringLiteral("Getting Started\\Welcome"));
    focusPage();
    caretAtEnd(QStringLiteral("p"));
    type(QStringLiteral(" QRS"));

    box.answer(MsgAnswer::Cancel);
    EXPECT_FALSE(window->close());
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(session().isOpen());
    EXPECT_TRUE(fileio::isMarked(project));

    box.answer(MsgAnswer::No);
    EXPECT_TRUE(window->close());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Topic \"Welcome\" has been changed. Save?"),
                                        QStringLiteral("Topic \"Welcome\" has been changed. Save?")}));
    EXPECT_FALSE(session().isOpen());
    EXPECT_FALSE(fileio::isMarked(project));
    EXPECT_FALSE(readText(session().project().getChapterFile(QStringLiteral("Getting Started")))
                     .contains(QStringLiteral("QRS")));
}

TEST_F(MainWindowTest, TheCommandLineNamesTheProject)
{
    StartOptions o = parseStartOptions({QStringLiteral("--screenshot"), QStringLiteral("out.png"),
                                        QStringLiteral("--topic"), QStringLiteral("topic1"),
                                        QStringLiteral("/tmp/my"), QStringLiteral("docs/sample.qly")});
    EXPECT_EQ(o.commandLine, QStringLiteral("/tmp/my docs/sample.qly"));
    EXPECT_EQ(o.screenshot, QStringLiteral("out.png"));
    EXPECT_EQ(o.topic, QStringLiteral("topic1"));
    EXPECT_TRUE(o.error.isEmpty());
    EXPECT_FALSE(parseStartOptions({QStringLiteral("--topic")}).error.isEmpty());

    // A path with a blank, in double quotes; the project mark asks first.
    const QString project = copySample(QStringLiteral("my docs"));
    fileio::setMarked(project, true);
    box.answer(MsgAnswer::No);
    window->startUp(QStringLiteral("\"") + project + QStringLiteral("\""));
    EXPECT_FALSE(session().isOpen());
    EXPECT_EQ(box.texts(), QStringList({QStringLiteral("Project is used by other application or has not been "
                                                       "closed correctly. Are you sure, that project is not used "
                                                       "by any application?\r\n\r\nYes opens it anyway (on the "
                                                       "command line: --yes).")}));
    box.clear();
    box.answer(MsgAnswer::Yes);
    window->startUp(QStringLiteral("\"") + project + QStringLiteral("\""));
    ASSERT_TRUE(session().isOpen());
    EXPECT_EQ(window->windowTitle(), QStringLiteral("Quillary Author - ") + project + QStringLiteral(" (en)"));
    EXPECT_TRUE(window->openTopic(QStringLiteral("topic3")));
    EXPECT_TRUE(shown(QStringLiteral("Reference\\Tables")));
    EXPECT_TRUE(window->openTopic(QStringLiteral("Getting Started\\Welcome")));
    EXPECT_FALSE(window->openTopic(QStringLiteral("nothing")));

    // Two quoted paths open nothing.
    window->startUp(QStringLiteral("\"a.qly\" \"b.qly\""));
    EXPECT_FALSE(session().isOpen());
}

TEST_F(MainWindowTest, ThePagesMenuOffersWhatSuitsThePlaceClicked)
{
    const QString project = copySample();
    window->startUp(project);
    click(QStringLiteral("Getting Started\\Welcome"));
    ASSERT_TRUE(shown(QStringLiteral("Getting Started\\Welcome")));
    auto centreOf = [this](const QString& selector) {
        const QVariantList r = surface()
                                   ->runScript(QStringLiteral("(function(){var b=document.querySelector(%1)"
                                                              ".getBoundingClientRect();return [b.left+b.width/2,"
                                                              "b.top+b.height/2];})()")
                                                   .arg(WebSurface::jsString(selector)))
                                   .toList();
        return r.size() == 2 ? QPoint(int(r[0].toDouble()), int(r[1].toDouble())) : QPoint();
    };

    // On a link: Edit and Delete, then the clipboard. The menu comes once
    // the request's own task is over.
    choice = QStringLiteral("mnuDeleteElement");
    emit surface()->customContextMenuRequested(centreOf(QStringLiteral("a[href]")));
    EXPECT_TRUE(popups.isEmpty());
    ASSERT_TRUE(waitFor([&] { return !popups.isEmpty(); }));
    ASSERT_EQ(popups, QStringList({"mnuSurface"}));
    EXPECT_EQ(shownItems, QStringList({"mnuEditElement", "mnuDeleteElement", "mnuCut", "mnuCopy", "mnuPaste"}));
    EXPECT_TRUE(window->action(QStringLiteral("mnuEditElement"))->isEnabled());
    EXPECT_TRUE(waitFor([&] { return !surface()->bodyHTML().contains(QStringLiteral("href=")); }));
    EXPECT_TRUE(surface()->isDirty());

    // Elsewhere without a selection: the clipboard commands only.
    popups.clear();
    emit surface()->customContextMenuRequested(centreOf(QStringLiteral("h1")));
    ASSERT_TRUE(waitFor([&] { return !popups.isEmpty(); }));
    EXPECT_EQ(shownItems, QStringList({"mnuCut", "mnuCopy", "mnuPaste"}));
}

// A window started with a project shows it at once: the page answers every
// call of the start (a time-out fails the test on its warning as well).
TEST_F(MainWindowTest, StartingWithAProjectNeverLeavesThePageUnanswered)
{
    const QString project = copySample();
    window.reset();
    for (int round = 0; round < 4; ++round) {
        frmMain w(box);
        w.resize(900, 600);
        w.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&w));
        w.startUp(project);
        ASSERT_TRUE(w.session().isOpen()) << round;
        EXPECT_TRUE(w.openTopic(QStringLiteral("topic3")));
        EXPECT_EQ(w.dEdit->unansweredCalls(), 0) << round;
        EXPECT_TRUE(w.dEdit->bodyHTML().contains(QStringLiteral("Tables")));
        w.close();
    }
}

// One action per command, shared by menu, toolbar and context menus; every
// shortcut on exactly one action; the enabling follows the session.
TEST_F(MainWindowTest, OneActionPerCommandSharedByMenuToolbarAndContextMenus)
{
    for (const Command& c : commandTable()) {
        if (c.id == CommandId::ElementTools || c.id == CommandId::TableTools)
            continue;
        const QList<QAction*> found = window->findChildren<QAction*>(QString::fromLatin1(c.objectName));
        EXPECT_EQ(found.size(), 1) << c.objectName;
        EXPECT_EQ(window->action(c.id), found.value(0)) << c.objectName;
    }
    EXPECT_EQ(window->action(QStringLiteral("Save")), window->action(CommandId::Save));
    EXPECT_TRUE(window->tlbCommon->actions().contains(window->action(CommandId::Save)));
    EXPECT_TRUE(window->menu(QStringLiteral("mnuFile"))->actions().contains(window->action(CommandId::Save)));
    EXPECT_TRUE(window->menu(QStringLiteral("mnuTopic"))->actions().contains(window->action(CommandId::DeleteTopic)));

    QMap<QString, QStringList> owners;
    for (QAction* a : window->findChildren<QAction*>())
        for (const QKeySequence& k : a->shortcuts())
            owners[k.toString()] << a->objectName();
    for (auto it = owners.begin(); it != owners.end(); ++it)
        EXPECT_EQ(it.value().size(), 1) << it.key().toStdString() << ": " << it.value().join(' ').toStdString();
    EXPECT_EQ(owners.value(QStringLiteral("Ctrl+S")), QStringList{QStringLiteral("mnuSave")});
    EXPECT_EQ(owners.value(QStringLiteral("Ctrl+B")), QStringList{QStringLiteral("Sign")});

    // No topic: no saving; a topic: saving; a finished one: saving its mark only.
    auto on = [this](CommandId id) { return window->action(id)->isEnabled(); };
    EXPECT_FALSE(on(CommandId::Save));
    EXPECT_FALSE(on(CommandId::DeleteTopic));
    window->startUp(copySample());
    EXPECT_FALSE(on(CommandId::Save));
    EXPECT_TRUE(on(CommandId::DeleteTopic));
    ASSERT_TRUE(window->openTopic(QStringLiteral("topic1")));
    EXPECT_TRUE(on(CommandId::Save));
    EXPECT_TRUE(on(CommandId::Paste));
    EXPECT_TRUE(on(CommandId::Spelling));
    EXPECT_TRUE(on(CommandId::ContextHelp)); // the project is unlocked
    ASSERT_TRUE(window->openTopic(QStringLiteral("topic5")));
    EXPECT_TRUE(on(CommandId::Save));
    EXPECT_FALSE(on(CommandId::Paste));
    EXPECT_FALSE(on(CommandId::Spelling));
    EXPECT_TRUE(on(CommandId::Copy));
}

// A title the session would refuse is refused in the dialog, which stays
// open with the text as typed.
TEST_F(MainWindowTest, ARefusedTitleKeepsItsDialogOpenAsTyped)
{
    window->startUp(copySample());
    ASSERT_TRUE(session().isOpen());
    bool stillOpen = false;
    QString kept;
    onNextModal<frmTopicTitle>([&](frmTopicTitle* dlg) {
        dlg->txtTitle->setText(QStringLiteral("welcome"));
        QTest::mouseClick(dlg->cmdInsert, Qt::LeftButton);
        stillOpen = dlg->isVisible();
        kept = dlg->txtTitle->text();
        dlg->txtTitle->setText(QStringLiteral("Second Welcome"));
        QTest::mouseClick(dlg->cmdInsert, Qt::LeftButton);
    });
    menuOn(QStringLiteral("Getting Started"), QStringLiteral("mnuInsertTopic"));
    EXPECT_TRUE(stillOpen);
    EXPECT_EQ(kept, QStringLiteral("welcome"));
    EXPECT_EQ(box.texts(), QStringList{QStringLiteral("Topic with same name already exists! Topic can not be inserted!")});
    EXPECT_TRUE(node(QStringLiteral("Getting Started\\Second Welcome")));
}

// Yesterday's project from the menu, in the same layout: the recent list
// (latest first, missing ones disabled and removable), each project's tree
// and topic, the splitter, and the last project opened at start.
TEST_F(MainWindowTest, RecentProjectsComeBackAsTheyWereLeft)
{
    const QString first = copySample(QStringLiteral("first"));
    const QString second = copySample(QStringLiteral("second"));
    const QString gone = copySample(QStringLiteral("gone"));
    for (const QString& p : {gone, first}) {
        window->startUp(QStringLiteral("\"") + p + QStringLiteral("\""));
        ASSERT_TRUE(session().isOpen());
    }
    click(QStringLiteral("Reference\\Tables"));
    ASSERT_TRUE(shown(QStringLiteral("Reference\\Tables")));
    window->splMain->setSizes({300, 700});
    const QList<int> sizes = window->splMain->sizes();

    window->startUp(QStringLiteral("\"") + second + QStringLiteral("\""));
    ASSERT_TRUE(session().isOpen());
    QDir(QFileInfo(gone).absolutePath()).removeRecursively();

    window->fillRecentMenu();
    QMenu* recent = window->menu(QStringLiteral("mnuRecent"));
    QStringList texts;
    for (QAction* a : recent->actions())
        if (a->objectName().startsWith(QLatin1String("mnuRecent")) && a->objectName() != QLatin1String("mnuRecentNone"))
            texts << a->text() + (a->isEnabled() ? QString() : QStringLiteral(" [off]"));
    EXPECT_EQ(texts, (QStringList{QStringLiteral("&1 ") + second, QStringLiteral("&2 ") + first,
                                  QStringLiteral("&3 ") + gone + QStringLiteral(" (missing) [off]")}));
    EXPECT_TRUE(recent->actions().contains(window->action(QStringLiteral("mnuRemoveMissingRecent"))));
    EXPECT_TRUE(window->action(QStringLiteral("mnuRemoveMissingRecent"))->isEnabled());

    // The first project again: its tree and topic as left.
    recent->findChild<QAction*>(QStringLiteral("mnuRecent2"))->trigger();
    ASSERT_EQ(session().project().GetProjectFile(), first);
    ASSERT_TRUE(waitFor([&] { return shown(QStringLiteral("Reference\\Tables")); }));
    EXPECT_TRUE(tree()->itemOf(node(QStringLiteral("Reference")))->isExpanded());

    window->action(QStringLiteral("mnuRemoveMissingRecent"))->trigger();
    QStringList left;
    for (const auto& r : DesktopSettings().recentProjects())
        left << r.path;
    EXPECT_EQ(left, (QStringList{first, second}));

    // Closing the window keeps the layout; with the setting on, the next
    // start opens the last project by itself.
    DesktopSettings().setReopenLast(true);
    ASSERT_TRUE(window->close());
    window.reset();
    window = std::make_unique<frmMain>(box);
    window->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    window->startUp(QString());
    ASSERT_TRUE(session().isOpen());
    EXPECT_EQ(session().project().GetProjectFile(), first);
    EXPECT_EQ(window->splMain->sizes(), sizes);
    ASSERT_TRUE(waitFor([&] { return shown(QStringLiteral("Reference\\Tables")); }));
}

// F2 and Delete act on the tree's node; on the page they stay the page's.
TEST_F(MainWindowTest, TreeKeysRenameAndDeleteTheSelectedNode)
{
    window->startUp(QStringLiteral("\"") + copySample() + QStringLiteral("\""));
    ASSERT_TRUE(session().isOpen());

    // A topic: F2 selects its title on the page for typing.
    click(QStringLiteral("Getting Started\\Welcome"));
    ASSERT_TRUE(shown(QStringLiteral("Getting Started\\Welcome")));
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_F2);
    EXPECT_TRUE(waitFor([&] {
        return surface()->runScript(QStringLiteral("String(getSelection())")).toString() == QLatin1String("Welcome");
    }));

    // Delete asks the topic's question; No keeps it.
    tree()->setFocus();
    box.answer(MsgAnswer::No);
    QTest::keyClick(tree(), Qt::Key_Delete);
    EXPECT_EQ(box.texts(), QStringList{QStringLiteral("Delete topic \"Welcome\"?")});
    EXPECT_TRUE(node(QStringLiteral("Getting Started\\Welcome")));
    box.clear();

    // A chapter: F2 opens its title dialog, Delete refuses a chapter with topics.
    click(QStringLiteral("Getting Started"));
    tree()->setFocus();
    bool asked = false;
    onNextModal<frmTopicTitle>([&](frmTopicTitle* dlg) {
        asked = dlg->txtTitle->text() == QLatin1String("Getting Started");
        dlg->reject();
    });
    QTest::keyClick(tree(), Qt::Key_F2);
    EXPECT_TRUE(asked);
    QTest::keyClick(tree(), Qt::Key_Delete);
    EXPECT_EQ(box.texts(),
              QStringList{QStringLiteral("Chapter \"Getting Started\" is not empty and may be not deleted!")});
    box.clear();

    // On the page Delete deletes text, the tree keeps its topic.
    click(QStringLiteral("Getting Started\\Welcome"));
    focusPage();
    caretAtEnd(QStringLiteral("h1"));
    QTest::keyClick(input(), Qt::Key_Delete);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
}

TEST_F(MainWindowTest, TheKeyboardShortcutsPageListsTheWindowsKeys)
{
    QStringList rows;
    onNextModal<QDialog>([&](QDialog* dlg) {
        auto* table = dlg->findChild<QTableWidget*>(QStringLiteral("tblShortcuts"));
        if (table)
            for (int i = 0; i < table->rowCount(); ++i)
                rows << table->item(i, 0)->text() + QStringLiteral(" = ") + table->item(i, 1)->text();
        dlg->accept();
    });
    window->action(QStringLiteral("mnuShortcuts"))->trigger();
    for (const char* expected : {"New = Ctrl+N", "Exit = Ctrl+Q", "Close Project = Ctrl+W", "Save = Ctrl+S",
                                 "Search the Book = Ctrl+Shift+F", "Rename (book tree) = F2",
                                 "Delete (book tree) = Del", "Redo = Ctrl+Y, Ctrl+Shift+Z", "Bold = Ctrl+B"})
        EXPECT_TRUE(rows.contains(QString::fromLatin1(expected))) << expected << "\n"
                                                                  << rows.join(QLatin1Char('\n')).toStdString();
}

// Ctrl+Shift+F opens the search; a hit opens its topic with the words selected.
TEST_F(MainWindowTest, ASearchHitOpensItsTopicWithTheHitSelected)
{
    window->startUp(QStringLiteral("\"") + copySample() + QStringLiteral("\""));
    ASSERT_TRUE(session().isOpen());
    click(QStringLiteral("Getting Started\\Welcome"));
    tree()->setFocus();
    QTest::keyClick(tree(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
    ASSERT_TRUE(window->dckSearch->isVisible());
    EXPECT_EQ(QApplication::focusWidget(), window->dckSearch->txtSearch);

    QTest::keyClicks(window->dckSearch->txtSearch, QStringLiteral("shows this help"));
    QTest::keyClick(window->dckSearch->txtSearch, Qt::Key_Return);
    ASSERT_TRUE(waitFor([&] { return !window->dckSearch->isSearching() && window->dckSearch->hits().size() == 1; }));
    const SearchHit hit = window->dckSearch->hits().first();
    EXPECT_EQ(hit.topicId, QStringLiteral("topic3"));
    emit window->dckSearch->hitActivated(hit);
    ASSERT_TRUE(shown(QStringLiteral("Reference\\Tables")));
    EXPECT_TRUE(waitFor([&] {
        return surface()->runScript(QStringLiteral("String(getSelection())")).toString() ==
               QLatin1String("Shows this help");
    }));
}
