#include "testutils/msglint.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/file.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::ScratchDir;

TEST(UsageTest, PrintsFourLinesWithTheProgramName) {
  std::ostringstream out;
  usage(out, "sbin/msglint");
  EXPECT_EQ(out.str(),
            "Usage: sbin/msglint pnl_name report_type languagelist\n"
            " pnl_name - name of checked manager, e.g.: kern, sabpnl\n"
            " report_type : -s print short report, -f print full report (default)\n"
            " languagelist - comma separated list of lanugages, e.g.: en,ru,fr\n");
}

// ---- The language drop rule ------------------------------------------------

class DropLanguagesTest : public testing::Test {
 protected:
  void SetUp() override {
    msg_dir_ = pnl_file::GetCurrentDir() + "/etc/xml/";
  }
  void AddMessages(const std::string& lang) {
    dir_.Write("etc/xml/sab_msg_" + lang + ".xml", "<pnldata/>");
  }
  std::vector<std::string> Drop(std::vector<std::string> langs) {
    drop_languages("sab", langs, msg_dir_);
    return langs;
  }

  ScratchDir dir_;
  std::string msg_dir_;
};

TEST_F(DropLanguagesTest, KeepsLanguagesWithAMessageFile) {
  AddMessages("en");
  AddMessages("ru");
  EXPECT_EQ(Drop({"en", "ru"}), (std::vector<std::string>{"en", "ru"}));
}

TEST_F(DropLanguagesTest, WalkEndsAfterTheLastLanguageWasRemoved) {
  AddMessages("en");
  EXPECT_EQ(Drop({"en", "xx"}), (std::vector<std::string>{"en"}));
}

TEST_F(DropLanguagesTest, LoneLanguageWithoutFileLeavesAnEmptyList) {
  EXPECT_EQ(Drop({"xx"}), std::vector<std::string>{});
}

TEST_F(DropLanguagesTest, EmptyListStaysEmpty) {
  EXPECT_EQ(Drop({}), std::vector<std::string>{});
}

TEST_F(DropLanguagesTest, LanguageAfterADroppedOneIsKeptUnexamined) {
  AddMessages("en");
  EXPECT_EQ(Drop({"xx", "yy", "en"}), (std::vector<std::string>{"yy", "en"}));
}

TEST_F(DropLanguagesTest, ModeLikeArgumentIsDroppedAndSkipsTheNext) {
  // "-x" is not a mode: it is a language, dropped; "en" moves up and is not
  // looked at, so it stays even without a message file.
  EXPECT_EQ(Drop({"-x", "en"}), (std::vector<std::string>{"en"}));
}

TEST_F(DropLanguagesTest, CommaSeparatedListIsOneLanguage) {
  AddMessages("en");
  AddMessages("ru");
  EXPECT_EQ(Drop({"en,ru"}), std::vector<std::string>{});
}

TEST_F(DropLanguagesTest, TwoRemovalsInARowLeaveTheSecondMissingOne) {
  AddMessages("en");
  EXPECT_EQ(Drop({"en", "xx", "yy", "zz"}), (std::vector<std::string>{"en", "yy"}));
}

// ---- The fatal exits of kelmain ---------------------------------------------
//
// Each run happens in a child process that sends its standard output to a
// file of the scratch directory, read back once the child has exited.

// The child's exit status when kelmain returns: for a fatal case, which
// never returns, one that no fatal exit has (2 or 4); for a run that ends
// with a status of its own, that status.
int NeverReturns(int result) { return result == 0 ? 2 : 4; }
int ItsStatus(int result) { return result; }

void RunKelmain(std::vector<std::string> args, int (*exit_status)(int result) = NeverReturns) {
  if (std::freopen("stdout.txt", "w", stdout) == nullptr) std::_Exit(3);
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  int result = kelmain(static_cast<int>(args.size()), argv.data());
  std::fflush(stdout);
  std::_Exit(exit_status(result));
}

class KelmainExitTest : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "fast"); }
  // A manager "sab" with a form that has one text input without validator.
  void AddManager() {
    dir_.Write("bin/sab", "");
    dir_.Write("etc/xml/sab.xml",
               "<pnldata><metadata name=\"user\" type=\"form\"><form>"
               "<field name=\"size\"><input type=\"text\" name=\"size\"/></field>"
               "</form></metadata></pnldata>");
    dir_.Write("etc/xml/sab_msg_ru.xml",
               "<pnldata><lang name=\"ru\"><messages name=\"user\">"
               "<msg name=\"title\">Users</msg><msg name=\"size\">Size</msg>"
               "</messages></lang></pnldata>");
  }
  std::string Stdout() const { return dir_.Read("stdout.txt"); }

  ScratchDir dir_;
};

const char kUsage[] =
    "Usage: msglint pnl_name report_type languagelist\n"
    " pnl_name - name of checked manager, e.g.: kern, sabpnl\n"
    " report_type : -s print short report, -f print full report (default)\n"
    " languagelist - comma separated list of lanugages, e.g.: en,ru,fr\n";

const char kValidatorReport[] =
    "\n"
    "Checking validator for inputs\n"
    "user -> size\t\t(Users -> Size)\n";

const char kNoLanguage[] = "You should specify at least one language.\n";

TEST_F(KelmainExitTest, ProgramNameAloneGetsTheUsageText) {
  EXPECT_EXIT(RunKelmain({"msglint"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kUsage);
}

TEST_F(KelmainExitTest, ManagerAloneGetsTheUsageText) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "sab"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kUsage);
}

TEST_F(KelmainExitTest, UnknownManagerIsRejectedBeforeTheLanguages) {
  AddManager();
  dir_.Write("etc/xml/nosuch_msg_en.xml", "<pnldata/>");
  EXPECT_EXIT(RunKelmain({"msglint", "nosuch", "-s", "en"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), "No manager with name \"nosuch\" found\n");
}

TEST_F(KelmainExitTest, ManagerNameThatLeavesItsDirectoryIsNoManager) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "../bin/sab", "-s", "en"}), testing::ExitedWithCode(1),
              "");
  EXPECT_EQ(Stdout(), "No manager with name \"../bin/sab\" found\n");
}

TEST_F(KelmainExitTest, ShortModeWithoutLanguageSkipsTheValidatorCheck) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "-s"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kNoLanguage);
}

TEST_F(KelmainExitTest, FullModeWithoutLanguageRunsTheValidatorCheckFirst) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "-f"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), std::string(kValidatorReport) + kNoLanguage);
}

TEST_F(KelmainExitTest, LanguageInPlaceOfTheModeMeansFullMode) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "xx"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), std::string(kValidatorReport) + kNoLanguage);
}

TEST_F(KelmainExitTest, CommaSeparatedLanguagesAreOneUnknownLanguage) {
  AddManager();
  dir_.Write("etc/xml/sab_msg_en.xml", "<pnldata/>");
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "-s", "en,ru"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kNoLanguage);
}

TEST_F(KelmainExitTest, LastLanguageDroppedEndsTheWalk) {
  AddManager();
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "-s", "xx"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kNoLanguage);
}

TEST_F(KelmainExitTest, ManagerPresentAsALibraryIsAccepted) {
  dir_.Write("lib/sablib.so", "");
  EXPECT_EXIT(RunKelmain({"msglint", "sablib", "-s", "xx"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(Stdout(), kNoLanguage);
}

TEST_F(KelmainExitTest, ManagerMissingLeavesALogRecord) {
  EXPECT_EXIT(RunKelmain({"msglint", "nosuch", "-s", "en"}), testing::ExitedWithCode(1), "");
  EXPECT_EQ(testing_support::LogRecords(dir_.path(), "msglint"),
            "3 No manager with name \"nosuch\" found\n");
}


TEST_F(KelmainExitTest, UnsafeInstallationRemovesNothingAndEndsWithItsStatus) {
  AddManager();
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  outside.Write("sab/theirs.xml", "x");
  outside.Write("sab.hash", "x");
  dir_.MakeDir("var");
  dir_.Link(outside.path(), "var/.xmlcache");
  EXPECT_EXIT(RunKelmain({"msglint", "sab", "-s", "ru"}, ItsStatus),
              testing::ExitedWithCode(kUnsafeInstallation),
              "msglint: unsafe installation: var/.xmlcache is a symbolic link\n"
              "msglint: nothing removed or written\n");
  EXPECT_EQ(Stdout(), "");
  EXPECT_EQ("x", outside.Read("sab/theirs.xml"));
  EXPECT_EQ("x", outside.Read("sab.hash"));
  EXPECT_FALSE(pnl_file::Exists(dir_.path() + "/var/test_msgs"));
  EXPECT_FALSE(pnl_file::Exists(dir_.path() + "/ecl.xml"));
}

}  // namespace
