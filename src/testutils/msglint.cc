// The module's entry kelmain and the run sequence: the command line, the
// checks before anything is removed or written, the panels stopped and the
// cache rebuilt, then the audits in their order.
#include "testutils/msglint.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/proc.h"
#include "pnl/xml.h"
#include "testutils/actionlist.h"
#include "testutils/column_hints.h"
#include "testutils/diagnostics.h"
#include "testutils/findings.h"
#include "testutils/MissedCheck.h"
#include "testutils/panel_calls.h"
#include "testutils/run_context.h"
#include "testutils/texts.h"
#include "testutils/unsafe_paths.h"
#include "testutils/unused.h"
#include "testutils/validator.h"

void usage(std::ostream& out, const std::string& program) {
  out << "Usage: " << program << " pnl_name report_type languagelist\n";
  out << " pnl_name - name of checked manager, e.g.: kern, sabpnl\n";
  out << " report_type : -s print short report, -f print full report (default)\n";
  out << " languagelist - comma separated list of lanugages, e.g.: en,ru,fr\n";
}

namespace {

// Ends the run at once: what was printed goes out first.
[[noreturn]] void Fail(std::ostream& out) {
  out.flush();
  std::exit(1);
}

}  // namespace

void drop_languages(const std::string& manager, std::vector<std::string>& langs,
                    const std::string& msg_dir) {
  std::vector<std::string>::size_type pos = 0;
  // A removal moves the position on as well, so after removing the last
  // language it stands beyond the end: "at or beyond" ends the walk.
  while (pos < langs.size()) {
    const std::string path = msg_dir + findings::MessageFileName(manager, langs[pos]);
    if (msglint_log.Check(9))
      msglint_log.Write(9, "%s:%d Checking existence of %s", MSGLINT_HERE, path.c_str());
    if (!pnl_file::Exists(path)) langs.erase(langs.begin() + pos);
    ++pos;
  }
}

namespace {

// Makes the run's cache anew: after the checks that nothing would be
// removed or written through a link, removes the manager's cache, stops
// the base manager's panels and asks the panels for a session in each
// language, which has them write the cache. Returns 0, or the run's exit
// status when it must end here.
int RebuildCache(RunContext& run) {
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Work dir founded in \"%s\".", MSGLINT_HERE, run.work_dir.c_str());
  const std::string cache_dir = run.CacheDir();
  // Nothing is removed or written where a link could send it elsewhere.
  const std::vector<std::string> unsafe = unsafe_paths(run.manager);
  if (!unsafe.empty()) {
    run.out.flush();
    for (const std::string& sentence : unsafe) {
      if (msglint_log.Check(3)) msglint_log.Write(3, "unsafe installation: %s", sentence.c_str());
      std::cerr << "msglint: unsafe installation: " << sentence << std::endl;
    }
    std::cerr << "msglint: nothing removed or written" << std::endl;
    return kUnsafeInstallation;
  }
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Removing cache from \"%s\".", MSGLINT_HERE, cache_dir.c_str());
  pnl_file::Remove(cache_dir);
  pnl_file::Remove(cache_dir + ".hash");

  // killall finds no process to stop more often than not; only a killall
  // that cannot be run at all is worth a word.
  run_command(run, {"killall", "kern"}, false);

  // The base manager's panels need a moment to stop before the cache is
  // asked for again; the pause is fixed.
  run.out.flush();
  if (pnl_file::IsTerminal(2))
    std::cerr << "msglint: waiting 10 seconds for the panels of kern to stop before the "
                 "cache is rebuilt..."
              << std::endl;
  pnl_proc::Pause(10);

  for (const std::string& lang : run.langs) {
    const std::string query = "func=session&lang=" + lang + "&out=devel";
    record_failed_query(run, ask_panel(run, run.manager, query), run.manager, query);
    if (run.manager != "kern")
      record_failed_query(run, ask_panel(run, "kern", query), "kern", query);
  }
  return 0;
}

}  // namespace

int RunAudits(RunContext& run, const std::function<int(RunContext&)>& prepare_cache) {
  if (run.Full()) check_validator(run);

  if (run.langs.empty()) {
    if (msglint_log.Check(3)) msglint_log.Write(3, "You should specify at least one language.");
    run.out << "You should specify at least one language.\n";
    run.out.flush();  // a findings file that cannot be written is told on standard error
    run.findings.Write(run.work_dir);
    return 1;
  }

  if (const int status = prepare_cache(run); status != 0) return status;

  tell_names_too_long(run);

  if (run.Full()) {
    for (const std::string& lang : run.langs) {
      check_repeats_and_unused(run, lang);
      if (run.check_actions) check_actionlist(run, lang);
    }
  }

  for (const std::string& lang : run.langs) report_column_hints(run, lang);
  // The missing-message audit asks for no lines: those of the last message
  // file are let go before it starts.
  run.last_lines_file = SourceLines::LastFile();

  int result;
  {
    MissedCheck missed(run);
    missed.initExludeList();
    result = missed.check();
  }
  if (run.Full()) {
    // Its time is logged for the benchmark, which shows its share of a run.
    const auto started = std::chrono::steady_clock::now();
    texts::CheckTexts(run.findings, run.work_dir, run.manager, run.langs);
    const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started);
    if (msglint_log.Check(5))
      msglint_log.Write(5, "texts audit: %lld ms", static_cast<long long>(took.count()));
  }
  run.out.flush();  // a findings file that cannot be written is told on standard error
  run.findings.Write(run.work_dir);
  if (write_failed(run)) return kWriteError;
  if (result >= 0 && panel_failed(run)) {
    const std::string line = "the panel did not answer every query: the report is incomplete";
    if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
    run.out.flush();
    std::cerr << "msglint: " << line << std::endl;
    return kPanelFailure;
  }
  return result;
}

namespace {

// Tells the XML layer's file problems as the run's own while it lives.
class ProblemReporterScope {
 public:
  explicit ProblemReporterScope(RunContext& run) {
    pnl_xml::SetProblemReporter([&run](const std::string& path, const std::string& line) {
      tell_file_problem(run, path, line);
    });
  }
  ~ProblemReporterScope() { pnl_xml::SetProblemReporter(nullptr); }
  ProblemReporterScope(const ProblemReporterScope&) = delete;
  ProblemReporterScope& operator=(const ProblemReporterScope&) = delete;
};

}  // namespace

int kelmain(int argc, char** argv) {
  pnl_log::Init("msglint", 5);
  if (argc < 3) {
    usage(std::cout, argc > 0 && argv[0] ? argv[0] : "");
    Fail(std::cout);
  }

  // The report goes to standard output in large blocks; every word on
  // standard error flushes it first, and so does the end of the run.
  pnl_file::BlockOutput report(1);
  std::ostream out(&report);
  RunContext run(argv[1], pnl_file::GetCurrentDir(), out);
  const ProblemReporterScope reporter(run);
  int first = 2;
  const std::string mode = argv[2];
  if (mode == "-s" || mode == "-f") {
    run.mode = mode;
    first = 3;
  }

  const bool found =
      // A manager name is also a path piece (bin/NAME, var/.xmlcache/NAME):
      // one that could leave its directory names no manager.
      pnl_file::IsPlainName(run.manager) &&
      (pnl_file::Exists(run.work_dir + "/bin/" + run.manager) ||
       pnl_file::Exists(run.work_dir + "/lib/" + run.manager + ".so"));
  if (!found) {
    if (msglint_log.Check(3))
      msglint_log.Write(3, "No manager with name \"%s\" found", run.manager.c_str());
    run.out << "No manager with name \"" << run.manager << "\" found\n";
    Fail(run.out);
  }

  for (int i = first; i < argc; ++i) run.langs.push_back(argv[i]);
  const std::vector<std::string> given_langs = run.langs;
  drop_languages(run.manager, run.langs, run.work_dir + "/etc/xml/");
  run.findings.SetRun(run.manager, run.mode, std::vector<std::string>(argv + 2, argv + argc));
  run.findings.SetLanguages(run.langs);
  RecordInputProblems(run.findings, run.work_dir, run.manager, given_langs, run.langs);

  const int status = RunAudits(run, RebuildCache);
  // No language left ends the run as a command-line error does.
  if (run.langs.empty()) Fail(run.out);
  return status;
}
