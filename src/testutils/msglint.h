// The msglint module: the entry function kelmain and the run sequence. The
// audits live in files of their own (validator.h, unused.h, repeats.h,
// actionlist.h, column_hints.h, MissedCheck.h), and so do what they share:
// the run they are handed (run_context.h), panel and command calls
// (panel_calls.h), what the module tells on standard error
// (diagnostics.h), file discovery (discovery.h), include merging
// (includes.h) and the unsafe-path check (unsafe_paths.h).
#ifndef TESTUTILS_MSGLINT_H_
#define TESTUTILS_MSGLINT_H_

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "testutils/run_context.h"

// The module's exported entry: argv[0] program, argv[1] manager name, then
// an optional report mode ("-s" or "-f") and one or more language codes.
extern "C" __attribute__((visibility("default"))) int kelmain(int argc, char** argv);

// The audits of `run` in their order, written here once for kelmain, the
// tests and the fuzz targets: the validator check (full mode); then, with
// no language left, a line that says so; else `prepare_cache`, which makes
// the manager's cache (kelmain has the panels rebuild it; a caller that
// wrote it already gives a step that does nothing) and returns 0 to go on
// or the exit status to end with; then per language the repeated, unused
// and action-list audits (full mode), the column hints of each language and
// the missing-message audit. Writes the findings file. Returns the result
// bits of the missing-message audit, or the status that ends the run
// early (1 without a language, kWriteError, kPanelFailure, ...).
int RunAudits(RunContext& run, const std::function<int(RunContext&)>& prepare_cache);
// For a caller whose cache is there already.
inline int CacheIsReady(RunContext&) { return 0; }

// Writes the four-line usage text to `out`.
void usage(std::ostream& out, const std::string& program);

// Exit statuses beside the result bits (1-31), 1 (command line) and 255
// (the audit file cannot be opened):
// an installation where a symbolic link, or something of the wrong kind,
// stands at a path the run would write or remove under var/ or at ecl.xml;
// nothing is removed or written.
const int kUnsafeInstallation = 64;
// writing var/test_msgs, ecl.xml or the cache failed (a full disk, an I/O
// error): the report is incomplete.
const int kWriteError = 65;
// a query to a panel got no answer or an error reply (a panel that cannot
// run, a socket path too long): the audits missed what the panel writes,
// so the report is incomplete. The audit file's failures (255, 65) come
// first.
const int kPanelFailure = 66;

// Drops from `langs` the languages whose message file
// `msg_dir` + `manager` + "_msg_" + language + ".xml" does not exist. The walk
// moves one position on after every removal too, so the language that moved
// up into a removed one's place is kept unexamined; it ends at the end of
// the list, also when the last language was the one removed.
void drop_languages(const std::string& manager, std::vector<std::string>& langs,
                    const std::string& msg_dir);

#endif  // TESTUTILS_MSGLINT_H_
