// The panel and pnlctl as processes: starting, detaching, the socket, the
// pid file, stopping, silent and oversized requests.
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "panel/panel_test_support.h"
#include "pnl/file.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"

namespace {

using Clock = std::chrono::steady_clock;
using panel_testing::Ask;
using panel_testing::EmptyReply;
using panel_testing::kDecl;
using panel_testing::PanelPid;
using panel_testing::RawConnect;
using panel_testing::Reply;
using testing_support::LogRecords;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::ScratchDir;

// Waits until the file is gone; false when it is still there after 3 s.
bool WaitGone(const std::string& path) {
  for (int i = 0; i < 150; ++i) {
    if (!pnl_file::Exists(path)) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

// Reads until end of file, at most `seconds`.
std::string ReadAll(int fd, int seconds) {
  std::string data;
  auto deadline = Clock::now() + std::chrono::seconds(seconds);
  char buf[4096];
  while (Clock::now() < deadline) {
    pollfd p = {fd, POLLIN, 0};
    if (poll(&p, 1, 100) <= 0) continue;
    ssize_t n = read(fd, buf, sizeof(buf));
    if (n <= 0) break;
    data.append(buf, static_cast<size_t>(n));
  }
  return data;
}

int CountRequests(const std::string& log) {
  int count = 0;
  for (size_t pos = 0; (pos = log.find("5 request: ", pos)) != std::string::npos;
       ++pos)
    ++count;
  return count;
}

// Each test in a scratch installation of its own, the current directory
// while it runs.
class ServerTest : public testing::Test {
 protected:
  // The panel's programs and the manager shop (bin/shop, a link to kern).
  void InstallShop() const {
    dir_.InstallPanel();
    dir_.AddManagerLink("shop");
  }

  ScratchDir dir_;
};

// Panels that must live through a test serve "shop": "killall kern", which
// other programs run, does not reach them.
TEST_F(ServerTest, StartedPanelIsReadyWithPidFileAndPrivateSocket) {
  InstallShop();
  RunResult run = RunProgram({"bin/shop"});
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("", run.err);

  pid_t pid = PanelPid(dir_, "shop");
  ASSERT_GT(pid, 1);
  EXPECT_EQ(std::to_string(pid) + "\n", dir_.Read("var/run/shop.pid"));
  EXPECT_EQ(0, kill(pid, 0));
  struct stat st;
  ASSERT_EQ(0, stat("var/run/shop.socket", &st));
  EXPECT_TRUE(S_ISSOCK(st.st_mode));
  EXPECT_EQ(0600u, st.st_mode & 0777);
  // Ready as soon as the starter has exited.
  int fd = RawConnect("shop");
  EXPECT_GE(fd, 0);
  if (fd >= 0) close(fd);
}

TEST_F(ServerTest, SecondStartWhileOneRunsSucceedsAndKeepsTheFirst) {
  InstallShop();
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  pid_t first = PanelPid(dir_, "shop");
  RunResult again = RunProgram({"bin/kern", "-m", "shop"});
  EXPECT_EQ(0, again.status);
  EXPECT_EQ("", again.err);
  EXPECT_EQ(first, PanelPid(dir_, "shop"));
  EXPECT_EQ(EmptyReply(), Ask("shop", "func=actionlist"));
}

TEST_F(ServerTest, SigtermRemovesSocketAndPidFile) {
  InstallShop();
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  ASSERT_EQ(0, kill(PanelPid(dir_, "shop"), SIGTERM));
  EXPECT_TRUE(WaitGone("var/run/shop.pid"));
  EXPECT_FALSE(pnl_file::Exists("var/run/shop.socket"));
}

TEST_F(ServerTest, ClientGetsTheSecondAnswerAfterSigtermBetweenQueries) {
  dir_.InstallPanel();
  dir_.Write("etc/xml/kern.xml", "<pnldata><metadata name=\"a\"/></pnldata>");
  const std::string expected = Reply("<elem><action>a</action></elem>");
  EXPECT_EQ(expected, Ask("kern", "func=actionlist&out=xml"));
  pid_t first = PanelPid(dir_, "kern");
  ASSERT_EQ(0, kill(first, SIGTERM));
  EXPECT_EQ(expected, Ask("kern", "func=actionlist&out=xml"));
  EXPECT_NE(first, PanelPid(dir_, "kern"));
  EXPECT_EQ(2, CountRequests(LogRecords(dir_.path(), "kern")));
}

TEST_F(ServerTest, ClientGetsTheSecondAnswerAfterTheFirstPanelWasKilled) {
  dir_.InstallPanel();
  EXPECT_EQ(EmptyReply(), Ask("kern", "func=actionlist"));
  pid_t first = PanelPid(dir_, "kern");
  ASSERT_EQ(0, kill(first, SIGKILL));
  // The socket file stays behind, with nothing listening.
  for (int i = 0; i < 100 && RawConnect("kern") >= 0; ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_TRUE(pnl_file::Exists("var/run/kern.socket"));
  EXPECT_EQ(EmptyReply(), Ask("kern", "func=actionlist"));
  EXPECT_NE(first, PanelPid(dir_, "kern"));
}

TEST_F(ServerTest, SilentClientDoesNotBlockOthersAndIsDropped) {
  InstallShop();
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  auto start = Clock::now();
  int silent = RawConnect("shop");
  ASSERT_GE(silent, 0);
  EXPECT_EQ(EmptyReply(), Ask("shop", "func=actionlist"));
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
  // The panel closes the silent connection after its read deadline.
  EXPECT_EQ("", ReadAll(silent, 6));
  auto waited = Clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(2500));
  EXPECT_LT(waited, std::chrono::seconds(6));
  close(silent);
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("4 dropping a connection that sent no request in 3 s\n"));
}

TEST_F(ServerTest, OverlongRequestGetsAnErrorAndServingGoesOn) {
  InstallShop();
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  int fd = RawConnect("shop");
  ASSERT_GE(fd, 0);
  std::string request = "func=" + std::string(70000, 'a') + "\n";
  // The panel may close before it has taken everything; that is fine.
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  EXPECT_EQ("<?xml version=\"1.0\"?>\n<doc><error>request too long</error>"
            "</doc>\n",
            ReadAll(fd, 5));
  close(fd);
  EXPECT_EQ(EmptyReply(), Ask("shop", "func=actionlist"));
}

TEST_F(ServerTest, RequestEndsAtTheFirstNewline) {
  InstallShop();
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  int fd = RawConnect("shop");
  ASSERT_GE(fd, 0);
  std::string request = "func=nothing\nfunc=actionlist\n";
  send(fd, request.data(), request.size(), MSG_NOSIGNAL);
  EXPECT_EQ("<?xml version=\"1.0\"?>\n<doc><error>unknown function "
            "\"nothing\"</error></doc>\n",
            ReadAll(fd, 5));
  close(fd);
}

TEST_F(ServerTest, ManagerLinkServesTheManagerOfItsName) {
  InstallShop();
  dir_.Write("etc/xml/shop.xml", "<pnldata><metadata name=\"s\"/></pnldata>");
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  EXPECT_TRUE(pnl_file::Exists("var/run/shop.pid"));
  EXPECT_TRUE(pnl_file::Exists("var/run/shop.socket"));
  EXPECT_FALSE(pnl_file::Exists("var/run/kern.pid"));
  EXPECT_EQ(Reply("<elem><action>s</action></elem>"),
            Ask("shop", "func=actionlist"));
  EXPECT_EQ(1, CountRequests(LogRecords(dir_.path(), "shop")));
}

TEST_F(ServerTest, ManagerPresentOnlyAsLibraryIsServedByKern) {
  dir_.InstallPanel();
  dir_.Write("lib/shop.so", "");
  dir_.Write("etc/xml/shop_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"s\">"
             "<msg name=\"m\">M</msg></messages></lang></pnldata>");
  EXPECT_EQ(Reply("<ok/>"), Ask("shop", "func=session&lang=en&out=devel"));
  EXPECT_EQ(std::string(kDecl) +
                "<messages name=\"s\"><msg name=\"m\">M</msg></messages>\n",
            dir_.Read("var/.xmlcache/shop/s.msg.en.xml"));
  EXPECT_FALSE(pnl_file::Exists("bin/shop"));
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("\n5 request: func=session&lang=en&out=devel\n"));
}

TEST_F(ServerTest, KernRefusesBadArguments) {
  dir_.InstallPanel();
  RunResult run = RunProgram({"bin/kern", "-x"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("usage: kern [-m manager]\n", run.err);
  run = RunProgram({"bin/kern", "-m", "../x"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("kern: invalid manager name \"../x\"\n", run.err);
  EXPECT_FALSE(pnl_file::Exists("var/run"));
}

// pnlctl against the panel of shop.
class PnlctlTest : public ServerTest {
 protected:
  // Messages of shop with one function, f.
  void WriteShop() const {
    InstallShop();
    dir_.Write("etc/xml/shop_msg_en.xml",
               "<pnldata><lang name=\"en\"><messages name=\"f\">"
               "<msg name=\"hint_x\">X</msg></messages></lang></pnldata>");
  }
};

TEST_F(PnlctlTest, KnownFunctionExitsZeroAndWritesTheCheckedFiles) {
  WriteShop();
  RunResult run = RunProgram({"sbin/pnlctl", "-m", "shop", "f", "lang=ru"});
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("", run.err);
  EXPECT_EQ(std::string(kDecl) +
                "<messages name=\"f\"><msg name=\"hint_x\">X</msg></messages>\n",
            dir_.Read("var/.xmlcache/shop/checked/f.msg.en.xml"));
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop").find("\n5 request: func=f&lang=ru\n"));
}

TEST_F(PnlctlTest, ErrorReplyExitsOneWithTheError) {
  WriteShop();
  RunResult run = RunProgram({"sbin/pnlctl", "-m", "shop", "a b&c=d", "k y=v&w"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("pnlctl: shop: unknown function \"a b&c=d\"\n", run.err);
  // Keys and values travel percent-encoded.
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("5 request: func=a+b%26c%3Dd&k+y=v%26w\n"));
}

TEST_F(PnlctlTest, ErrorTextIsPrintedUnescaped) {
  WriteShop();
  RunResult run = RunProgram({"sbin/pnlctl", "-m", "shop", "<x>&'\"", "lang=ru"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("pnlctl: shop: unknown function \"<x>&'\"\"\n", run.err);
}

TEST_F(PnlctlTest, SessionRepliesWithoutOkExitOne) {
  WriteShop();
  RunResult run = RunProgram({"sbin/pnlctl", "-m", "shop", "actionlist"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("pnlctl: shop: no <ok/> in the reply\n", run.err);
  run = RunProgram({"sbin/pnlctl", "-m", "shop", "session", "lang=en"});
  EXPECT_EQ(0, run.status);
}

TEST_F(PnlctlTest, FullDiskUnderTheCacheIsAnErrorReplyAndLeavesNoFile) {
  WriteShop();
  // The panel starts (its pid file and log are written), but every file it
  // writes under the cache finds the disk full.
  const RunOptions full_cache = {
      .env = {"LD_PRELOAD=" MSGLINT_NOSPACE_LIBRARY,
              "MSGLINT_NOSPACE_UNDER=" +
                  std::filesystem::canonical(dir_.path()).string() + "/var/.xmlcache"}};
  RunResult run = RunProgram({"bin/shop"}, full_cache);
  ASSERT_EQ(0, run.status) << run.err;

  // A session goes on past a file it cannot write; the reply names the last.
  run = RunProgram({"sbin/pnlctl", "-m", "shop", "session", "lang=en"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("pnlctl: shop: cannot write var/.xmlcache/shop/common.en.xml: No space left on device\n",
            run.err);
  run = RunProgram({"sbin/pnlctl", "-m", "shop", "f", "lang=ru"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(
      "pnlctl: shop: cannot write var/.xmlcache/shop/checked/f.msg.en.xml: No space left on "
      "device\n",
      run.err);
  // No file is left half written, and no temporary one.
  std::string names;
  for (const char* sub : {"var/.xmlcache/shop", "var/.xmlcache/shop/checked"}) {
    pnl_file::Dir listing(sub);
    while (listing.Read()) names += std::string(sub) + "/" + listing.Name() + " ";
  }
  EXPECT_EQ("var/.xmlcache/shop/checked ", names);
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("3 cannot write var/.xmlcache/shop/f.msg.en.xml: No space left on device\n"));
}

TEST_F(PnlctlTest, UsageErrorsExitOne) {
  WriteShop();
  const std::string usage =
      "usage: pnlctl -m manager function [key=value ...]\n";
  for (std::vector<std::string> args :
       {std::vector<std::string>{"sbin/pnlctl"},
        {"sbin/pnlctl", "-m", "shop"},
        {"sbin/pnlctl", "-x", "shop", "f"},
        {"sbin/pnlctl", "-m", "shop", "f", "lang"}}) {
    RunResult run = RunProgram(args);
    EXPECT_EQ(1, run.status);
    EXPECT_EQ("", run.out);
    EXPECT_EQ(usage, run.err);
  }
  EXPECT_FALSE(pnl_file::Exists("var/run/shop.pid"));
}

TEST_F(PnlctlTest, NoPanelProgramMeansNoReply) {
  dir_.Link(testing_support::PnlctlProgram(), "sbin/pnlctl");
  RunResult run = RunProgram({"sbin/pnlctl", "-m", "shop", "f"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ("pnl_client: no answer from manager \"shop\" to query \"func=f\"\n"
            "pnlctl: shop: no reply\n",
            run.err);
}

// ---- No write through a link ------------------------------------------------

TEST_F(ServerTest, LinkAtThePidFileStopsTheStartAndLeavesTheTargetAlone) {
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  InstallShop();
  outside.Write("theirs", "theirs\n");
  dir_.Link(outside.path() + "/theirs", "var/run/shop.pid");
  RunResult run = RunProgram({"bin/shop"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("theirs\n", outside.Read("theirs"));
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("3 cannot write the pid file: var/run/shop.pid is a symbolic link"));
}

TEST_F(ServerTest, LinkAtItsLogStopsThePanelWithALine) {
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  InstallShop();
  dir_.Link(outside.path() + "/new.log", "var/log/shop.log");
  RunResult run = RunProgram({"bin/shop"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("kern: unsafe installation: var/log/shop.log is a symbolic link\n", run.err);
  EXPECT_FALSE(pnl_file::Exists(outside.path() + "/new.log"));
  EXPECT_FALSE(pnl_file::Exists("var/run/shop.pid"));
}

TEST_F(ServerTest, LinkAtTheRunDirectoryStopsTheStart) {
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  InstallShop();
  dir_.MakeDir("var");
  dir_.Link(outside.path(), "var/run");
  RunResult run = RunProgram({"bin/shop"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("kern: cannot use var/run is a symbolic link\n", run.err);
  EXPECT_FALSE(pnl_file::Exists(outside.path() + "/shop.lock"));
}

TEST_F(ServerTest, RegularFileAtTheSocketIsNotRemoved) {
  InstallShop();
  dir_.Write("var/run/shop.socket", "mine\n");
  RunResult run = RunProgram({"bin/shop"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ("mine\n", dir_.Read("var/run/shop.socket"));
}

TEST_F(ServerTest, LinkAtTheCacheGetsAnErrorReplyAndNothingOutside) {
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir_.path().c_str()));
  InstallShop();
  dir_.Write("etc/xml/shop_msg_en.xml",
             "<pnldata><lang name=\"en\"><messages name=\"a\"/></lang></pnldata>");
  dir_.MakeDir("var");
  dir_.Link(outside.path(), "var/.xmlcache");
  EXPECT_EQ(Reply("<error>cannot create var/.xmlcache/shop: var/.xmlcache is a "
                  "symbolic link</error>"),
            Ask("shop", "func=session&lang=en"));
  EXPECT_FALSE(pnl_file::Exists(outside.path() + "/shop"));
}

}  // namespace
