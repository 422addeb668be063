// End-to-end tests: the installed launcher (sbin/msglint) run on small
// installations, its standard output, standard error, exit status and files
// compared byte for byte with what each case expects, and the installation
// listed before and after the run to show that nothing outside the places a
// run may change was created, changed or removed.
//
// One directory per case under cases/NAME/:
//   args                 the arguments after the program name, one per line
//                        (an empty file: no argument at all);
//   install/             the files of the installation (etc/xml/*.xml, ...);
//   install_from         optional instead of install/: a directory relative
//                        to the source tree whose files make the installation;
//   install_dir_name     optional: one line, the name of the installation
//                        directory inside the scratch directory (default
//                        "inst"), e.g. with blanks or non-ASCII letters;
//   managers             optional: one manager name per line, added as
//                        bin/NAME -> kern;
//   setup                optional: a bash script run after the installation
//                        is laid out and before the run, in the installation
//                        directory, with OUTSIDE naming an empty directory
//                        beside the installation (for link targets); it
//                        makes links, FIFOs, unreadable files, large files.
//                        Its exit status 77 skips the case;
//   expected_stdout      the complete standard output;
//   expected_stderr      optional: the complete standard error (a case
//                        without it expects an empty standard error);
//                        in both outputs the absolute path of the
//                        installation reads "@INSTALL@" and that of OUTSIDE
//                        "@OUTSIDE@";
//   expected_status      the exit status;
//   expected_test_msgs   optional: the complete audit file var/test_msgs;
//   expected_requests    optional: lines "MANAGER COUNT", the number of
//                        session requests that MANAGER's panel logged;
//   expected_function_requests optional: lines "MANAGER FUNCTION COUNT",
//                        the number of requests for FUNCTION's checked
//                        files that MANAGER's panel logged;
//   expected_panel_starts optional: lines "MANAGER COUNT", the number of
//                        times a panel of MANAGER started serving (its log
//                        records "serving MANAGER");
//   expected_log_contains optional: lines that must each occur somewhere in
//                        var/log/msglint.log (cases whose expected standard
//                        output is empty show with it that the run got as
//                        far as the audit);
//   expected_unchanged   optional: path patterns, one per line, that must
//                        not change although a run may change them;
//   expected_present     optional: paths under the installation, one per
//                        line, that must be regular files after the run
//                        (what the panel had to write);
//   expected_findings    optional: the findings file var/msglint/findings.json,
//                        compared whole as JSON;
//   expected_check       optional: the standard output of
//                        "sbin/msglint-report --check" run after the audit,
//                        whose status is in expected_check_status.
//
// Before and after the run every entry under the installation, under OUTSIDE
// (listed as "OUTSIDE/...") and beside them in the scratch directory (listed
// as "../NAME") is listed without following links: type, mode, size, a hash
// of a regular file's content, a link's target. Only these may differ, for
// the checked manager M (the first argument): var/.xmlcache/M/**,
// var/.xmlcache/M.hash, var/.xmlcache/kern/**, var/.xmlcache/kern.hash,
// var/test_msgs, ecl.xml, var/log/**, var/run/**, var/msglint/**, and the
// directories that lead to them may be created. A pattern "P/**" matches P
// and everything below it; other patterns match as fnmatch(3) with
// FNM_PATHNAME.
//
// The programs come from the installation that the test e2e_install lays out
// under the build tree (bin/kern, sbin/pnlctl, sbin/msglint and
// lib/modules/msglint.so, linked into each case's installation). The runs
// preload the test library that makes long sleeps return at once, so the
// run's fixed pause costs nothing. A run started as root gives up the
// capabilities that override file permissions, so that an unreadable file
// or a read-only directory means the same for every user.
#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "findings/paths.h"
#include "support/run_program.h"
#include "support/scratch_dir.h"
#include "version/version.h"

namespace fs = std::filesystem;
using testing_support::RunOptions;
using testing_support::RunProgram;
using testing_support::RunResult;
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

// The programs of a case run as a user runs them, with long sleeps
// skipped.
const RunOptions kAsAUser = {
    .no_sleep = true, .as_plain_user = true, .time_limit_seconds = kTimeLimitSeconds};

// Links the installed programs into the installation `dir`.
void LinkInstalledProgramsInto(const std::string& dir) {
  const fs::path prefix(kPrefix);
  for (const char* program : {"bin/kern", "sbin/pnlctl", "sbin/msglint",
                              "sbin/msglint-report", "lib/modules/msglint.so"}) {
    fs::create_directories((fs::path(dir) / program).parent_path());
    fs::create_symlink(prefix / program, fs::path(dir) / program);
  }
}

// The installed programs that every case links in.
void LinkInstalledPrograms(const ScratchDir& scratch) {
  LinkInstalledProgramsInto(scratch.path());
}

// The number of requests for function `function` (session, or a function
// whose checked files are asked for) that the panel of `manager` logged in
// `install`.
int Requests(const std::string& install, const std::string& manager,
             const std::string& function) {
  int count = 0;
  for (const std::string& record :
       Lines(testing_support::LogRecords(install, manager))) {
    if (record.find("request: func=" + function + "&") != std::string::npos) ++count;
  }
  return count;
}

// The number of times a panel of `manager` started serving in `install`.
int PanelStarts(const std::string& install, const std::string& manager) {
  int count = 0;
  for (const std::string& record :
       Lines(testing_support::LogRecords(install, manager))) {
    if (record.find("serving " + manager + " (pid ") != std::string::npos) ++count;
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

// FNV-1a of the content of the regular file `path`, read without following
// a link and without waiting on a FIFO swapped in; "unreadable" when it
// cannot be read.
std::string ContentHash(const std::string& path) {
  int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
  if (fd < 0) return "unreadable";
  uint64_t hash = 14695981039346656037ull;
  char buffer[1 << 16];
  ssize_t n;
  while ((n = read(fd, buffer, sizeof buffer)) > 0) {
    for (ssize_t i = 0; i < n; ++i) {
      hash ^= static_cast<unsigned char>(buffer[i]);
      hash *= 1099511628211ull;
    }
  }
  close(fd);
  if (n < 0) return "unreadable";
  std::ostringstream s;
  s << std::hex << hash;
  return s.str();
}

// One line describing the entry at `path` without following a link: type,
// mode, and the size and content hash of a regular file or the target of a
// link.
std::string Describe(const std::string& path, const struct stat& st) {
  std::ostringstream s;
  s << std::oct << (st.st_mode & 07777) << std::dec << " ";
  if (S_ISREG(st.st_mode)) {
    s << "file " << st.st_size << " " << ContentHash(path);
  } else if (S_ISDIR(st.st_mode)) {
    s << "dir";
  } else if (S_ISLNK(st.st_mode)) {
    std::error_code ec;
    s << "link -> " << fs::read_symlink(path, ec).string();
  } else if (S_ISFIFO(st.st_mode)) {
    s << "fifo";
  } else if (S_ISSOCK(st.st_mode)) {
    s << "socket";
  } else {
    s << "special";
  }
  return s.str();
}

using Listing = std::map<std::string, std::string>;

// Adds `path` (named `name` in the listing) and, for a directory, everything
// below it to `listing`, without following links.
void ListTree(const std::string& path, const std::string& name, Listing* listing) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0) return;
  (*listing)[name] = Describe(path, st);
  if (!S_ISDIR(st.st_mode)) return;
  std::error_code ec;
  std::vector<std::string> children;
  for (const auto& entry : fs::directory_iterator(path, ec))
    children.push_back(entry.path().filename().string());
  if (ec) (*listing)[name] += " unlistable";
  for (const std::string& child : children)
    ListTree(path + "/" + child, name + "/" + child, listing);
}

// The listing of a case: the installation (paths relative to it, "." for
// itself), OUTSIDE ("OUTSIDE/...") and whatever else is in the scratch
// directory ("../NAME/...").
Listing ListCase(const std::string& scratch, const std::string& install_name) {
  Listing listing;
  ListTree(scratch + "/" + install_name, ".", &listing);
  ListTree(scratch + "/outside", "OUTSIDE", &listing);
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(scratch, ec)) {
    std::string child = entry.path().filename().string();
    if (child == install_name || child == "outside") continue;
    ListTree(scratch + "/" + child, "../" + child, &listing);
  }
  // Installation paths without the "./" that ListTree puts before them.
  Listing tidy;
  for (const auto& [name, what] : listing)
    tidy[name.rfind("./", 0) == 0 ? name.substr(2) : name] = what;
  return tidy;
}

// True when `path` matches `pattern`: "P/**" matches P and everything below
// it; any other pattern as fnmatch(3) with FNM_PATHNAME.
bool PathMatches(const std::string& pattern, const std::string& path) {
  const std::string tail = "/**";
  if (pattern.size() >= tail.size() &&
      pattern.compare(pattern.size() - tail.size(), tail.size(), tail) == 0) {
    const std::string base = pattern.substr(0, pattern.size() - tail.size());
    return path == base || path.rfind(base + "/", 0) == 0;
  }
  return fnmatch(pattern.c_str(), path.c_str(), FNM_PATHNAME) == 0;
}

// The paths a run for `manager` may change.
std::vector<std::string> AllowedPatterns(const std::string& manager,
                                         bool has_manager) {
  std::vector<std::string> allowed = {
      "var/.xmlcache/kern/**", "var/.xmlcache/kern.hash", "var/test_msgs",
      "ecl.xml", "var/log/**", "var/run/**", "var/msglint/**"};
  if (has_manager) {
    allowed.push_back("var/.xmlcache/" + manager + "/**");
    allowed.push_back("var/.xmlcache/" + manager + ".hash");
  }
  return allowed;
}

// True when the directory `path` leads to a place matched by one of
// `patterns` (so that a run may create it).
bool LeadsToAllowed(const std::string& path, const std::vector<std::string>& patterns) {
  for (const std::string& pattern : patterns)
    if (pattern.rfind(path + "/", 0) == 0) return true;
  return false;
}

// The differences between `before` and `after` that the rules do not allow,
// one line each.
std::vector<std::string> ForbiddenChanges(const Listing& before, const Listing& after,
                                          const std::vector<std::string>& allowed,
                                          const std::vector<std::string>& unchanged) {
  std::set<std::string> paths;
  for (const auto& [path, what] : before) paths.insert(path);
  for (const auto& [path, what] : after) paths.insert(path);
  std::vector<std::string> forbidden;
  for (const std::string& path : paths) {
    auto b = before.find(path);
    auto a = after.find(path);
    const std::string was = b == before.end() ? "(none)" : b->second;
    const std::string is = a == after.end() ? "(none)" : a->second;
    if (was == is) continue;
    bool ok = false;
    for (const std::string& pattern : allowed) ok = ok || PathMatches(pattern, path);
    if (b == before.end() && is.find(" dir") != std::string::npos &&
        LeadsToAllowed(path, allowed))
      ok = true;
    for (const std::string& pattern : unchanged)
      if (PathMatches(pattern, path)) ok = false;
    if (!ok) forbidden.push_back("\"" + path + "\": " + was + " => " + is);
  }
  return forbidden;
}

// Runs the case's setup script in `install` with OUTSIDE set; returns its
// exit status.
int RunSetup(const fs::path& script, const std::string& outside) {
  RunResult run = RunProgram({"/bin/bash", script.string()}, {.env = {"OUTSIDE=" + outside}});
  if (run.status != 0 && run.status != 77)
    ADD_FAILURE() << "setup failed with status " << run.status << ":\n"
                  << run.out << run.err;
  return run.status;
}

// `text` with every occurrence of `path` replaced by `name`.
std::string ReplacePath(std::string text, const std::string& path, const std::string& name) {
  for (std::string::size_type at = text.find(path); at != std::string::npos;
       at = text.find(path, at + name.size()))
    text.replace(at, path.size(), name);
  return text;
}

class E2eCase : public testing::TestWithParam<std::string> {};

TEST_P(E2eCase, GivesExpectedOutput) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"))
      << "no installation under " << kPrefix << " (the test e2e_install lays it out)";
  const fs::path dir = fs::path(kCasesDir) / GetParam();
  ScratchDir scratch;

  std::string install_name = "inst";
  if (fs::exists(dir / "install_dir_name")) {
    std::vector<std::string> name = Lines(ReadFile(dir / "install_dir_name"));
    ASSERT_EQ(1u, name.size());
    install_name = name[0];
  }
  ASSERT_NE("outside", install_name);
  const std::string install = scratch.path() + "/" + install_name;
  const std::string outside = scratch.path() + "/outside";
  fs::create_directory(install);
  fs::create_directory(outside);

  fs::path files = dir / "install";
  if (fs::exists(dir / "install_from")) {
    std::vector<std::string> from = Lines(ReadFile(dir / "install_from"));
    ASSERT_EQ(1u, from.size());
    files = fs::path(kSourceDir) / from[0];
  }
  if (fs::exists(files)) fs::copy(files, install, fs::copy_options::recursive);
  LinkInstalledProgramsInto(install);
  for (const std::string& manager : Lines(ReadFile(dir / "managers")))
    fs::create_symlink("kern", fs::path(install) / "bin" / manager);

  fs::current_path(install);
  if (fs::exists(dir / "setup")) {
    int status = RunSetup(dir / "setup", outside);
    if (status == 77) GTEST_SKIP() << "setup skipped the case";
    ASSERT_EQ(0, status);
  }

  const std::vector<std::string> args = Lines(ReadFile(dir / "args"));
  const Listing before = ListCase(scratch.path(), install_name);
  std::vector<std::string> command = {"sbin/msglint"};
  command.insert(command.end(), args.begin(), args.end());
  RunResult run = RunProgram(command, kAsAUser);
  testing_support::StopPanelsIn(install);
  const Listing after = ListCase(scratch.path(), install_name);

  run.out = ReplacePath(ReplacePath(run.out, install, "@INSTALL@"), outside, "@OUTSIDE@");
  run.err = ReplacePath(ReplacePath(run.err, install, "@INSTALL@"), outside, "@OUTSIDE@");
  // With E2E_ACTUAL_DIR set, the run's real output is also left there, one
  // directory per case, for a person to compare with what the case expects.
  if (const char* actual = getenv("E2E_ACTUAL_DIR")) {
    const fs::path out = fs::path(actual) / dir.filename();
    fs::create_directories(out);
    std::ofstream(out / "stdout", std::ios::binary) << run.out;
    std::ofstream(out / "stderr", std::ios::binary) << run.err;
    std::ofstream(out / "status") << run.status << "\n";
    if (fs::is_regular_file(fs::path(install) / "var/test_msgs"))
      std::ofstream(out / "test_msgs", std::ios::binary)
          << ReadFile(fs::path(install) / "var/test_msgs");
  }
  EXPECT_FALSE(run.timed_out) << "the run did not end within "
                              << kTimeLimitSeconds << " s";
  EXPECT_EQ(ReadFile(dir / "expected_stdout"), run.out)
      << "standard error was:\n" << run.err;
  EXPECT_EQ(ReadFile(dir / "expected_stderr"), run.err);
  EXPECT_EQ(std::stoi(ReadFile(dir / "expected_status")), run.status);
  if (fs::exists(dir / "expected_test_msgs")) {
    EXPECT_TRUE(fs::is_regular_file(fs::path(install) / "var/test_msgs"));
    EXPECT_EQ(ReadFile(dir / "expected_test_msgs"),
              ReadFile(fs::path(install) / "var/test_msgs"));
  }
  if (fs::exists(dir / "expected_requests")) {
    for (const std::string& line : Lines(ReadFile(dir / "expected_requests"))) {
      std::istringstream fields(line);
      std::string manager;
      int count = -1;
      fields >> manager >> count;
      EXPECT_EQ(count, Requests(install, manager, "session"))
          << "session requests logged by the panel of " << manager;
    }
  }
  if (fs::exists(dir / "expected_function_requests")) {
    for (const std::string& line : Lines(ReadFile(dir / "expected_function_requests"))) {
      std::istringstream fields(line);
      std::string manager;
      std::string function;
      int count = -1;
      fields >> manager >> function >> count;
      EXPECT_EQ(count, Requests(install, manager, function))
          << "requests for the checked files of " << function << " logged by the panel of "
          << manager;
    }
  }
  if (fs::exists(dir / "expected_panel_starts")) {
    for (const std::string& line : Lines(ReadFile(dir / "expected_panel_starts"))) {
      std::istringstream fields(line);
      std::string manager;
      int count = -1;
      fields >> manager >> count;
      EXPECT_EQ(count, PanelStarts(install, manager))
          << "starts logged by the panels of " << manager;
    }
  }
  if (fs::exists(dir / "expected_log_contains")) {
    const std::string log = ReadFile(fs::path(install) / "var/log/msglint.log");
    for (const std::string& line : Lines(ReadFile(dir / "expected_log_contains")))
      EXPECT_NE(std::string::npos, log.find(line))
          << "the log has no \"" << line << "\"; it is:\n" << log;
  }
  if (fs::exists(dir / "expected_findings")) {
    const std::string written = ReadFile(fs::path(install) / findings::FindingsFile());
    ASSERT_TRUE(nlohmann::json::accept(written)) << written;
    EXPECT_EQ(nlohmann::json::parse(ReadFile(dir / "expected_findings")),
              nlohmann::json::parse(written));
  }
  if (fs::exists(dir / "expected_check")) {
    RunResult check = RunProgram({"sbin/msglint-report", "--check"}, kAsAUser);
    EXPECT_EQ(ReadFile(dir / "expected_check"), check.out) << check.err;
    EXPECT_EQ("", check.err);
    EXPECT_EQ(std::stoi(ReadFile(dir / "expected_check_status")), check.status);
  }
  for (const std::string& path : Lines(ReadFile(dir / "expected_present")))
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(fs::path(install) / path)))
        << "the run left no file \"" << path << "\"";
  const std::vector<std::string> forbidden = ForbiddenChanges(
      before, after, AllowedPatterns(args.empty() ? "" : args[0], !args.empty()),
      Lines(ReadFile(dir / "expected_unchanged")));
  for (const std::string& change : forbidden)
    ADD_FAILURE() << "the run changed what it must leave alone: " << change;
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
  RunResult run = RunProgram({"sbin/msglint", "kern", "-s", "en"}, kAsAUser);
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
  RunResult run = RunProgram({"sbin/msglint", "kern", "-s", "en"}, kAsAUser);
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
  RunResult run = RunProgram({"./sbin/../sbin/msglint", "only-one"}, kAsAUser);
  EXPECT_EQ(1, run.status);
  EXPECT_EQ(
      "Usage: ./sbin/../sbin/msglint pnl_name report_type languagelist\n"
      " pnl_name - name of checked manager, e.g.: kern, sabpnl\n"
      " report_type : -s print short report, -f print full report (default)\n"
      " languagelist - comma separated list of lanugages, e.g.: en,ru,fr\n",
      run.out);
}

// "--help" and "--version" as the only argument are the launcher's own: it
// answers them without the module.
TEST(LauncherTest, HelpAndVersionAloneAreAnsweredWithoutTheModule) {
  ASSERT_TRUE(fs::exists(fs::path(kPrefix) / "sbin/msglint"));
  ScratchDir scratch;
  scratch.MakeDir("sbin");
  fs::copy_file(fs::path(kPrefix) / "sbin/msglint",
                fs::path(scratch.path()) / "sbin/msglint");
  RunResult version = RunProgram({"sbin/msglint", "--version"}, kAsAUser);
  EXPECT_EQ(0, version.status);
  EXPECT_EQ("msglint " MSGLINT_VERSION "\n", version.out);
  EXPECT_EQ("", version.err);
  RunResult help = RunProgram({"sbin/msglint", "--help"}, kAsAUser);
  EXPECT_EQ(0, help.status);
  EXPECT_EQ(0u, help.out.rfind("Usage: sbin/msglint pnl_name [-s|-f] language...\n", 0))
      << help.out;
  EXPECT_EQ("", help.err);
}

TEST(LauncherTest, VersionIsTheProjectVersion) {
  ScratchDir scratch;
  LinkInstalledPrograms(scratch);
  RunResult run = RunProgram({"sbin/msglint", "--version"}, kAsAUser);
  EXPECT_EQ(0, run.status);
  EXPECT_EQ("msglint " MSGLINT_VERSION "\n", run.out);
  // Three numbers, as project(VERSION x.y.z) gives them.
  EXPECT_EQ(2, std::count(run.out.begin(), run.out.end(), '.')) << run.out;
}

// The panel's programs say their version and usage too, and do nothing else.
TEST(PanelProgramsTest, VersionAndHelp) {
  ScratchDir scratch;
  LinkInstalledPrograms(scratch);
  RunResult pnlctl = RunProgram({"sbin/pnlctl", "--version"}, kAsAUser);
  EXPECT_EQ(0, pnlctl.status);
  EXPECT_EQ("pnlctl (msglint) " MSGLINT_VERSION "\n", pnlctl.out);
  EXPECT_EQ("", pnlctl.err);
  RunResult kern = RunProgram({"bin/kern", "--version"}, kAsAUser);
  EXPECT_EQ(0, kern.status);
  EXPECT_EQ("kern (msglint) " MSGLINT_VERSION "\n", kern.out);
  EXPECT_EQ("", kern.err);

  RunResult pnlctl_help = RunProgram({"sbin/pnlctl", "--help"}, kAsAUser);
  EXPECT_EQ(0, pnlctl_help.status);
  EXPECT_EQ(
      "usage: pnlctl -m manager function [key=value ...]\n"
      "Calls a function of the manager's panel in the installation that is\n"
      "the current directory. Manual: man pnlctl.\n",
      pnlctl_help.out);
  RunResult kern_help = RunProgram({"bin/kern", "--help"}, kAsAUser);
  EXPECT_EQ(0, kern_help.status);
  EXPECT_EQ(
      "usage: kern [-m manager]\n"
      "Serves the manager (by default the name it was started as) of the\n"
      "installation that is the current directory. Manual: man kern.\n",
      kern_help.out);
  // Neither started a panel.
  EXPECT_FALSE(fs::exists(fs::path(scratch.path()) / "var/run"));
}

// The names of the symbols that the shared object at `path` exports: the
// defined global and weak symbols of default or protected visibility in its
// dynamic symbol table.
std::vector<std::string> ExportedSymbols(const std::string& path) {
  const std::string image = ReadFile(path);
  std::vector<std::string> names;
  if (image.size() < sizeof(Elf64_Ehdr) || image.compare(0, SELFMAG, ELFMAG) != 0 ||
      image[EI_CLASS] != ELFCLASS64) {
    ADD_FAILURE() << path << " is not a 64-bit ELF file";
    return names;
  }
  const char* base = image.data();
  const auto* header = reinterpret_cast<const Elf64_Ehdr*>(base);
  const auto* sections = reinterpret_cast<const Elf64_Shdr*>(base + header->e_shoff);
  for (int i = 0; i < header->e_shnum; ++i) {
    if (sections[i].sh_type != SHT_DYNSYM) continue;
    const char* strings = base + sections[sections[i].sh_link].sh_offset;
    const auto* symbols = reinterpret_cast<const Elf64_Sym*>(base + sections[i].sh_offset);
    const size_t count = sections[i].sh_size / sizeof(Elf64_Sym);
    for (size_t k = 0; k < count; ++k) {
      const Elf64_Sym& sym = symbols[k];
      const int binding = ELF64_ST_BIND(sym.st_info);
      const int visibility = ELF64_ST_VISIBILITY(sym.st_other);
      if (sym.st_shndx == SHN_UNDEF || sym.st_name == 0) continue;
      if (binding != STB_GLOBAL && binding != STB_WEAK && binding != STB_GNU_UNIQUE)
        continue;
      if (visibility != STV_DEFAULT && visibility != STV_PROTECTED) continue;
      names.push_back(strings + sym.st_name);
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The installed module exports kelmain and nothing else: its own functions
// and the panel library's stay inside it.
TEST(LauncherTest, ModuleExportsOnlyKelmain) {
  const std::string module = std::string(kPrefix) + "/lib/modules/msglint.so";
  ASSERT_TRUE(fs::exists(module));
  EXPECT_EQ(std::vector<std::string>{"kelmain"}, ExportedSymbols(module));
  void* handle = dlopen(module.c_str(), RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(nullptr, handle) << dlerror();
  EXPECT_NE(nullptr, dlsym(handle, "kelmain"));
  dlclose(handle);
}

}  // namespace
