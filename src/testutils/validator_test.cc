// The validator check: text inputs without a check attribute.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

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

}  // namespace
