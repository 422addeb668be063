#include "pnl/proc.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "pnl/file.h"
#include "pnl/log.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::LogRecords;
using testing_support::ScratchDir;

class ProcTest : public testing::Test {
 protected:
  ProcTest() { pnl_log::Init("test", 9); }
  ~ProcTest() override { pnl_log::Close(); }

  std::string Records() const { return LogRecords(dir_.path(), "test"); }

  ScratchDir dir_;
};

TEST_F(ProcTest, ResultIsTheExitStatus) {
  pnl_proc::Execute ok("true", 0);
  EXPECT_EQ(0, ok.Result());
  pnl_proc::Execute failed("false", 0);
  EXPECT_EQ(1, failed.Result());
  pnl_proc::Execute three("sh -c exit${IFS}3", 0);
  EXPECT_EQ(3, three.Result());
}

TEST_F(ProcTest, RunWaitsForTheCommandToFinish) {
  pnl_proc::Execute touch("touch made", 0);
  touch.Run();
  EXPECT_TRUE(pnl_file::Exists("made"));
  EXPECT_EQ(0, touch.Result());
}

TEST_F(ProcTest, RunRunsOnce) {
  dir_.Write("count", "");
  pnl_proc::Execute append("sh -c echo${IFS}x>>count", 0);
  append.Run();
  append.Run();
  EXPECT_EQ(0, append.Result());
  EXPECT_EQ("x\n", dir_.Read("count"));
}

TEST_F(ProcTest, ResultRunsTheCommandWhenNotRun) {
  pnl_proc::Execute touch("touch made", 0);
  EXPECT_FALSE(pnl_file::Exists("made"));
  EXPECT_EQ(0, touch.Result());
  EXPECT_TRUE(pnl_file::Exists("made"));
  EXPECT_EQ(0, touch.Result());
}

TEST_F(ProcTest, NoShellSemicolonIsAnArgument) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  pnl_proc::Execute command("echo a; touch x", 0);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_FALSE(pnl_file::Exists("x"));
  EXPECT_EQ("5 echo a; touch x: a; touch x\n", Records());
}

TEST_F(ProcTest, NoShellSubstitutionIsNotExpanded) {
  pnl_proc::Execute command("echo $(touch y) `touch z` $HOME *", 0);
  EXPECT_EQ(0, command.Result());
  EXPECT_FALSE(pnl_file::Exists("y"));
  EXPECT_FALSE(pnl_file::Exists("z"));
  EXPECT_EQ(
      "5 echo $(touch y) `touch z` $HOME *: $(touch y) `touch z` $HOME *\n",
      Records());
}

TEST_F(ProcTest, WordsAreSplitAtRunsOfBlanksAndTabs) {
  pnl_proc::Execute command("  printf \t%s| \t a  b ", 0);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ("5   printf \t%s| \t a  b : a|b|\n", Records());
}

TEST_F(ProcTest, OutputAndErrorGoToTheLogOnly) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  pnl_proc::Execute command("sh -c echo${IFS}out;echo${IFS}err>&2", 0);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(
      "5 sh -c echo${IFS}out;echo${IFS}err>&2: out\n"
      "5 sh -c echo${IFS}out;echo${IFS}err>&2: err\n",
      Records());
}

TEST_F(ProcTest, StandardInputIsDevNull) {
  pnl_proc::Execute command("cat", 0);
  EXPECT_EQ(0, command.Result());
  EXPECT_EQ("", Records());
}

TEST_F(ProcTest, OnlyTheStandardDescriptorsAreInherited) {
  pnl_proc::Execute command("ls /proc/self/fd", 0);
  EXPECT_EQ(0, command.Result());
  // 0, 1, 2 and the descriptor ls opens to read the directory.
  EXPECT_EQ(
      "5 ls /proc/self/fd: 0\n"
      "5 ls /proc/self/fd: 1\n"
      "5 ls /proc/self/fd: 2\n"
      "5 ls /proc/self/fd: 3\n",
      Records());
}

TEST_F(ProcTest, CommandThatCannotBeStartedGivesMinusOne) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  pnl_proc::Execute missing("/nonexistent/program arg", 0);
  EXPECT_EQ(-1, missing.Result());
  pnl_proc::Execute unknown("no-such-program-anywhere arg", 0);
  EXPECT_EQ(-1, unknown.Result());
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(
      "3 /nonexistent/program arg: cannot run: No such file or directory\n"
      "3 no-such-program-anywhere arg: cannot run: No such file or "
      "directory\n",
      Records());
}

TEST_F(ProcTest, EmptyCommandGivesMinusOne) {
  pnl_proc::Execute empty("", 0);
  EXPECT_EQ(-1, empty.Result());
  pnl_proc::Execute blanks(" \t ", 0);
  EXPECT_EQ(-1, blanks.Result());
}

TEST_F(ProcTest, DeathBySignalGivesMinusOne) {
  pnl_proc::Execute command("sh -c kill${IFS}-9${IFS}$$", 0);
  EXPECT_EQ(-1, command.Result());
}

TEST_F(ProcTest, BackgroundProcessHoldingTheOutputDoesNotBlock) {
  pnl_proc::Execute command("sh -c sleep${IFS}5&", 0);
  time_t start = time(nullptr);
  EXPECT_EQ(0, command.Result());
  EXPECT_LT(time(nullptr) - start, 3);
}

TEST_F(ProcTest, CommandOverTheTimeLimitIsKilled) {
  pnl_proc::Execute command("sleep 30", 0);
  command.SetTimeLimit(1);
  time_t start = time(nullptr);
  EXPECT_EQ(-1, command.Result());
  EXPECT_LT(time(nullptr) - start, 5);
  EXPECT_EQ("3 sleep 30: still running after 1 seconds, killed\n", Records());
}

TEST_F(ProcTest, NothingIsLeftBehind) {
  {
    pnl_proc::Execute command("true", 0);
    command.Run();
  }
  {
    pnl_proc::Execute never("true", 0);  // destroyed without running
  }
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

}  // namespace
