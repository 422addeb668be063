// End-to-end tests: the installed launcher (sbin/msglint) run on small
// installations, its standard output, exit status and files compared byte
// for byte with what each case expects.
//
// One directory per case under cases/NAME/:
//   args                 the arguments after the program name, one per line
//                        (an empty file: no argument at all);
//   install/             the files of the installation (etc/xml/*.xml, ...);
//   install_from         optional instead of install/: a directory relative
//                        to the source tree whose files make the installation;
//   managers             optional: one manager name per line, added as
//                        bin/NAME -> kern;
//   expected_stdout      the complete standard output;
//   expected_status      the exit status;
//   expected_test_msgs   optional: the complete audit file var/test_msgs;
//   expected_stderr      optional: the complete standard error;
//   expected_requests    optional: lines "MANAGER COUNT", the number of
//                        session requests that MANAGER's panel logged.
//
// The programs come from the installation that the test e2e_install lays out
// under the build tree (bin/kern, sbin/pnlctl, sbin/msglint and
// lib/modules/msglint.so, linked into each case's scratch directory). The
// runs preload the test library that makes long sleeps return at once, so
// the run's fixed pause costs nothing.
#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"

extern char** environ;

namespace fs = std::filesystem;
using testing_support::ScratchDir;

namespace {

const char kCasesDir[] = E2E_CASES_DIR;
const char kSourceDir[] = E2E_SOURCE_DIR;
const char kPrefix[] = E2E_PREFIX;

// A run that takes longer than this is stopped and fails.
const int kTimeLimitSeconds = 120;

std::string ReadFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

// The lines of `text`, without their newlines; a final newline does not
// start another line, so an empty text has no line at all.
std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::string::size_type start = 0;
  while (start < text.size()) {
    std::string::size_type end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    lines.push_back(text.substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

struct RunResult {
  std::string out;
  std::string err;
  int status = -1;
  bool timed_out = false;
};

// Runs `program` (a path relative to the current directory, also passed as
// argv[0]) with `args`, standard input from /dev/null, the current
// environment plus LD_PRELOAD of the no-sleep library. Collects standard
// output and standard error separately; stops the program when it outlives
// the time limit.
RunResult RunProgram(const std::string& program, const std::vector<std::string>& args) {
  std::vector<std::string> env_strings;
  for (char** e = environ; *e != nullptr; ++e) {
    if (std::string(*e).rfind("LD_PRELOAD=", 0) == 0) continue;
    env_strings.push_back(*e);
  }
  env_strings.push_back("LD_PRELOAD=" + testing_support::NoSleepLibrary());
  std::vector<char*> envp;
  for (std::string& s : env_strings) envp.push_back(s.data());
  envp.push_back(nullptr);

  std::vector<std::string> arg_strings = {program};
  arg_strings.insert(arg_strings.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& s : arg_strings) argv.push_back(s.data());
  argv.push_back(nullptr);

  RunResult result;
  int out_pipe[2], err_pipe[2];
  if (pipe(out_pipe) != 0 || pipe(err_pipe) != 0) {
    ADD_FAILURE() << "pipe failed";
    return result;
  }
  pid_t pid = fork();
  if (pid < 0) {
    ADD_FAILURE() << "fork failed";
    return result;
  }
  if (pid == 0) {
    setpgid(0, 0);
    int null_fd = open("/dev/null", O_RDONLY);
    if (null_fd >= 0) dup2(null_fd, 0);
    dup2(out_pipe[1], 1);
    dup2(err_pipe[1], 2);
    close(out_pipe[0]);
    close(out_pipe[1]);
    close(err_pipe[0]);
    close(err_pipe[1]);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  close(out_pipe[1]);
  close(err_pipe[1]);

  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::seconds(kTimeLimitSeconds);
  struct pollfd fds[2] = {{out_pipe[0], POLLIN, 0}, {err_pipe[0], POLLIN, 0}};
  std::string* sinks[2] = {&result.out, &result.err};
  int open_fds = 2;
  while (open_fds > 0) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) {
      result.timed_out = true;
      kill(-pid, SIGKILL);
      kill(pid, SIGKILL);
      break;
    }
    int ready = poll(fds, 2, static_cast<int>(left.count()));
    if (ready < 0) continue;
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      char buffer[4096];
      ssize_t n = read(fds[i].fd, buffer, sizeof buffer);
      if (n > 0) {
        sinks[i]->append(buffer, static_cast<size_t>(n));
      } else {
        close(fds[i].fd);
        fds[i].fd = -1;
        --open_fds;
      }
    }
  }
  for (struct pollfd& f : fds)
    if (f.fd >= 0) close(f.fd);

  int wstatus = 0;
  waitpid(pid, &wstatus, 0);
  if (WIFEXITED(wstatus)) result.status = WEXITSTATUS(wstatus);
  else if (WIFSIGNALED(wstatus)) result.status = 128 + WTERMSIG(wstatus);
  return result;
}

// The installed programs that every case links in.
void LinkInstalledPrograms(const ScratchDir& scratch) {
  const fs::path prefix(kPrefix);
  scratch.Link((prefix / "bin/kern").string(), "bin/kern");
  scratch.Link((prefix / "sbin/pnlctl").string(), "sbin/pnlctl");
  scratch.Link((prefix / "sbin/msglint").string(), "sbin/msglint");
  scratch.Link((prefix / "lib/modules/msglint.so").string(),
               "lib/modules/msglint.so");
}

// Number of session requests in the log of `manager`'s panel.
int SessionRequests(const ScratchDir& scratch, const std::string& manager) {
  int count = 0;
  for (const std::string& record :
       Lines(testing_support::LogRecords(scratch.path(), manager))) {
    if (record.find("request: func=session&") != std::string::npos) ++count;
  }
  return count;
}

// The case directories, in name order.
std::vector<std::string> CaseNames() {
  std::vector<std::string> names;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(kCasesDir, ec)) {
    if (entry.is_directory()) names.push_back(entry.path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

class E2eCase : public testing::TestWithParam<std::string> {};

TEST_P(E2eCase, GivesExpectedOutput) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"))
      << "no installation under " << kPrefix << " (the test e2e_install lays it out)";
  const fs::path dir = fs::path(kCasesDir) / GetParam();
  ScratchDir scratch;

  fs::path install = dir / "install";
  if (fs::exists(dir / "install_from")) {
    std::vector<std::string> from = Lines(ReadFile(dir / "install_from"));
    ASSERT_EQ(1u, from.size());
    install = fs::path(kSourceDir) / from[0];
  }
  if (fs::exists(install)) {
    fs::copy(install, scratch.path(), fs::copy_options::recursive);
  }
  LinkInstalledPrograms(scratch);
  for (const std::string& manager : Lines(ReadFile(dir / "managers")))
    scratch.AddManagerLink(manager);

  RunResult run = RunProgram("sbin/msglint", Lines(ReadFile(dir / "args")));
  scratch.StopPanels();

  EXPECT_FALSE(run.timed_out) << "the run did not end within "
                              << kTimeLimitSeconds << " s";
  EXPECT_EQ(ReadFile(dir / "expected_stdout"), run.out)
      << "standard error was:\n" << run.err;
  EXPECT_EQ(std::stoi(ReadFile(dir / "expected_status")), run.status);
  if (fs::exists(dir / "expected_stderr")) {
    EXPECT_EQ(ReadFile(dir / "expected_stderr"), run.err);
  }
  if (fs::exists(dir / "expected_test_msgs")) {
    EXPECT_TRUE(fs::is_regular_file(fs::path(scratch.path()) / "var/test_msgs"));
    EXPECT_EQ(ReadFile(dir / "expected_test_msgs"), scratch.Read("var/test_msgs"));
  }
  if (fs::exists(dir / "expected_requests")) {
    for (const std::string& line : Lines(ReadFile(dir / "expected_requests"))) {
      std::istringstream fields(line);
      std::string manager;
      int count = -1;
      fields >> manager >> count;
      EXPECT_EQ(count, SessionRequests(scratch, manager))
          << "session requests logged by the panel of " << manager;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, E2eCase, testing::ValuesIn(CaseNames()),
    [](const testing::TestParamInfo<std::string>& info) { return info.param; });

// The launcher proper: a launcher copied (not linked) into a directory
// without the module looks for the module beside its own copy.
TEST(LauncherTest, MissingModuleGivesStatusTwoAndOneLineOnStandardError) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"));
  ScratchDir scratch;
  scratch.MakeDir("sbin");
  fs::copy_file(fs::path(kPrefix) / "sbin/msglint",
                fs::path(scratch.path()) / "sbin/msglint");
  RunResult run = RunProgram("sbin/msglint", {"kern", "-s", "en"});
  EXPECT_EQ(2, run.status);
  EXPECT_EQ("", run.out);
  const std::string module = scratch.path() + "/sbin/../lib/modules/msglint.so";
  EXPECT_EQ(0u, run.err.rfind("msglint: cannot load module " + module + ": ", 0))
      << run.err;
  EXPECT_EQ(1, std::count(run.err.begin(), run.err.end(), '\n')) << run.err;
  EXPECT_EQ('\n', run.err.back());
}

TEST(LauncherTest, ModuleWithoutEntryGivesStatusTwo) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"));
  ScratchDir scratch;
  scratch.MakeDir("sbin");
  fs::copy_file(fs::path(kPrefix) / "sbin/msglint",
                fs::path(scratch.path()) / "sbin/msglint");
  // Any loadable library without kelmain will do.
  scratch.Link(testing_support::NoSleepLibrary(), "lib/modules/msglint.so");
  RunResult run = RunProgram("sbin/msglint", {"kern", "-s", "en"});
  EXPECT_EQ(2, run.status);
  EXPECT_EQ("", run.out);
  EXPECT_EQ(0u, run.err.rfind("msglint: cannot load module ", 0)) << run.err;
  EXPECT_NE(std::string::npos, run.err.find("kelmain")) << run.err;
  EXPECT_EQ(1, std::count(run.err.begin(), run.err.end(), '\n')) << run.err;
}

TEST(LauncherTest, PassesArgumentsUnchangedAndUsesOwnNameInUsage) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"));
  ScratchDir scratch;
  LinkInstalledPrograms(scratch);
  RunResult run = RunProgram("./sbin/../sbin/msglint", {"only-one"});
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(
      "Usage: ./sbin/../sbin/msglint pnl_name report_type languagelist\n"
      " pnl_name - name of checked manager, e.g.: kern, sabpnl\n"
      " report_type : -s print short report, -f print full report (default)\n"
      " languagelist - comma separated list of lanugages, e.g.: en,ru,fr\n",
      run.out);
}

// The installed module exports kelmain and keeps its own functions and the
// panel library's to itself.
TEST(LauncherTest, ModuleExportsOnlyKelmain) {
  const std::string module = std::string(kPrefix) + "/lib/modules/msglint.so";
  ASSERT_TRUE(fs::exists(module));
  void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, handle) << dlerror();
  EXPECT_NE(nullptr, dlsym(handle, "kelmain"));
  for (const char* hidden : {
           "_Z5orderRKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES6_",
           "_Z10get_prefixNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
           "_ZN10pnl_client5LocalC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES8_",
       }) {
    EXPECT_EQ(nullptr, dlsym(handle, hidden)) << hidden;
  }
  dlclose(handle);
}

}  // namespace
