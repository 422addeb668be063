// Running a program from a test and taking what it did: its exit status
// and what it printed. Every test that runs a program of the build or of
// an installation to its end (the panel, pnlctl, the launcher,
// msglint-report, msglint-fix, a case's setup script) runs it with
// RunProgram; the options say how it runs.
//
// The program is started by pnl_proc::Spawn, as the module starts its
// programs: from an argument vector, without a shell, its standard input on
// /dev/null, in a session of its own. The wait ends when the program has
// ended (a panel it started in the background does not keep it going) or
// when the time limit has passed; then the program and every process of its
// group are killed.
#ifndef TESTS_SUPPORT_RUN_PROGRAM_H_
#define TESTS_SUPPORT_RUN_PROGRAM_H_

#include <string>
#include <vector>

namespace testing_support {

struct RunOptions {
  // Variables "NAME=value" that the program gets on top of the test's own
  // environment.
  std::vector<std::string> env = {};
  // Preloads the test library that makes long sleeps return at once
  // (LD_PRELOAD, in place of any the test has), so that a run's fixed
  // pause costs nothing.
  bool no_sleep = false;
  // Standard error is taken into `out` with standard output, in the order
  // the program wrote them, as a person at a terminal sees them; `err`
  // stays empty.
  bool merge_stderr = false;
  // Started as root, the program (and everything it starts) has not the
  // capabilities that override file modes, so that an unreadable file or a
  // read-only directory means the same for every user.
  bool as_plain_user = false;
  // The run is stopped after this many seconds and `timed_out` is set.
  int time_limit_seconds = 120;
};

struct RunResult {
  // The exit status; 128 + N for a program ended by signal N (as a shell
  // shows it); -1 when it could not be started.
  int status = -1;
  std::string out;
  std::string err;
  bool timed_out = false;
};

// Runs argv[0] (a path, relative to the current directory when it holds no
// leading "/"; looked up in PATH when it holds no "/" at all) with the
// argument vector `argv`. A program that cannot be started gets the status
// -1 and the reason in `err` (in `out` with merge_stderr).
RunResult RunProgram(const std::vector<std::string>& argv,
                     const RunOptions& options = RunOptions());

}  // namespace testing_support

#endif  // TESTS_SUPPORT_RUN_PROGRAM_H_
