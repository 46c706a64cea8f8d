#include "frmbook.h"

#include "cbook.h"
#include "dialogsupport.h"
#include "holders.h"
#include "mcommon.h"

#include <QComboBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

const QString frmBook::kSaveFilter =
    QStringLiteral("Quillary project file (*.qly);;All files (*.*)");

namespace {
QLineEdit* lineEdit(QWidget* parent, const char* name)
{
    auto* e = new QLineEdit(parent);
    e->setObjectName(QString::fromLatin1(name));
    return e;
}

QPushButton* button(QWidget* parent, const char* name, const QString& text)
{
    auto* b = new QPushButton(text, parent);
    b->setObjectName(QString::fromLatin1(name));
    b->setAutoDefault(false);
    return b;
}

QComboBox* languageCombo(QWidget* parent, const char* name)
{
    auto* c = new QComboBox(parent);
    c->setObjectName(QString::fromLatin1(name));
    // Editable, so that a language missing from the list can be typed.
    c->setEditable(true);
    c->setInsertPolicy(QComboBox::NoInsert);
    c->setMinimumContentsLength(16);
    return c;
}
} // namespace

frmBook::frmBook(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    m_savePath = &frmBook::askSavePath;

    setObjectName(QStringLiteral("frmBook"));
    setWindowTitle(QStringLiteral("New Project"));

    txtTitle = lineEdit(this, "txtTitle");
    txtAuthor = lineEdit(this, "txtAuthor");
    txtVersion = lineEdit(this, "txtVersion");
    txtDate = lineEdit(this, "txtDate");
    txtTime = lineEdit(this, "txtTime");
    cmbMainLang = languageCombo(this, "cmbMainLang");
    txtMainAbbrev = lineEdit(this, "txtMainAbbrev");
    txtMainAbbrev->setMaximumWidth(70);

    auto* fields = new QFormLayout;
    fields->addRow(QStringLiteral("&Title:"), txtTitle);
    fields->addRow(QStringLiteral("&Author:"), txtAuthor);
    fields->addRow(QStringLiteral("&Version:"), txtVersion);
    fields->addRow(QStringLiteral("Dat&e:"), txtDate);
    fields->addRow(QStringLiteral("Ti&me:"), txtTime);
    auto* mainRow = new QHBoxLayout;
    mainRow->addWidget(cmbMainLang, 1);
    auto* abbrevLabel = new QLabel(QStringLiteral("A&bbreviation:"), this);
    abbrevLabel->setBuddy(txtMainAbbrev);
    mainRow->addWidget(abbrevLabel);
    mainRow->addWidget(txtMainAbbrev);
    auto* mainLabel = new QLabel(QStringLiteral("Main &language:"), this);
    mainLabel->setBuddy(cmbMainLang);
    fields->addRow(mainLabel, mainRow);

    frmLangs = new QGroupBox(QStringLiteral("Other languages"), this);
    frmLangs->setObjectName(QStringLiteral("frmLangs"));
    cmbOtherLang = languageCombo(frmLangs, "cmbOtherLang");
    txtAbrev = lineEdit(frmLangs, "txtAbrev");
    txtAbrev->setMaximumWidth(70);
    lstName = new QListWidget(frmLangs);
    lstName->setObjectName(QStringLiteral("lstName"));
    lstAbrev = new QListWidget(frmLangs);
    lstAbrev->setObjectName(QStringLiteral("lstAbrev"));
    lstAbrev->setMaximumWidth(70);
    lstName->setFixedHeight(110);
    lstAbrev->setFixedHeight(110);
    cmdAdd = button(frmLangs, "cmdAdd", QStringLiteral("A&dd"));
    cmdRemove = button(frmLangs, "cmdRemove", QStringLiteral("&Remove"));

    auto* langGrid = new QGridLayout(frmLangs);
    langGrid->addWidget(cmbOtherLang, 0, 0);
    langGrid->addWidget(txtAbrev, 0, 1);
    langGrid->addWidget(cmdAdd, 0, 2);
    langGrid->addWidget(lstName, 1, 0);
    langGrid->addWidget(lstAbrev, 1, 1);
    langGrid->addWidget(cmdRemove, 1, 2, Qt::AlignTop);
    frmLangs->setVisible(false);

    cmdShowAll = button(this, "cmdShowAll", QStringLiteral(">>"));
    cmdShowAll->setToolTip(QStringLiteral("Other languages"));
    QHBoxLayout* buttons = closingButtons(QStringLiteral("&Insert"), cmdInsert, cmdCancel);
    cmdInsert->setAutoDefault(false);
    buttons->insertWidget(0, cmdShowAll);

    auto* top = new QVBoxLayout(this);
    top->addLayout(fields);
    top->addWidget(frmLangs);
    top->addLayout(buttons);
    // The form grows and shrinks with the language panel.
    top->setSizeConstraint(QLayout::SetFixedSize);

    connect(cmdAdd, &QPushButton::clicked, this, &frmBook::cmdAdd_Click);
    connect(cmdRemove, &QPushButton::clicked, this, &frmBook::cmdRemove_Click);
    connect(cmdShowAll, &QPushButton::clicked, this, &frmBook::cmdShowAll_Click);
    connect(cmdInsert, &QPushButton::clicked, this, &frmBook::cmdInsert_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmBook::cmdCancel_Click);
    connect(cmbMainLang, &QComboBox::activated, this,
            [this](int i) { pickLanguage(cmbMainLang, txtMainAbbrev, i); });
    connect(cmbOtherLang, &QComboBox::activated, this,
            [this](int i) { pickLanguage(cmbOtherLang, txtAbrev, i); });
    // The two lists are one list of pairs.
    connect(lstName, &QListWidget::currentRowChanged, lstAbrev, [this](int row) { lstAbrev->setCurrentRow(row); });
    connect(lstAbrev, &QListWidget::currentRowChanged, lstName, [this](int row) { lstName->setCurrentRow(row); });
}

void frmBook::onLoad()
{
    txtDate->setText(mCommon::nowDate());
    txtTime->setText(mCommon::nowTime());
    if (loadLanguageList(m_langs, box(), m_langFile)) {
        for (const LanguageEntry& l : m_langs) {
            cmbMainLang->addItem(l.name);
            cmbOtherLang->addItem(l.name);
        }
    }
    cmbMainLang->setCurrentIndex(-1);
    cmbOtherLang->setCurrentIndex(-1);
    txtTitle->setFocus();
}

void frmBook::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    txtTitle->setFocus();
}

void frmBook::pickLanguage(QComboBox* combo, QLineEdit* abbrev, int index)
{
    if (index < 0 || index >= int(m_langs.size()))
        return;
    combo->setEditText(m_langs[size_t(index)].name);
    abbrev->setText(m_langs[size_t(index)].abbrev);
}

BookForm frmBook::formFields() const
{
    BookForm f;
    f.title = txtTitle->text();
    f.author = txtAuthor->text();
    f.version = txtVersion->text();
    f.date = txtDate->text();
    f.time = txtTime->text();
    f.mainLang = cmbMainLang->currentText();
    f.mainAbbrev = txtMainAbbrev->text();
    for (int i = 0; i < lstName->count(); ++i)
        f.otherNames << lstName->item(i)->text();
    for (int i = 0; i < lstAbrev->count(); ++i)
        f.otherAbbrevs << lstAbrev->item(i)->text();
    return f;
}

void frmBook::cmdAdd_Click()
{
    BookForm f = formFields();
    const QString name = cmbOtherLang->currentText();
    const QString abbrev = txtAbrev->text();
    if (!addOtherLanguage(f, name, abbrev))
        return;
    lstName->addItem(name);
    lstAbrev->addItem(abbrev);
}

void frmBook::cmdRemove_Click()
{
    const int row = lstName->currentRow();
    if (row < 0 || row >= lstName->count())
        return;
    delete lstName->takeItem(row);
    if (row < lstAbrev->count())
        delete lstAbrev->takeItem(row);
}

void frmBook::cmdShowAll_Click()
{
    const bool show = !frmLangs->isVisible();
    frmLangs->setVisible(show);
    cmdShowAll->setText(show ? QStringLiteral("<<") : QStringLiteral(">>"));
}

void frmBook::cmdInsert_Click()
{
    cBook local;
    cBook& book = m_book ? *m_book : local;
    if (!checkBookForm(formFields(), book, box()))
        return;
    const QString path = m_savePath ? m_savePath(this, kSaveFilter) : QString();
    if (path.isEmpty())
        return;
    if (!checkProjectPath(path, box()))
        return;
    book.ProjectFile = path;
    if (m_ok)
        m_ok->Change = true;
    accept();
}

void frmBook::cmdCancel_Click()
{
    reject();
}

QString frmBook::askSavePath(QWidget* parent, const QString& filter)
{
    QFileDialog dlg(parent);
    dlg.setObjectName(QStringLiteral("cdSave"));
    dlg.setAcceptMode(QFileDialog::AcceptSave);
    dlg.setFileMode(QFileDialog::AnyFile);
    dlg.setNameFilter(filter);
    dlg.setDefaultSuffix(QStringLiteral("qly"));
    // The form says itself when the file or its folder exists.
    dlg.setOption(QFileDialog::DontConfirmOverwrite, true);
    return dialogsupport::execFileDialog(dlg, QStringLiteral("project")).value_or(QString());
}
