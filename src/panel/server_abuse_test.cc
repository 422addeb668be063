// The panel as a process under load and abuse: many clients at once,
// clients that send nothing, half a request or far too much, a stale pid
// file naming another live process, and a socket path taken by a file.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "panel/panel_test_support.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"

namespace {

using Clock = std::chrono::steady_clock;
using panel_testing::PanelPid;
using panel_testing::RawConnect;
using testing_support::LogRecords;
using testing_support::RunProgram;
using testing_support::RunResult;
using testing_support::ScratchDir;

// How many pnlctl clients run at once.
const int kClients = 200;
// The longest a well-formed request may wait for its answer by the
// client's contract: its bounded retries (10 s) and the wait for one reply
// (60 s). The wait is timed from the start of each pnlctl process, so it
// includes starting 200 processes at once, which takes most of it on a
// loaded machine or in a sanitizer build.
const auto kClientLimit = std::chrono::seconds(70);

// Starts `args` (relative to the current directory) with standard output
// and error sent to `out` and `err`, and returns its pid without waiting:
// for many clients at once (RunProgram runs one to its end).
pid_t Start(std::vector<std::string> args, const std::string& out, const std::string& err) {
  std::vector<char*> argv;
  for (std::string& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    int o = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int e = open(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(o, 1);
    dup2(e, 2);
    execv(argv[0], argv.data());
    _exit(126);
  }
  return pid;
}

// Kilobytes of a field ("VmRSS", "VmHWM") of /proc/PID/status; -1 when
// there is no such process.
long MemoryKb(pid_t pid, const std::string& field) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/status");
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind(field + ":", 0) == 0) return atol(line.c_str() + field.size() + 1);
  }
  return -1;
}

bool Alive(pid_t pid) {
  if (pid <= 0 || kill(pid, 0) != 0) return false;
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(stat, text);
  std::size_t close = text.rfind(')');
  return close == std::string::npos || close + 2 >= text.size() || text[close + 2] != 'Z';
}

class PanelAbuseTest : public testing::Test {
 protected:
  PanelAbuseTest() {
    dir_.InstallPanel();
    dir_.AddManagerLink("shop");
    dir_.Write("etc/xml/shop.xml",
               "<pnldata><metadata name=\"user\" type=\"form\"/></pnldata>\n");
    dir_.Write("etc/xml/shop_msg_ru.xml",
               "<pnldata><lang name=\"ru\"><messages name=\"user\">"
               "<msg name=\"hint_name\">Имя</msg><include name=\"common\"/></messages>"
               "<messages name=\"common\"><msg name=\"ok\">Да</msg></messages>"
               "</lang></pnldata>\n");
    dir_.MakeDir("out");
  }

  ScratchDir dir_;
};

TEST_F(PanelAbuseTest, ServesManyClientsBesideSilentHalfAndHugeOnes) {
  ASSERT_EQ(0, RunProgram({"bin/shop"}).status);
  const pid_t panel = PanelPid(dir_, "shop");
  ASSERT_TRUE(Alive(panel));
  const long rss_before = MemoryKb(panel, "VmRSS");
  ASSERT_GT(rss_before, 0);

  // Abusers: connections that stay silent, that send half a request and
  // stop, and that send 10 MB without a newline.
  std::vector<int> idle;
  for (int i = 0; i < 20; ++i) {
    int fd = RawConnect("shop");
    if (fd >= 0) idle.push_back(fd);
  }
  for (int i = 0; i < 20; ++i) {
    int fd = RawConnect("shop");
    if (fd < 0) continue;
    send(fd, "func=user&la", 12, MSG_NOSIGNAL);
    idle.push_back(fd);
  }
  std::atomic<int> huge_replies{0};
  std::vector<std::thread> huge;
  for (int i = 0; i < 8; ++i) {
    huge.emplace_back([&huge_replies] {
      int fd = RawConnect("shop");
      if (fd < 0) return;
      const std::string block(1 << 20, 'a');
      send(fd, "func=", 5, MSG_NOSIGNAL);
      for (int k = 0; k < 10; ++k)
        if (send(fd, block.data(), block.size(), MSG_NOSIGNAL) < 0) break;
      shutdown(fd, SHUT_WR);
      std::string reply;
      char buf[4096];
      ssize_t n;
      while ((n = read(fd, buf, sizeof buf)) > 0) reply.append(buf, static_cast<size_t>(n));
      if (reply.find("request too long") != std::string::npos) ++huge_replies;
      close(fd);
    });
  }

  // The well-formed requests, all at once.
  std::vector<pid_t> clients;
  std::vector<Clock::time_point> started;
  for (int i = 0; i < kClients; ++i) {
    started.push_back(Clock::now());
    clients.push_back(Start({"sbin/pnlctl", "-m", "shop", "user", "lang=ru"},
                            "out/" + std::to_string(i) + ".out",
                            "out/" + std::to_string(i) + ".err"));
  }
  std::map<pid_t, int> index;
  for (int i = 0; i < kClients; ++i) index[clients[i]] = i;
  int answered = 0;
  for (int left = kClients; left > 0; --left) {
    int status = 0;
    pid_t pid = waitpid(-1, &status, 0);
    auto it = index.find(pid);
    if (it == index.end()) {
      ++left;
      continue;
    }
    const int i = it->second;
    const auto waited = Clock::now() - started[i];
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << "client " << i << ": " << dir_.Read("out/" + std::to_string(i) + ".err");
    EXPECT_LT(waited, kClientLimit) << "client " << i << " waited "
                                    << std::chrono::duration_cast<std::chrono::milliseconds>(
                                           waited).count()
                                    << " ms";
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) ++answered;
  }
  EXPECT_EQ(kClients, answered);
  for (std::thread& t : huge) t.join();
  EXPECT_EQ(8, huge_replies.load());

  // The silent and half-sent connections are dropped after the panel's
  // read window, and nothing is ever answered to them.
  for (int fd : idle) {
    pollfd p = {fd, POLLIN, 0};
    EXPECT_EQ(1, poll(&p, 1, 8000));
    char c;
    EXPECT_EQ(0, read(fd, &c, 1));
    close(fd);
  }

  // The same panel goes on serving, and its memory stayed bounded: it
  // never held the huge requests.
  EXPECT_TRUE(Alive(panel));
  EXPECT_EQ(panel, PanelPid(dir_, "shop"));
  const RunResult last = RunProgram({"sbin/pnlctl", "-m", "shop", "user", "lang=ru"});
  EXPECT_EQ(0, last.status) << last.err;
  const long peak = MemoryKb(panel, "VmHWM");
  RecordProperty("panel_rss_kb", std::to_string(rss_before));
  RecordProperty("panel_peak_kb", std::to_string(peak));
  EXPECT_LT(peak - rss_before, 48 * 1024)
      << "the panel grew from " << rss_before << " kB to a peak of " << peak << " kB";
  EXPECT_EQ("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<messages name=\"user\"><msg name=\"hint_name\">Имя</msg>"
            "<msg name=\"ok\">Да</msg></messages>\n",
            dir_.Read("var/.xmlcache/shop/checked/user.msg.ru.xml"));
}

// A pid file left behind that names a live process of someone else: the
// panel starts, serves and stops without ever signalling that process.
TEST_F(PanelAbuseTest, StalePidFileNamingAnotherProcessNeverGetsItSignalled) {
  pid_t bystander = fork();
  if (bystander == 0) {
    // Counts the signals it gets into a file and goes on.
    static volatile sig_atomic_t got = 0;
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = [](int) { got = got + 1; };
    for (int sig : {SIGTERM, SIGINT, SIGHUP, SIGUSR1, SIGUSR2}) sigaction(sig, &action, nullptr);
    for (int i = 0; i < 600; ++i) {
      usleep(50000);
      if (got != 0) {
        int fd = open("out/bystander", O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (write(fd, "signalled\n", 10) < 0) _exit(3);
        close(fd);
        got = 0;
      }
    }
    _exit(0);
  }
  dir_.Write("var/run/shop.pid", std::to_string(bystander) + "\n");

  const RunResult first = RunProgram({"sbin/pnlctl", "-m", "shop", "user", "lang=ru"});
  ASSERT_EQ(0, first.status) << first.err;
  const pid_t panel = PanelPid(dir_, "shop");
  EXPECT_NE(bystander, panel);
  EXPECT_EQ(0, RunProgram({"bin/shop"}).status);
  // The panel stops on SIGTERM; the pid file it wrote names it, not the
  // bystander.
  ASSERT_TRUE(Alive(panel));
  kill(panel, SIGTERM);
  for (int i = 0; i < 150 && Alive(panel); ++i)
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  EXPECT_FALSE(Alive(panel));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  EXPECT_TRUE(Alive(bystander));
  EXPECT_EQ("", dir_.Read("out/bystander"));
  kill(bystander, SIGKILL);
  waitpid(bystander, nullptr, 0);
}

// A regular file where the panel's socket belongs is reported and left
// alone: the panel does not start, and pnlctl says so.
TEST_F(PanelAbuseTest, RegularFileAtTheSocketPathIsReportedNotRemoved) {
  dir_.Write("var/run/shop.socket", "not a socket\n");
  EXPECT_EQ(1, RunProgram({"bin/shop"}).status);
  EXPECT_EQ("not a socket\n", dir_.Read("var/run/shop.socket"));
  EXPECT_NE(std::string::npos,
            LogRecords(dir_.path(), "shop")
                .find("3 cannot listen on var/run/shop.socket: it is a regular file\n"))
      << LogRecords(dir_.path(), "shop");
  const RunResult client = RunProgram({"sbin/pnlctl", "-m", "shop", "user", "lang=ru"});
  EXPECT_EQ(1, client.status);
  EXPECT_NE("", client.err);
  EXPECT_EQ("not a socket\n", dir_.Read("var/run/shop.socket"));
  EXPECT_FALSE(std::ifstream("var/run/shop.pid").good());
}

}  // namespace
