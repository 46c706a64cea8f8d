// The context verbs as a developer of the documented application uses them:
// a forms file loaded, forms assigned, listed and printed as a header.
#include "clirun.h"
#include "testsupport.h"

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace testing_support;

namespace {

const char kForms[] =
    "<?xml version=\"1.0\"?><!DOCTYPE forms [<!ELEMENT forms (form*)><!ELEMENT form (name,caption,helpid)>"
    "<!ELEMENT name (#PCDATA)><!ELEMENT caption (#PCDATA)><!ELEMENT helpid (#PCDATA)>]><forms>"
    "<form><name>frmMain</name><caption>Main Window</caption><helpid>1000</helpid></form>"
    "<form><name>frmOpen</name><caption>Open File</caption><helpid>2000</helpid></form>"
    "<form><name>frmOpenRecent</name><caption>Recent Files</caption><helpid>2000</helpid></form></forms>";

} // namespace

TEST(CliContext, LoadAssignListAndHeader)
{
    TempDir dir;
    const QString qly = copySample(dir.path());
    writeBytes(dir.file("forms.xml"), kForms);
    ASSERT_EQ(quillary({"context", "load", qly, dir.file("forms.xml")}).code, 0);
    CliRun r = quillary({"context", "assign", qly, "--form", "frmOpen", "--topic", "topic4"});
    ASSERT_EQ(r.code, 0) << r.err.toStdString();
    // The group of ID 2000 is assigned: its second form takes no topic.
    r = quillary({"context", "assign", qly, "--form", "frmOpenRecent", "--topic", "topic3"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Form(s) has already assigned topic!")) << r.err.toStdString();

    r = quillary({"context", "list", qly});
    ASSERT_EQ(r.code, 0);
    EXPECT_EQ(r.out, "frmMain\t1000\tMain Window\tGetting Started\\Welcome\n"
                     "frmOpen\t2000\tOpen File\tReference\\Details\\Links and Anchors\n"
                     "frmOpenRecent\t2000\tRecent Files\tReference\\Details\\Links and Anchors\n");
    r = quillary({"context", "header", qly});
    EXPECT_TRUE(r.out.endsWith("#define IDH_frmMain 1000\n#define IDH_frmOpen 2000\n#define IDH_frmOpenRecent 2000\n"))
        << r.out.toStdString();
    r = quillary({"context", "header", qly, "--format", "json"});
    EXPECT_EQ(r.out, "{\n  \"frmMain\": 1000,\n  \"frmOpen\": 2000,\n  \"frmOpenRecent\": 2000\n}\n");

    // Forms by the record's rules; edit and delete; unassign.
    r = quillary({"context", "form", "add", qly, "--name", "_a", "--id", "5"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Form name must start with letter!"));
    EXPECT_EQ(quillary({"context", "form", "add", qly, "--name", "frmAbout", "--id", "3000", "--caption", "About"}).code, 0);
    EXPECT_EQ(quillary({"context", "form", "edit", qly, "--name", "frmAbout", "--id", "3001"}).code, 0);
    r = quillary({"context", "form", "delete", qly, "--name", "frmOpen"});
    EXPECT_EQ(r.code, 1);
    EXPECT_TRUE(r.err.contains("Form has already assigned topic! It is not possible to delete it!"));
    EXPECT_EQ(quillary({"context", "unassign", qly, "--topic", "topic4"}).code, 0);
    EXPECT_EQ(quillary({"context", "form", "delete", qly, "--name", "frmOpen"}).code, 0);
    r = quillary({"context", "list", qly});
    EXPECT_EQ(r.out, "frmMain\t1000\tMain Window\tGetting Started\\Welcome\n"
                     "frmOpenRecent\t2000\tRecent Files\t\n"
                     "frmAbout\t3001\tAbout\t\n");
    EXPECT_EQ(quillary({"context", "form", "edit", qly, "--name", "nobody", "--id", "1"}).code, 1);
}
