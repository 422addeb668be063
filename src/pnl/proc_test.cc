#include "pnl/proc.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

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

TEST_F(ProcTest, StartedCommandsRunTogetherAndEachKeepsItsOutput) {
  // The first waits until the second has run: both must be running at once.
  pnl_proc::Execute first({"sh", "-c", "while [ ! -e second ]; do sleep 0.01; done; echo one"});
  pnl_proc::Execute second({"sh", "-c", "touch second; echo two; exit 2"});
  first.CaptureOutput();
  second.CaptureOutput();
  first.Start();
  second.Start();
  EXPECT_EQ(0, first.Result());
  EXPECT_EQ("one\n", first.Output());
  EXPECT_EQ(2, second.Result());
  EXPECT_EQ("two\n", second.Output());
  EXPECT_EQ("exit status 2", second.status().message());
}

TEST_F(ProcTest, WaitWithoutStartDoesNothing) {
  pnl_proc::Execute touch("touch made", 0);
  touch.Wait();
  EXPECT_FALSE(pnl_file::Exists("made"));
  EXPECT_EQ(0, touch.Result());
  EXPECT_TRUE(pnl_file::Exists("made"));
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

TEST_F(ProcTest, CapturedOutputIsKeptWholeAndNotLogged) {
  std::string big(100000, 'x');
  pnl_proc::Execute printf_(std::vector<std::string>{
      "sh", "-c", "printf 'a\\nb' ; printf '%s' \"$0\"; echo err >&2", big});
  printf_.CaptureOutput();
  EXPECT_EQ(0, printf_.Result());
  EXPECT_EQ("a\nb" + big + "err\n", printf_.Output());
  EXPECT_EQ(std::string::npos, Records().find("err"));
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
  // The reason for a name that is nowhere on the search path depends on the
  // path: a directory that the user may not search (root's own, for another
  // user) gives "Permission denied". Search only the system directories.
  const char* saved = getenv("PATH");
  const std::string path = saved != nullptr ? saved : "";
  setenv("PATH", "/usr/bin:/bin", 1);
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  pnl_proc::Execute missing("/nonexistent/program arg", 0);
  EXPECT_EQ(-1, missing.Result());
  pnl_proc::Execute unknown("no-such-program-anywhere arg", 0);
  EXPECT_EQ(-1, unknown.Result());
  if (saved != nullptr) setenv("PATH", path.c_str(), 1);
  else unsetenv("PATH");
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
  {
    pnl_proc::Execute started("sleep 0.05", 0);  // destroyed while running
    started.Start();
  }
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

TEST_F(ProcTest, ArgumentVectorReachesTheProgramAsItStands) {
  pnl_proc::Execute command({"printf", "%s|", "a b", "", "\tc ; $(touch x)", "'q'"});
  EXPECT_EQ(0, command.Result());
  EXPECT_TRUE(command.Started());
  EXPECT_EQ("", command.status().message());
  EXPECT_FALSE(pnl_file::Exists("x"));
  EXPECT_EQ(
      "5 printf '%s|' 'a b' '' '\tc ; $(touch x)' ''\\''q'\\''': a b||\tc ; "
      "$(touch x)|'q'|\n",
      Records());
}

TEST_F(ProcTest, ProgramPathWithBlanksIsOneArgument) {
  dir_.Write("my dir/say", "#!/bin/sh\necho \"$#:$1\"\n");
  ASSERT_EQ(0, chmod((dir_.path() + "/my dir/say").c_str(), 0755));
  pnl_proc::Execute command({dir_.path() + "/my dir/say", "x y"});
  EXPECT_EQ(0, command.Result());
  EXPECT_NE(std::string::npos, Records().find(": 1:x y\n")) << Records();
}

TEST_F(ProcTest, FailureSaysWhy) {
  pnl_proc::Execute failed({"sh", "-c", "exit 3"});
  EXPECT_EQ(3, failed.Result());
  EXPECT_TRUE(failed.Started());
  EXPECT_EQ("exit status 3", failed.status().message());

  pnl_proc::Execute missing({"/nonexistent/program", "a b"});
  EXPECT_EQ(-1, missing.Result());
  EXPECT_FALSE(missing.Started());
  EXPECT_EQ("No such file or directory", missing.status().message());
  EXPECT_EQ("/nonexistent/program 'a b'", missing.Line());

  pnl_proc::Execute killed({"sh", "-c", "kill -9 $$"});
  EXPECT_EQ(-1, killed.Result());
  EXPECT_EQ("killed by signal 9", killed.status().message());

  pnl_proc::Execute empty(std::vector<std::string>{});
  EXPECT_EQ(-1, empty.Result());
  EXPECT_FALSE(empty.Started());
}

TEST_F(ProcTest, SignalsIgnoredByTheCallerAreAtTheirDefaultInTheProgram) {
  signal(SIGTERM, SIG_IGN);
  pnl_proc::Execute command({"sh", "-c", "kill -TERM $$; exit 0"});
  EXPECT_EQ(-1, command.Result());
  signal(SIGTERM, SIG_DFL);
  EXPECT_EQ("killed by signal 15", command.status().message());
}

TEST(SpawnTest, GivesThePidAndTheStandardDescriptorsAsAsked) {
  int out[2];
  ASSERT_EQ(0, pipe(out));
  pnl_proc::SpawnOptions options;
  options.stdout_fd = out[1];
  pid_t pid = -1;
  const pnl::Status spawned =
      pnl_proc::Spawn({"sh", "-c", "echo $$; ls /proc/self/fd | wc -l"}, options, &pid);
  close(out[1]);
  ASSERT_GT(pid, 0) << spawned.message();
  char buffer[256];
  std::string text;
  for (ssize_t n; (n = read(out[0], buffer, sizeof(buffer))) > 0;) text.append(buffer, n);
  close(out[0]);
  int status = 0;
  ASSERT_EQ(pid, waitpid(pid, &status, 0));
  EXPECT_EQ(0, status);
  // sh's own pid, then its descriptors: 0, 1, 2 and the one ls reads.
  EXPECT_EQ(std::to_string(pid) + "\n4\n", text);
}

TEST(SpawnTest, NewSessionDetachesTheProgram) {
  int out[2];
  ASSERT_EQ(0, pipe(out));
  pnl_proc::SpawnOptions options;
  options.stdout_fd = out[1];
  options.new_session = true;
  pid_t pid = -1;
  const pnl::Status spawned = pnl_proc::Spawn({"sh", "-c", "ps -o sid= -p $$"}, options, &pid);
  close(out[1]);
  ASSERT_GT(pid, 0) << spawned.message();
  char buffer[64];
  ssize_t n = read(out[0], buffer, sizeof(buffer));
  close(out[0]);
  waitpid(pid, nullptr, 0);
  ASSERT_GT(n, 0);
  EXPECT_EQ(static_cast<long>(pid), std::stol(std::string(buffer, n)));
}

TEST(SpawnTest, ProgramThatCannotBeStartedIsAnErrorNotAProcess) {
  pid_t pid = 0;
  EXPECT_EQ("No such file or directory",
            pnl_proc::Spawn({"no-such-program-anywhere"}, pnl_proc::SpawnOptions(), &pid).message());
  EXPECT_EQ(-1, pid);
  pid = 0;
  EXPECT_EQ("empty command", pnl_proc::Spawn({}, pnl_proc::SpawnOptions(), &pid).message());
  EXPECT_EQ(-1, pid);
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
}

TEST(PauseTest, SleepsTheWholeTime) {
  struct timespec before, after;
  clock_gettime(CLOCK_MONOTONIC, &before);
  pnl_proc::Pause(1);
  clock_gettime(CLOCK_MONOTONIC, &after);
  const long long ms = (after.tv_sec - before.tv_sec) * 1000LL +
                       (after.tv_nsec - before.tv_nsec) / 1000000;
  EXPECT_GE(ms, 1000);
}

TEST(CommandLineTest, QuotesWhatAPersonCouldMisread) {
  EXPECT_EQ("sbin/pnlctl -m M user lang=ru",
            pnl_proc::CommandLine({"sbin/pnlctl", "-m", "M", "user", "lang=ru"}));
  EXPECT_EQ("'/opt/my panel/sbin/pnlctl' '' 'a;b' 'it'\\''s'",
            pnl_proc::CommandLine({"/opt/my panel/sbin/pnlctl", "", "a;b", "it's"}));
}

TEST(DetachTest, StarterWaitsForTheDetachedProcessAndGetsItsWord) {
  for (bool ready : {true, false}) {
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      bool detached = false;
      const pnl::Status started = pnl_proc::Detach(&detached);
      if (detached) {
        // The detached process: a session of its own.
        pnl_proc::StartDone(getsid(0) == getpid() && ready);
        _exit(0);
      }
      _exit(started.ok() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(child, waitpid(child, &status, 0));
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(ready ? 0 : 1, WEXITSTATUS(status));
  }
}

TEST(DetachTest, DetachedProcessThatDiesSilentlyIsAFailedStart) {
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    bool detached = false;
    const pnl::Status started = pnl_proc::Detach(&detached);
    if (detached) _exit(0);
    _exit(started.message() == "the detached process did not start" ? 7 : 8);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(7, WEXITSTATUS(status));
}

TEST(StopSignalsTest, TermMakesTheDescriptorReadableInsteadOfKilling) {
  pnl_proc::StopSignals signals;
  ASSERT_TRUE(signals.status().ok());
  pollfd p = {signals.fd(), POLLIN, 0};
  EXPECT_EQ(0, poll(&p, 1, 0));
  ASSERT_EQ(0, kill(getpid(), SIGTERM));
  EXPECT_EQ(1, poll(&p, 1, 1000));
}

}  // namespace
