#include "frmspellcheck.h"

#include "holders.h"
#include "languagetools.h"
#include "qtmsgbox.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTextBrowser>
#include <QVBoxLayout>

namespace {

MsgBox* boxFor(MsgBox* given, std::unique_ptr<MsgBox>& own, QWidget* parent)
{
    if (given)
        return given;
    own = std::make_unique<QtMsgBox>(parent);
    return own.get();
}

QPushButton* button(QWidget* parent, const char* name, const QString& text)
{
    auto* b = new QPushButton(text, parent);
    b->setObjectName(QString::fromLatin1(name));
    b->setAutoDefault(false);
    return b;
}

QListWidget* list(QWidget* parent, const char* name)
{
    auto* l = new QListWidget(parent);
    l->setObjectName(QString::fromLatin1(name));
    return l;
}

} // namespace

// --- frmSpellCheck ---------------------------------------------------------------

frmSpellCheck::frmSpellCheck(MsgBox* box, QWidget* parent) : QDialog(parent), m_box(boxFor(box, m_ownBox, this))
{
    setObjectName(QStringLiteral("frmSpellCheck"));
    setWindowTitle(QStringLiteral("Spell Checking"));
    setModal(true);

    dPara = new QTextBrowser(this);
    dPara->setObjectName(QStringLiteral("dPara"));
    dPara->setReadOnly(true);
    dPara->setOpenLinks(false);
    dPara->setMaximumHeight(110);
    txtNew = new QLineEdit(this);
    txtNew->setObjectName(QStringLiteral("txtNew"));
    lstSugest = list(this, "lstSugest");
    cmdReplace = button(this, "cmdReplace", QStringLiteral("&Replace"));
    cmdReplace->setDefault(true);
    cmdSkip = button(this, "cmdSkip", QStringLiteral("&Skip"));
    cmdStop = button(this, "cmdStop", QStringLiteral("S&top"));

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cmdReplace);
    buttons->addWidget(cmdSkip);
    buttons->addWidget(cmdStop);
    buttons->addStretch();
    auto* middle = new QHBoxLayout;
    auto* left = new QVBoxLayout;
    auto* newLabel = new QLabel(QStringLiteral("Change &to:"), this);
    newLabel->setBuddy(txtNew);
    left->addWidget(newLabel);
    left->addWidget(txtNew);
    auto* sugLabel = new QLabel(QStringLiteral("Su&ggestions:"), this);
    sugLabel->setBuddy(lstSugest);
    left->addWidget(sugLabel);
    left->addWidget(lstSugest);
    middle->addLayout(left, 1);
    middle->addLayout(buttons);
    auto* main = new QVBoxLayout(this);
    auto* paraLabel = new QLabel(QStringLiteral("Not in dictionary:"), this);
    main->addWidget(paraLabel);
    main->addWidget(dPara);
    main->addLayout(middle);
    resize(460, 340);

    connect(lstSugest, &QListWidget::itemClicked, this, [this](QListWidgetItem* i) { txtNew->setText(i->text()); });
    connect(lstSugest, &QListWidget::currentItemChanged, this, [this](QListWidgetItem* i) {
        if (i)
            txtNew->setText(i->text());
    });
    connect(lstSugest, &QListWidget::itemDoubleClicked, this, [this](QListWidgetItem* i) {
        txtNew->setText(i->text());
        replace();
    });
    connect(cmdReplace, &QPushButton::clicked, this, &frmSpellCheck::replace);
    connect(cmdSkip, &QPushButton::clicked, this, [this] { answer(QString()); });
    connect(cmdStop, &QPushButton::clicked, this, [this] { answer(QString::fromLatin1(langtools::kStopWord)); });
}

frmSpellCheck::~frmSpellCheck() = default;

void frmSpellCheck::FixedWord(cString* word)
{
    m_word = word;
    txtNew->setText(word ? word->TextString : QString());
}

void frmSpellCheck::HTMLText(const QString& page)
{
    dPara->setHtml(page);
}

void frmSpellCheck::AddSugestion(const QString& text)
{
    lstSugest->addItem(text);
}

void frmSpellCheck::replace()
{
    if (txtNew->text().isEmpty()) {
        m_box->exclamation(QStringLiteral("Can not replace with empty string!"));
        return;
    }
    answer(txtNew->text());
}

void frmSpellCheck::answer(const QString& text)
{
    if (m_word)
        m_word->TextString = text;
    accept();
}

// --- the thesaurus forms ----------------------------------------------------------------

ThesaurusForm::ThesaurusForm(MsgBox* box, QWidget* parent, const langtools::Folders& folders)
    : QDialog(parent), m_box(boxFor(box, m_ownBox, this)),
      m_tools(std::make_unique<langtools::cLanguageTools>(folders))
{
    setModal(true);
    txtNew = new QLineEdit(this);
    txtNew->setObjectName(QStringLiteral("txtNew"));
    cmdReplace = button(this, "cmdReplace", QStringLiteral("&Replace"));
    cmdReplace->setDefault(true);
    cmdClose = button(this, "cmdClose", QStringLiteral("&Close"));
    m_lists = new QWidget(this);

    auto* buttons = new QVBoxLayout;
    buttons->addWidget(cmdReplace);
    buttons->addWidget(cmdClose);
    buttons->addStretch();
    auto* left = new QVBoxLayout;
    auto* label = new QLabel(QStringLiteral("&Word:"), this);
    label->setBuddy(txtNew);
    left->addWidget(label);
    left->addWidget(txtNew);
    left->addWidget(m_lists, 1);
    auto* main = new QHBoxLayout(this);
    main->addLayout(left, 1);
    main->addLayout(buttons);
    resize(520, 340);

    connect(txtNew, &QLineEdit::textChanged, this, [this](const QString& t) { lookUp(t); });
    connect(cmdReplace, &QPushButton::clicked, this, &ThesaurusForm::replace);
    connect(cmdClose, &QPushButton::clicked, this, [this] {
        if (m_word)
            m_word->TextString.clear();
        reject();
    });
}

ThesaurusForm::~ThesaurusForm() = default;

void ThesaurusForm::SelectedWord(cString* word)
{
    m_word = word;
    if (word) {
        // The answer is "" unless Replace gives one.
        const QString w = word->TextString;
        word->TextString.clear();
        txtNew->setText(w);
        lookUp(w);
    }
}

void ThesaurusForm::WordLangID(const QString& code)
{
    m_tools->openCode(langtools::Tool::Synonyms, code);
    lookUp(txtNew->text());
}

void ThesaurusForm::replace()
{
    const QString w = chosen();
    if (w.isEmpty()) {
        m_box->exclamation(QStringLiteral("Nothing is selected!"));
        return;
    }
    if (m_word)
        m_word->TextString = w;
    accept();
}

frmSynonyms::frmSynonyms(MsgBox* box, QWidget* parent) : frmSynonyms(box, parent, langtools::defaultFolders()) {}

frmSynonyms::frmSynonyms(MsgBox* box, QWidget* parent, const langtools::Folders& folders)
    : ThesaurusForm(box, parent, folders)
{
    build();
}

void frmSynonyms::build()
{
    setObjectName(QStringLiteral("frmSynonyms"));
    setWindowTitle(QStringLiteral("Synonyms"));
    lstMeaning = list(m_lists, "lstMeaning");
    lstSynonym = list(m_lists, "lstSynonym");
    auto* grid = new QHBoxLayout(m_lists);
    grid->setContentsMargins(0, 0, 0, 0);
    auto* a = new QVBoxLayout;
    auto* la = new QLabel(QStringLiteral("&Meanings:"), m_lists);
    la->setBuddy(lstMeaning);
    a->addWidget(la);
    a->addWidget(lstMeaning);
    auto* b = new QVBoxLayout;
    auto* lb = new QLabel(QStringLiteral("S&ynonyms:"), m_lists);
    lb->setBuddy(lstSynonym);
    b->addWidget(lb);
    b->addWidget(lstSynonym);
    grid->addLayout(a);
    grid->addLayout(b);
    connect(lstMeaning, &QListWidget::currentRowChanged, this, &frmSynonyms::showMeaning);
    connect(lstSynonym, &QListWidget::itemDoubleClicked, this, [this] { replace(); });
}

void frmSynonyms::lookUp(const QString& word)
{
    if (!lstMeaning)
        return;
    const QList<langtools::Meaning> meanings = tools().meanings(word);
    m_synonyms.clear();
    QSignalBlocker block(lstMeaning);
    lstMeaning->clear();
    lstSynonym->clear();
    for (const langtools::Meaning& m : meanings) {
        lstMeaning->addItem(m.text);
        m_synonyms << m.synonyms;
    }
    if (!meanings.isEmpty()) {
        lstMeaning->setCurrentRow(0);
        showMeaning(0);
    }
}

void frmSynonyms::showMeaning(int row)
{
    lstSynonym->clear();
    if (row >= 0 && row < m_synonyms.size())
        lstSynonym->addItems(m_synonyms[row]);
}

QString frmSynonyms::chosen() const
{
    const QListWidgetItem* i = lstSynonym->currentItem();
    return i && i->isSelected() ? i->text() : QString();
}

frmAntonyms::frmAntonyms(MsgBox* box, QWidget* parent) : frmAntonyms(box, parent, langtools::defaultFolders()) {}

frmAntonyms::frmAntonyms(MsgBox* box, QWidget* parent, const langtools::Folders& folders)
    : ThesaurusForm(box, parent, folders)
{
    build();
}

void frmAntonyms::build()
{
    setObjectName(QStringLiteral("frmAntonyms"));
    setWindowTitle(QStringLiteral("Antonyms"));
    lstAntonym = list(m_lists, "lstAntonym");
    auto* v = new QVBoxLayout(m_lists);
    v->setContentsMargins(0, 0, 0, 0);
    auto* l = new QLabel(QStringLiteral("A&ntonyms:"), m_lists);
    l->setBuddy(lstAntonym);
    v->addWidget(l);
    v->addWidget(lstAntonym);
    connect(lstAntonym, &QListWidget::itemDoubleClicked, this, [this] { replace(); });
}

void frmAntonyms::lookUp(const QString& word)
{
    if (!lstAntonym)
        return;
    lstAntonym->clear();
    lstAntonym->addItems(tools().antonyms(word));
}

QString frmAntonyms::chosen() const
{
    const QListWidgetItem* i = lstAntonym->currentItem();
    return i && i->isSelected() ? i->text() : QString();
}
