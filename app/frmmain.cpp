#include "frmmain.h"

#include "backup.h"
#include "booksearch.h"
#include "booktreewidget.h"
#include "desktopsettings.h"
#include "dialogsupport.h"
#include "editagent.h"
#include "editingcontroller.h"
#include "findbar.h"
#include "frmabout.h"
#include "frmbackup.h"
#include "frmbookproperties.h"
#include "frmcontexthelp.h"
#include "frmdebug.h"
#include "frmexport.h"
#include "frmimport.h"
#include "frmnewlanguage.h"
#include "frmoptions.h"
#include "frmoutput.h"
#include "frmtopictitle.h"
#include "frmverify.h"
#include "frmxliff.h"
#include "holders.h"
#include "icons.h"
#include "language.h"
#include "msgbox.h"
#include "searchpanel.h"
#include "spellingcontroller.h"
#include "websurface.h"

#include <QAction>
#include <QCheckBox>
#include <QApplication>
#include <QCloseEvent>
#include <QDateTime>
#include <QFileDialog>
#include <QFileInfo>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QScreen>
#include <QSplitter>
#include <QStatusBar>
#include <QTableWidget>
#include <QTimer>
#include <QToolBar>
#include <QVBoxLayout>
#include <QWebEngineSettings>

const QString frmMain::kOpenFilter = QStringLiteral("Quillary project files (*.qly);;All files (*.*)");

namespace {

// The common toolbar; NoCommand is a separator.
constexpr std::optional<CommandId> kGap = std::nullopt;
const std::optional<CommandId> kCommonToolbar[] = {
    CommandId::New,  CommandId::Open,  CommandId::Save, kGap, CommandId::Undo, CommandId::Redo, kGap,
    CommandId::Copy, CommandId::Paste, CommandId::Cut,  kGap, CommandId::Find,
};

struct Button {
    const char* key;
    const char* tip; // null: the key
    bool groupEnd;
};

const Button kElementButtons[] = {
    {"Topic Title", nullptr, false},   {"Paragraph", nullptr, false},
    {"ParaHeader", "Paragraph Header", false}, {"Note", nullptr, false},
    {"Sign", "Bold", true},            {"Bulleted List", nullptr, false},
    {"Ordered List", "Numbered List", true}, {"Link", nullptr, false},
    {"Anchor", nullptr, false},        {"Image", nullptr, true},
    {"Printed Output", nullptr, false}, {"Online Output", nullptr, true},
    {"Table", nullptr, false},
};

const Button kAlignButtons[] = {
    {"Align Left", nullptr, false},   {"Align Center", nullptr, false}, {"Align Right", nullptr, true},
    {"Insert Row", nullptr, false},   {"Delete Row", nullptr, false},   {"Insert Column", nullptr, false},
    {"Delete Column", nullptr, false},
};

QList<QKeySequence> shortcutsOf(const Command& c)
{
    QList<QKeySequence> keys;
    if (c.shortcut)
        for (const QString& k : QString::fromLatin1(c.shortcut).split(QLatin1Char(';')))
            keys << QKeySequence::fromString(k, QKeySequence::PortableText);
    return keys;
}

bool isLetter(int key)
{
    return key >= Qt::Key_A && key <= Qt::Key_Z;
}

bool isModifierKey(int key)
{
    return key == Qt::Key_Control || key == Qt::Key_Shift || key == Qt::Key_Alt || key == Qt::Key_Meta ||
           key == Qt::Key_AltGr;
}

// Caret movement and deletion by word stay with the page.
bool isCaretKey(int key)
{
    switch (key) {
    case Qt::Key_Left: case Qt::Key_Right: case Qt::Key_Up: case Qt::Key_Down:
    case Qt::Key_Home: case Qt::Key_End: case Qt::Key_PageUp: case Qt::Key_PageDown:
    case Qt::Key_Backspace: case Qt::Key_Delete:
        return true;
    default:
        return false;
    }
}

} // namespace

frmMain::frmMain(MsgBox& box, QWidget* parent) : QMainWindow(parent), m_box(box)
{
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(kAppTitle);
    setWindowIcon(appicons::windowIcon());
    // 8000 by 4000 twips.
    setMinimumSize(533, 267);
    setContextMenuPolicy(Qt::NoContextMenu);

    dEdit = new WebSurface;
    dEdit->setObjectName(QStringLiteral("dEdit"));
    m_session = std::make_unique<Session>(m_box, *dEdit);

    buildActions();
    buildMenus();
    buildToolbars();
    buildCentre();
    buildStatusBar();
    buildSearch();
    wireSession();

    // The editing rules and the element commands of the surface.
    m_editing = new EditingController(dEdit, *m_session, this);
    m_editing->attachToolbars(tlbElements, tlbAlign, labActElement, false);
    m_editing->attachSurface(true, false);
    connect(m_editing, &EditingController::commandRequested, this, [this](CommandId id) {
        if (QAction* a = action(id))
            a->trigger();
    });
    m_spelling = new SpellingController(dEdit, *m_editing, *m_session, this);
    m_spelling->prepareSurface();

    resize(1200, 800);
    fitToScreen();
    qApp->installEventFilter(this);
}

frmMain::~frmMain()
{
    qApp->removeEventFilter(this);
    if (m_session->isOpen())
        m_session->closeProject();
    m_session->setView(nullptr);
    trvBook->setBookTree(nullptr);
}

QAction* frmMain::makeAction(const QString& name, const QString& text, QObject* parent)
{
    auto* a = new QAction(text, parent ? parent : this);
    a->setObjectName(name);
    m_actions.insert(name, a);
    return a;
}

void frmMain::buildActions()
{
    for (const Command& c : commandTable()) {
        // The toolbars and the submenu are switched, not run.
        if (c.id == CommandId::ElementTools || c.id == CommandId::TableTools || c.id == CommandId::ExportImport)
            continue;
        QAction* a = makeAction(QString::fromLatin1(c.objectName), QString::fromLatin1(c.text));
        a->setShortcuts(shortcutsOf(c));
        if (c.toolbarKey) {
            const QString key = QString::fromLatin1(c.toolbarKey);
            a->setIcon(appicons::toolbarIcon(key));
            a->setIconVisibleInMenu(false);
            a->setToolTip(key);
            a->setData(key);
            m_actions.insert(key, a);
        }
        a->setEnabled(c.available);
        const CommandId id = c.id;
        connect(a, &QAction::triggered, this, [this, id] { run(id); });
        m_commands[id] = a;
    }
    action(CommandId::Complete)->setCheckable(true);
}

QAction* frmMain::action(CommandId id) const
{
    auto it = m_commands.find(id);
    return it == m_commands.end() ? nullptr : it->second;
}

void frmMain::run(CommandId id)
{
    Session& s = *m_session;
    switch (id) {
    case CommandId::New: mnuNew_Click(); break;
    case CommandId::Open: mnuOpen_Click(); break;
    case CommandId::Save: mnuSave_Click(); break;
    case CommandId::Exit: mnuExit_Click(); break;
    case CommandId::CloseProject: s.resetWorkspace(); break;
    case CommandId::RemoveMissingRecent: DesktopSettings().removeMissing(); break;
    case CommandId::Search: showSearch(); break;
    case CommandId::RenameNode: renameNode(); break;
    case CommandId::DeleteNode: deleteNode(); break;
    case CommandId::Shortcuts: mnuShortcuts_Click(); break;
    case CommandId::Undo: mnuUndo_Click(); break;
    case CommandId::Redo: mnuRedo_Click(); break;
    case CommandId::Cut: mnuCut_Click(); break;
    case CommandId::Copy: mnuCopy_Click(); break;
    case CommandId::Paste: mnuPaste_Click(); break;
    case CommandId::Find: mnuFind_Click(); break;
    case CommandId::Output: mnuOutput_Click(); break;
    case CommandId::Verify: mnuVerify_Click(); break;
    case CommandId::Backup: mnuBackup_Click(); break;
    case CommandId::Export: mnuExport_Click(); break;
    case CommandId::Import: mnuImport_Click(); break;
    case CommandId::XliffExport: xliff(frmXliff::Mode::Export); break;
    case CommandId::XliffImport: xliff(frmXliff::Mode::Import); break;
    case CommandId::NewLanguage: mnuNewLanguage_Click(); break;
    case CommandId::ContextHelp: mnuContextHelp_Click(); break;
    case CommandId::Settings: reloadSettings(); break;
    case CommandId::About: mnuAbout_Click(); break;
    case CommandId::Debug: mnuDebug_Click(); break;
    case CommandId::Unlock:
    case CommandId::UnlockProject: s.mnuUnlock(); break;
    case CommandId::InsertBook: s.createProject(); break;
    case CommandId::InsertChapterToBook:
    case CommandId::InsertChapter: s.changeChapter(ChapterAction::Insert); break;
    case CommandId::DeleteBook: s.mnuDeleteBook(); break;
    case CommandId::BookProperties: s.editBookProperties(); break;
    case CommandId::InsertTopic: s.changeTopic(TopicAction::Insert); break;
    case CommandId::InsertChapterBefore: s.changeChapter(ChapterAction::InsertBefore); break;
    case CommandId::InsertChapterAfter: s.changeChapter(ChapterAction::InsertAfter); break;
    case CommandId::DeleteChapter: s.mnuDeleteChapter(); break;
    case CommandId::ChapterProperties: s.mnuChapterProperties(); break;
    case CommandId::InsertTopicBefore: s.changeTopic(TopicAction::InsertBefore); break;
    case CommandId::InsertTopicAfter: s.changeTopic(TopicAction::InsertAfter); break;
    case CommandId::DeleteTopic: s.mnuDeleteTopic(); break;
    case CommandId::Complete: s.mnuComplete(); break;
    // The keyword dialog runs once the menu has closed.
    case CommandId::Index: s.keywordDialogPending = true; break;
    case CommandId::EditElement: m_editing->contextMenuAction(0); break;
    case CommandId::DeleteElement: m_editing->contextMenuAction(1); break;
    case CommandId::Spelling: m_spelling->spelling(); break;
    case CommandId::Synonyms: m_spelling->synonyms(); break;
    case CommandId::Antonyms: m_spelling->antonyms(); break;
    case CommandId::ExportImport:
    case CommandId::ElementTools:
    case CommandId::TableTools: break;
    }
}

void frmMain::buildMenus()
{
    auto addMenu = [this](QMenu* parentMenu, const char* name, const QString& title) {
        QMenu* m = parentMenu ? parentMenu->addMenu(title) : menuBar()->addMenu(title);
        m->setObjectName(QString::fromLatin1(name));
        m->menuAction()->setObjectName(QString::fromLatin1(name));
        m_menus.insert(m->objectName(), m);
        return m;
    };
    auto add = [this](QMenu* m, std::initializer_list<const char*> names) {
        for (const char* n : names) {
            if (!n)
                m->addSeparator();
            else
                m->addAction(action(QString::fromLatin1(n)));
        }
    };
    menuBar()->setObjectName(QStringLiteral("mnuBar"));

    QMenu* file = addMenu(nullptr, "mnuFile", QStringLiteral("&File"));
    add(file, {"mnuNew", "mnuOpen"});
    QMenu* recent = addMenu(file, "mnuRecent", QStringLiteral("Recent &Projects"));
    connect(recent, &QMenu::aboutToShow, this, &frmMain::fillRecentMenu);
    add(file, {"mnuSave", "mnuCloseProject", nullptr, "mnuExit"});
    QMenu* edit = addMenu(nullptr, "mnuEdit", QStringLiteral("&Edit"));
    add(edit, {"mnuUndo", "mnuRedo", nullptr, "mnuCut", "mnuCopy", "mnuPaste", nullptr, "mnuFind", "mnuSearch", nullptr,
               "mnuSpelling", "mnuSynonyms", "mnuAntonyms"});
    QMenu* project = addMenu(nullptr, "mnuProject", QStringLiteral("&Project"));
    add(project, {"mnuOutput", "mnuVerify", nullptr, "mnuBackup"});
    QMenu* exchange = addMenu(project, "mnuExportImport", QStringLiteral("E&xport/Import"));
    m_actions.insert(QStringLiteral("mnuExportImport"), exchange->menuAction());
    m_commands[CommandId::ExportImport] = exchange->menuAction();
    add(exchange, {"mnuExport", "mnuImport", nullptr, "mnuXliffExport", "mnuXliffImport", nullptr, "mnuUnlock"});
    add(project, {nullptr, "mnuNewLanguage", "mnuContextHelp"});
    QMenu* tools = addMenu(nullptr, "mnuTools", QStringLiteral("&Tools"));
    add(tools, {"mnuSettings"});
    QMenu* help = addMenu(nullptr, "mnuHelp", QStringLiteral("&Help"));
    add(help, {"mnuAbout", "mnuShortcuts", "mnuDebug"});

    // Context menus of the tree and of the page.
    auto popupMenu = [this](const char* name) {
        auto* m = new QMenu(this);
        m->setObjectName(QString::fromLatin1(name));
        m_menus.insert(m->objectName(), m);
        return m;
    };
    QMenu* book = popupMenu("mnuBook");
    add(book, {"mnuInsertBook", "mnuInsertChapterToBook"});
    QAction* sep = book->addSeparator();
    sep->setObjectName(QStringLiteral("mnuBookSeparator"));
    m_actions.insert(sep->objectName(), sep);
    add(book, {"mnuDeleteBook"});
    sep = book->addSeparator();
    sep->setObjectName(QStringLiteral("mnuBookSeparator2"));
    m_actions.insert(sep->objectName(), sep);
    add(book, {"mnuBookProperties"});

    add(popupMenu("mnuChapter"), {"mnuInsertTopic", nullptr, "mnuInsertChapterBefore", "mnuInsertChapterAfter",
                                  "mnuInsertChapter", nullptr, "mnuDeleteChapter", nullptr, "mnuChapterProperties"});
    add(popupMenu("mnuTopic"), {"mnuInsertTopicBefore", "mnuInsertTopicAfter", nullptr, "mnuDeleteTopic", nullptr,
                                "mnuComplete", "mnuIndex"});
    add(popupMenu("mnuLockedBook"), {"mnuUnlockProject"});
    popupMenu("mnuSurface");
}

void frmMain::buildToolbars()
{
    auto toolbar = [this](const char* name, const QString& title) {
        auto* t = new QToolBar(title, this);
        t->setObjectName(QString::fromLatin1(name));
        t->setIconSize(QSize(20, 20));
        t->setMovable(false);
        t->setFloatable(false);
        t->setToolButtonStyle(Qt::ToolButtonIconOnly);
        addToolBar(Qt::TopToolBarArea, t);
        return t;
    };
    auto button = [this](QToolBar* bar, const QString& key, const QString& tip) {
        QAction* a = makeAction(key, key, bar);
        a->setToolTip(tip);
        a->setIcon(appicons::toolbarIcon(key));
        a->setData(key);
        bar->addAction(a);
        return a;
    };

    // The menus' own actions, with their icons.
    tlbCommon = toolbar("tlbCommon", QStringLiteral("Common"));
    for (const std::optional<CommandId>& id : kCommonToolbar) {
        if (id)
            tlbCommon->addAction(action(*id));
        else
            tlbCommon->addSeparator();
    }

    tlbElements = toolbar("tlbElements", QStringLiteral("Elements"));
    for (const Button& b : kElementButtons) {
        const QString key = QString::fromLatin1(b.key);
        QAction* a = button(tlbElements, key, b.tip ? QString::fromLatin1(b.tip) : key);
        connect(a, &QAction::triggered, this, [this, key] { elementCommand(key); });
        if (key == QLatin1String("Sign"))
            a->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_B));
        if (b.groupEnd)
            tlbElements->addSeparator();
    }

    tlbAlign = toolbar("tlbAlign", QStringLiteral("Table"));
    for (const Button& b : kAlignButtons) {
        const QString key = QString::fromLatin1(b.key);
        QAction* a = button(tlbAlign, key, key);
        connect(a, &QAction::triggered, this, [this, key] { elementCommand(key); });
        if (b.groupEnd)
            tlbAlign->addSeparator();
    }

    // The label of the element at the caret, at the right end of the row.
    auto* spacer = new QWidget(tlbAlign);
    spacer->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
    tlbAlign->addWidget(spacer);
    auto* pic = new QWidget(tlbAlign);
    pic->setObjectName(QStringLiteral("picActElement"));
    auto* picLayout = new QVBoxLayout(pic);
    picLayout->setContentsMargins(6, 0, 8, 0);
    labActElement = new QLabel(pic);
    labActElement->setObjectName(QStringLiteral("labActElement"));
    labActElement->setAlignment(Qt::AlignCenter);
    labActElement->setMinimumWidth(72);
    labActElement->setStyleSheet(QStringLiteral(
        "QLabel#labActElement { color: #24569A; background: #DCE9FB; border: 1px solid #ADD0FC;"
        " border-radius: 3px; padding: 1px 8px; font-weight: bold; }"));
    labActElement->hide();
    picLayout->addWidget(labActElement);
    tlbAlign->addWidget(pic);
}

void frmMain::buildCentre()
{
    splMain = new QSplitter(Qt::Horizontal, this);
    splMain->setObjectName(QStringLiteral("splMain"));
    splMain->setChildrenCollapsible(false);
    splMain->setHandleWidth(5);

    trvBook = new BookTreeWidget(splMain);
    trvBook->setMinimumWidth(160);
    // F2 and Delete belong to the tree (on the page they edit text): the
    // tree hands them over itself, whether or not the window is active.
    trvBook->onCommandKey = [this](int key) {
        QAction* a = action(key == Qt::Key_F2 ? CommandId::RenameNode : CommandId::DeleteNode);
        if (a->isEnabled())
            a->trigger();
        return true;
    };

    auto* right = new QFrame(splMain);
    right->setObjectName(QStringLiteral("fraEditor"));
    right->setFrameShape(QFrame::StyledPanel);
    auto* column = new QVBoxLayout(right);
    column->setContentsMargins(1, 1, 1, 1);
    column->setSpacing(0);
    lblReadOnly = new QLabel(right);
    lblReadOnly->setObjectName(QStringLiteral("lblReadOnly"));
    lblReadOnly->setStyleSheet(QStringLiteral(
        "QLabel#lblReadOnly { background: #FFF4CE; color: #5C4A00; border-bottom: 1px solid #E8D9A0;"
        " padding: 4px 8px; }"));
    lblReadOnly->hide();
    column->addWidget(lblReadOnly);
    dEdit->setParent(right);
    dEdit->setMinimumSize(200, 100);
    column->addWidget(dEdit, 1);
    findBar = new FindBar(right);
    column->addWidget(findBar);

    splMain->addWidget(trvBook);
    splMain->addWidget(right);
    splMain->setStretchFactor(0, 0);
    splMain->setStretchFactor(1, 1);
    splMain->setSizes({280, 920});

    auto* centre = new QWidget(this);
    centre->setObjectName(QStringLiteral("picCentre"));
    auto* outer = new QVBoxLayout(centre);
    outer->setContentsMargins(4, 2, 4, 0);
    outer->addWidget(splMain);
    setCentralWidget(centre);

    findBar->onFind = [this](const QString& text, bool backward, bool matchCase) {
        QWebEnginePage::FindFlags flags;
        if (backward)
            flags |= QWebEnginePage::FindBackward;
        if (matchCase)
            flags |= QWebEnginePage::FindCaseSensitively;
        return dEdit->find(text, flags);
    };
    findBar->onClosed = [this] { dEdit->setFocus(); };

    // The page reads in the interface's typeface; the document is unchanged.
    const QString family = QApplication::font().family();
    dEdit->settings()->setFontFamily(QWebEngineSettings::StandardFont, family);
    dEdit->settings()->setFontFamily(QWebEngineSettings::SansSerifFont, family);

    dEdit->setContextMenuPolicy(Qt::CustomContextMenu);
    // Queued: the request comes inside a task of the web engine, where a
    // call to the page would get its answer only after the time limit.
    connect(dEdit, &QWidget::customContextMenuRequested, this, &frmMain::surfaceMenu, Qt::QueuedConnection);
}

void frmMain::buildStatusBar()
{
    sbrStatus = new QStatusBar(this);
    sbrStatus->setObjectName(QStringLiteral("sbrStatus"));
    sbrStatus->setSizeGripEnabled(true);
    setStatusBar(sbrStatus);

    panel[0] = new QLabel(sbrStatus);
    panel[0]->setObjectName(QStringLiteral("sbrPanel1"));
    // A long path is cut, it never widens the window.
    panel[0]->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    panel[0]->setMinimumWidth(120);
    sbrStatus->addWidget(panel[0], 1);

    auto* second = new QWidget(sbrStatus);
    second->setObjectName(QStringLiteral("sbrPanel2Box"));
    auto* row = new QHBoxLayout(second);
    row->setContentsMargins(6, 0, 6, 0);
    row->setSpacing(4);
    panelPicture = new QLabel(second);
    panelPicture->setObjectName(QStringLiteral("sbrPicture"));
    panelPicture->hide();
    panel[1] = new QLabel(second);
    panel[1]->setObjectName(QStringLiteral("sbrPanel2"));
    row->addWidget(panelPicture);
    row->addWidget(panel[1]);
    row->addStretch(1);
    second->setMinimumWidth(110);
    sbrStatus->addPermanentWidget(second);

    panel[2] = new QLabel(sbrStatus);
    panel[2]->setObjectName(QStringLiteral("sbrPanel3"));
    panel[2]->setMinimumWidth(150);
    panel[2]->setContentsMargins(6, 0, 6, 0);
    sbrStatus->addPermanentWidget(panel[2]);

    // "Saved" for a few seconds after each save.
    lblSaved = new QLabel(sbrStatus);
    lblSaved->setObjectName(QStringLiteral("lblSaved"));
    lblSaved->setMinimumWidth(50);
    lblSaved->setContentsMargins(6, 0, 6, 0);
    sbrStatus->addPermanentWidget(lblSaved);
    auto* clear = new QTimer(lblSaved);
    clear->setObjectName(QStringLiteral("tmrSaved"));
    clear->setSingleShot(true);
    clear->setInterval(4000);
    connect(clear, &QTimer::timeout, lblSaved, &QLabel::clear);
}

void frmMain::wireSession()
{
    Session& s = *m_session;
    s.dialogs.topicTitle = [this](const QString& caption, const QString& label, const QString& button,
                                  QString& text) {
        if (m_titleDialog)
            return m_titleDialog(caption, label, button, text);
        frmTopicTitle dlg(&m_box, this);
        dlg.refusal = m_session->dialogs.titleRefusal;
        dlg.setWindowTitle(caption);
        dlg.lblDesc->setText(label);
        dlg.cmdInsert->setText(button);
        cString title;
        title.TextString = text;
        cOKorCancel ok;
        dlg.setTopicTitle(&title);
        dlg.setOKorCancel(&ok);
        dlg.exec();
        if (!ok.Change)
            return false;
        text = title.TextString;
        return true;
    };
    s.dialogs.newBook = [this](cBook& book) {
        frmBook dlg(&m_box, this);
        cOKorCancel ok;
        dlg.setBookProperties(&book);
        dlg.setOKorCancel(&ok);
        if (m_newProjectPath)
            dlg.setSavePath(m_newProjectPath);
        if (!m_langFile.isEmpty())
            dlg.setLanguageFile(m_langFile);
        dlg.exec();
        return ok.Change;
    };
    s.dialogs.bookProperties = [this](cBook& book) {
        frmBookProperties dlg(&m_box, this);
        cOKorCancel ok;
        dlg.setBookProperties(&book);
        dlg.setOKorCancel(&ok);
        dlg.exec();
        return ok.Change;
    };

    trvBook->setBookTree(&s.tree());
    trvBook->onMouseUp = [this](const NodePtr& node, Qt::MouseButton button, const QPoint& at) {
        treeMouseUp(node, button, at);
    };
    trvBook->onKeySelect = [this](const NodePtr& node) {
        if (node)
            m_session->clickOnTopic(node);
    };
    trvBook->canDrop = [this](const NodePtr& source, const NodePtr& target) {
        return m_session->dropEnabled() && m_session->canDrop(source, target);
    };
    trvBook->onDrop = [this](const NodePtr& source, const NodePtr& target) { treeDrop(source, target); };
    s.setView(this);
}

void frmMain::fitToScreen()
{
    QScreen* scr = screen() ? screen() : QGuiApplication::primaryScreen();
    if (!scr)
        return;
    const QRect area = scr->availableGeometry();
    // Frame and title bar are not part of size(); leave room for them.
    const QSize room = area.size() - QSize(16, 48);
    resize(size().boundedTo(room).expandedTo(minimumSize()));
    move(area.x() + (area.width() - frameGeometry().width()) / 2,
         area.y() + (area.height() - frameGeometry().height()) / 2);
}

void frmMain::startUp(const QString& commandLine)
{
    restoreLayout();
    QString line = commandLine;
    if (Session::projectFromCommandLine(line).isEmpty()) {
        const QString last = DesktopSettings().projectToReopen();
        if (!last.isEmpty())
            line = QLatin1Char('"') + last + QLatin1Char('"');
    }
    m_session->startUp(line);
}

void frmMain::restoreLayout()
{
    DesktopSettings settings;
    if (!restoreGeometry(settings.windowGeometry()))
        fitToScreen();
    restoreState(settings.windowState());
    splMain->restoreState(settings.splitterState());
}

void frmMain::saveLayout()
{
    DesktopSettings settings;
    settings.setWindowGeometry(saveGeometry());
    settings.setWindowState(saveState());
    settings.setSplitterState(splMain->saveState());
}

void frmMain::projectOpened(const QString& projectFile)
{
    DesktopSettings().addRecent(projectFile);
    // After the open has run to its end (its boxes included).
    QTimer::singleShot(0, this, [this, projectFile] { restoreProjectState(projectFile); });
}

void frmMain::restoreProjectState(const QString& projectFile)
{
    Session& s = *m_session;
    if (!s.isOpen() || s.project().GetProjectFile() != projectFile)
        return;
    // Showing a topic calls the page, which may be busy with a call of its own.
    if (dEdit->inCall()) {
        QTimer::singleShot(10, this, [this, projectFile] { restoreProjectState(projectFile); });
        return;
    }
    const DesktopSettings::ProjectState state = DesktopSettings().projectState(projectFile);
    trvBook->sync();
    for (const QString& identity : state.expanded)
        if (NodePtr node = nodeByIdentity(s.tree(), identity))
            if (QTreeWidgetItem* item = trvBook->itemOf(node))
                item->setExpanded(true);
    if (NodePtr topic = nodeByIdentity(s.tree(), state.openTopic);
        topic && topic->Tag == QLatin1String("topic") && !s.shownTopic()) {
        s.tree().Select(topic);
        s.clickOnTopic(topic);
        if (QTreeWidgetItem* item = trvBook->itemOf(topic))
            trvBook->scrollToItem(item);
    }
}

void frmMain::projectClosing(const QString& projectFile)
{
    dckSearch->clear();
    DesktopSettings::ProjectState state;
    trvBook->sync();
    m_session->tree().forEach([&](const NodePtr& node, int) {
        if (QTreeWidgetItem* item = trvBook->itemOf(node); item && item->isExpanded())
            state.expanded << nodeIdentity(node);
    });
    state.openTopic = nodeIdentity(m_session->shownTopic());
    DesktopSettings().setProjectState(projectFile, state);
}

void frmMain::topicSaved()
{
    lblSaved->setText(QStringLiteral("Saved"));
    lblSaved->findChild<QTimer*>(QStringLiteral("tmrSaved"))->start();
}

void frmMain::fillRecentMenu()
{
    QMenu* m = menu(QStringLiteral("mnuRecent"));
    m->clear();
    const QList<DesktopSettings::Recent> recent = DesktopSettings().recentProjects();
    bool missing = false;
    for (int i = 0; i < recent.size(); ++i) {
        const DesktopSettings::Recent& r = recent[i];
        // An ampersand in a path is no mnemonic.
        QString text = QStringLiteral("&%1 %2").arg(i + 1).arg(QString(r.path).replace(QLatin1Char('&'), QStringLiteral("&&")));
        if (!r.exists)
            text += QStringLiteral(" (missing)");
        QAction* a = m->addAction(text);
        a->setObjectName(QStringLiteral("mnuRecent%1").arg(i + 1));
        a->setData(r.path);
        a->setEnabled(r.exists);
        const QString path = r.path;
        connect(a, &QAction::triggered, this, [this, path] { openRecent(path); });
        missing = missing || !r.exists;
    }
    if (recent.isEmpty()) {
        QAction* none = m->addAction(QStringLiteral("(none)"));
        none->setObjectName(QStringLiteral("mnuRecentNone"));
        none->setEnabled(false);
    }
    m->addSeparator();
    m->addAction(action(CommandId::RemoveMissingRecent));
    action(CommandId::RemoveMissingRecent)->setEnabled(missing);
}

void frmMain::openRecent(const QString& path)
{
    if (m_session->askSaveTopic())
        return;
    m_session->openProject(path);
}

// --- the session's view ------------------------------------------------------

void frmMain::setCaption(const QString& caption)
{
    setWindowTitle(caption.isEmpty() ? kAppTitle : caption);
}

void frmMain::setPanel(int i, const QString& text, int image)
{
    if (i < 1 || i > 3)
        return;
    panel[i - 1]->setText(text);
    if (i == 1)
        panel[0]->setToolTip(text);
    scheduleRefresh();
    if (i == 2) {
        panelPicture->setPixmap(image ? appicons::treePixmap(image, 16) : QPixmap());
        panelPicture->setVisible(image != 0);
    }
}

void frmMain::setEnabled(const Enabling& enabling)
{
    for (const auto& [id, on] : enabling) {
        if (id == CommandId::ElementTools) {
            for (const Button& b : kElementButtons)
                action(QString::fromLatin1(b.key))->setEnabled(on);
        } else if (id == CommandId::TableTools) {
            for (const Button& b : kAlignButtons)
                action(QString::fromLatin1(b.key))->setEnabled(on);
        } else if (QAction* a = action(id)) {
            a->setEnabled(on && commandInfo(id).available);
        }
    }
    // A project opened or closed: the surface checks in its language.
    if (m_spelling)
        m_spelling->prepareSurface();
    scheduleRefresh();
}

void frmMain::scheduleRefresh()
{
    // The session states the tools before it records the shown topic, so
    // the look follows once the command is through.
    if (m_refreshPending)
        return;
    m_refreshPending = true;
    QTimer::singleShot(0, this, [this] {
        m_refreshPending = false;
        refreshReadOnly();
    });
}

void frmMain::setDropEnabled(bool on)
{
    trvBook->setDropsEnabled(on);
}

void frmMain::setActElement(const QString& text)
{
    labActElement->setText(text);
    labActElement->setVisible(!text.isEmpty());
}

void frmMain::setCompleteChecked(bool on)
{
    action(QStringLiteral("mnuComplete"))->setChecked(on);
}

bool frmMain::isOn(CommandId id) const
{
    return m_session->enabled(id);
}

void frmMain::refreshReadOnly()
{
    if (!m_session)
        return;
    NodePtr shown = m_session->shownTopic();
    const bool readOnly = shown && !shown->Removed() && dEdit->browseMode();
    if (readOnly) {
        lblReadOnly->setText(m_session->isLocked()
                                 ? QStringLiteral("Read-only: the project has been exported and is locked.")
                             : !m_session->readOnlyReason().isEmpty()
                                 ? QStringLiteral("Read-only: the project's files cannot be written: ") +
                                       m_session->readOnlyReason()
                                 : QStringLiteral("Read-only: the topic is locked as finished."));
    }
    lblReadOnly->setVisible(readOnly);
    if (m_editing)
        m_editing->updateDisplay();
}

// --- commands ----------------------------------------------------------------

void frmMain::mnuNew_Click()
{
    m_session->resetWorkspace();
}

QString frmMain::askOpenPath(QWidget* parent, const QString& filter)
{
    QFileDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("cdlOpenSave"));
    dlg.setWindowTitle(QStringLiteral("Open Project"));
    dlg.setAcceptMode(QFileDialog::AcceptOpen);
    dlg.setFileMode(QFileDialog::ExistingFile);
    dlg.setNameFilter(filter);
    return dialogsupport::execFileDialog(dlg, QStringLiteral("project")).value_or(QString());
}

void frmMain::mnuOpen_Click()
{
    if (m_session->askSaveTopic())
        return;
    const QString path = m_openPath ? m_openPath(this, kOpenFilter) : askOpenPath(this, kOpenFilter);
    if (path.isEmpty())
        return;
    m_session->openProject(path);
}

void frmMain::mnuSave_Click()
{
    m_session->mnuSave();
    refreshReadOnly();
}

void frmMain::mnuExit_Click()
{
    if (close())
        QCoreApplication::quit();
}

void frmMain::mnuUndo_Click()
{
    if (isOn(CommandId::Undo))
        m_editing->undo();
}

void frmMain::mnuRedo_Click()
{
    if (isOn(CommandId::Redo))
        m_editing->redo();
}

void frmMain::mnuCopy_Click()
{
    if (isOn(CommandId::Copy))
        m_editing->copy();
}

void frmMain::mnuCut_Click()
{
    if (isOn(CommandId::Cut))
        m_editing->cut();
}

void frmMain::mnuPaste_Click()
{
    if (isOn(CommandId::Paste))
        m_editing->paste();
}

void frmMain::mnuFind_Click()
{
    if (isOn(CommandId::Find))
        findBar->open();
}

void frmMain::mnuAbout_Click()
{
    frmAbout dlg(this);
    dlg.exec();
}

void frmMain::mnuShortcuts_Click()
{
    QDialog dlg(this);
    dlg.setObjectName(QStringLiteral("frmShortcuts"));
    dlg.setWindowTitle(QStringLiteral("Keyboard Shortcuts"));
    auto* table = new QTableWidget(&dlg);
    table->setObjectName(QStringLiteral("tblShortcuts"));
    table->setColumnCount(2);
    table->setHorizontalHeaderLabels({QStringLiteral("Command"), QStringLiteral("Keys")});
    table->verticalHeader()->hide();
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    const QList<ShortcutRow> rows = shortcutRows();
    table->setRowCount(int(rows.size()));
    for (int i = 0; i < rows.size(); ++i) {
        // The keys in the desktop's words ("Ctrl+Shift+F", "Del").
        QStringList keys;
        for (const QString& k : rows[i].keys.split(QStringLiteral(", ")))
            keys << QKeySequence::fromString(k, QKeySequence::PortableText).toString(QKeySequence::NativeText);
        table->setItem(i, 0, new QTableWidgetItem(rows[i].what));
        table->setItem(i, 1, new QTableWidgetItem(keys.join(QStringLiteral(", "))));
    }
    table->resizeColumnsToContents();
    table->horizontalHeader()->setStretchLastSection(true);
    auto* close = new QPushButton(QStringLiteral("Close"), &dlg);
    close->setObjectName(QStringLiteral("cmdClose"));
    close->setDefault(true);
    connect(close, &QPushButton::clicked, &dlg, &QDialog::accept);
    auto* layout = new QVBoxLayout(&dlg);
    layout->addWidget(table);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(close);
    layout->addLayout(buttons);
    dlg.resize(460, 520);
    if (m_prepareForm)
        m_prepareForm(&dlg);
    dlg.exec();
}

void frmMain::buildSearch()
{
    dckSearch = new SearchPanel(this);
    dckSearch->setAllowedAreas(Qt::LeftDockWidgetArea | Qt::RightDockWidgetArea | Qt::BottomDockWidgetArea);
    addDockWidget(Qt::RightDockWidgetArea, dckSearch);
    dckSearch->hide();
    dckSearch->setSource([this]() -> SearchPanel::SourceInfo {
        // The files are searched: the shown topic is saved first.
        if (!m_session->isOpen() || m_session->askSaveTopic())
            return {};
        return {m_session->project().GetProjectFile(), currentLanguage()};
    });
    connect(dckSearch, &SearchPanel::hitActivated, this, &frmMain::openHit);
}

void frmMain::showSearch()
{
    dckSearch->show();
    dckSearch->raise();
    // Wide enough for a path and the text around a hit.
    if (!dckSearch->isFloating() && dckSearch->width() < 360)
        resizeDocks({dckSearch}, {420}, Qt::Horizontal);
    dckSearch->txtSearch->setFocus();
    dckSearch->txtSearch->selectAll();
}

void frmMain::openHit(const SearchHit& hit)
{
    Session& s = *m_session;
    NodePtr node = s.isOpen() ? s.tree().FindKey(hit.topicId) : nullptr;
    if (!node || dEdit->inCall())
        return;
    if (s.shownTopic() != node) {
        s.tree().Select(node);
        s.clickOnTopic(node);
        if (s.shownTopic() != node)
            return; // the save prompt was cancelled
    }
    if (QTreeWidgetItem* item = trvBook->itemOf(node))
        trvBook->scrollToItem(item);
    const QString needle = booksearch::normaliseQuery(dckSearch->txtSearch->text());
    m_editing->agentCall(QStringLiteral("selectHit"),
                         {needle, hit.occurrence, dckSearch->chkMatchCase->isChecked(),
                          dckSearch->chkWholeWord->isChecked(), hit.inTitle()});
}

NodePtr frmMain::keyNode()
{
    Session& s = *m_session;
    NodePtr node = s.tree().SelectedItem();
    if (!node || s.isReadOnly())
        return nullptr;
    // As a click would: a chapter becomes the selected one, a topic is shown.
    s.clickOnTopic(node);
    return node->Removed() ? nullptr : node;
}

void frmMain::renameNode()
{
    Session& s = *m_session;
    NodePtr node = keyNode();
    if (!node)
        return;
    if (node->Tag == QLatin1String("book"))
        s.editBookProperties();
    else if (node->Tag == QLatin1String("chapter"))
        s.mnuChapterProperties();
    else if (node->Tag == QLatin1String("topic") && s.shownTopic() == node && s.enabled(CommandId::Save)) {
        // A topic's title is the heading of its page: it is typed there.
        dEdit->setFocus();
        m_editing->agentCall(QStringLiteral("selectTitle"));
    }
}

void frmMain::deleteNode()
{
    Session& s = *m_session;
    NodePtr node = keyNode();
    if (!node)
        return;
    if (node->Tag == QLatin1String("book"))
        s.mnuDeleteBook();
    else if (node->Tag == QLatin1String("chapter"))
        s.mnuDeleteChapter();
    else if (node->Tag == QLatin1String("topic") && s.shownTopic() == node)
        s.mnuDeleteTopic();
}

void frmMain::mnuDebug_Click()
{
    if (!m_debug) {
        m_debug = new frmDebug(this);
        m_debug->setAttribute(Qt::WA_DeleteOnClose);
    }
    Session& s = *m_session;
    m_debug->add(QStringLiteral("--- ") + QDateTime::currentDateTime().toString(Qt::ISODate));
    m_debug->add(QStringLiteral("Project: ") + (s.isOpen() ? s.project().GetProjectFile() : QString()));
    m_debug->add(QStringLiteral("Language: ") + currentLanguage());
    m_debug->add(QStringLiteral("Locked: ") + (s.isLocked() ? QStringLiteral("yes") : QStringLiteral("no")));
    if (NodePtr t = s.shownTopic())
        m_debug->add(QStringLiteral("Topic: ") + s.topic().ID + QStringLiteral(" ") + t->FullPath() +
                     QStringLiteral(" (") + s.topic().State + QStringLiteral(", ") + s.topic().Stamp +
                     QStringLiteral(")"));
    if (NodePtr c = s.selectedChapter())
        m_debug->add(QStringLiteral("Chapter: ") + c->FullPath());
    m_debug->add(QStringLiteral("Surface: ") + (dEdit->browseMode() ? QStringLiteral("read-only") : QStringLiteral("editable")) +
                 (dEdit->isDirty() ? QStringLiteral(", changed") : QString()));
    for (const auto& [id, on] : s.enabling())
        m_debug->add(QStringLiteral("  ") + QString::fromLatin1(commandInfo(id).objectName) + QStringLiteral(" = ") +
                     (on ? QStringLiteral("on") : QStringLiteral("off")));
    m_debug->show();
    m_debug->raise();
}

void frmMain::mnuOutput_Click()
{
    if (!isOn(CommandId::Output) || !m_session->isOpen() || m_session->askSaveTopic())
        return;
    frmOutput dlg(&m_box, this);
    dlg.SetProject(&m_session->project());
    if (m_openUrl)
        dlg.openResult = m_openUrl;
    dlg.exec();
}

void frmMain::mnuVerify_Click()
{
    if (!isOn(CommandId::Verify) || !m_session->isOpen() || m_session->askSaveTopic())
        return;
    frmVerify dlg(&m_box, this);
    dlg.SetProject(&m_session->project());
    dlg.exec();
}

void frmMain::mnuNewLanguage_Click()
{
    Session& s = *m_session;
    if (!isOn(CommandId::NewLanguage) || !s.isOpen() || s.askSaveTopic())
        return;
    frmNewLanguage dlg(&m_box, this);
    dlg.SetProject(&s.project());
    if (!m_langFile.isEmpty())
        dlg.setLanguageFile(m_langFile);
    if (m_prepareForm)
        m_prepareForm(&dlg);
    dlg.exec();
}

void frmMain::mnuContextHelp_Click()
{
    Session& s = *m_session;
    if (!isOn(CommandId::ContextHelp) || !s.isOpen() || s.askSaveTopic())
        return;
    frmContextHelp dlg(&m_box, this);
    dlg.SetProject(&s.project());
    if (m_prepareForm)
        m_prepareForm(&dlg);
    dlg.exec();
}

void frmMain::mnuExport_Click()
{
    Session& s = *m_session;
    if (!isOn(CommandId::Export) || !s.isOpen() || s.askSaveTopic())
        return;
    {
        frmExport dlg(&m_box, this);
        dlg.SetProject(&s.project());
        dlg.SetTree(&s.tree());
        if (m_prepareForm)
            m_prepareForm(&dlg);
        dlg.exec();
    }
    // Opening the file again brings up the locked state.
    const QString path = s.project().GetProjectFile();
    s.resetWorkspace();
    s.openProject(path);
}

void frmMain::mnuImport_Click()
{
    Session& s = *m_session;
    if (!isOn(CommandId::Import) || !s.isOpen() || s.askSaveTopic())
        return;
    const NodePtr shown = s.shownTopic();
    const QString key = shown ? shown->Key : QString();
    {
        frmImport dlg(&m_box, this);
        dlg.SetProject(&s.project());
        if (m_prepareForm)
            m_prepareForm(&dlg);
        dlg.exec();
    }
    showAfterImport(key);
}

void frmMain::xliff(frmXliff::Mode mode)
{
    Session& s = *m_session;
    const CommandId id = mode == frmXliff::Mode::Export ? CommandId::XliffExport : CommandId::XliffImport;
    if (!isOn(id) || !s.isOpen() || s.askSaveTopic())
        return;
    const NodePtr shown = s.shownTopic();
    const QString key = shown ? shown->Key : QString();
    bool imported = false;
    {
        frmXliff dlg(mode, &m_box, this);
        dlg.SetProject(&s.project());
        if (m_prepareForm)
            m_prepareForm(&dlg);
        dlg.exec();
        imported = mode == frmXliff::Mode::Import && dlg.succeeded();
    }
    if (imported)
        showAfterImport(key);
}

void frmMain::showAfterImport(const QString& key)
{
    Session& s = *m_session;
    if (!s.isOpen())
        return;
    // The tree shows the imported titles; the open topic its new text.
    s.buildTree();
    if (NodePtr node = key.isEmpty() ? nullptr : s.tree().FindKey(key)) {
        s.clickOnTopic(node);
        trvBook->sync();
        if (QTreeWidgetItem* item = trvBook->itemOf(node))
            trvBook->scrollToItem(item);
    }
}

void frmMain::mnuBackup_Click()
{
    Session& s = *m_session;
    if (!isOn(CommandId::Backup) || !s.isOpen() || s.askSaveTopic())
        return;
    frmBackup dlg(&m_box, this);
    dlg.Files = backup::projectFileList(s.project());
    dlg.BaseFolder = QFileInfo(s.project().GetProjectFile()).absolutePath();
    if (m_prepareForm)
        m_prepareForm(&dlg);
    dlg.exec();
}

void frmMain::reloadSettings()
{
    {
        frmOptions dlg(&m_box, this);
        if (m_openUrl)
            dlg.openUrl = m_openUrl;
        dlg.exec();
    }
    // The colours apply from the next empty page on.
    m_session->readSettings();
}

void frmMain::elementCommand(const QString& key)
{
    m_editing->elementCommand(key);
}

// --- the tree ------------------------------------------------------------------

void frmMain::popup(QMenu* menu, const QPoint& globalPos)
{
    if (m_popup)
        m_popup(menu, globalPos);
    else
        menu->exec(globalPos);
    // The keyword dialog runs outside the menu.
    if (m_session->keywordDialogPending) {
        m_session->keywordDialogPending = false;
        m_editing->editKeywords();
    }
}

void frmMain::treeMouseUp(const NodePtr& node, Qt::MouseButton button, const QPoint& globalPos)
{
    Session& s = *m_session;
    // A drag starts from the pressed item, which is this node.
    if (button == Qt::LeftButton && node) {
        s.clickOnTopic(node);
        return;
    }
    if (s.isReadOnly()) {
        if (s.isLocked() && button == Qt::RightButton && node && node->Tag == QLatin1String("book")) {
            s.clickOnTopic(node);
            popup(menu(QStringLiteral("mnuLockedBook")), globalPos);
        }
        return;
    }
    if (button != Qt::RightButton)
        return;
    if (!node) {
        if (s.tree().Roots().empty()) {
            action(QStringLiteral("mnuInsertBook"))->setVisible(true);
            for (const char* n : {"mnuInsertChapterToBook", "mnuBookSeparator", "mnuDeleteBook", "mnuBookSeparator2",
                                  "mnuBookProperties"})
                action(QString::fromLatin1(n))->setVisible(false);
            popup(menu(QStringLiteral("mnuBook")), globalPos);
        }
        return;
    }
    s.tree().Select(node);
    s.clickOnTopic(node);
    if (node->Removed())
        return;
    if (node->Tag == QLatin1String("book")) {
        action(QStringLiteral("mnuInsertBook"))->setVisible(false);
        for (const char* n : {"mnuInsertChapterToBook", "mnuBookSeparator", "mnuDeleteBook", "mnuBookSeparator2",
                              "mnuBookProperties"})
            action(QString::fromLatin1(n))->setVisible(true);
        popup(menu(QStringLiteral("mnuBook")), globalPos);
    } else if (node->Tag == QLatin1String("chapter")) {
        popup(menu(QStringLiteral("mnuChapter")), globalPos);
    } else if (node->Tag == QLatin1String("topic")) {
        // A save prompt answered with Cancel keeps the old topic: no menu.
        if (s.shownTopic() != node)
            return;
        const bool complete = s.topic().State == QLatin1String("complete");
        action(QStringLiteral("mnuComplete"))->setChecked(complete);
        action(QStringLiteral("mnuIndex"))->setEnabled(!complete);
        popup(menu(QStringLiteral("mnuTopic")), globalPos);
    }
}

void frmMain::treeDrop(const NodePtr& source, const NodePtr& target)
{
    if (!m_session->dropEnabled() || !source || !target)
        return;
    // Drops are not user input to an event loop that waits for the page:
    // one can arrive while a call waits, and its calls would then stall
    // both. It runs when the page is free.
    if (dEdit->inCall()) {
        QTimer::singleShot(10, this, [this, source, target] { treeDrop(source, target); });
        return;
    }
    m_session->dropNode(source, target);
}

bool frmMain::openTopic(const QString& idOrPath)
{
    Session& s = *m_session;
    NodePtr root = s.tree().Root();
    if (!root)
        return false;
    NodePtr node = s.tree().FindKey(idOrPath);
    if (!node)
        node = s.tree().FindPath(root->Text + QLatin1Char('\\') + idOrPath);
    if (!node || node->Tag != QLatin1String("topic"))
        return false;
    s.clickOnTopic(node);
    return s.shownTopic() == node;
}

// --- the page's menu ---------------------------------------------------------------

void frmMain::surfaceMenu(const QPoint& pos)
{
    QMenu* m = menu(QStringLiteral("mnuSurface"));
    m->clear();
    Session& s = *m_session;
    const bool editable = s.shownTopic() && s.topic().State == QLatin1String("uncomplete") && !dEdit->browseMode();
    if (editable && m_spelling->addMisspellingEntries(m))
        m->addSeparator();
    QString kind;
    if (editable)
        kind = dEdit->runScript(editagent::callExpression(QStringLiteral("window.quillary.kindAt"), {pos.x(), pos.y()}))
                   .toString();
    if (kind == QLatin1String("link") || kind == QLatin1String("image")) {
        dEdit->runScript(
            editagent::callExpression(QStringLiteral("window.quillary.caretAt"), {pos.x(), pos.y()}));
        m->addAction(action(QStringLiteral("mnuEditElement")));
        m->addAction(action(QStringLiteral("mnuDeleteElement")));
    } else if (kind == QLatin1String("text")) {
        m->addAction(action(QStringLiteral("mnuSpelling")));
        m->addAction(action(QStringLiteral("mnuSynonyms")));
        m->addAction(action(QStringLiteral("mnuAntonyms")));
    }
    if (!m->isEmpty() && !m->actions().constLast()->isSeparator())
        m->addSeparator();
    m->addAction(action(QStringLiteral("mnuCut")));
    m->addAction(action(QStringLiteral("mnuCopy")));
    m->addAction(action(QStringLiteral("mnuPaste")));
    popup(m, dEdit->mapToGlobal(pos));
}

// --- leaving, keys -------------------------------------------------------------------

void frmMain::closeEvent(QCloseEvent* event)
{
    // As with drops: a close from the window manager can come while a page
    // call waits; the question comes when the page is free.
    if (dEdit->inCall()) {
        event->ignore();
        QTimer::singleShot(10, this, &QWidget::close);
        return;
    }
    if (!m_session->queryUnload()) {
        event->ignore();
        return;
    }
    // The project's tree and topic are kept when it closes, with the window.
    saveLayout();
    event->accept();
}

bool frmMain::inEditArea(QObject* watched) const
{
    auto* w = qobject_cast<QWidget*>(watched);
    if (!w || w->window() != this)
        return false;
    return w == dEdit || dEdit->isAncestorOf(w) || w == trvBook || trvBook->isAncestorOf(w);
}

// The keys of the page and the tree: Ctrl with a letter runs the window's
// command or nothing, so the page's own shortcuts (Ctrl+I, Ctrl+U, ...) never
// change the topic behind the system's back. Ctrl+A stays with the page.
bool frmMain::handleKey(QKeyEvent* event)
{
    const bool run = event->type() == QEvent::KeyPress;
    const Qt::KeyboardModifiers mods = event->modifiers();
    const int key = event->key();
    if ((mods & Qt::ControlModifier) && !(mods & (Qt::AltModifier | Qt::MetaModifier))) {
        if (isModifierKey(key) || isCaretKey(key) || key == Qt::Key_A)
            return false;
        if (!isLetter(key) || !run)
            return true;
        if (QAction* a = actionForKey(event))
            a->trigger();
        return true;
    }
    if (key == Qt::Key_F1 && !(mods & (Qt::ControlModifier | Qt::AltModifier | Qt::ShiftModifier))) {
        if (run)
            action(CommandId::About)->trigger();
        return true;
    }
    return false;
}

QAction* frmMain::actionForKey(const QKeyEvent* event) const
{
    const Qt::KeyboardModifiers mods =
        event->modifiers() & (Qt::ControlModifier | Qt::ShiftModifier | Qt::AltModifier | Qt::MetaModifier);
    const QKeySequence pressed(QKeyCombination(mods, Qt::Key(event->key())));
    for (QAction* a : std::as_const(m_actions))
        if (a->shortcuts().contains(pressed))
            return a;
    return nullptr;
}

bool frmMain::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type t = event->type();
    if ((t == QEvent::KeyPress || t == QEvent::ShortcutOverride) && inEditArea(watched)) {
        auto* key = static_cast<QKeyEvent*>(event);
        if (handleKey(key)) {
            // Taking the override keeps the same key from firing a menu
            // shortcut as well; the key press that follows runs it once.
            event->accept();
            return true;
        }
    }
    return QMainWindow::eventFilter(watched, event);
}
