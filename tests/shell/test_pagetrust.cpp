// A page that stops answering gives no content: nothing it returned is ever
// stored, and the typed text stays counted as changed.
#include "sessionfixture.h"

using namespace testing_support;

namespace {

class SilentPage : public SessionFixture {
protected:
    void SetUp() override
    {
        SessionFixture::SetUp();
        newProject({"en", "de"});
        addChapter(QStringLiteral("One"));
        addTopic(QStringLiteral("One"), QStringLiteral("Alpha"));
        addTopic(QStringLiteral("One"), QStringLiteral("Beta"));
        click(QStringLiteral("One\\Alpha"));
        typeAndSave(QStringLiteral("<h1>Alpha</h1><p>Stored text.</p>"));
        ASSERT_FALSE(session.topicChanged());
        box.clear();
    }
};

const QString kNotSaved = QStringLiteral(
    "The editing page did not answer, so topic \"Alpha\" was not saved. Its text stays on the page; save again in a "
    "moment.");

} // namespace

TEST_F(SilentPage, ASaveRefusesAndTheTopicStaysChanged)
{
    surface.userEdit(QStringLiteral("<h1>Alpha</h1><p>Typed text.</p>"));
    const QString before = chapterText(QStringLiteral("One"));
    surface.silent = true;

    session.mnuSave();
    EXPECT_EQ(box.texts(), QStringList{kNotSaved});
    EXPECT_EQ(box.lastIcon(), MsgIcon::Critical);
    EXPECT_EQ(chapterText(QStringLiteral("One")), before);
    EXPECT_TRUE(session.topicChanged());

    // Leaving asks; Yes meets the silent page again: the topic stays.
    box.clear();
    box.answer(MsgAnswer::Yes);
    click(QStringLiteral("One\\Beta"));
    ASSERT_EQ(box.all().size(), 2u);
    EXPECT_EQ(box.all()[0].text, QStringLiteral("Topic \"Alpha\" has been changed. Save?"));
    EXPECT_EQ(box.all()[1].text, kNotSaved);
    ASSERT_TRUE(session.shownTopic());
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Alpha"));
    EXPECT_EQ(chapterText(QStringLiteral("One")), before);

    // Closing asks too, and stays open.
    box.clear();
    box.answer(MsgAnswer::Yes);
    EXPECT_FALSE(session.queryUnload());
    EXPECT_TRUE(session.isOpen());

    // The page answers again: Yes on leaving stores the typed text.
    surface.silent = false;
    box.clear();
    box.answer(MsgAnswer::Yes);
    click(QStringLiteral("One\\Beta"));
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Beta"));
    EXPECT_TRUE(chapterText(QStringLiteral("One")).contains(QStringLiteral("Typed text.")));
    EXPECT_FALSE(chapterText(QStringLiteral("One")).contains(QStringLiteral("Stored text.")));
}

TEST_F(SilentPage, ATopicShownWithoutAnswersIsNotEditableAndNeverStored)
{
    click(QStringLiteral("One\\Beta"));
    box.clear();
    const QString before = chapterText(QStringLiteral("One"));
    surface.silent = true;
    click(QStringLiteral("One\\Alpha"));
    EXPECT_EQ(box.last(), QStringLiteral("The editing page did not answer, so topic \"Alpha\" may not be shown whole. "
                                         "It stays read-only until it is shown again."));
    EXPECT_TRUE(surface.browseMode());

    // Nothing on the page can reach the file, whatever the answers.
    box.setDefault(MsgAnswer::Yes);
    session.mnuSave();
    click(QStringLiteral("One\\Beta"));
    EXPECT_EQ(chapterText(QStringLiteral("One")), before);

    // Shown again with the page answering: editable, and it holds the stored text.
    surface.silent = false;
    box.setDefault(MsgAnswer::No);
    box.clear();
    click(QStringLiteral("One\\Alpha"));
    for (const QString& t : box.texts())
        EXPECT_FALSE(t.contains(QStringLiteral("did not answer"))) << qPrintable(t);
    EXPECT_EQ(session.shownTopic()->Text, QStringLiteral("Alpha"));
    EXPECT_FALSE(surface.browseMode());
    EXPECT_TRUE(surface.bodyHTML().contains(QStringLiteral("Stored text.")));
}
