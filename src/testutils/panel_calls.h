// The module's calls of other programs: queries to a panel, panel
// functions through sbin/pnlctl (which may run while the missing-message
// audit goes on), and any command. Their failures are told as
// diagnostics.h says.
#ifndef TESTUTILS_PANEL_CALLS_H_
#define TESTUTILS_PANEL_CALLS_H_

#include <memory>
#include <string>
#include <vector>

#include "pnl/proc.h"
#include "pnl/xml.h"
#include "testutils/run_context.h"

// Sends `query` to the panel of `manager` and returns its reply; a query
// that gets no answer is told on standard error, naming the manager and
// the query (the log has it too), and gives an empty document. An error
// reply is told as tell_panel_error does.
pnl_xml::Xml ask_panel(RunContext& run, const std::string& manager, const std::string& query);
// Records in the findings file that `query` to `manager`'s panel got no
// answer, when `reply` is empty: the audits lack what they would read.
void record_failed_query(RunContext& run, const pnl_xml::Xml& reply, const std::string& manager,
                         const std::string& query);

// Calls function `function` of the checked manager's panel through
// sbin/pnlctl, which has the panel write its checked files. A query that
// got no answer is told as ask_panel tells it; a checked file that the
// panel could not write as tell_panel_error tells it; any other failure as
// run_command tells it. True when pnlctl succeeded.
bool call_panel_function(RunContext& run, const std::string& function);

// call_panel_function in two halves, for a caller that runs the command
// while it goes on: the command, not started yet, and what is done once it
// has ended (its output logged, its failure told).
std::unique_ptr<pnl_proc::Execute> panel_function_command(const RunContext& run,
                                                          const std::string& function);
void panel_function_done(RunContext& run, pnl_proc::Execute& command);

// Runs the program argv[0] with the arguments `argv` (no shell: every
// argument reaches the program as it stands) and waits for it; returns its
// exit status, -1 when it could not be started or did not end by itself.
// A program that cannot be started, or that fails when `must_succeed`, is
// written to the log, and the first such failure of each program in a run
// also to standard error, naming the command.
int run_command(RunContext& run, const std::vector<std::string>& argv, bool must_succeed);

#endif  // TESTUTILS_PANEL_CALLS_H_
