// One run of the audits and all that it keeps while it goes: the manager it
// checks, its report mode and languages, the installation it runs in, the
// stream its report goes to, the findings recorder, what it has told once
// on standard error, the ordered steps of the missing-message audit and
// the source-lines file read last. kelmain makes one from its command line
// and hands it to every audit; a test makes its own, with a string stream
// for the report.
#ifndef TESTUTILS_RUN_CONTEXT_H_
#define TESTUTILS_RUN_CONTEXT_H_

#include <functional>
#include <ostream>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "testutils/findings.h"
#include "testutils/ordered_steps.h"

struct RunContext {
  RunContext(std::string manager, std::string work_dir, std::ostream& out)
      : manager(std::move(manager)), work_dir(std::move(work_dir)), out(out) {}
  RunContext(const RunContext&) = delete;
  RunContext& operator=(const RunContext&) = delete;

  bool Full() const { return mode == "-f"; }
  // The manager's XML cache, var/.xmlcache/M.
  std::string CacheDir() const { return work_dir + "/var/.xmlcache/" + manager; }

  // Runs `step` now, or, while the missing-message audit runs its ordered
  // steps, in its place among them, so that what the run says stays behind
  // the panel calls that run meanwhile.
  void InOrder(std::function<void()> step) {
    if (steps != nullptr)
      steps->Then(std::move(step));
    else
      step();
  }

  std::string manager;
  // The installation directory.
  std::string work_dir;
  // The report.
  std::ostream& out;
  // "-f" (every audit) or "-s" (the column hints and the missing-message
  // audit only).
  std::string mode = "-f";
  // The languages kept for the audits.
  std::vector<std::string> langs;
  // Whether the action-list audit runs in full mode: it asks the manager's
  // running panel, which a run without panels does not have.
  bool check_actions = true;

  FindingsRecorder findings;

  // What the run has told on standard error (see diagnostics.h): the
  // programs whose failure was told, the paths whose write failed, the
  // queries without an answer (and the panels' error replies), the input
  // files found unreadable or malformed.
  std::set<std::string> told_programs;
  std::set<std::string> failed_writes;
  std::set<std::string> unanswered_queries;
  std::set<std::string> told_files;

  // The missing-message audit's ordered steps while it runs, else null.
  OrderedSteps* steps = nullptr;

  // Shared by the run's SourceLines.
  SourceLines::LastFile last_lines_file;
};

#endif  // TESTUTILS_RUN_CONTEXT_H_
