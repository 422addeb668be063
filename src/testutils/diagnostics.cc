// What the module tells besides its report: its log, and the lines on
// standard error that a run says once each (a failed write, a panel's error
// reply or missing answer, a failed command, a name too long for a file, an
// unreadable input file).
#include "testutils/diagnostics.h"

#include <iostream>
#include <set>
#include <string>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "pnl/xml.h"
#include "testutils/findings.h"

const pnl_log::Module msglint_log("msglint", "kern");

void tell_write_error(RunContext& run, const std::string& path, const std::string& reason) {
  if (!run.failed_writes.insert(path).second) return;
  if (msglint_log.Check(3))
    msglint_log.Write(3, "cannot write %s: %s", path.c_str(), reason.c_str());
  run.out.flush();
  std::cerr << "msglint: cannot write " << path << ": " << reason << std::endl;
}

bool write_failed(const RunContext& run) { return !run.failed_writes.empty(); }

bool panel_failed(const RunContext& run) { return !run.unanswered_queries.empty(); }

// What the panel says when a cache file or its directory could not be
// written: "cannot write PATH: REASON", "cannot create DIR: REASON".
bool is_write_failure(const std::string& error) {
  return str::StartsWith(error, "cannot write ") || str::StartsWith(error, "cannot create ");
}

void add_panel_problem(RunContext& run, const std::string& kind, const std::string& message) {
  InputProblem problem;
  problem.kind = kind;
  problem.message = message;
  run.findings.AddProblem(problem);
}

namespace {

// True when `line` was not told before and is told now.
bool TellOnce(RunContext& run, std::set<std::string>& told, const std::string& line) {
  if (!told.insert(line).second) return false;
  if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
  run.out.flush();
  std::cerr << "msglint: " << line << std::endl;
  return true;
}

}  // namespace

void tell_panel_error(RunContext& run, const std::string& manager, const std::string& error) {
  const std::string line = "panel of " + manager + ": " + error;
  const bool write = is_write_failure(error);
  if (!TellOnce(run, write ? run.failed_writes : run.unanswered_queries, line)) return;
  // The findings file says it too: whoever reads only that file must not
  // take a report the panel left incomplete for a whole one.
  add_panel_problem(run, write ? "panel-write-failed" : "panel-query-failed", line);
}

void tell_unanswered(RunContext& run, const std::string& line) {
  if (!run.unanswered_queries.insert(line).second) return;
  run.out.flush();
  std::cerr << line << std::endl;
}

void tell_command_failure(RunContext& run, pnl_proc::Execute& command,
                          const std::vector<std::string>& argv) {
  const std::string line = command.Line();
  const char* what = command.Started() ? "failed" : "cannot be run";
  if (msglint_log.Check(3))
    msglint_log.Write(3, "Command %s %s: %s", line.c_str(), what,
                      command.status().message().c_str());
  // One line per program and run is enough to show that something is wrong;
  // the log has every failure.
  if (run.told_programs.insert(argv.empty() ? std::string() : argv[0]).second) {
    std::cerr << "msglint: command " << what << ": " << line << ": " << command.status().message();
    std::cerr << " (later failures of this program are only logged)" << std::endl;
    InputProblem problem;
    problem.kind = "command-failed";
    problem.message = std::string("command ") + what + ": " + line + ": " + command.status().message();
    run.findings.AddProblem(problem);
  }
}

void tell_names_too_long(RunContext& run) {
  const std::string description = findings::DescriptionFile(run.manager);
  pnl_xml::Xml doc;
  doc.LoadFromFile(run.work_dir + "/" + description);
  std::set<std::string> told;
  for (pnl_xml::XmlNode metadata : doc.GetNodes("/pnldata/metadata")) {
    const std::string name = metadata.GetProp("name");
    bool fits = true;
    for (const std::string& lang : run.langs)
      fits = fits && pnl_file::FitsFileName(name + ".msg." + lang + ".xml");
    if (fits || !told.insert(name).second) continue;
    // The name itself may be thousands of bytes long: its start is enough.
    const std::size_t kShown = 40;
    const std::string shown = name.substr(0, kShown) + (name.size() > kShown ? "..." : "");
    const std::string line = "skipping \"" + shown + "\" (" + std::to_string(name.size()) +
                             " bytes) of " + description +
                             ": the name is too long for a file name";
    if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
    run.out.flush();
    std::cerr << "msglint: " << line << std::endl;
  }
}

void tell_file_problem(RunContext& run, const std::string& path, const std::string& line) {
  if (!run.told_files.insert(path).second) return;
  run.InOrder([&run, line] {
    run.out.flush();
    std::cerr << line << std::endl;
  });
}
