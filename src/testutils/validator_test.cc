// The validator check: text inputs without a check attribute.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/run_context.h"
#include "testutils/validator.h"

namespace {

using testing_support::ScratchDir;

const char kHeader[] = "\nChecking validator for inputs\n";

class ValidatorTest : public testing::Test {
 protected:
  void Description(const std::string& metadata) {
    dir_.Write("etc/xml/sab.xml", "<pnldata>" + metadata + "</pnldata>");
  }
  void Russian(const std::string& sections) {
    dir_.Write("etc/xml/sab_msg_ru.xml",
               "<pnldata><lang name=\"ru\">" + sections + "</lang></pnldata>");
  }
  std::string Run() {
    out_.str("");
    check_validator(run_);
    return out_.str();
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(ValidatorTest, TextInputOfAFieldGetsFormFieldTitleAndLabel) {
  Description("<metadata name=\"user\" type=\"form\"><form><field name=\"size\">"
              "<input type=\"text\" name=\"size_in\"/></field></form></metadata>");
  Russian("<messages name=\"user\"><msg name=\"title\">Users</msg>"
          "<msg name=\"size\">Size</msg></messages>");
  EXPECT_EQ(Run(), std::string(kHeader) + "user -> size\t\t(Users -> Size)\n");
}

TEST_F(ValidatorTest, InputsWithACheckOrAnotherTypeAreNotReported) {
  Description("<metadata name=\"user\" type=\"form\"><form>"
              "<field name=\"a\"><input type=\"text\" name=\"a\" check=\"int\"/></field>"
              "<field name=\"b\"><input type=\"password\" name=\"b\"/></field>"
              "<field name=\"c\"><input name=\"c\"/></field>"
              "<field name=\"d\"><input type=\"Text\" name=\"d\"/></field>"
              "</form></metadata>");
  Russian("");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(ValidatorTest, FieldWithoutNameOrNoFieldUsesTheInputsName) {
  Description("<metadata name=\"user\" type=\"form\"><form>"
              "<field><input type=\"text\" name=\"first\"/></field>"
              "<group name=\"g\"><input type=\"text\" name=\"second\"/></group>"
              "</form></metadata>");
  Russian("<messages name=\"user\"><msg name=\"first\">First</msg>"
          "<msg name=\"g\">Group</msg><msg name=\"second\">Second</msg></messages>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "user -> first\t\t( -> First)\n"
                       "user -> second\t\t( -> Second)\n");
}

TEST_F(ValidatorTest, InputOfAListIsReportedUnderTheList) {
  Description("<metadata name=\"users\" type=\"list\"><toolbar><field name=\"filter\">"
              "<input type=\"text\" name=\"f\"/></field></toolbar></metadata>");
  Russian("<messages name=\"users\"><msg name=\"title\">All users</msg></messages>");
  EXPECT_EQ(Run(), std::string(kHeader) + "users -> filter\t\t(All users -> )\n");
}

TEST_F(ValidatorTest, ClimbStopsAtAnElementOfTypeForm) {
  Description("<metadata name=\"outer\" type=\"form\"><form name=\"inner\" type=\"form\">"
              "<field name=\"x\"><input type=\"text\"/></field></form></metadata>");
  Russian("<messages name=\"inner\"><msg name=\"x\">X</msg></messages>");
  EXPECT_EQ(Run(), std::string(kHeader) + "inner -> x\t\t( -> X)\n");
}

TEST_F(ValidatorTest, InputWithoutOwnerHasAnEmptyFormName) {
  Description("<field name=\"x\"><input type=\"text\"/></field>");
  Russian("");
  EXPECT_EQ(Run(), std::string(kHeader) + " -> x\t\t( -> )\n");
}

TEST_F(ValidatorTest, AlwaysReadsTheRussianMessages) {
  Description("<metadata name=\"user\" type=\"form\"><form><field name=\"size\">"
              "<input type=\"text\"/></field></form></metadata>");
  dir_.Write("etc/xml/sab_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"user\">"
             "<msg name=\"title\">Users</msg><msg name=\"size\">Size</msg>"
             "</messages></lang></pnldata>");
  EXPECT_EQ(Run(), std::string(kHeader) + "user -> size\t\t( -> )\n");
  Russian("<messages name=\"user\"><msg name=\"title\">Пользователи</msg>"
          "<msg name=\"size\">Размер</msg></messages>");
  EXPECT_EQ(Run(), std::string(kHeader) + "user -> size\t\t(Пользователи -> Размер)\n");
}

TEST_F(ValidatorTest, DescriptionWithoutSuchInputsPrintsOnlyTheHeader) {
  Description("<metadata name=\"user\" type=\"form\"><form/></metadata>");
  Russian("");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(ValidatorTest, MissingFilesPrintOnlyTheHeader) {
  EXPECT_EQ(Run(), kHeader);
}


// The titles and labels read with the element scanner are those the queries
// of the parsed document give, whatever the names and texts hold.
TEST_F(ValidatorTest, ScannedTextsAreThoseOfTheQueries) {
  Description(
      "<metadata name=\"a&amp;b\" type=\"form\"><form>"
      "<field name=\"t&#9;x\"><input type=\"text\"/></field>"
      "<field name=\"it's\"><input type=\"text\"/></field>"
      "<field name=\"dup\"><input type=\"text\"/></field>"
      "<field><input type=\"text\"/></field>"
      "<field name=\"n\nl\"><input type=\"text\"/></field></form></metadata>"
      "<group><input type=\"text\" name=\"orphan\"/></group>");
  const std::vector<std::string> files = {
      "<pnldata><lang name=\"ru\"><messages name=\"a&amp;b\">"
      "<msg name=\"title\">T &amp; &#1046;<![CDATA[<c>]]><!-- x --></msg>"
      "<msg name=\"t&#9;x\">tab</msg><msg name=\"it's\">q</msg>"
      "<msg name=\"dup\">first</msg><msg name=\"dup\">second</msg>"
      "<msg name=\"n l\">nl\r\nline</msg><msg>noname</msg><msg name=\"\">empty</msg>"
      "<msg name=\"x\"><b>in</b> b</msg></messages></lang>"
      "<deep><messages name=\"a&amp;b\"><msg name=\"dup\">deep</msg></messages></deep>"
      "<messages><msg name=\"title\">unnamed section</msg></messages>"
      "<messages name=\"\"><msg name=\"title\">empty section</msg></messages></pnldata>",
      "<!DOCTYPE pnldata [<!ENTITY e \"ent\">]><pnldata><messages name=\"a&amp;b\">"
      "<msg name=\"title\">&e;</msg></messages></pnldata>",
      "<pnldata><lang name=\"ru\"><messages name=\"a&amp;b\"><msg name=\"title\">",
  };
  for (const std::string& file : files) {
    dir_.Write("etc/xml/sab_msg_ru.xml", file);
    testing::internal::CaptureStderr();
    const std::string fast = Run();
    pnl_xml::SetLiteralEvaluation(true);
    const std::string literal = Run();
    pnl_xml::SetLiteralEvaluation(false);
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(fast, literal) << file;
  }
  // A name with an apostrophe makes no query, and so no label; an input
  // without a name asks for a message named "" in its form's section.
  dir_.Write("etc/xml/sab_msg_ru.xml", files[0]);
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "a&b -> t\tx\t\t(T & \xd0\x96<c> -> tab)\n"
                       "a&b -> it's\t\t(T & \xd0\x96<c> -> )\n"
                       "a&b -> dup\t\t(T & \xd0\x96<c> -> first)\n"
                       "a&b -> \t\t(T & \xd0\x96<c> -> empty)\n"
                       "a&b -> n l\t\t(T & \xd0\x96<c> -> nl\nline)\n"
                       " -> orphan\t\t(empty section -> )\n");
}

}  // namespace
