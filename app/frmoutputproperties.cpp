#include "frmoutputproperties.h"

#include "msgbox.h"
#include "qtmsgbox.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFileInfo>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalBlocker>
#include <QTabWidget>
#include <QVBoxLayout>

const QString frmOutputProperties::kQopFilter =
    QStringLiteral("Quillary output properties (*.qop);;All files (*.*)");
const QString frmOutputProperties::kImageFilter =
    QStringLiteral("All images (*.jpg *.gif *.png *.bmp *.tif);;JPEG (*.jpg);;GIF (*.gif);;PNG (*.png);;"
                   "BMP (*.bmp);;TIFF (*.tif);;All files (*.*)");

namespace {

using Kind = cOutputProperties::Kind;

const char* const kTabCaptions[cOutputProperties::kTabCount] = {"HTML Help", "PDF",      "HTML",
                                                                 "HTML (frames)", "Web Help", "EPUB"};
const char* const kTabKeys[cOutputProperties::kTabCount] = {"HH", "PDF", "HTML", "HTMLFrames", "WebHelp", "EPUB"};

QString key(const QString& name, int index)
{
    return name + QLatin1Char('#') + QString::number(index);
}

// The tab on which a control outside the arrays stands.
int homeTab(const QString& name)
{
    if (name == QLatin1String("chkHHAdvSearch") || name == QLatin1String("chkHHToCRoot"))
        return cOutputProperties::kHH;
    if (name == QLatin1String("chkBookmarks") || name == QLatin1String("chkRule") ||
        name == QLatin1String("txtColNumber") || name == QLatin1String("cmbPaperType"))
        return cOutputProperties::kPDF;
    return cOutputProperties::kHTMLFrames;
}

struct Caption {
    const char* name;
    const char* text;
    const char* tip;
};

const Caption kCaptions[] = {
    {"chkSameSize", "Same Size", "size of topic title does not depend on it's level"},
    {"optDescrpAfter", "After", nullptr},
    {"optDescrpBefore", "Before", nullptr},
    {"chkToC", "Create ToC", nullptr},
    {"chkListFigures", "Create List of Figures", nullptr},
    {"chkListTables", "Create List of Tables", nullptr},
    {"chkToCChapter", "Create ToC in Chapters", nullptr},
    {"chkAutoNumber", "Auto Number", nullptr},
    {"chkHHAdvSearch", "Advanced Search", nullptr},
    {"chkHHToCRoot", "Root in Left-Pane Toc", nullptr},
    {"chkBookmarks", "Bookmarks", nullptr},
    {"chkRule", "Header && Footer Rule", nullptr},
    {"optPrinted", "Printed", "include parts marked as Printed Output"},
    {"optOnline", "Online", "include parts marked as Online Output"},
    {"txtCoverImage", nullptr, "image on the front page"},
};

const Caption* captionOf(const QString& name)
{
    for (const Caption& c : kCaptions)
        if (name == QLatin1String(c.name))
            return &c;
    return nullptr;
}

} // namespace

frmOutputProperties::frmOutputProperties(cOutputProperties& model, MsgBox* box, QWidget* parent)
    : QDialog(parent), m_model(model)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmOutputProperties"));
    setWindowTitle(QStringLiteral("Output Properties"));

    tabOptions = new QTabWidget(this);
    tabOptions->setObjectName(QStringLiteral("tabOptions"));
    for (int t = 0; t < cOutputProperties::kTabCount; ++t)
        tabOptions->addTab(buildTab(t), QString::fromLatin1(kTabCaptions[t]));

    auto button = [this](const char* name, const QString& text) {
        auto* b = new QPushButton(text, this);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        return b;
    };
    cmdLoad = button("cmdLoad", QStringLiteral("Load"));
    cmdSave = button("cmdSave", QStringLiteral("Save"));
    cmdOK = button("cmdOK", QStringLiteral("OK"));
    cmdOK->setDefault(true);
    cmdCancel = button("cmdCancel", QStringLiteral("Cancel"));
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(cmdLoad);
    buttons->addWidget(cmdSave);
    buttons->addStretch(1);
    buttons->addWidget(cmdOK);
    buttons->addWidget(cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addWidget(tabOptions);
    top->addLayout(buttons);

    connect(cmdOK, &QPushButton::clicked, this, &frmOutputProperties::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmOutputProperties::cmdCancel_Click);
    connect(cmdLoad, &QPushButton::clicked, this, &frmOutputProperties::cmdLoad_Click);
    connect(cmdSave, &QPushButton::clicked, this, &frmOutputProperties::cmdSave_Click);
    connect(tabOptions, &QTabWidget::currentChanged, this, [this](int t) {
        if (t >= 0 && t < cOutputProperties::kTabCount)
            m_model.SwitchTab(QString::fromLatin1(kTabKeys[t]));
    });

    refresh();
    tabOptions->setCurrentIndex(m_model.currentTab());
}

frmOutputProperties::~frmOutputProperties() = default;

bool frmOutputProperties::has(const QString& name, int tab) const
{
    bool single = false;
    for (const auto& c : m_model.controls()) {
        if (c.name != name)
            continue;
        if (c.index == tab)
            return true;
        if (c.index == -1)
            single = true;
    }
    return single && homeTab(name) == tab;
}

int frmOutputProperties::modelIndex(const QString& name, int tab) const
{
    for (const auto& c : m_model.controls())
        if (c.name == name && c.index == tab)
            return tab;
    return -1;
}

QWidget* frmOutputProperties::control(const QString& name, int index) const
{
    if (QWidget* w = m_byKey.value(key(name, index)))
        return w;
    return m_byKey.value(key(name, -1));
}

void frmOutputProperties::bind(QWidget* w, const QString& name, int index)
{
    w->setObjectName(name);
    w->setProperty("index", index);
    m_byKey.insert(key(name, index), w);
    const cOutputProperties::Control* c = m_model.find(name, index);
    if (!c)
        return;
    m_bound.push_back({w, name, index});
    if (auto* box = qobject_cast<QCheckBox*>(w)) {
        connect(box, &QCheckBox::toggled, this, [this, name, index](bool on) {
            m_model.setCheck(name, index, on);
            refreshStates();
        });
    } else if (auto* option = qobject_cast<QRadioButton*>(w)) {
        // The model keeps the groups exclusive; a click on the set button
        // leaves it set.
        option->setAutoExclusive(false);
        connect(option, &QRadioButton::clicked, this, [this, name, index] {
            m_model.setOption(name, index, true);
            refreshStates();
        });
    } else if (auto* edit = qobject_cast<QLineEdit*>(w)) {
        connect(edit, &QLineEdit::textChanged, this,
                [this, name, index](const QString& text) { m_model.setText(name, index, text); });
    } else if (auto* combo = qobject_cast<QComboBox*>(w)) {
        combo->addItems(c->items);
        if (combo->isEditable()) {
            connect(combo, &QComboBox::editTextChanged, this,
                    [this, name, index](const QString& text) { m_model.setText(name, index, text); });
        } else {
            connect(combo, &QComboBox::currentIndexChanged, this,
                    [this, name, index](int i) { m_model.setListIndex(name, index, i); });
        }
    } else if (auto* swatch = qobject_cast<QPushButton*>(w)) {
        connect(swatch, &QPushButton::clicked, this, [this, swatch] { pickColor(swatch); });
    }
}

void frmOutputProperties::showControl(const Bound& b)
{
    const cOutputProperties::Control* c = m_model.find(b.name, b.index);
    if (!c)
        return;
    QSignalBlocker block(b.widget);
    if (auto* box = qobject_cast<QCheckBox*>(b.widget)) {
        box->setChecked(c->value == 1);
    } else if (auto* option = qobject_cast<QRadioButton*>(b.widget)) {
        option->setChecked(c->option);
    } else if (auto* edit = qobject_cast<QLineEdit*>(b.widget)) {
        if (edit->text() != c->text)
            edit->setText(c->text);
    } else if (auto* combo = qobject_cast<QComboBox*>(b.widget)) {
        const int i = int(c->items.indexOf(c->text));
        combo->setCurrentIndex(i);
        if (combo->isEditable() && i < 0)
            combo->setEditText(c->text);
    } else if (auto* swatch = qobject_cast<QPushButton*>(b.widget)) {
        dialogsupport::paintSwatch(swatch, c->color);
    }
    b.widget->setEnabled(c->enabled);
}

void frmOutputProperties::refresh()
{
    for (const Bound& b : m_bound)
        showControl(b);
}

void frmOutputProperties::refreshStates()
{
    for (const Bound& b : m_bound) {
        if (qobject_cast<QCheckBox*>(b.widget) || qobject_cast<QRadioButton*>(b.widget)) {
            showControl(b);
        } else if (const auto* c = m_model.find(b.name, b.index)) {
            b.widget->setEnabled(c->enabled);
        }
    }
}

QWidget* frmOutputProperties::styleGroup(int tab, const char* frame, const QString& caption, const QStringList& rows)
{
    auto* group = new QGroupBox(caption);
    group->setObjectName(QString::fromLatin1(frame));
    group->setProperty("index", tab);
    m_byKey.insert(key(group->objectName(), tab), group);
    auto* grid = new QGridLayout(group);
    grid->setContentsMargins(8, 4, 8, 6);
    grid->setHorizontalSpacing(6);
    grid->setVerticalSpacing(3);
    const bool labelled = rows.size() > 1;
    for (int r = 0; r < rows.size(); ++r) {
        const QString& g = rows[r];
        int col = 0;
        if (labelled)
            grid->addWidget(new QLabel(g.endsWith(QLatin1String("Title")) ? QStringLiteral("Title")
                                                                            : QStringLiteral("Body")),
                            r, col);
        ++col;
        const QString fontName = QStringLiteral("cmb") + g + QStringLiteral("Font");
        const QString sizeName = QStringLiteral("cmb") + g + QStringLiteral("Size");
        auto* font = new QComboBox;
        font->setMinimumWidth(130);
        bind(font, fontName, modelIndex(fontName, tab));
        grid->addWidget(font, r, col++);
        auto* size = new QComboBox;
        // A size outside the list may be typed.
        size->setEditable(true);
        size->setInsertPolicy(QComboBox::NoInsert);
        size->setMaximumWidth(64);
        bind(size, sizeName, modelIndex(sizeName, tab));
        grid->addWidget(size, r, col++);
        auto swatch = [&](const QString& name, const QString& tip) {
            auto* b = new QPushButton;
            b->setFixedSize(34, 20);
            b->setAutoDefault(false);
            b->setToolTip(tip);
            bind(b, name, modelIndex(name, tab));
            return b;
        };
        grid->addWidget(swatch(QStringLiteral("pic") + g + QStringLiteral("Color"), QStringLiteral("Text color")), r,
                        col++);
        QString bg = QStringLiteral("pic") + g + QStringLiteral("BGColor");
        if (g.startsWith(QLatin1String("Note")))
            bg = r == 0 ? QStringLiteral("picNoteBGColor") : QString();
        if (!bg.isEmpty() && has(bg, tab))
            grid->addWidget(swatch(bg, QStringLiteral("Background color")), r, col);
        ++col;
        const QString styles[3][2] = {{QStringLiteral("Bold"), QStringLiteral("Bold")},
                                      {QStringLiteral("Italic"), QStringLiteral("Italic")},
                                      {QStringLiteral("Uline"), QStringLiteral("Underline")}};
        for (const auto& s : styles) {
            QString name = QStringLiteral("chk") + g + s[0];
            if (name == QLatin1String("chkToCItalic"))
                name = QStringLiteral("chkTocItalic");
            auto* box = new QCheckBox(s[1]);
            bind(box, name, modelIndex(name, tab));
            grid->addWidget(box, r, col++);
        }
    }
    grid->setColumnStretch(8, 1);
    return group;
}

QWidget* frmOutputProperties::buildTab(int t)
{
    auto* page = new QWidget;
    page->setObjectName(QStringLiteral("tab") + QString::fromLatin1(kTabKeys[t]));
    auto* columns = new QHBoxLayout(page);
    auto* left = new QVBoxLayout;
    auto* right = new QVBoxLayout;
    columns->addLayout(left, 3);
    columns->addLayout(right, 2);

    auto single = [this, t](const QString& name) -> QWidget* {
        if (!has(name, t))
            return nullptr;
        QWidget* w = nullptr;
        const Caption* cap = captionOf(name);
        if (name.startsWith(QLatin1String("chk")))
            w = new QCheckBox(cap && cap->text ? QString::fromLatin1(cap->text) : name);
        else if (name.startsWith(QLatin1String("opt")))
            w = new QRadioButton(cap && cap->text ? QString::fromLatin1(cap->text) : name);
        else if (name.startsWith(QLatin1String("txt")))
            w = new QLineEdit;
        else if (name.startsWith(QLatin1String("cmb")))
            w = new QComboBox;
        if (cap && cap->tip)
            w->setToolTip(QString::fromLatin1(cap->tip));
        bind(w, name, modelIndex(name, t));
        return w;
    };
    auto addTo = [](QLayout* layout, QWidget* w) {
        if (w)
            layout->addWidget(w);
    };

    const bool titles = t != cOutputProperties::kPDF;
    left->addWidget(styleGroup(t, "fraBody", QStringLiteral("Body"), {QStringLiteral("Body")}));
    left->addWidget(styleGroup(t, "frmOptions", QStringLiteral("Note"),
                               {QStringLiteral("NoteTitle"), QStringLiteral("NoteBody")}));
    if (titles)
        left->addWidget(styleGroup(t, "Frame2", QStringLiteral("Book Title"), {QStringLiteral("BookTitle")}));
    {
        QWidget* g =
            styleGroup(t, "Frame3", QStringLiteral("Chapter && Topic Title"), {QStringLiteral("ChapterTitle")});
        auto* grid = static_cast<QGridLayout*>(g->layout());
        grid->addWidget(single(QStringLiteral("chkSameSize")), 1, 1, 1, 3);
        left->addWidget(g);
    }
    if (titles)
        left->addWidget(styleGroup(t, "Frame4", QStringLiteral("Author"), {QStringLiteral("Author")}));
    left->addWidget(styleGroup(t, "Frame5", QStringLiteral("Table Header"), {QStringLiteral("Header")}));
    {
        QWidget* g =
            styleGroup(t, "Frame6", QStringLiteral("Figure && Table Description"), {QStringLiteral("Descrp")});
        auto* grid = static_cast<QGridLayout*>(g->layout());
        auto* row = new QHBoxLayout;
        row->addWidget(single(QStringLiteral("optDescrpAfter")));
        row->addWidget(single(QStringLiteral("optDescrpBefore")));
        row->addStretch(1);
        grid->addLayout(row, 1, 1, 1, 4);
        left->addWidget(g);
    }
    left->addStretch(1);

    if (t == cOutputProperties::kHTMLFrames)
        right->addWidget(styleGroup(t, "Frame12", QStringLiteral("Left Pane ToC"), {QStringLiteral("ToC")}));

    auto frame = [this, t](const char* name, const QString& caption) {
        auto* g = new QGroupBox(caption);
        g->setObjectName(QString::fromLatin1(name));
        g->setProperty("index", t);
        m_byKey.insert(key(g->objectName(), t), g);
        return g;
    };

    QGroupBox* toc = frame("Frame7", QStringLiteral("Table of Contents"));
    auto* tocLayout = new QVBoxLayout(toc);
    for (const char* n : {"chkToC", "chkListFigures", "chkListTables", "chkToCChapter", "chkAutoNumber"})
        addTo(tocLayout, single(QString::fromLatin1(n)));
    {
        auto* row = new QHBoxLayout;
        const bool split = t == cOutputProperties::kHH || t == cOutputProperties::kHTMLFrames ||
                           t == cOutputProperties::kWebHelp;
        auto* label = new QLabel(split ? QStringLiteral("Chapter Split Level") : QStringLiteral("ToC Depth"));
        label->setObjectName(QStringLiteral("labToCDepth"));
        label->setProperty("index", t);
        label->setToolTip(split ? QStringLiteral("how deep should be chapters in standalone chunks")
                                : QStringLiteral("depth of nested chapters in ToC"));
        m_byKey.insert(key(label->objectName(), t), label);
        QWidget* depth = single(QStringLiteral("txtToCDepth"));
        depth->setMaximumWidth(60);
        depth->setToolTip(label->toolTip());
        row->addWidget(label);
        row->addWidget(depth);
        row->addStretch(1);
        tocLayout->addLayout(row);
    }
    for (const char* n : {"chkHHAdvSearch", "chkHHToCRoot", "chkBookmarks"})
        addTo(tocLayout, single(QString::fromLatin1(n)));
    right->addWidget(toc);

    QGroupBox* content = frame("Frame8", QStringLiteral("Content"));
    auto* contentLayout = new QHBoxLayout(content);
    contentLayout->addWidget(single(QStringLiteral("optPrinted")));
    contentLayout->addWidget(single(QStringLiteral("optOnline")));
    contentLayout->addStretch(1);
    right->addWidget(content);

    if (t == cOutputProperties::kPDF) {
        QGroupBox* pageBox = frame("fraPage", QStringLiteral("Page"));
        auto* grid = new QGridLayout(pageBox);
        grid->addWidget(single(QStringLiteral("chkRule")), 0, 0, 1, 2);
        grid->addWidget(new QLabel(QStringLiteral("Number of Columns")), 1, 0);
        QWidget* cols = single(QStringLiteral("txtColNumber"));
        cols->setMaximumWidth(60);
        grid->addWidget(cols, 1, 1);
        grid->addWidget(new QLabel(QStringLiteral("Paper Type")), 2, 0);
        grid->addWidget(single(QStringLiteral("cmbPaperType")), 2, 1);
        grid->setColumnStretch(2, 1);
        right->addWidget(pageBox);
    }

    QGroupBox* cover = frame("Cover", QStringLiteral("Cover"));
    auto* coverLayout = new QHBoxLayout(cover);
    auto* coverText = new QLineEdit;
    coverText->setToolTip(QStringLiteral("image on the front page"));
    bind(coverText, QStringLiteral("txtCoverImage"), t);
    coverLayout->addWidget(coverText, 1);
    auto* browse = new QPushButton(QStringLiteral("..."));
    browse->setObjectName(QStringLiteral("cmdImageBrowse"));
    browse->setProperty("index", t);
    browse->setToolTip(QStringLiteral("Browse for Image"));
    browse->setAutoDefault(false);
    browse->setFixedWidth(32);
    m_byKey.insert(key(browse->objectName(), t), browse);
    connect(browse, &QPushButton::clicked, this, [this, t] { cmdImageBrowse_Click(t); });
    coverLayout->addWidget(browse);
    right->addWidget(cover);

    auto* reset = new QPushButton(QStringLiteral("Reset"));
    reset->setObjectName(QStringLiteral("cmdHTMLReset"));
    reset->setProperty("index", t);
    reset->setToolTip(QStringLiteral("reset settings to default values"));
    reset->setAutoDefault(false);
    m_byKey.insert(key(reset->objectName(), t), reset);
    connect(reset, &QPushButton::clicked, this, [this, t] { cmdHTMLReset_Click(t); });
    auto* resetRow = new QHBoxLayout;
    resetRow->addStretch(1);
    resetRow->addWidget(reset);
    right->addLayout(resetRow);
    right->addStretch(1);
    return page;
}

void frmOutputProperties::SwitchTab(const QString& key)
{
    m_model.SwitchTab(key);
    if (cOutputProperties::tabOfKey(key) >= 0)
        tabOptions->setCurrentIndex(m_model.currentTab());
}

void frmOutputProperties::showEvent(QShowEvent* event)
{
    QDialog::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        dialogsupport::centreOnMainWindow(this);
    }
}

void frmOutputProperties::cmdOK_Click()
{
    m_model.cmdOK();
    accept();
}

void frmOutputProperties::cmdCancel_Click()
{
    m_model.cmdCancel(*m_box);
    refresh();
    QDialog::reject();
}

void frmOutputProperties::reject()
{
    cmdCancel_Click();
}

std::optional<QString> frmOutputProperties::ask(const dialogsupport::FileAskFn& fn, bool save, const QString& folder,
                                                const QString& filter)
{
    if (fn)
        return fn(this, folder, filter);
    return save ? dialogsupport::askSaveFile(this, folder, filter) : dialogsupport::askOpenFile(this, folder, filter);
}

void frmOutputProperties::cmdLoad_Click()
{
    const std::optional<QString> path = ask(cdlLoad, false, QString(), kQopFilter);
    if (!path)
        return;
    if (path->isEmpty()) {
        m_box->exclamation(QStringLiteral("File does not exist!"));
        return;
    }
    m_model.LoadProperties(*path, *m_box);
    refresh();
}

void frmOutputProperties::cmdSave_Click()
{
    const std::optional<QString> path = ask(cdlSave, true, QString(), kQopFilter);
    if (!path)
        return;
    if (path->isEmpty()) {
        m_box->exclamation(QStringLiteral("File has not been specified!"));
        return;
    }
    // The file is replaced whole, so a failed save keeps the old one.
    QString error;
    if (!m_model.SaveProperties(*path, &error))
        m_box->stop(error);
}

void frmOutputProperties::cmdHTMLReset_Click(int index)
{
    m_model.reset(index);
    refresh();
}

void frmOutputProperties::cmdImageBrowse_Click(int index)
{
    const QString current = m_model.text(QStringLiteral("txtCoverImage"), index);
    const QString folder =
        current.isEmpty() ? m_model.ImageFolder : QFileInfo(current).absolutePath() + QLatin1Char('/');
    const std::optional<QString> path = ask(cdlImage, false, folder, kImageFilter);
    if (!path)
        return;
    if (path->isEmpty()) {
        m_box->exclamation(QStringLiteral("File does not exist!"));
        return;
    }
    m_model.setText(QStringLiteral("txtCoverImage"), index, *path);
    refresh();
}

void frmOutputProperties::pickColor(QAbstractButton* swatch)
{
    const QString name = swatch->objectName();
    const int index = swatch->property("index").toInt();
    QColor color = dialogsupport::toColor(m_model.color(name, index));
    const bool chosen = cdlColor ? cdlColor(this, color) : dialogsupport::askColor(this, color);
    if (!chosen)
        return;
    // Through the text form, as the file keeps it.
    m_model.setColorHex(name, index, cOutputProperties::colorToHex(dialogsupport::toNumber(color)));
    dialogsupport::paintSwatch(swatch, m_model.color(name, index));
}
