// The repeated message check.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "testutils/repeats.h"
#include "testutils/run_context.h"

namespace {

using testing_support::ScratchDir;

const char kHeader[] = "\nRepeated messages for lang en\n";

class RepeatsTest : public testing::Test {
 protected:
  void Cache(const std::string& file, const std::string& messages) {
    dir_.Write("var/.xmlcache/sab/" + file, "<messages name=\"x\">" + messages + "</messages>");
  }
  std::string Run(const std::string& lang = "en") {
    out_.str("");
    check_repeats(run_, lang);
    return out_.str();
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(RepeatsTest, SameTextInTwoFilesListsBothInFileOrder) {
  Cache("b.msg.en.xml", "<msg name=\"y\">T</msg>");
  Cache("a.msg.en.xml", "<msg name=\"x\">T</msg><msg name=\"z\">Other</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - 'T'\n"
                       "\ta.msg.en.xml x\n"
                       "\tb.msg.en.xml y\n");
}

TEST_F(RepeatsTest, SameTextTwiceInOneFile) {
  Cache("a.msg.en.xml", "<msg name=\"x\">T</msg><group><msg name=\"y\">T</msg></group>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - 'T'\n"
                       "\ta.msg.en.xml x\n"
                       "\ta.msg.en.xml y\n");
}

TEST_F(RepeatsTest, EmptyTextsFormOneBlock) {
  Cache("a.msg.en.xml", "<msg name=\"x\"></msg><msg name=\"y\"/><msg name=\"z\">Z</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - ''\n"
                       "\ta.msg.en.xml x\n"
                       "\ta.msg.en.xml y\n");
}

TEST_F(RepeatsTest, CaseAndBlanksMakeDifferentTexts) {
  Cache("a.msg.en.xml",
        "<msg name=\"a\">Text</msg><msg name=\"b\">text</msg><msg name=\"c\"> Text</msg>"
        "<msg name=\"d\">Text </msg>");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(RepeatsTest, LargerCountsComeFirstByNumber) {
  std::string many;
  for (int i = 0; i < 12; ++i) many += "<msg name=\"m" + std::to_string(i) + "\">A</msg>";
  Cache("a.msg.en.xml", "<msg name=\"b1\">B</msg><msg name=\"b2\">B</msg><msg name=\"b3\">B</msg>");
  Cache("b.msg.en.xml", many);
  std::string expected = std::string(kHeader) + "12 - 'A'\n";
  for (int i = 0; i < 12; ++i) expected += "\tb.msg.en.xml m" + std::to_string(i) + "\n";
  expected += "3 - 'B'\n\ta.msg.en.xml b1\n\ta.msg.en.xml b2\n\ta.msg.en.xml b3\n";
  EXPECT_EQ(Run(), expected);
}

TEST_F(RepeatsTest, EqualCountsKeepTheAscendingOrderOfTexts) {
  Cache("a.msg.en.xml",
        "<msg name=\"1\">Zeta</msg><msg name=\"2\">Alpha</msg><msg name=\"3\">Mid</msg>"
        "<msg name=\"4\">Zeta</msg><msg name=\"5\">Alpha</msg><msg name=\"6\">Mid</msg>"
        "<msg name=\"7\">Once</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - 'Alpha'\n\ta.msg.en.xml 2\n\ta.msg.en.xml 5\n"
                       "2 - 'Mid'\n\ta.msg.en.xml 3\n\ta.msg.en.xml 6\n"
                       "2 - 'Zeta'\n\ta.msg.en.xml 1\n\ta.msg.en.xml 4\n");
}

TEST_F(RepeatsTest, MessageWithoutNameGivesAnEmptyName) {
  Cache("a.msg.en.xml", "<msg>T</msg><msg name=\"x\">T</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - 'T'\n"
                       "\ta.msg.en.xml \n"
                       "\ta.msg.en.xml x\n");
}

TEST_F(RepeatsTest, AddedMessagesAreLeftOut) {
  Cache("a.msg.en.xml",
        "<msg name=\"x\">T</msg><msg name=\"y\" added=\"yes\">T</msg>"
        "<msg name=\"z\" added=\"\">T</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "2 - 'T'\n"
                       "\ta.msg.en.xml x\n"
                       "\ta.msg.en.xml z\n");
}

TEST_F(RepeatsTest, IncludesAreNotMerged) {
  Cache("a.msg.en.xml", "<msg name=\"x\">T</msg><include name=\"b\"/>");
  dir_.Write("var/.xmlcache/sab/b.msg.ru.xml", "<messages><msg name=\"y\">T</msg></messages>");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(RepeatsTest, NoDocumentsPrintOnlyTheHeader) {
  EXPECT_EQ(Run("fr"), "\nRepeated messages for lang fr\n");
}

TEST_F(RepeatsTest, OtherLanguagesAndBaseManagerFilesAreNotCounted) {
  Cache("a.msg.en.xml", "<msg name=\"x\">T</msg>");
  Cache("a.msg.ru.xml", "<msg name=\"x\">T</msg>");
  Cache("common.en.xml", "<msg name=\"c\">T</msg>");
  dir_.Write("var/.xmlcache/kern/common.en.xml", "<messages/>");
  EXPECT_EQ(Run(), kHeader);
}

TEST(OrderTest, ComparesLeadingNumbersNotText) {
  EXPECT_TRUE(order("10", "9"));
  EXPECT_FALSE(order("9", "10"));
  EXPECT_FALSE(order("x", "0"));
  EXPECT_FALSE(order("0", "x"));
  EXPECT_TRUE(order("12 - 'a'\n", "3 - 'b'\n"));
  EXPECT_FALSE(order("3 - 'b'\n", "12 - 'a'\n"));
  EXPECT_FALSE(order("", ""));
  EXPECT_TRUE(order("2 - 'x'", ""));
}

TEST(OrderTest, ReadsBlanksAndSignsLikeStrtol) {
  EXPECT_TRUE(order("  7", "6"));
  EXPECT_TRUE(order("+5", "4"));
  EXPECT_FALSE(order("-3", "0"));
  EXPECT_TRUE(order("0", "-3"));
  EXPECT_FALSE(order("5abc", "5"));
}

TEST(OrderTest, CutsTheNumberToThirtyTwoBits) {
  // 2^32 becomes 0, 2^32 + 1 becomes 1, 2^31 becomes the most negative value.
  EXPECT_FALSE(order("4294967296", "1"));
  EXPECT_FALSE(order("4294967296", "0"));
  EXPECT_TRUE(order("4294967297", "0"));
  EXPECT_FALSE(order("2147483648", "0"));
  EXPECT_TRUE(order("2147483647", "0"));
}

}  // namespace
