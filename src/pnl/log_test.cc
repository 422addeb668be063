#include "pnl/log.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "pnl/file.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::LogRecords;
using testing_support::ScratchDir;

// Every test leaves no log open behind it: the next test's scratch
// directory would otherwise receive nothing and the previous one would be
// written after its removal.
class LogTest : public testing::Test {
 protected:
  ~LogTest() override { pnl_log::Close(); }
};

TEST_F(LogTest, InitCreatesTheLogUnderTheCurrentDirectory) {
  ScratchDir dir;
  pnl_log::Init("msglint", 5);
  EXPECT_EQ(dir.path() + "/var/log/msglint.log", pnl_log::LogPath());
  EXPECT_TRUE(pnl_file::Exists(dir.path() + "/var/log/msglint.log"));
  EXPECT_EQ(5, pnl_log::CurrentLevel());
}

TEST_F(LogTest, CheckComparesWithTheLevelInForce) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  EXPECT_TRUE(log.Check(3));
  EXPECT_TRUE(log.Check(4));
  EXPECT_TRUE(log.Check(5));
  EXPECT_FALSE(log.Check(6));
  EXPECT_FALSE(log.Check(9));
  pnl_log::Init("msglint", 9);
  EXPECT_TRUE(log.Check(9));
  EXPECT_FALSE(log.Check(10));
}

TEST_F(LogTest, RecordLayout) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  log.Write(3, "There is no label for %s in %d", "name", 7);
  std::string text = dir.Read("var/log/msglint.log");
  std::regex layout("\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\[" +
                    std::to_string(getpid()) +
                    "\\] msglint 3 There is no label for name in 7\n");
  EXPECT_TRUE(std::regex_match(text, layout)) << text;
}

TEST_F(LogTest, AForkedChildsRecordsCarryItsOwnProcessId) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  log.Write(3, "parent");
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    log.Write(3, "child");
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  log.Write(3, "parent again");
  const std::string text = dir.Read("var/log/msglint.log");
  const std::string parent = "[" + std::to_string(getpid()) + "] msglint 3 parent";
  EXPECT_NE(std::string::npos, text.find(parent + "\n")) << text;
  EXPECT_NE(std::string::npos,
            text.find("[" + std::to_string(child) + "] msglint 3 child\n")) << text;
  EXPECT_NE(std::string::npos, text.find(parent + " again\n")) << text;
}

TEST_F(LogTest, RecordsAboveTheLevelAreNotWritten) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  log.Write(9, "%s:%d trace", "x.cc", 1);
  log.Write(4, "skipped");
  EXPECT_EQ("4 skipped\n", LogRecords(dir.path(), "msglint"));
}

TEST_F(LogTest, TextEndingInNewlineGetsNoSecondOne) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  log.Write(3, "one\n");
  log.Write(3, "two");
  EXPECT_EQ("3 one\n3 two\n", LogRecords(dir.path(), "msglint"));
}

TEST_F(LogTest, InitAppendsToAnExistingLog) {
  ScratchDir dir;
  dir.Write("var/log/msglint.log", "old line\n");
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  log.Write(3, "new");
  std::string text = dir.Read("var/log/msglint.log");
  EXPECT_EQ(0u, text.find("old line\n"));
  EXPECT_NE(std::string::npos, text.find(" msglint 3 new\n"));
}

TEST_F(LogTest, SecondInitClosesTheFirstLog) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("first", 5);
  log.Write(3, "to first");
  pnl_log::Init("second", 5);
  log.Write(3, "to second");
  EXPECT_EQ("3 to first\n", LogRecords(dir.path(), "first"));
  EXPECT_EQ("3 to second\n", LogRecords(dir.path(), "second"));
}

TEST_F(LogTest, HugeTextIsWrittenWhole) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  std::string huge(100000, 'x');
  log.Write(3, "%s", huge.c_str());
  EXPECT_EQ("3 " + huge + "\n", LogRecords(dir.path(), "msglint"));
}

TEST_F(LogTest, FailingFormatDoesNotCrash) {
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  // A wide character that the C locale cannot convert makes vsnprintf
  // fail: the record keeps the format as it stands.
  log.Write(3, "bad %ls", L"\x20AC");
  EXPECT_EQ("3 bad %ls\n", LogRecords(dir.path(), "msglint"));
}

TEST_F(LogTest, RecordsBeforeInitGoNowhere) {
  pnl_log::Close();
  ScratchDir dir;
  pnl_log::Module log("msglint", "kern");
  EXPECT_EQ(5, pnl_log::CurrentLevel());
  EXPECT_EQ("", pnl_log::LogPath());
  log.Write(3, "lost");
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/var/log/msglint.log"));
  pnl_log::Init("msglint", 5);
  EXPECT_EQ("", LogRecords(dir.path(), "msglint"));
}

TEST_F(LogTest, LinkAtTheLogIsRefusedAndItsTargetNeverCreated) {
  ScratchDir dir;
  dir.Write("elsewhere/theirs.log", "theirs\n");
  dir.Link(dir.path() + "/elsewhere/theirs.log", "var/log/msglint.log");
  dir.Link(dir.path() + "/elsewhere/new.log", "var/log/kern.log");
  pnl_log::Module log("msglint", "kern");
  pnl_log::Init("msglint", 5);
  EXPECT_EQ("", pnl_log::LogPath());
  log.Write(3, "not written");
  EXPECT_EQ("theirs\n", dir.Read("elsewhere/theirs.log"));
  pnl_log::Init("kern", 5);
  EXPECT_EQ("", pnl_log::LogPath());
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/elsewhere/new.log"));
}

TEST_F(LogTest, LinkAtTheLogDirectoryIsRefused) {
  ScratchDir dir;
  dir.MakeDir("elsewhere");
  dir.MakeDir("var");
  dir.Link(dir.path() + "/elsewhere", "var/log");
  pnl_log::Init("msglint", 5);
  EXPECT_EQ("", pnl_log::LogPath());
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/elsewhere/msglint.log"));
}

}  // namespace
