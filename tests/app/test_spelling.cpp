// The language tools on the real page: the whole-body walk and the
// selection check of Spelling, Synonyms and Antonyms replacing the
// selection, their dialogs, the message of a missing dictionary, and the
// surface's own checking as the author types with its context menu entries.
// Needs hunspell-en-us, hunspell-de-de, mythes-en-us and mythes-de.
#include "apptestsupport.h"
#include "editingcontroller.h"
#include "frmspellcheck.h"
#include "holders.h"
#include "language.h"
#include "languagetools.h"
#include "session.h"
#include "spellingcontroller.h"
#include "websurface.h"

#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>
#include <QWebEngineContextMenuRequest>
#include <QWebEngineProfile>

#include <gtest/gtest.h>

using namespace langtools;
using testing_support::TempDir;

namespace {

bool waitFor(const std::function<bool()>& done, int ms = 5000)
{
    return QTest::qWaitFor(done, ms);
}

class Spelling : public ::testing::Test {
protected:
    static inline TempDir* tmp = nullptr;
    static inline ScriptedMsgBox* box = nullptr;
    static inline WebSurface* surface = nullptr;
    static inline Session* session = nullptr;
    static inline EditingController* editing = nullptr;
    static inline SpellingController* spelling = nullptr;

    static void SetUpTestSuite()
    {
        tmp = new TempDir;
        const QString project = testing_support::makeProject(tmp->path(), "manual", {"en", "de"});
        box = new ScriptedMsgBox;
        surface = new WebSurface;
        surface->resize(800, 600);
        surface->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(surface));
        session = new Session(*box, *surface);
        session->openProject(project);
        ASSERT_TRUE(session->isOpen());
        session->topic().ID = "topic1";
        editing = new EditingController(surface, *session);
        editing->attachSurface(true, false);
        spelling = new SpellingController(surface, *editing, *session);
    }
    static void TearDownTestSuite()
    {
        delete spelling;
        delete editing;
        delete session;
        delete surface;
        delete box;
        delete tmp;
    }

    void SetUp() override
    {
        ASSERT_TRUE(QFileInfo::exists("/usr/share/hunspell/en_US.dic") &&
                    QFileInfo::exists("/usr/share/mythes/th_en_US_v2.dat"))
            << "hunspell-en-us and mythes-en-us are needed (scripts/deps)";
        box->clear();
        session->topic().State = "uncomplete";
        setCurrentLanguage("en");
        spelling->spellDialog = nullptr;
        spelling->thesaurusDialog = nullptr;
    }

    void start(const QString& html)
    {
        surface->setBrowseMode(false);
        surface->setBodyHTML(html);
        surface->setFocus();
        surface->runScript("document.body.focus(); true");
        QTest::qWait(30);
        editing->updateDisplay();
    }
    QString body() { return surface->bodyHTML(); }
    QString selected() { return surface->runScript("getSelection().toString()").toString(); }
    void selectIn(const QString& text, int offset, int length)
    {
        surface->runScript(QStringLiteral("(function(){var w=document.createTreeWalker(document.body,NodeFilter.SHOW_TEXT),t;"
                                          "while((t=w.nextNode())){var i=t.data.indexOf(%1);if(i>=0){var r=document.createRange();"
                                          "r.setStart(t,i+%2);r.setEnd(t,i+%2+%3);getSelection().removeAllRanges();"
                                          "getSelection().addRange(r);return;}}})()")
                               .arg(WebSurface::jsString(text))
                               .arg(offset)
                               .arg(length));
        editing->updateDisplay();
    }
};

} // namespace

TEST_F(Spelling, TheWholeBodyIsWalkedNodeByNodeAndAStopKeepsEarlierNodes)
{
    // Adjacent text nodes count as one; the third paragraph is stopped in.
    start("<p>Teh first <strong>wrnog</strong> text.</p><p>Some badd and wrse words</p><p>lastt</p>");
    surface->runScript("document.querySelector('p').appendChild(document.createTextNode(' agian')); true");
    surface->setDirty();
    QStringList asked, selections, pages;
    const QStringList answers{"The", "", "again", "bad", kStopWord};
    spelling->spellDialog = [&](const QString& word, const QString& page, const QStringList& suggestions) {
        asked << word;
        pages << page;
        selections << selected();
        EXPECT_FALSE(suggestions.isEmpty()) << word.toStdString();
        return answers.value(asked.size() - 1);
    };
    spelling->spelling();
    EXPECT_EQ(asked, QStringList({"Teh", "wrnog", "agian", "badd", "wrse"}));
    // The parent's text is selected while the dialog asks.
    EXPECT_EQ(selections.value(0), "Teh first wrnog text. agian");
    EXPECT_EQ(selections.value(1), "wrnog");
    EXPECT_EQ(pages.value(2), "<html><head><style type=\"text/css\">a {background-color: #ADD0FC}</style></head>"
                              "<body><p> text. <a>agian</a></p></body></html>");
    EXPECT_EQ(body(), "<p>The first <strong>wrnog</strong> text. again</p><p>Some badd and wrse words</p><p>lastt</p>");
    EXPECT_EQ(box->texts(), QStringList{"Spell checking finished!"});
    EXPECT_EQ(selected(), "");
    // One step of the history per written node.
    editing->undo();
    EXPECT_EQ(body(), "<p>The first <strong>wrnog</strong> text. agian</p><p>Some badd and wrse words</p><p>lastt</p>");
}

TEST_F(Spelling, ASelectionIsCheckedWithoutItsClosingBlankAndReplaced)
{
    start("<p>A wrnog word and a right one.</p>");
    selectIn("wrnog word", 0, 6); // "wrnog "
    QString askedWord;
    spelling->spellDialog = [&](const QString& word, const QString& page, const QStringList& suggestions) {
        askedWord = word;
        EXPECT_TRUE(page.contains("<a>wrnog</a>"));
        EXPECT_TRUE(suggestions.contains("wrong"));
        return QStringLiteral("wrong");
    };
    spelling->spelling();
    EXPECT_EQ(askedWord, "wrnog");
    EXPECT_EQ(body(), "<p>A wrong word and a right one.</p>");
    EXPECT_TRUE(box->texts().isEmpty()); // no closing message after a selection
    EXPECT_TRUE(surface->isDirty());

    // A right selection asks nothing.
    selectIn("right", 0, 5);
    spelling->spellDialog = [](auto&&...) {
        ADD_FAILURE() << "asked about a right word";
        return QString();
    };
    spelling->spelling();
    EXPECT_EQ(body(), "<p>A wrong word and a right one.</p>");
}

TEST_F(Spelling, SynonymsAndAntonymsReplaceTheSelection)
{
    start("<p>A big house.</p>");
    selectIn("big", 0, 4);
    spelling->thesaurusDialog = [](Tool tool, const QString& word, const QString& code) {
        EXPECT_EQ(tool, Tool::Synonyms);
        EXPECT_EQ(word, "big");
        EXPECT_EQ(code, "en_US");
        return QStringLiteral("large");
    };
    spelling->synonyms();
    EXPECT_EQ(body(), "<p>A large house.</p>");
    selectIn("large", 0, 5);
    spelling->thesaurusDialog = [](Tool tool, const QString&, const QString&) {
        EXPECT_EQ(tool, Tool::Antonyms);
        return QString();
    };
    spelling->antonyms();
    EXPECT_EQ(body(), "<p>A large house.</p>");
}

TEST_F(Spelling, AMissingDictionaryNamesItsPackageAndChangesNothing)
{
    SpellingController bare(surface, *editing, *session);
    bare.folders.hunspell = {tmp->file("none")};
    bare.folders.thesaurus = {tmp->file("none")};
    setCurrentLanguage("de");
    start("<p>Ein Txet.</p>");
    bare.spellDialog = [](auto&&...) {
        ADD_FAILURE() << "no dictionary, no dialog";
        return QString();
    };
    bare.spelling();
    bare.synonyms();
    EXPECT_EQ(box->texts(),
              QStringList({"You don't have installed German dictionary! Spell checking is not available!\n"
                           "Install the Debian package hunspell-de-de and try again.",
                           "You don't have installed German dictionary! Synonyms are not available!\n"
                           "Install the Debian package mythes-de and try again."}));
    EXPECT_EQ(body(), "<p>Ein Txet.</p>");
}

TEST_F(Spelling, TheSpellCheckDialogAnswers)
{
    auto dialog = [](cString& word) {
        auto* d = new frmSpellCheck(box);
        d->FixedWord(&word);
        d->HTMLText(spellPage({"a", "wrnog"}, 1));
        d->AddSugestion("wrong");
        d->AddSugestion("prong");
        return d;
    };
    cString word{"wrnog"};
    std::unique_ptr<frmSpellCheck> d(dialog(word));
    EXPECT_EQ(d->windowTitle(), "Spell Checking");
    EXPECT_EQ(d->txtNew->text(), "wrnog");
    EXPECT_TRUE(d->dPara->isReadOnly());
    EXPECT_TRUE(d->dPara->toPlainText().contains("a wrnog"));
    // A click takes the item; an empty text is refused.
    QListWidgetItem* prong = d->lstSugest->item(1);
    QTest::mouseClick(d->lstSugest->viewport(), Qt::LeftButton, {}, d->lstSugest->visualItemRect(prong).center());
    EXPECT_EQ(d->txtNew->text(), "prong");
    d->txtNew->clear();
    d->cmdReplace->click();
    EXPECT_EQ(box->last(), "Can not replace with empty string!");
    EXPECT_EQ(d->result(), 0);
    d->txtNew->setText("wrung");
    d->cmdReplace->click();
    EXPECT_EQ(word.TextString, "wrung");
    // A double click replaces with the item; Skip and Stop.
    d.reset(dialog(word));
    emit d->lstSugest->itemDoubleClicked(d->lstSugest->item(0));
    EXPECT_EQ(word.TextString, "wrong");
    d.reset(dialog(word));
    d->cmdSkip->click();
    EXPECT_EQ(word.TextString, "");
    d.reset(dialog(word));
    d->cmdStop->click();
    EXPECT_EQ(word.TextString, kStopWord);
}

TEST_F(Spelling, TheThesaurusDialogsLookUpAsTheWordChanges)
{
    cString word{"big"};
    frmSynonyms syn(box);
    syn.WordLangID("en_US");
    syn.SelectedWord(&word);
    EXPECT_EQ(syn.windowTitle(), "Synonyms");
    ASSERT_GT(syn.lstMeaning->count(), 1);
    EXPECT_EQ(syn.lstMeaning->currentRow(), 0);
    EXPECT_EQ(syn.lstMeaning->item(0)->text(), "(adj) large");
    EXPECT_EQ(syn.lstSynonym->item(0)->text(), "large");
    syn.lstMeaning->setCurrentRow(1);
    EXPECT_EQ(syn.lstSynonym->item(0)->text(), "important");
    syn.cmdReplace->click();
    EXPECT_EQ(box->last(), "Nothing is selected!");
    syn.txtNew->setText("xqzzy");
    EXPECT_EQ(syn.lstMeaning->count(), 0);
    EXPECT_EQ(syn.lstSynonym->count(), 0);
    syn.txtNew->setText("big");
    syn.lstSynonym->setCurrentRow(1);
    emit syn.lstSynonym->itemDoubleClicked(syn.lstSynonym->item(1));
    EXPECT_EQ(word.TextString, "ample");

    cString other{"big"};
    frmAntonyms ant(box);
    ant.WordLangID("en_US");
    ant.SelectedWord(&other);
    EXPECT_EQ(ant.windowTitle(), "Antonyms");
    ASSERT_EQ(ant.lstAntonym->count(), 2);
    ant.cmdClose->click();
    EXPECT_EQ(other.TextString, "");
    ant.lstAntonym->setCurrentRow(1);
    ant.cmdReplace->click();
    EXPECT_EQ(other.TextString, "small");
}

// Chromium's own checker marks a misspelt word; the context menu offers its
// suggestions, and a word added to the dictionary is marked no more.
TEST_F(Spelling, TheSurfaceMarksMisspeltWordsAsTheAuthorTypes)
{
    QWidget* input = surface->focusProxy() ? surface->focusProxy() : surface;
    QString misspelt;
    QStringList suggestions;
    QObject::connect(surface, &QWidget::customContextMenuRequested, surface, [&] {
        if (QWebEngineContextMenuRequest* r = surface->lastContextMenuRequest()) {
            misspelt = r->misspelledWord();
            suggestions = r->spellCheckerSuggestions();
        }
    });
    auto wordAt = [&](const QString& word) {
        const QVariantList r = surface->runScript(
            QStringLiteral("(function(){var t=document.querySelector('p').firstChild,i=t.data.indexOf(%1),"
                           "r=document.createRange();r.setStart(t,i+1);r.setEnd(t,i+3);var b=r.getBoundingClientRect();"
                           "return [b.left+b.width/2,b.top+b.height/2];})()").arg(WebSurface::jsString(word))).toList();
        return QPoint(int(r.value(0).toDouble()), int(r.value(1).toDouble()));
    };
    auto rightClick = [&](const QString& word) {
        misspelt = "?";
        QTest::mouseClick(input, Qt::RightButton, {}, wordAt(word));
        return waitFor([&] { return misspelt != "?"; }, 2000);
    };
    // The author types a word in the language of the project; the checker
    // marks it a moment later.
    auto typeWrong = [&](const QString& lang, const QString& wrong) {
        setCurrentLanguage(lang);
        spelling->prepareSurface();
        start("<p>Text</p>");
        surface->runScript("(function(){var p=document.querySelector('p'),r=document.createRange();"
                           "r.selectNodeContents(p);r.collapse(false);getSelection().removeAllRanges();"
                           "getSelection().addRange(r);})()");
        QTest::keyClicks(input, " " + wrong + " Haus ");
        EXPECT_TRUE(waitFor([&] { return body().contains(wrong + " Haus"); }));
        EXPECT_TRUE(waitFor([&] { return rightClick(wrong) && misspelt == wrong; }, 15000))
            << lang.toStdString() << ": " << misspelt.toStdString();
    };

    typeWrong("de", QString::fromUtf8("Übersetzng"));
    EXPECT_EQ(surface->page()->profile()->spellCheckLanguages(), QStringList{"de-DE"});
    EXPECT_TRUE(suggestions.contains(QString::fromUtf8("Übersetzung"))) << suggestions.join(' ').toStdString();

    typeWrong("en", "wrnog");
    EXPECT_TRUE(surface->page()->profile()->isSpellCheckEnabled());
    EXPECT_EQ(surface->page()->profile()->spellCheckLanguages(), QStringList{"en-US"});
    EXPECT_TRUE(suggestions.contains("wrong"));

    // The menu entries.
    QMenu menu;
    ASSERT_TRUE(spelling->addMisspellingEntries(&menu));
    QStringList texts;
    for (QAction* a : menu.actions())
        texts << a->text();
    EXPECT_TRUE(texts.contains("wrong"));
    EXPECT_EQ(texts.last(), "Add to Dictionary");

    // Added: the dialogs' check and the surface agree.
    ASSERT_TRUE(spelling->addToDictionary("wrnog"));
    EXPECT_TRUE(loadPersonalWords(spelling->folders.personal).contains("wrnog"));
    cLanguageTools tools(spelling->folders);
    ASSERT_TRUE(tools.openCode(Tool::Spelling, "en_US"));
    EXPECT_TRUE(tools.check("wrnog"));
    EXPECT_TRUE(waitFor([&] { return rightClick("wrnog") && misspelt.isEmpty(); }, 15000)) << misspelt.toStdString();
    QFile::remove(spelling->folders.personal);
}
