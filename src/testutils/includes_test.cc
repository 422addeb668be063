// Include merging, and the report line that a missing include gets.
#include "testutils/includes.h"

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/run_context.h"

namespace {

using testing_support::ScratchDir;

TEST(PrintMsgTest, WritesObjectProblemThenText) {
  std::ostringstream out;
  print_msg("form", "Hello", "missing", out);
  EXPECT_EQ(out.str(), "\tform - missing. \t\t msgtext: Hello\n");
}

TEST(PrintMsgTest, AppendsToWhatTheStreamHolds) {
  std::ostringstream out;
  out << "x";
  print_msg("a", "", "b", out);
  EXPECT_EQ(out.str(), "x\ta - b. \t\t msgtext: \n");
}

class MergeIncludesTest : public testing::Test {
 protected:
  // Loads `text` as a document, merges its includes for "en" and returns
  // the report lines.
  std::string Merge(const std::string& text) {
    doc_.LoadFromString(text, "test");
    pnl_xml::XPath includes(doc_, "//include");
    std::ostringstream out;
    MergeIncludes(run_, doc_, includes, "en", out);
    return out.str();
  }
  // The names of the document's msg elements, in document order.
  std::string Names(const std::string& expr) {
    std::string names;
    for (pnl_xml::XmlNode node : pnl_xml::XPath(doc_, expr)) names += node.GetProp("name") + " ";
    return names;
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
  pnl_xml::Xml doc_;
};

TEST_F(MergeIncludesTest, MissingFileGivesOneLineAndTheIncludeGoes) {
  EXPECT_EQ(Merge("<messages name=\"user\"><include name=\"gone\">Gone text</include>"
                  "<msg name=\"a\">A</msg></messages>"),
            "\tinclude - include is not found. \t\t msgtext: Gone text\n");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//include").size(), 0u);
  EXPECT_EQ(Names("/*/*"), "a ");
}

TEST_F(MergeIncludesTest, MissingThenPresentIncludeMergesTheSecond) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg></messages>");
  EXPECT_EQ(Merge("<messages name=\"user\"><include name=\"gone\"/>"
                  "<include name=\"shared\"/><msg name=\"a\">A</msg></messages>"),
            "\tinclude - include is not found. \t\t msgtext: \n");
  EXPECT_EQ(Names("/*/*"), "a s1 ");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//include").size(), 0u);
}

TEST_F(MergeIncludesTest, AllMessagesOfTheFileLandUnderTheRoot) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg>"
             "<group><msg name=\"s2\">S2</msg></group><msg name=\"s3\">S3</msg>"
             "<include name=\"deeper\"/></messages>");
  dir_.Write("var/.xmlcache/sab/deeper.msg.en.xml",
             "<messages name=\"deeper\"><msg name=\"d\">D</msg></messages>");
  EXPECT_EQ(Merge("<doc><messages name=\"user\"><include name=\"shared\"/>"
                  "<msg name=\"a\">A</msg></messages></doc>"),
            "");
  EXPECT_EQ(Names("/doc/*"), "user s1 s2 s3 ");
  EXPECT_EQ(Names("/doc/messages/*"), "a ");
  EXPECT_EQ(pnl_xml::XPath(doc_, "//msg[@name='s2']")[0].Str(), "S2");
}

TEST_F(MergeIncludesTest, SameFileTwiceIsCopiedTwice) {
  dir_.Write("var/.xmlcache/sab/shared.msg.en.xml",
             "<messages name=\"shared\"><msg name=\"s1\">S1</msg></messages>");
  EXPECT_EQ(Merge("<messages><include name=\"shared\"/><include name=\"shared\"/></messages>"),
            "");
  EXPECT_EQ(Names("/*/*"), "s1 s1 ");
}

TEST_F(MergeIncludesTest, IncludeWithoutNameLooksForTheBareSuffix) {
  dir_.Write("var/.xmlcache/sab/.msg.en.xml",
             "<messages><msg name=\"anon\">Anon</msg></messages>");
  EXPECT_EQ(Merge("<messages><include>no name</include></messages>"), "");
  EXPECT_EQ(Names("/*/*"), "anon ");
}

TEST_F(MergeIncludesTest, IncludedFilesComeFromTheCheckedManagerOnly) {
  dir_.Write("var/.xmlcache/kern/shared.msg.en.xml",
             "<messages><msg name=\"k\">K</msg></messages>");
  EXPECT_EQ(Merge("<messages><include name=\"shared\">Shared</include></messages>"),
            "\tinclude - include is not found. \t\t msgtext: Shared\n");
  EXPECT_EQ(Names("/*/*"), "");
}

}  // namespace
