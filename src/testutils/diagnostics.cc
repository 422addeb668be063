// What the module tells besides its report: its log, and the lines on
// standard error that a run says once each (a failed write, a panel's error
// reply or missing answer, a failed command, a name too long for a file, an
// unreadable input file).
#include "testutils/diagnostics.h"

#include <iostream>
#include <set>

#include "pnl/file.h"
#include "pnl/str.h"
#include "pnl/xml.h"
#include "testutils/findings.h"
#include "testutils/msglint.h"
#include "testutils/panel_calls.h"

const pnl_log::Module msglint_log("msglint", "kern");

std::set<std::string>& msglint_private::told_programs() {
  static std::set<std::string> told;
  return told;
}

std::set<std::string>& msglint_private::failed_writes() {
  static std::set<std::string> failed;
  return failed;
}

void tell_write_error(const std::string& path, const std::string& reason) {
  if (!msglint_private::failed_writes().insert(path).second) return;
  if (msglint_log.Check(3))
    msglint_log.Write(3, "cannot write %s: %s", path.c_str(), reason.c_str());
  std::cout.flush();
  std::cerr << "msglint: cannot write " << path << ": " << reason << std::endl;
}

bool write_failed() { return !msglint_private::failed_writes().empty(); }

std::set<std::string>& msglint_private::unanswered_queries() {
  static std::set<std::string> unanswered;
  return unanswered;
}

bool panel_failed() { return !msglint_private::unanswered_queries().empty(); }

// What the panel says when a cache file or its directory could not be
// written: "cannot write PATH: REASON", "cannot create DIR: REASON".
bool is_write_failure(const std::string& error) {
  return str::StartsWith(error, "cannot write ") || str::StartsWith(error, "cannot create ");
}

void add_panel_problem(const std::string& kind, const std::string& message) {
  InputProblem problem;
  problem.kind = kind;
  problem.message = message;
  Findings().AddProblem(problem);
}

namespace {

// True when `line` was not told before and is told now.
bool TellOnce(std::set<std::string>& told, const std::string& line) {
  if (!told.insert(line).second) return false;
  if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
  std::cout.flush();
  std::cerr << "msglint: " << line << std::endl;
  return true;
}

}  // namespace

void tell_panel_error(const std::string& manager, const std::string& error) {
  const std::string line = "panel of " + manager + ": " + error;
  const bool write = is_write_failure(error);
  if (!TellOnce(write ? msglint_private::failed_writes() : msglint_private::unanswered_queries(), line))
    return;
  // The findings file says it too: whoever reads only that file must not
  // take a report the panel left incomplete for a whole one.
  add_panel_problem(write ? "panel-write-failed" : "panel-query-failed", line);
}

void tell_unanswered(const std::string& line) {
  if (!msglint_private::unanswered_queries().insert(line).second) return;
  std::cout.flush();
  std::cerr << line << std::endl;
}

void tell_command_failure(pnl_proc::Execute& command, const std::vector<std::string>& argv) {
  const std::string line = command.Line();
  const char* what = command.Started() ? "failed" : "cannot be run";
  if (msglint_log.Check(3))
    msglint_log.Write(3, "Command %s %s: %s", line.c_str(), what, command.Error().c_str());
  // One line per program and run is enough to show that something is wrong;
  // the log has every failure.
  if (msglint_private::told_programs().insert(argv.empty() ? std::string() : argv[0]).second) {
    std::cerr << "msglint: command " << what << ": " << line << ": " << command.Error();
    std::cerr << " (later failures of this program are only logged)" << std::endl;
    InputProblem problem;
    problem.kind = "command-failed";
    problem.message = std::string("command ") + what + ": " + line + ": " + command.Error();
    Findings().AddProblem(problem);
  }
}

void tell_names_too_long(const std::vector<std::string>& langs) {
  const std::string description = "etc/xml/" + PNL_NAME() + ".xml";
  pnl_xml::Xml doc;
  doc.LoadFromFile(pnl_file::GetCurrentDir() + "/" + description);
  std::set<std::string> told;
  for (pnl_xml::XmlNode metadata : doc.GetNodes("/pnldata/metadata")) {
    const std::string name = metadata.GetProp("name");
    bool fits = true;
    for (const std::string& lang : langs)
      fits = fits && pnl_file::FitsFileName(name + ".msg." + lang + ".xml");
    if (fits || !told.insert(name).second) continue;
    // The name itself may be thousands of bytes long: its start is enough.
    const std::size_t kShown = 40;
    const std::string shown = name.substr(0, kShown) + (name.size() > kShown ? "..." : "");
    const std::string line = "skipping \"" + shown + "\" (" + std::to_string(name.size()) +
                             " bytes) of " + description +
                             ": the name is too long for a file name";
    if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
    std::cout.flush();
    std::cerr << "msglint: " << line << std::endl;
  }
}

void tell_file_problem(const std::string& path, const std::string& line) {
  static std::set<std::string> told;
  if (!told.insert(path).second) return;
  in_order([line] {
    std::cout.flush();
    std::cerr << line << std::endl;
  });
}
