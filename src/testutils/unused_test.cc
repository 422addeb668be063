// The unused message check and its deciders.
#include <string>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"
#include "testutils/msglint.h"

namespace {

using testing_support::ScratchDir;

const char kHeader[] = "\nUnused for lang en\n";

// A form "user" with a field "size" (holding an input "size_in"), a page
// "extra" with a field "color", and a list "users" with columns, a column
// property and toolbar buttons.
const char kDescription[] =
    "<pnldata>"
    "<metadata name=\"user\" type=\"form\"><form>"
    "<field name=\"size\"><input name=\"size_in\" type=\"text\"/></field>"
    "<page name=\"extra\"><field name=\"color\"><select name=\"shade\"/></field>"
    "<label name=\"note\"/></page>"
    "</form></metadata>"
    "<metadata name=\"users\" type=\"list\">"
    "<coldata><col name=\"size\"><prop name=\"width\"/></col><col name=\"name\"/>"
    "<col name=\"full_name\"/></coldata>"
    "<toolbar><group><toolbtn name=\"edit\" func=\"user.edit\"/></group>"
    "<toolbtn name=\"delete\" func=\"delete\"/><toolbtn name=\"drop\" func=\"user.delete\"/>"
    "</toolbar></metadata>"
    "<metadata name=\"menu\" type=\"menu\"/>"
    "</pnldata>";

class UnusedTest : public testing::Test {
 protected:
  void SetUp() override {
    PNL_NAME() = "sab";
    dir_.Write("etc/xml/sab.xml", kDescription);
  }
  void Cache(const std::string& file, const std::string& root, const std::string& messages) {
    dir_.Write("var/.xmlcache/sab/" + file,
               "<messages name=\"" + root + "\">" + messages + "</messages>");
  }
  // One message document for `root` holding `messages`; returns the report.
  std::string Check(const std::string& root, const std::string& messages) {
    Cache(root + ".msg.en.xml", root, messages);
    return Run();
  }
  std::string Run() {
    testing::internal::CaptureStdout();
    check_unused("en");
    return testing::internal::GetCapturedStdout();
  }
  static std::string Report(const std::string& file, const std::string& lines) {
    return std::string(kHeader) + "\n" + file + "\n" + lines;
  }
  static std::string Line(const std::string& name, const std::string& problem,
                          const std::string& text) {
    return "\t" + name + " - " + problem + ". \t\t msgtext: " + text + "\n";
  }

  ScratchDir dir_;
};

TEST_F(UnusedTest, CleanDocumentsPrintOnlyTheHeader) {
  Cache("user.msg.en.xml", "user",
        "<msg name=\"title\">User</msg><msg name=\"size\">Size</msg>"
        "<msg name=\"size_in\">In</msg><msg name=\"note\">Note</msg>"
        "<msg name=\"color\">Color</msg><msg name=\"shade\">Shade</msg>");
  Cache("users.msg.en.xml", "users", "<msg name=\"size\">Size</msg>");
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(UnusedTest, NoDocumentsPrintOnlyTheHeader) {
  EXPECT_EQ(Run(), kHeader);
}

TEST_F(UnusedTest, FormHintDefaultIsUsed) {
  EXPECT_EQ(Check("user", "<msg name=\"hint_default\">D</msg>"), kHeader);
}

TEST_F(UnusedTest, FormHintNeedsAnElementOfTheFullName) {
  EXPECT_EQ(Check("user", "<msg name=\"hint_size\">Hint</msg>"),
            Report("user.msg.en.xml", Line("hint_size", "field is not found", "Hint")));
}

TEST_F(UnusedTest, FormPlaceholderLooksForTheFieldOrItsChild) {
  EXPECT_EQ(Check("user",
                  "<msg name=\"placeholder_size\">P</msg>"
                  "<msg name=\"placeholder_size_in\">P</msg>"
                  "<msg name=\"placeholder_color\">P</msg>"
                  "<msg name=\"placeholder_shade\">P</msg>"
                  "<msg name=\"placeholder_gone\">Gone</msg>"),
            Report("user.msg.en.xml", Line("placeholder_gone", "field is not found", "Gone")));
}

TEST_F(UnusedTest, FormNameWithoutPrefixNeedsAFieldOrPageChild) {
  // The page's own name is no child of a page.
  EXPECT_EQ(Check("user",
                  "<msg name=\"color\">C</msg><msg name=\"note\">N</msg>"
                  "<msg name=\"extra\">E</msg>"
                  "<msg name=\"gone\">G</msg><msg name=\"gone_\">G_</msg>"),
            Report("user.msg.en.xml", Line("extra", "field is not found", "E") +
                                          Line("gone", "field is not found", "G") +
                                          Line("gone_", "field is not found", "G_")));
}

TEST_F(UnusedTest, FormMessageBelongsToTheMessageOfItsPrefix) {
  EXPECT_EQ(Check("user", "<msg name=\"size_max\">Max</msg><msg name=\"size\">S</msg>"),
            kHeader);
}

TEST_F(UnusedTest, FormMessageWithoutItsPrefixMessageIsUnrecognized) {
  EXPECT_EQ(Check("user", "<msg name=\"size_max\">Max</msg>"),
            Report("user.msg.en.xml", Line("size_max", "is unrecognized", "Max")));
}

TEST_F(UnusedTest, ListHintOfAColumnPropertyLooksForThePropName) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"hint_p_def_width\">A</msg><msg name=\"hint_p_width\">B</msg>"
                  "<msg name=\"hint_p_def_size\">C</msg><msg name=\"hint_p_size\">D</msg>"),
            Report("users.msg.en.xml", Line("hint_p_def_size", "column prop is not found", "C") +
                                           Line("hint_p_size", "column prop is not found", "D")));
}

TEST_F(UnusedTest, ListHintLooksForAButtonThenAColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"hint_edit\">E</msg><msg name=\"hint_name\">N</msg>"
                  "<msg name=\"hint_gone\">G</msg>"),
            Report("users.msg.en.xml", Line("hint_gone", "toolbtn or column is not found", "G")));
}

TEST_F(UnusedTest, ListMsgLooksForTheButtonsFunction) {
  // msg_user_delete: key "delete"; msg_confirm_user_delete: key "user.delete".
  EXPECT_EQ(Check("users",
                  "<msg name=\"msg_user_delete\">D</msg>"
                  "<msg name=\"msg_confirm_user_delete\">C</msg>"
                  "<msg name=\"msg_user_edit\">E</msg>"),
            Report("users.msg.en.xml", Line("msg_user_edit", "is unrecognized", "E")));
}

TEST_F(UnusedTest, ListNameWithoutUnderscoreIsAColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"size\">S</msg><msg name=\"name_\">N</msg>"
                  "<msg name=\"width\">W</msg>"),
            Report("users.msg.en.xml", Line("width", "column is not found", "W")));
}

TEST_F(UnusedTest, ListShortNameNeedsAToolbarButton) {
  EXPECT_EQ(Check("users", "<msg name=\"short_edit\">Ed</msg><msg name=\"short_view\">View</msg>"),
            Report("users.msg.en.xml", Line("short_view", "toolbtn is not found", "View")));
}

TEST_F(UnusedTest, ListOtherPrefixLooksForItsMessageThenTheColumn) {
  EXPECT_EQ(Check("users",
                  "<msg name=\"size_wide\">SW</msg><msg name=\"size\">S</msg>"
                  "<msg name=\"full_name\">FN</msg><msg name=\"name_long\">NL</msg>"),
            Report("users.msg.en.xml", Line("name_long", "is unrecognized", "NL")));
}

TEST_F(UnusedTest, SkippedMessagesAreNeverReported) {
  EXPECT_EQ(Check("user",
                  "<msg name=\"title\">T</msg><msg name=\"msg_error_x\">E</msg>"
                  "<msg name=\"progress_y\">P</msg><msg name=\"gone\" added=\"1\">G</msg>"
                  "<msg name=\"Title\">T2</msg>"),
            Report("user.msg.en.xml", Line("Title", "field is not found", "T2")));
}

TEST_F(UnusedTest, DocumentWithoutMetadataIsSkippedSilently) {
  EXPECT_EQ(Check("nometa", "<msg name=\"gone\">G</msg><include name=\"missing\">M</include>"),
            kHeader);
}

TEST_F(UnusedTest, OtherMetadataTypeChecksNothingButPrintsMergeLines) {
  EXPECT_EQ(Check("menu", "<msg name=\"gone\">G</msg><include name=\"missing\">M</include>"),
            Report("menu.msg.en.xml", Line("include", "include is not found", "M")));
}

TEST_F(UnusedTest, MergedMessagesAreCheckedToo) {
  Cache("shared.msg.en.xml", "shared", "<msg name=\"size\">S</msg><msg name=\"lost\">L</msg>");
  Cache("user.msg.en.xml", "user",
        "<msg name=\"size_max\">Max</msg><include name=\"shared\">sh</include>");
  // shared.msg.en.xml has no metadata: silent. Its messages land in user's.
  EXPECT_EQ(Run(), Report("user.msg.en.xml", Line("lost", "field is not found", "L")));
}

TEST_F(UnusedTest, EachDocumentGetsItsOwnHeadingInListOrder) {
  Cache("users.msg.en.xml", "users", "<msg name=\"width\">W</msg>");
  Cache("user.msg.en.xml", "user", "<msg name=\"gone\">G</msg>");
  Cache("user.msg.ru.xml", "user", "<msg name=\"ru_gone\">R</msg>");
  EXPECT_EQ(Run(), std::string(kHeader) + "\nuser.msg.en.xml\n" +
                       Line("gone", "field is not found", "G") + "\nusers.msg.en.xml\n" +
                       Line("width", "column is not found", "W"));
}

}  // namespace
