// Spelling and thesaurus on the installed Hunspell and MyThes dictionaries
// (hunspell-en-us, hunspell-de-de, mythes-en-us, mythes-de): the choice of
// dictionary, the engine's answers, the walk over a body and the personal
// word list.
#include "languagetools.h"
#include "msgbox.h"
#include "testsupport.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <gtest/gtest.h>

using namespace langtools;
using namespace testing_support;

namespace {

// Folders with only what a test puts there, and the user's own files in it.
struct Sandbox {
    TempDir dir;
    Folders folders;
    Sandbox()
    {
        folders.hunspell = {dir.file("dicts")};
        folders.thesaurus = {dir.file("thes")};
        folders.personal = dir.file("data/words.txt");
        folders.webDictionaries = dir.file("data/web");
        QDir().mkpath(dir.file("dicts"));
        QDir().mkpath(dir.file("thes"));
    }
    // The installed dictionary of `from`, under the name `as`.
    void dictionary(const QString& from, const QString& as)
    {
        for (const char* ext : {".aff", ".dic"})
            QFile::link("/usr/share/hunspell/" + from + ext, dir.file("dicts/" + as + ext));
    }
    void thesaurus(const QString& from, const QString& as)
    {
        for (const char* ext : {".idx", ".dat"})
            QFile::link("/usr/share/mythes/th_" + from + "_v2" + ext, dir.file("thes/th_" + as + "_v2" + ext));
    }
    QString langs(const QString& rows)
    {
        const QString path = dir.file("langs.xml");
        writeBytes(path, ("<?xml version=\"1.0\" encoding=\"UTF-8\"?><langs>" + rows + "</langs>").toUtf8());
        return path;
    }
};

bool installed()
{
    return QFileInfo::exists("/usr/share/hunspell/en_US.dic") && QFileInfo::exists("/usr/share/hunspell/de_DE.dic") &&
           QFileInfo::exists("/usr/share/mythes/th_en_US_v2.dat") && QFileInfo::exists("/usr/share/mythes/th_de_DE_v2.dat");
}

#define NEED_DICTIONARIES() \
    ASSERT_TRUE(installed()) << "hunspell-en-us, hunspell-de-de, mythes-en-us and mythes-de are needed (scripts/deps)"

// A body as a list of runs; records what the walk does to it.
struct FakeBody : SpellTarget {
    std::vector<TextRun> list;
    QStringList log;
    std::vector<TextRun> runs() override { return list; }
    void selectParent(int id) override { log << "select " + QString::number(id); }
    void clearSelection() override { log << "clear"; }
    void write(int id, const QString& text) override
    {
        log << "write " + QString::number(id);
        for (TextRun& r : list)
            if (r.id == id)
                r.text = text;
    }
};

} // namespace

TEST(LanguageTools, TheFirstCodeWithAnInstalledDictionaryWins)
{
    NEED_DICTIONARIES();
    Sandbox s;
    s.dictionary("de_DE", "de_AT");
    s.dictionary("en_US", "de_CH");
    s.thesaurus("de_DE", "de_CH");
    const QString langs = s.langs("<lang><name>German</name><abbrev>de</abbrev><wordcode>de_DE;de_AT;de_CH</wordcode></lang>"
                                  "<lang><name>Czech</name><abbrev>cs</abbrev><wordcode>cs_CZ</wordcode></lang>");
    ScriptedMsgBox box;
    cLanguageTools tools(s.folders);
    ASSERT_TRUE(tools.open(Tool::Spelling, "de", box, langs));
    EXPECT_EQ(tools.code(), "de_AT");
    EXPECT_TRUE(tools.check("Straße"));
    // The thesaurus is chosen on its own: de_CH is the first that has one.
    cLanguageTools thes(s.folders);
    ASSERT_TRUE(thes.open(Tool::Synonyms, "de", box, langs));
    EXPECT_EQ(thes.code(), "de_CH");
    EXPECT_TRUE(box.texts().isEmpty());

    // None installed: the message names the language and the package.
    cLanguageTools none(s.folders);
    EXPECT_FALSE(none.open(Tool::Spelling, "cs", box, langs));
    EXPECT_EQ(box.last(), "You don't have installed Czech dictionary! Spell checking is not available!\n"
                          "Install the Debian package hunspell-cs and try again.");
    EXPECT_FALSE(none.open(Tool::Synonyms, "cs", box, langs));
    EXPECT_EQ(box.last(), "You don't have installed Czech dictionary! Synonyms are not available!\n"
                          "Install the Debian package mythes-cs and try again.");
    EXPECT_FALSE(none.open(Tool::Antonyms, "cs", box, langs));
    EXPECT_TRUE(box.last().startsWith("You don't have installed Czech dictionary! Antonyms are not available!\n"));

    // A damaged list.
    writeBytes(langs, "<langs><lang>");
    EXPECT_FALSE(none.open(Tool::Spelling, "de", box, langs));
    EXPECT_EQ(box.last(), "File with available languages is damaged!");
}

TEST(LanguageTools, PackagesFollowDebiansNames)
{
    EXPECT_EQ(packageFor(Tool::Spelling, "de_DE"), "hunspell-de-de");
    EXPECT_EQ(packageFor(Tool::Spelling, "en_US"), "hunspell-en-us");
    EXPECT_EQ(packageFor(Tool::Spelling, "fr_FR"), "hunspell-fr");
    EXPECT_EQ(packageFor(Tool::Spelling, "nb_NO"), "hunspell-no");
    EXPECT_EQ(packageFor(Tool::Spelling, "et_EE"), "myspell-et");
    EXPECT_EQ(packageFor(Tool::Synonyms, "de_DE"), "mythes-de");
    EXPECT_EQ(packageFor(Tool::Synonyms, "de_CH"), "mythes-de-ch");
    EXPECT_EQ(packageFor(Tool::Antonyms, "en_US"), "mythes-en-us");
}

TEST(LanguageTools, TheEnginesAnswersInBothLanguages)
{
    NEED_DICTIONARIES();
    Sandbox s;
    s.dictionary("en_US", "en_US");
    s.dictionary("de_DE", "de_DE");
    s.thesaurus("en_US", "en_US");
    s.thesaurus("de_DE", "de_DE");
    cLanguageTools en(s.folders);
    ASSERT_TRUE(en.openCode(Tool::Spelling, "en_US"));
    EXPECT_TRUE(en.check("hello"));
    EXPECT_FALSE(en.check("helo"));
    EXPECT_EQ(en.suggestions("teh").value(0), "the");
    // Punctuation around a word is no part of it, and stays in a suggestion.
    EXPECT_TRUE(en.check("(hello),"));
    EXPECT_TRUE(en.check("\"Hello!\""));
    EXPECT_FALSE(en.check("teh,"));
    EXPECT_EQ(en.suggestions("teh,").value(0), "the,");
    EXPECT_TRUE(en.check(""));
    EXPECT_TRUE(en.check("1234"));
    EXPECT_TRUE(en.check("--"));

    cLanguageTools de(s.folders);
    ASSERT_TRUE(de.openCode(Tool::Spelling, "de_DE"));
    EXPECT_TRUE(de.check("Übersetzung"));
    EXPECT_TRUE(de.check("größer."));
    EXPECT_FALSE(de.check("Ubersetzung"));
    EXPECT_TRUE(de.suggestions("Ubersetzung").contains("Übersetzung"));

    cLanguageTools thes(s.folders);
    ASSERT_TRUE(thes.openCode(Tool::Synonyms, "en_US"));
    const QList<Meaning> big = thes.meanings("big");
    ASSERT_FALSE(big.isEmpty());
    EXPECT_EQ(big[0].text, "(adj) large");
    EXPECT_EQ(big[0].synonyms.value(0), "large");
    EXPECT_TRUE(big[0].synonyms.contains("ample"));
    EXPECT_FALSE(big[0].synonyms.contains("small"));
    EXPECT_EQ(thes.antonyms("big"), QStringList({"little", "small"}));
    // Found by lower case and by the stem.
    EXPECT_FALSE(thes.meanings("Big").isEmpty());
    EXPECT_FALSE(thes.meanings("houses").isEmpty());
    EXPECT_TRUE(thes.meanings("xqzzy").isEmpty());

    cLanguageTools grosse(s.folders);
    ASSERT_TRUE(grosse.openCode(Tool::Synonyms, "de_DE"));
    const QList<Meaning> gross = grosse.meanings("groß");
    ASSERT_FALSE(gross.isEmpty());
    EXPECT_TRUE(gross[0].synonyms.contains("bedeutend"));
    // No remark of the thesaurus reaches the text.
    for (const Meaning& m : gross)
        for (const QString& w : m.synonyms)
            EXPECT_FALSE(w.endsWith(')')) << w.toStdString();
}

TEST(LanguageTools, TheWalkAsksWritesAndStops)
{
    NEED_DICTIONARIES();
    Sandbox s;
    s.dictionary("en_US", "en_US");
    cLanguageTools tools(s.folders);
    ASSERT_TRUE(tools.openCode(Tool::Spelling, "en_US"));

    FakeBody body;
    body.list = {{0, "Teh first node, rigt, here."}, {1, "all good"}, {2, "wrnog and badd word"}, {3, "lastt"}};
    QStringList asked;
    QStringList answers{"The", "", "wrong", kStopWord};
    auto ask = [&](const QString& word, const QString& page, const QStringList& suggestions) {
        asked << word;
        if (asked.size() == 1) {
            EXPECT_EQ(page, "<html><head><style type=\"text/css\">a {background-color: #ADD0FC}</style></head>"
                            "<body><p><a>Teh</a> first node, rigt, here.</p></body></html>");
            EXPECT_TRUE(suggestions.contains("The"));
        }
        return answers.value(asked.size() - 1);
    };
    EXPECT_TRUE(spellBody(body, tools, ask));
    EXPECT_EQ(asked, QStringList({"Teh", "rigt,", "wrnog", "badd"}));
    // The first run is written; the third, stopped in, keeps its text.
    EXPECT_EQ(body.list[0].text, "The first node, rigt, here.");
    EXPECT_EQ(body.list[2].text, "wrnog and badd word");
    EXPECT_EQ(body.log, QStringList({"select 0", "clear", "select 0", "clear", "write 0", "select 2", "clear",
                                     "select 2", "clear"}));

    // Without a stop: every run done, blanks kept as they were.
    FakeBody again;
    again.list = {{7, "a  wrnog"}};
    EXPECT_FALSE(spellBody(again, tools, [](const QString&, const QString&, const QStringList&) {
        return QStringLiteral("wrong");
    }));
    EXPECT_EQ(again.list[0].text, "a  wrong");

    // A selection.
    EXPECT_EQ(spellSelection("wrnog", tools, [](auto&&...) { return QStringLiteral("wrong"); }), "wrong");
    EXPECT_EQ(spellSelection("wrnog", tools, [](auto&&...) { return QString::fromLatin1(kStopWord); }), "");
    int calls = 0;
    EXPECT_EQ(spellSelection("right", tools, [&](auto&&...) { ++calls; return QStringLiteral("x"); }), "");
    EXPECT_EQ(calls, 0);
}

TEST(LanguageTools, APersonalWordIsRightForEveryCheck)
{
    NEED_DICTIONARIES();
    Sandbox s;
    s.dictionary("en_US", "en_US");
    {
        cLanguageTools tools(s.folders);
        ASSERT_TRUE(tools.openCode(Tool::Spelling, "en_US"));
        EXPECT_FALSE(tools.check("Quillary"));
        EXPECT_TRUE(tools.addWord("Quillary"));
        EXPECT_TRUE(tools.check("Quillary"));
    }
    EXPECT_EQ(readText(s.folders.personal), "Quillary\n");
    EXPECT_TRUE(addPersonalWord(s.folders.personal, "Quillary"));
    EXPECT_FALSE(addPersonalWord(s.folders.personal, "two words"));
    EXPECT_EQ(loadPersonalWords(s.folders.personal), QStringList{"Quillary"});
    // A new session reads the list.
    cLanguageTools later(s.folders);
    ASSERT_TRUE(later.openCode(Tool::Spelling, "en_US"));
    EXPECT_TRUE(later.check("Quillary"));

    // The surface's dictionary is built with the word in it, and rebuilt
    // only when the list or the dictionary changed.
    QString why;
    ASSERT_TRUE(ensureWebDictionary(s.folders, "en_US", &why)) << why.toStdString();
    const QString bdic = s.folders.webDictionaries + "/en-US.bdic";
    ASSERT_TRUE(QFileInfo::exists(bdic));
    EXPECT_TRUE(readBytes(bdic).startsWith("BDic"));
    const QDateTime first = QFileInfo(bdic).lastModified();
    ASSERT_TRUE(ensureWebDictionary(s.folders, "en_US", &why));
    EXPECT_EQ(QFileInfo(bdic).lastModified(), first);
    EXPECT_FALSE(ensureWebDictionary(s.folders, "xx_XX", &why));
    EXPECT_EQ(why, "no dictionary for xx_XX");
}
