#include "session.h"

#include "cconfigfile.h"
#include "csaxerrorhandler.h"
#include "fileio.h"
#include "language.h"
#include "mcommon.h"
#include "msgbox.h"
#include "newproject.h"
#include "paths.h"
#include "projectlock.h"
#include "surface.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {
const QString kTempHtml = QStringLiteral("quillary_temp.html");
const int kMarkWait = 1000; // ms

}

Session::Session(MsgBox& box, EditSurface& surface)
    : m_box(box), m_surface(surface), m_view(&m_noView), m_project(box), m_topic(box)
{
    m_treeView.SetTree(&m_tree);
}

Session::~Session() = default;

void Session::setView(SessionView* view)
{
    m_view = view ? view : &m_noView;
    m_view->setCaption(m_caption);
    for (int i = 1; i <= 3; ++i)
        m_view->setPanel(i, m_panels[i - 1], i == 2 ? m_panelImage : 0);
    m_view->setEnabled(m_enabling);
    m_view->setDropEnabled(m_dropEnabled);
}

bool Session::isLocked() const
{
    return m_open && !m_project.GetLockID().isEmpty();
}

QString Session::tempPath() const
{
    return m_project.GetProjectFolder() + fileio::kRewriteFile;
}

QString Session::tempPath2() const
{
    return m_project.GetProjectFolder() + QStringLiteral("quillary_move.xml");
}

void Session::setCaption(const QString& c)
{
    m_caption = c;
    m_view->setCaption(c);
}

void Session::setPanel(int i, const QString& text, int image)
{
    m_panels[i - 1] = text;
    if (i == 2)
        m_panelImage = image;
    m_view->setPanel(i, text, image);
}

void Session::setEnabled(CommandId id, bool on)
{
    m_enabling[id] = on;
}

void Session::setEnabled(Enabler enabler, bool on)
{
    for (const Command& c : commandTable())
        if (c.enabler == enabler)
            m_enabling[c.id] = on;
}

void Session::pushEnabling()
{
    m_view->setEnabled(m_enabling);
}

// --- start and end -------------------------------------------------------

void Session::readSettings()
{
    cConfigFile conf(m_box);
    conf.Load(paths::settingsFile(QStringLiteral("conf.xml")));
    onlineColor = QLatin1Char('#') + conf.getOnlineColor();
    printColor = QLatin1Char('#') + conf.getPrintColor();
    anchorColor = QLatin1Char('#') + conf.getAnchorColor();
    if (conf.isLoaded() && conf.getHHWFile().isEmpty()) {
        QString chm = QStandardPaths::findExecutable(QStringLiteral("chmcmd"));
        if (!chm.isEmpty())
            conf.setHHWFile(chm);
    }
}

QString Session::projectFromCommandLine(const QString& commandLine)
{
    QStringList parts = commandLine.split(QLatin1Char('"'));
    int quotes = int(parts.size()) - 1;
    if (quotes == 0)
        return commandLine.trimmed();
    if (quotes == 2)
        return parts[1];
    return {};
}

void Session::startUp(const QString& commandLine)
{
    topicPropertiesChanged = false;
    topicStateChanged = false;
    keywordDialogPending = false;
    readSettings();
    resetWorkspace();
    if (!commandLine.trimmed().isEmpty())
        openProject(projectFromCommandLine(commandLine));
}

QString Session::pageShell(const QString& online, const QString& print, const QString& anchor)
{
    return QStringLiteral("<html><head><style type=\"text/css\">h1 {background-color: #ADD0FC}") +
           QStringLiteral("h4 {background-color: #ADD0FC} dd {background-color: #ADD0FC} ") +
           QStringLiteral("u {display: block; font-weight: bold} ") +
           QStringLiteral(".header {background-color: #ADD0FC; font-weight: bold} ") +
           QStringLiteral(".anchor {background-color: ") + anchor +
           QStringLiteral("} .dottedBorder {border-style: dotted; border-width: 1px} ") +
           QStringLiteral(".online {background-color: ") + online +
           QStringLiteral("} .print {background-color: ") + print + QStringLiteral("} </style>") +
           QStringLiteral("</head><body></body></html>");
}

void Session::showEmptyPage()
{
    m_surface.setDocumentHTML(pageShell(onlineColor, printColor, anchorColor));
    m_surface.waitReady();
    clearDirty();
}

void Session::clearDirty()
{
    m_surface.saveDocument(mCommon::getTempFolder() + kTempHtml);
    topicPropertiesChanged = false;
    topicStateChanged = false;
}

void Session::setEditorBase()
{
    m_surface.setBaseURL(m_project.GetProjectFolder());
}

void Session::resetStatusBar()
{
    setPanel(1, QString());
    setPanel(2, QString(), 0);
    setPanel(3, QString());
    setPanel(1, QStringLiteral("Ready"));
    setPanel(2, QStringLiteral("State"), 0);
    setPanel(3, QStringLiteral("Last Change"));
}

void Session::resetWorkspace()
{
    if (askSaveTopic())
        return;
    closeProject();
    showEmptyPage();
    m_surface.pasteHTML(QStringLiteral("<center>Open or create project<br>Open or create topic</center>"));
    clearDirty();
    m_topic.TreeNode.reset();
    m_surface.setBrowseMode(true);
    m_tree.Clear();
    for (Enabler e : {Enabler::Project, Enabler::Unlocked, Enabler::Locked, Enabler::Book})
        setEnabled(e, false);
    readOnlyState();
    resetStatusBar();
    m_view->setActElement(QString());
}

void Session::closeProject()
{
    QFile::remove(mCommon::getTempFolder() + kTempHtml);
    if (m_open)
        m_view->projectClosing(m_project.GetProjectFile());
    if (!m_project.GetProjectFile().isEmpty()) {
        // Marking takes two steps; under the lock no other process sees half.
        // The mark is only a signal: a writer busy for long is not waited for.
        ProjectLock lock(m_project.GetProjectFolder(), kMarkWait);
        fileio::setMarked(m_project.GetProjectFile(), false);
    }
    m_open = false;
    m_saveFailed = false;
    m_writeRefusal.clear();
    setCurrentLanguage(QString());
    m_dropEnabled = true;
    m_view->setDropEnabled(true);
    setCaption(kAppTitle);
    m_tree.Clear();
    m_topic.TreeNode.reset();
    m_chapter.TreeNode.reset();
    showEmptyPage();
}

void Session::openProject(const QString& path)
{
    if (path.isEmpty())
        return;
    if (!QFileInfo(path).isFile()) {
        m_box.exclamation(QStringLiteral("File does not exist!"));
        return;
    }
    if (fileio::isMarked(path)) {
        if (m_box.show(QStringLiteral("Project is used by other application or has not been closed correctly. "
                                      "Are you sure, that project is not used by any application?\r\n\r\n"
                                      "Yes opens it anyway (on the command line: --yes)."),
                       MsgButtons::YesNo, MsgIcon::Question, kAppTitle) != MsgAnswer::Yes)
            return;
    }
    {
        // Checked before the open project is closed: a file that is no
        // project leaves it open, and the message names the file.
        cProject probe(m_box);
        if (!probe.Load(path))
            return;
    }
    closeProject();
    if (!m_project.Load(path))
        return;
    // A file its owner made read-only is not the mark: it stays as it is.
    if (fileio::isReadOnly(m_project.GetProjectFile()))
        m_box.exclamation(QStringLiteral("The project file \"") + m_project.GetProjectFile() +
                          QStringLiteral("\" is read-only (it has no write permission). It is not marked as in use, "
                                         "its permissions are left as they are, and changes to the project file "
                                         "itself are refused."));
    else {
        ProjectLock lock(m_project.GetProjectFolder(), kMarkWait);
        fileio::setMarked(m_project.GetProjectFile(), true);
    }
    {
        // What writers killed midway left behind; with the lock held nobody
        // is writing now. A busy project is tidied next time.
        ProjectLock lock(m_project.GetProjectFolder(), 0);
        if (lock.ok())
            fileio::removeStaleTemps(m_project.GetProjectFolder());
    }
    m_open = true;
    m_writeRefusal = unwritableReason();
    setCurrentLanguage(m_project.GetMainLangAbbrev());
    buildTree();
    enableByProjectState();
    setEditorBase();
    setCaption(QStringLiteral("Quillary Author - ") + path + QStringLiteral(" (") + currentLanguage() +
               QStringLiteral(")"));
    resetStatusBar();
    if (!m_writeRefusal.isEmpty()) {
        m_dropEnabled = false;
        m_view->setDropEnabled(false);
        m_box.exclamation(QStringLiteral("The project's files cannot be written:\r\n") + m_writeRefusal +
                          QStringLiteral("\r\n\r\nTherefore, project is read-only."));
    }
    if (isLocked()) {
        m_dropEnabled = false;
        m_view->setDropEnabled(false);
        m_box.exclamation(QStringLiteral("Project has been exported and still is locked.\r\n\r\nSTAMP: ") +
                          m_project.GetLockStamp() + QStringLiteral("\r\nCOMMENT: ") +
                          m_project.GetLockDescription() +
                          QStringLiteral("\r\n\r\nTherefore, project is read-only."));
    }
    m_view->projectOpened(m_project.GetProjectFile());
}

QString Session::unwritableReason() const
{
    // What a save, an insert or a move replaces: the chapter files and the
    // book file, through new files in the project folder. The project file
    // alone is handled where it is written.
    QStringList paths{m_project.GetProjectFolder(), m_project.getBookFile()};
    paths << m_project.chapterFileList();
    for (const QString& p : paths) {
        if (p.isEmpty())
            continue;
        if (::access(QFile::encodeName(p).constData(), W_OK) != 0 && errno != ENOENT)
            return QStringLiteral("\"") + QDir::toNativeSeparators(p) + QStringLiteral("\": ") +
                   QString::fromLocal8Bit(std::strerror(errno));
    }
    return {};
}

void Session::createProject()
{
    cBook book;
    if (!dialogs.newBook || !dialogs.newBook(book))
        return;
    if (!mCommon::checkFreeSpace(QFileInfo(book.ProjectFile).absoluteFilePath(), m_box))
        return;
    if (askSaveTopic())
        return;
    closeProject();
    if (!createProjectFiles(book, m_box))
        return;
    if (!m_project.Load(book.ProjectFile))
        return;
    m_open = true;
    setCurrentLanguage(m_project.GetMainLangAbbrev());
    setCaption(QStringLiteral("Quillary Author - ") + book.ProjectFile + QStringLiteral(" (") +
               book.MainLangAbbrev + QStringLiteral(")"));
    buildTree();
    setEditorBase();
    if (NodePtr root = m_tree.Root()) {
        m_tree.Select(root);
        clickOnTopic(root);
    }
    enableByProjectState();
    resetStatusBar();
}

bool Session::topicChanged()
{
    return m_saveFailed || m_surface.isDirty() || topicPropertiesChanged || topicStateChanged;
}

bool Session::askSaveTopic()
{
    NodePtr node = shownTopic();
    if (!node)
        return false;
    if (!topicChanged())
        return false;
    MsgAnswer a = m_box.show(QStringLiteral("Topic \"") + node->Text + QStringLiteral("\" has been changed. Save?"),
                             MsgButtons::YesNoCancel, MsgIcon::Exclamation, kAppTitle);
    if (a == MsgAnswer::Yes) {
        // Flags first: a save that then refuses by the topic's rules leaves
        // the topic looking unchanged and the pending command goes on. A save
        // that could not write keeps the topic changed and shown instead.
        const bool props = topicPropertiesChanged, state = topicStateChanged;
        clearDirty();
        mnuSave();
        if (m_saveFailed) {
            topicPropertiesChanged = props;
            topicStateChanged = state;
            m_tree.Select(node);
            return true;
        }
        return false;
    }
    if (a == MsgAnswer::No) {
        m_saveFailed = false;
        if (topicStateChanged) {
            // The toggle has just flipped State; the saved state is the other one.
            bool savedComplete = m_topic.State != QLatin1String("complete");
            node->Image = savedComplete ? treeimg::Complete : treeimg::Topic;
            node->SelectedImage = savedComplete ? treeimg::CompleteSel : treeimg::TopicSel;
            m_tree.Changed(node);
        }
        return false;
    }
    m_tree.Select(node);
    return true;
}

bool Session::queryUnload()
{
    NodePtr node = shownTopic();
    if (node && (m_surface.isDirty() || m_saveFailed)) {
        MsgAnswer a = m_box.show(QStringLiteral("Topic \"") + node->Text + QStringLiteral("\" has been changed. Save?"),
                                 MsgButtons::YesNoCancel, MsgIcon::Exclamation, kAppTitle);
        if (a == MsgAnswer::Cancel)
            return false;
        if (a == MsgAnswer::Yes) {
            clearDirty();
            mnuSave();
            // Text that did not reach the disk keeps the program open.
            if (m_saveFailed)
                return false;
        }
    }
    m_saveFailed = false;
    closeProject();
    return true;
}

// --- enabling -----------------------------------------------------------

void Session::enableByProjectState()
{
    setEnabled(Enabler::Project, true);
    // Files that cannot be written: no command that writes them.
    const bool writable = readOnlyReason().isEmpty();
    const bool locked = isLocked();
    setEnabled(Enabler::Unlocked, writable && !locked);
    setEnabled(Enabler::Locked, writable && locked);
    setEnabled(Enabler::Book, !isReadOnly());
    pushEnabling();
}

void Session::readOnlyState()
{
    setEnabled(Enabler::Editing, false);
    setEnabled(Enabler::Reading, false);
    setEnabled(Enabler::Always, true);
    pushEnabling();
}

void Session::editState()
{
    if (isReadOnly())
        return;
    setEnabled(Enabler::Editing, true);
    setEnabled(Enabler::Reading, true);
    pushEnabling();
}

void Session::completeTopicState()
{
    if (isReadOnly())
        return;
    setEnabled(CommandId::Save, true);
    pushEnabling();
}

void Session::copyFindState()
{
    setEnabled(Enabler::Reading, true);
    pushEnabling();
}

// --- unlock ---------------------------------------------------------------

void Session::mnuUnlock()
{
    if (!isLocked())
        return;
    QString text = QStringLiteral("Project lock properties:\r\n\r\nSTAMP: ") + m_project.GetLockStamp() +
                   QStringLiteral("\r\nCOMMENT: ") + m_project.GetLockDescription() +
                   QStringLiteral("\r\n\r\nIf you unlock project, it will be not possible to import languages "
                                  "from exported projects any longer.\r\n\r\nAre you sure you want to unlock project?");
    if (m_box.show(text, MsgButtons::YesNo, MsgIcon::Question, kAppTitle) != MsgAnswer::Yes)
        return;
    if (!mCommon::checkFreeSpace(m_project.GetProjectFile(), m_box))
        return;
    if (!m_project.RemoveLock())
        return; // still locked; the message has been shown
    QString path = m_project.GetProjectFile();
    resetWorkspace();
    openProject(path);
}
