// What the module tells besides its report: its log, and the lines on
// standard error that a run says once each (a failed write, a panel's error
// reply or missing answer, a failed command, a name too long for a file, an
// unreadable input file). Each is also written to the log, and most are
// input problems of the findings file. What has been told is kept in the
// run (RunContext).
#ifndef TESTUTILS_DIAGNOSTICS_H_
#define TESTUTILS_DIAGNOSTICS_H_

#include <string>
#include <vector>

#include "pnl/log.h"
#include "pnl/proc.h"
#include "testutils/run_context.h"

// The module's one log writer ("msglint", belonging to the "kern" log).
extern const pnl_log::Module msglint_log;

// Source file base name and line: the two leading values of every trace
// (level 9) record, whose formats begin with "%s:%d ".
#define MSGLINT_HERE __FILE_NAME__, __LINE__

// Tells a write failure once per path: on standard error and in the log,
// "cannot write PATH: REASON"; the run then ends with kWriteError.
void tell_write_error(RunContext& run, const std::string& path, const std::string& reason);
// Whether a write failed in this run.
bool write_failed(const RunContext& run);

// Tells an error reply of `manager`'s panel once per run, on standard error
// and in the log: "msglint: panel of M: ERROR". An error that says a cache
// file could not be written ends the run with kWriteError; any other leaves
// a query without its answer (kPanelFailure). Each is also an input problem
// of the findings file: "panel-write-failed" or "panel-query-failed".
void tell_panel_error(RunContext& run, const std::string& manager, const std::string& error);
// Tells `line`, which names a query that got no answer, once per run on
// standard error; the run then ends with kPanelFailure.
void tell_unanswered(RunContext& run, const std::string& line);
// Whether a query to a panel got no answer, or an error reply, in this run.
bool panel_failed(const RunContext& run);

// Whether a panel's error says that a cache file or its directory could
// not be written: "cannot write PATH: REASON", "cannot create DIR: REASON".
bool is_write_failure(const std::string& error);
// Records in the findings file a query that the panel left without the
// answer the run needed.
void add_panel_problem(RunContext& run, const std::string& kind, const std::string& message);

// Tells that `command` (run as `argv`) cannot be run or failed: always in
// the log, and on standard error the first time in a run for its program.
void tell_command_failure(RunContext& run, pnl_proc::Execute& command,
                          const std::vector<std::string>& argv);

// Tells once on standard error and in the log each form or list of the
// checked manager's description whose name, made a cache file name for one
// of the run's languages, is too long for a file name: the panel writes no cache file
// for it, so the audits that read the cache pass over it.
void tell_names_too_long(RunContext& run);

// Tells `line` about an unreadable or malformed file `path` on standard
// error, once per run however many audits load it, in its place among
// what the module says.
void tell_file_problem(RunContext& run, const std::string& path, const std::string& line);

#endif  // TESTUTILS_DIAGNOSTICS_H_
