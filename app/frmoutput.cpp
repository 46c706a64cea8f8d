#include "frmoutput.h"

#include "fontconfiguration.h"

#include "cproject.h"
#include "frmoutputproperties.h"
#include "msgbox.h"
#include "output.h"
#include "qtmsgbox.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTextCursor>
#include <QThread>
#include <QVBoxLayout>

#include <algorithm>

frmOutput::frmOutput(MsgBox* box, QWidget* parent) : QDialog(parent)
{
    if (!box) {
        m_ownBox = std::make_unique<QtMsgBox>(this);
        box = m_ownBox.get();
    }
    m_box = box;
    setObjectName(QStringLiteral("frmOutput"));
    setWindowTitle(QStringLiteral("Create Output"));

    auto button = [this](QWidget* owner, const char* name, const QString& text) {
        auto* b = new QPushButton(text, owner);
        b->setObjectName(QString::fromLatin1(name));
        b->setAutoDefault(false);
        b->setMinimumWidth(90);
        return b;
    };

    // The choice view.
    m_choice = new QWidget(this);
    m_choice->setObjectName(QStringLiteral("picChoice"));
    Label1 = new QLabel(QStringLiteral("Language"), m_choice);
    Label1->setObjectName(QStringLiteral("Label1"));
    cmbLanguages = new QComboBox(m_choice);
    cmbLanguages->setObjectName(QStringLiteral("cmbLanguages"));
    cmbLanguages->setMinimumWidth(200);
    Label1->setBuddy(cmbLanguages);
    Frame1 = new QGroupBox(QStringLiteral("Output"), m_choice);
    Frame1->setObjectName(QStringLiteral("Frame1"));
    auto option = [this](const char* name, const QString& text) {
        auto* o = new QRadioButton(text, Frame1);
        o->setObjectName(QString::fromLatin1(name));
        return o;
    };
    auto* formats = new QVBoxLayout(Frame1);
    for (const cOutput::Format& f : cOutput::formats()) {
        m_formatOptions.push_back(option(f.option, f.caption));
        formats->addWidget(m_formatOptions.back());
    }
    optHTMLHelp = m_formatOptions[0];
    optPDF = m_formatOptions[1];
    optHTML = m_formatOptions[2];
    optHTMLChunk = m_formatOptions[3];
    optWebHelp = m_formatOptions[4];
    optEPUB = m_formatOptions[5];
    optHTMLHelp->setChecked(true);
    chkDocBook = new QCheckBox(QStringLiteral("Keep DocBook XML file"), m_choice);
    chkDocBook->setObjectName(QStringLiteral("chkDocBook"));
    cmdOK = button(m_choice, "cmdOK", QStringLiteral("OK"));
    cmdOK->setDefault(true);
    cmdCancel = button(m_choice, "cmdCancel", QStringLiteral("Cancel"));
    cmdProperties = button(m_choice, "cmdProperties", QStringLiteral("Properties"));

    auto* choice = new QGridLayout(m_choice);
    choice->setContentsMargins(0, 0, 0, 0);
    auto* language = new QHBoxLayout;
    language->addWidget(Label1);
    language->addWidget(cmbLanguages, 1);
    choice->addLayout(language, 0, 0);
    choice->addWidget(Frame1, 1, 0);
    choice->addWidget(chkDocBook, 2, 0);
    auto* side = new QVBoxLayout;
    side->addWidget(cmdOK);
    side->addWidget(cmdCancel);
    side->addSpacing(12);
    side->addWidget(cmdProperties);
    side->addStretch(1);
    choice->addLayout(side, 0, 1, 3, 1);

    // The log view.
    m_logPane = new QWidget(this);
    m_logPane->setObjectName(QStringLiteral("picLog"));
    txtOut = new QPlainTextEdit(m_logPane);
    txtOut->setObjectName(QStringLiteral("txtOut"));
    txtOut->setReadOnly(true);
    txtOut->setPlainText(OutputLog::kStartText);
    pbChapters = new QProgressBar(m_logPane);
    pbChapters->setObjectName(QStringLiteral("pbChapters"));
    pbChapters->setFormat(QStringLiteral("Chapter %v of %m"));
    pbChapters->hide();
    cmdClose = button(m_logPane, "cmdClose", QStringLiteral("Close"));
    cmdShowResult = button(m_logPane, "cmdShowResult", QStringLiteral("Show Result"));
    cmdStop = button(m_logPane, "cmdStop", QStringLiteral("Cancel"));
    cmdStop->setEnabled(false);
    auto* logLayout = new QVBoxLayout(m_logPane);
    logLayout->setContentsMargins(0, 0, 0, 0);
    logLayout->addWidget(txtOut, 1);
    logLayout->addWidget(pbChapters);
    auto* logButtons = new QHBoxLayout;
    logButtons->addWidget(cmdStop);
    logButtons->addStretch(1);
    logButtons->addWidget(cmdShowResult);
    logButtons->addWidget(cmdClose);
    logLayout->addLayout(logButtons);
    m_logPane->hide();

    auto* top = new QVBoxLayout(this);
    top->addWidget(m_choice);
    top->addWidget(m_logPane, 1);

    connect(cmdOK, &QPushButton::clicked, this, &frmOutput::cmdOK_Click);
    connect(cmdCancel, &QPushButton::clicked, this, &frmOutput::cmdCancel_Click);
    connect(cmdProperties, &QPushButton::clicked, this, &frmOutput::cmdProperties_Click);
    connect(cmdClose, &QPushButton::clicked, this, &frmOutput::cmdClose_Click);
    connect(cmdShowResult, &QPushButton::clicked, this, &frmOutput::cmdShowResult_Click);
    connect(cmdStop, &QPushButton::clicked, this, &frmOutput::cmdStop_Click);

    // The pipelines log on this thread; should a line come from elsewhere it
    // is handed over, since widgets live here.
    QPointer<frmOutput> self(this);
    m_log.setListener([self](const QString& piece, bool red) {
        if (!self)
            return;
        if (QThread::currentThread() == self->thread())
            self->append(piece, red);
        else
            QMetaObject::invokeMethod(
                self.data(), [self, piece, red] {
                    if (self)
                        self->append(piece, red);
                },
                Qt::QueuedConnection);
    });
    m_log.setProgressListener([self](int done, int total) {
        auto show = [self, done, total] {
            if (!self)
                return;
            self->pbChapters->setFormat(QStringLiteral("Chapter %v of %m"));
            self->pbChapters->setRange(0, std::max(1, total));
            self->pbChapters->setValue(std::min(done, std::max(1, total)));
            self->pbChapters->setVisible(total > 0);
        };
        if (self && QThread::currentThread() == self->thread())
            show();
        else if (self)
            QMetaObject::invokeMethod(self.data(), show, Qt::QueuedConnection);
    });
}

frmOutput::~frmOutput()
{
    m_log.setListener(nullptr);
    m_log.setProgressListener(nullptr);
}

void frmOutput::load()
{
    if (m_loaded)
        return;
    m_loaded = true;
    if (!m_project)
        return;
    m_output = std::make_unique<cOutput>(*m_project, m_props, m_log, *m_box);
    m_output->setCancel(&m_cancel);
    cmbLanguages->addItems(m_output->languageNames());
    cmbLanguages->setCurrentIndex(-1);
    m_props.formLoad(*m_box);
    m_propsForm = new frmOutputProperties(m_props, m_box, this);
}

QString frmOutput::resultFile() const
{
    return m_output ? m_output->resultFile : QString();
}

void frmOutput::showEvent(QShowEvent* event)
{
    load();
    QDialog::showEvent(event);
    if (!m_placed) {
        m_placed = true;
        adjustSize();
        dialogsupport::centreOnMainWindow(this);
    }
}

QString frmOutput::formatWord() const
{
    for (size_t i = 0; i < m_formatOptions.size(); ++i)
        if (m_formatOptions[i]->isChecked())
            return cOutput::formats()[i].word;
    return QString();
}

QString frmOutput::formatKey() const
{
    return cOutput::keyOfWord(formatWord());
}

void frmOutput::setChoiceEnabled(bool on)
{
    for (QWidget* w :
         std::initializer_list<QWidget*>{cmbLanguages, Frame1, chkDocBook, cmdOK, cmdCancel, cmdProperties})
        w->setEnabled(on);
}

void frmOutput::cmdOK_Click()
{
    load();
    if (m_running || m_logShown || !m_output)
        return;
    const QString language = cmbLanguages->currentText();
    const QString word = formatWord();
    if (word.isEmpty()) {
        // No format chosen: only the language is checked.
        if (m_project->getLanguageAbrev(language).isEmpty())
            m_box->exclamation(QStringLiteral("No language is selected!"));
        return;
    }
    m_running = true;
    m_cancel = false;
    setChoiceEnabled(false);
    m_output->cmdOK(language, word, chkDocBook->isChecked());
    m_running = false;
    cmdStop->setEnabled(false);
    if (m_logShown) {
        // A run that ended without the result buttons would leave no way out.
        cmdClose->setEnabled(true);
        cmdShowResult->setEnabled(m_output->resultButtonsEnabled());
    } else {
        setChoiceEnabled(true);
    }
}

void frmOutput::showLogView()
{
    m_logShown = true;
    m_choice->hide();
    cmdClose->setEnabled(false);
    cmdShowResult->setEnabled(false);
    cmdStop->setEnabled(m_running);
    m_logPane->show();
    resize(std::max(width(), 640), std::max(height(), 440));
    dialogsupport::centreOnMainWindow(this);
}

void frmOutput::append(const QString& piece, bool red)
{
    if (!m_logShown && m_output && m_output->logView())
        showLogView();
    QString text = piece;
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    // The marks of the font metrics (two characters of code 127 a font)
    // move a bar; as text they are boxes of a missing glyph.
    if (const qsizetype marks = text.count(QChar(127))) {
        text.remove(QChar(127));
        m_fontMarks += int(marks / 2);
        int fonts = 0;
        fontRows(fonts);
        pbChapters->setFormat(QStringLiteral("Font metrics %v of %m"));
        pbChapters->setRange(0, fonts);
        pbChapters->setValue(std::min(m_fontMarks, fonts));
        pbChapters->show();
        if (text.trimmed().isEmpty())
            text.clear();
    }
    QTextCursor end = txtOut->textCursor();
    end.movePosition(QTextCursor::End);
    end.insertText(text);
    txtOut->verticalScrollBar()->setValue(txtOut->verticalScrollBar()->maximum());
    if (red) {
        QPalette pal = txtOut->palette();
        if (pal.color(QPalette::Text) != QColor(255, 0, 0)) {
            pal.setColor(QPalette::Text, QColor(255, 0, 0));
            txtOut->setPalette(pal);
        }
    }
    // Lets the new line show at once; clicks wait until the run is over.
    if (m_running)
        QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
}

void frmOutput::cmdStop_Click()
{
    if (!m_running)
        return;
    m_cancel = true;
    cmdStop->setEnabled(false);
    cmdStop->setText(QStringLiteral("Cancelling..."));
}

void frmOutput::cmdCancel_Click()
{
    reject();
}

void frmOutput::cmdClose_Click()
{
    reject();
}

void frmOutput::reject()
{
    if (m_running)
        return;
    QDialog::reject();
}

void frmOutput::closeEvent(QCloseEvent* event)
{
    if (m_running) {
        event->ignore();
        return;
    }
    QDialog::closeEvent(event);
}

void frmOutput::cmdProperties_Click()
{
    load();
    if (!m_propsForm)
        return;
    m_propsForm->SwitchTab(formatKey());
    m_propsForm->exec();
}

void frmOutput::cmdShowResult_Click()
{
    const QString file = resultFile();
    if (file.isEmpty())
        return;
    const QUrl url = QUrl::fromLocalFile(file);
    if (openResult)
        openResult(url);
    else
        dialogsupport::openUrl(url);
}
