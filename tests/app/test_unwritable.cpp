// The window on a project that cannot be written: every writing command
// either is not offered or is refused with a message that names the file;
// nothing escapes, no file changes, and typed text stays on the page.
// This program runs as an unprivileged user (see its main), so that a
// read-only folder is read-only. (A file size limit would stop the web
// page's own shared memory as well.)
#include "apptestsupport.h"
#include "booktreewidget.h"
#include "frmbookproperties.h"
#include "frmexport.h"
#include "frmmain.h"
#include "frmnewlanguage.h"
#include "websurface.h"

#include "msgbox.h"
#include "testsupport.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <gtest/gtest.h>

#include <sys/stat.h>

using app_testing::onNextModal;
using testing_support::filesBelow;
using testing_support::TempDir;

namespace {

// The commands of the window that write into the project, with the node
// selected before each ("" for the book).
struct WritingCommand {
    const char* name;
    const char* node;
};
const WritingCommand kWritingCommands[] = {
    {"mnuSave", "Getting Started\\Welcome"},
    {"mnuInsertTopicBefore", "Getting Started\\Welcome"},
    {"mnuInsertTopicAfter", "Getting Started\\Welcome"},
    {"mnuComplete", "Getting Started\\Welcome"},
    {"mnuDeleteTopic", "Getting Started\\Starting the Program"},
    {"mnuInsertTopic", "Reference"},
    {"mnuInsertChapterBefore", "Reference"},
    {"mnuInsertChapterAfter", "Reference"},
    {"mnuInsertChapter", "Reference"},
    {"mnuChapterProperties", "Reference"},
    {"mnuDeleteChapter", "New 2"},
    {"mnuInsertChapterToBook", ""},
    {"mnuBookProperties", ""},
    {"mnuNewLanguage", ""},
    {"mnuExport", ""},
};

void setWritable(const QString& folder, bool on)
{
    auto apply = [on](const QString& path, bool dir) {
        const mode_t mode = on ? (dir ? 0755 : 0644) : (dir ? 0555 : 0444);
        ::chmod(QFile::encodeName(path).constData(), mode);
    };
    apply(folder, true);
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString p = it.next();
        apply(p, it.fileInfo().isDir());
    }
}

class ReadOnlyWhileAlive {
public:
    explicit ReadOnlyWhileAlive(QString folder) : m_folder(std::move(folder)) { setWritable(m_folder, false); }
    ~ReadOnlyWhileAlive() { setWritable(m_folder, true); }

private:
    QString m_folder;
};

class UnwritableProject : public ::testing::Test {
protected:
    void SetUp() override
    {
        project = testing_support::copySample(dir.path(), QStringLiteral("work"));
        folder = dir.file(QStringLiteral("work"));
        window = std::make_unique<frmMain>(box);
        window->setTitleDialog([this](const QString&, const QString&, const QString&, QString& text) {
            text = QStringLiteral("New %1").arg(++titles);
            return true;
        });
        window->setPrepareForm([](QDialog* form) {
            if (auto* e = qobject_cast<frmExport*>(form)) {
                e->inputBox = [](QWidget*, const QString&, const QString&) { return QStringLiteral("out"); };
                e->cdlSave = [](QWidget*, const QString&, const QString&) -> std::optional<QString> {
                    return std::nullopt;
                };
            }
        });
        window->resize(1100, 700);
        window->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window.get()));
    }

    void TearDown() override
    {
        window.reset();
        setWritable(folder, true);
    }

    NodePtr node(const QString& pathBelowBook)
    {
        NodePtr root = window->session().tree().Root();
        if (!root || pathBelowBook.isEmpty())
            return root;
        return window->session().tree().FindPath(root->Text + QLatin1Char('\\') + pathBelowBook);
    }

    QAction* command(const char* name) { return window->findChild<QAction*>(QString::fromLatin1(name)); }

    // Answers the form that a command opens, as a user who goes on would.
    void answerForm()
    {
        onNextModal<QDialog>([](QDialog* dlg) {
            if (auto* book = qobject_cast<frmBookProperties*>(dlg)) {
                book->txtTitle->setText(QStringLiteral("Retitled Manual"));
                QTest::mouseClick(book->cmdInsert, Qt::LeftButton);
                if (book->isVisible())
                    book->reject();
            } else if (auto* lang = qobject_cast<frmNewLanguage*>(dlg)) {
                lang->cmbLangs->setCurrentIndex(lang->cmbLangs->findText(QStringLiteral("French")));
                emit lang->cmbLangs->activated(lang->cmbLangs->currentIndex());
                QTest::mouseClick(lang->cmdAdd, Qt::LeftButton);
                if (lang->isVisible())
                    lang->reject();
            } else {
                dlg->reject();
            }
        });
    }

    QStringList treeLines()
    {
        QStringList out;
        window->session().tree().forEach([&](const NodePtr& n, int depth) {
            out << QString(depth * 2, QLatin1Char(' ')) + n->Text;
        });
        return out;
    }

    TempDir dir;
    int titles = 0;
    QString project, folder;
    ScriptedMsgBox box;
    std::unique_ptr<frmMain> window;
};

} // namespace

TEST_F(UnwritableProject, AReadOnlyFolderOpensReadOnlyAndOffersNoWritingCommand)
{
    setWritable(folder, false);
    const auto before = filesBelow(folder);
    window->startUp(project);
    ASSERT_TRUE(window->session().isOpen());
    ASSERT_EQ(box.texts().size(), 2) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(box.texts()[0], QStringLiteral("The project file \"") + project +
                                  QStringLiteral("\" is read-only (it has no write permission). It is not marked as in "
                                                 "use, its permissions are left as they are, and changes to the project "
                                                 "file itself are refused."));
    EXPECT_EQ(box.texts()[1], QStringLiteral("The project's files cannot be written:\r\n\"") +
                                  QDir::toNativeSeparators(folder) +
                                  QStringLiteral("/sample/\": Permission denied\r\n\r\nTherefore, project is read-only."));
    box.clear();

    ASSERT_TRUE(window->openTopic(QStringLiteral("topic1")));
    EXPECT_TRUE(window->dEdit->browseMode());
    EXPECT_TRUE(QTest::qWaitFor([&] { return window->lblReadOnly->isVisible(); }, 2000));
    EXPECT_TRUE(window->lblReadOnly->text().startsWith(
        QStringLiteral("Read-only: the project's files cannot be written: \"") + QDir::toNativeSeparators(folder)));

    box.setDefault(MsgAnswer::Yes);
    for (const WritingCommand& c : kWritingCommands) {
        SCOPED_TRACE(c.name);
        window->session().clickOnTopic(node(QString::fromLatin1(c.node)));
        QAction* a = command(c.name);
        ASSERT_NE(a, nullptr);
        EXPECT_FALSE(a->isEnabled());
        a->trigger();
    }
    // Ctrl+S on the page goes past the menus.
    QTest::keyClick(window->dEdit->focusProxy() ? window->dEdit->focusProxy() : window->dEdit, Qt::Key_S,
                    Qt::ControlModifier);
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(filesBelow(folder), before);
    EXPECT_TRUE(window->session().isOpen());

    // Writable again and opened again: the commands come back.
    window->session().closeProject();
    setWritable(folder, true);
    box.clear();
    window->startUp(project);
    ASSERT_TRUE(window->openTopic(QStringLiteral("topic1")));
    EXPECT_TRUE(box.empty()) << box.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_FALSE(window->dEdit->browseMode());
    EXPECT_TRUE(command("mnuSave")->isEnabled());
}

TEST_F(UnwritableProject, EveryWritingCommandFailsWithTheFileNamedAndLosesNothing)
{
    window->startUp(project);
    ASSERT_TRUE(window->session().isOpen());
    ASSERT_TRUE(window->openTopic(QStringLiteral("topic1")));
    // An empty chapter to delete.
    window->session().clickOnTopic(node(QString()));
    command("mnuInsertChapterToBook")->trigger();
    ASSERT_TRUE(node(QStringLiteral("New 1")));
    window->session().clickOnTopic(node(QStringLiteral("New 1")));
    command("mnuChapterProperties")->trigger();
    ASSERT_TRUE(node(QStringLiteral("New 2"))) << treeLines().join(QLatin1Char('|')).toStdString();
    window->setTitleDialog([this](const QString&, const QString&, const QString&, QString& text) {
        text = QStringLiteral("New %1").arg(++titles);
        return true;
    });
    ASSERT_TRUE(window->openTopic(QStringLiteral("topic1")));
    window->dEdit->pasteHTML(QStringLiteral("<p>Typed before the disk failed.</p>"));
    const auto before = filesBelow(folder);
    const QStringList treeBefore = treeLines();

    box.setDefault(MsgAnswer::Yes);
    for (const WritingCommand& c : kWritingCommands) {
        SCOPED_TRACE(c.name);
        box.clear();
        {
            // The folder loses its write permission while the project is open.
            ReadOnlyWhileAlive noWrites(folder);
            if (QString::fromLatin1(c.node) != QStringLiteral("Getting Started\\Welcome"))
                window->session().clickOnTopic(node(QString::fromLatin1(c.node)));
            QAction* a = command(c.name);
            ASSERT_NE(a, nullptr);
            const QString name = QString::fromLatin1(c.name);
            if (name == QLatin1String("mnuBookProperties") || name == QLatin1String("mnuNewLanguage"))
                answerForm();
            a->trigger();
            if (name == QLatin1String("mnuComplete")) {
                command("mnuSave")->trigger();
                a->trigger();
            }
        }
        QStringList failures;
        for (const auto& shown : box.all())
            if (shown.buttons == MsgButtons::OK &&
                (shown.icon == MsgIcon::Critical || shown.icon == MsgIcon::Exclamation))
                failures << shown.text;
        ASSERT_FALSE(failures.isEmpty()) << "no message";
        for (const QString& f : failures)
            EXPECT_TRUE(f.contains(QDir::toNativeSeparators(folder)) || f.contains(QStringLiteral("sample.qly")))
                << f.toStdString();
        // The typed text is still there and still counts as changed.
        ASSERT_TRUE(window->session().shownTopic());
        EXPECT_EQ(window->session().shownTopic()->Text, QStringLiteral("Welcome"));
        EXPECT_TRUE(window->session().topicChanged());
        EXPECT_TRUE(window->dEdit->bodyHTML().contains(QStringLiteral("Typed before the disk failed.")));
        EXPECT_EQ(filesBelow(folder), before);
        EXPECT_EQ(treeLines(), treeBefore);
        EXPECT_TRUE(window->session().isOpen());
    }

    // A drop onto another chapter moves nothing either.
    box.clear();
    {
        ReadOnlyWhileAlive noWrites(folder);
        window->treeDrop(node(QStringLiteral("Appendix\\Print Notes")), node(QStringLiteral("Reference")));
    }
    ASSERT_FALSE(box.empty());
    EXPECT_TRUE(box.last().contains(QDir::toNativeSeparators(folder))) << box.last().toStdString();
    EXPECT_EQ(filesBelow(folder), before);
    EXPECT_EQ(treeLines(), treeBefore);

    // The disk is back: leaving the topic asks and stores the typed text.
    box.clear();
    box.setDefault(MsgAnswer::Yes);
    window->openTopic(QStringLiteral("topic1"));
    window->openTopic(QStringLiteral("topic2"));
    EXPECT_TRUE(testing_support::readText(dir.file(QStringLiteral("work/sample/chapter1.xml")))
                    .contains(QStringLiteral("Typed before the disk failed.")));
}
