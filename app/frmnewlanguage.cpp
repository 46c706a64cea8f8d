#include "frmnewlanguage.h"

#include "addlanguage.h"
#include "barprogress.h"
#include "cproject.h"
#include "dialogsupport.h"
#include "msgbox.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>

frmNewLanguage::frmNewLanguage(MsgBox* box, QWidget* parent) : FormBase(box, parent)
{
    setObjectName(QStringLiteral("frmNewLanguage"));
    setWindowTitle(QStringLiteral("Add New Language"));

    auto* lblExisting = new QLabel(QStringLiteral("Existing languages:"), this);
    lblExisting->setObjectName(QStringLiteral("lblExisting"));
    lstExisting = new QListWidget(this);
    lstExisting->setObjectName(QStringLiteral("lstExisting"));
    lstExisting->setSelectionMode(QAbstractItemView::NoSelection);
    lstExisting->setFocusPolicy(Qt::NoFocus);
    lstExisting->setMinimumSize(220, 110);
    lblExisting->setBuddy(lstExisting);

    auto* lblLang = new QLabel(QStringLiteral("&Language:"), this);
    lblLang->setObjectName(QStringLiteral("lblLang"));
    cmbLangs = new QComboBox(this);
    cmbLangs->setObjectName(QStringLiteral("cmbLangs"));
    cmbLangs->setEditable(true);
    cmbLangs->setInsertPolicy(QComboBox::NoInsert);
    cmbLangs->setMinimumWidth(180);
    lblLang->setBuddy(cmbLangs);

    auto* lblAbrev = new QLabel(QStringLiteral("A&bbreviation:"), this);
    lblAbrev->setObjectName(QStringLiteral("lblAbrev"));
    txtAbrev = new QLineEdit(this);
    txtAbrev->setObjectName(QStringLiteral("txtAbrev"));
    txtAbrev->setMaximumWidth(80);
    lblAbrev->setBuddy(txtAbrev);

    cmdAdd = new QPushButton(QStringLiteral("&Add"), this);
    cmdAdd->setObjectName(QStringLiteral("cmdAdd"));
    cmdAdd->setDefault(true);
    cmdCancel = new QPushButton(QStringLiteral("Cancel"), this);
    cmdCancel->setObjectName(QStringLiteral("cmdCancel"));
    cmdCancel->setAutoDefault(false);

    // Shown while the chapter files are rewritten; Cancel then stops that.
    pbWork = new QProgressBar(this);
    pbWork->setObjectName(QStringLiteral("pbWork"));
    pbWork->setRange(0, 1);
    pbWork->setValue(0);
    pbWork->hide();

    auto* choice = new QGridLayout;
    choice->addWidget(lblLang, 0, 0);
    choice->addWidget(cmbLangs, 0, 1);
    choice->addWidget(lblAbrev, 1, 0);
    choice->addWidget(txtAbrev, 1, 1, Qt::AlignLeft);
    choice->setColumnStretch(1, 1);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(cmdAdd);
    buttons->addWidget(cmdCancel);

    auto* top = new QVBoxLayout(this);
    top->addWidget(lblExisting);
    top->addWidget(lstExisting, 1);
    top->addSpacing(6);
    top->addLayout(choice);
    top->addSpacing(6);
    top->addWidget(pbWork);
    top->addLayout(buttons);

    connect(cmbLangs, &QComboBox::activated, this, &frmNewLanguage::cmbLangs_Click);
    connect(cmdAdd, &QPushButton::clicked, this, &frmNewLanguage::cmdAdd_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmNewLanguage::cmdCancel_Click);
}

void frmNewLanguage::onLoad()
{
    if (m_project) {
        for (const QString& abbrev : m_project->languageList())
            lstExisting->addItem(m_project->getLanguageName(abbrev) + QStringLiteral(" (") + abbrev +
                                 QStringLiteral(")"));
    }
    // A missing or damaged list has said so; the dialog stays open for a
    // language typed in by hand.
    if (m_langs.load(m_langFile.isEmpty() ? cLangList::defaultPath() : m_langFile, box()))
        cmbLangs->addItems(m_langs.names());
    cmbLangs->setCurrentIndex(-1);
    cmbLangs->setFocus();
}

void frmNewLanguage::showEvent(QShowEvent* event)
{
    FormBase::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        adjustSize();
        dialogsupport::centreOnMainWindow(this);
    }
}

void frmNewLanguage::cmbLangs_Click(int index)
{
    if (index < 0)
        return;
    // A row without an abbreviation leaves the field as the user left it.
    const QString abbrev = m_langs.abbrevFor(cmbLangs->itemText(index));
    if (!abbrev.isEmpty())
        txtAbrev->setText(abbrev);
}

void frmNewLanguage::cmdAdd_Click()
{
    if (!m_project)
        return;
    const QString name = cmbLangs->currentText();
    const QString abbrev = txtAbrev->text();
    const QString refusal = exchange::newLanguageRefusal(*m_project, name, abbrev);
    if (!refusal.isEmpty()) {
        box().exclamation(refusal);
        return;
    }
    if (!box().yesNo(exchange::addLanguageQuestion(name), MsgIcon::Exclamation))
        return;
    m_working = true;
    for (QWidget* w : std::initializer_list<QWidget*>{cmbLangs, txtAbrev, cmdAdd})
        w->setEnabled(false);
    {
        BarProgress progress(pbWork, nullptr, pbWork);
        progress.setCancelButton(cmdCancel);
        m_added = exchange::addLanguage(*m_project, name, abbrev, box(), &progress);
    }
    m_working = false;
    accept();
}

void frmNewLanguage::cmdCancel_Click()
{
    reject();
}

void frmNewLanguage::reject()
{
    // While the language is added, Cancel asks the work to stop instead.
    if (!m_working)
        FormBase::reject();
}

void frmNewLanguage::closeEvent(QCloseEvent* event)
{
    if (m_working) {
        cmdCancel->click();
        event->ignore();
        return;
    }
    FormBase::closeEvent(event);
}
