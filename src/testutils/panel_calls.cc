// The module's calls of other programs: queries to a panel, panel
// functions through sbin/pnlctl, and any command.
#include "testutils/panel_calls.h"

#include <utility>

#include "pnl/client.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/diagnostics.h"
#include "testutils/discovery.h"

pnl_xml::Xml ask_panel(RunContext& run, const std::string& manager, const std::string& query) {
  pnl_client::Local client(manager, "checkXml");
  pnl_xml::Xml reply = client.Query(query);
  // The client has logged it already.
  if (!client.status().ok()) tell_unanswered(run, "pnl_client: " + client.status().message());
  pnl_xml::XPath errors(reply, "/doc/error");
  if (!errors.empty()) tell_panel_error(run, manager, errors[0].Str());
  return reply;
}

int run_command(RunContext& run, const std::vector<std::string>& argv, bool must_succeed) {
  pnl_proc::Execute command(argv);
  const int status = command.Result();
  if (status == 0 || (command.Started() && !must_succeed)) return status;
  tell_command_failure(run, command, argv);
  return status;
}

bool call_panel_function(RunContext& run, const std::string& function) {
  std::unique_ptr<pnl_proc::Execute> command = panel_function_command(run, function);
  command->Run();
  panel_function_done(run, *command);
  return command->Result() == 0;
}

std::unique_ptr<pnl_proc::Execute> panel_function_command(const RunContext& run,
                                                          const std::string& function) {
  // The panel writes the checked files of every language whatever the
  // request names, so the request always asks in Russian. Every piece is
  // one argument, whatever blanks the directory or the names hold.
  auto command = std::make_unique<pnl_proc::Execute>(std::vector<std::string>{
      pnl_file::GoodPath(run.work_dir + "/sbin/pnlctl"), "-m", run.manager, function, "lang=ru"});
  command->CaptureOutput();
  return command;
}

void panel_function_done(RunContext& run, pnl_proc::Execute& command) {
  const int status = command.Result();
  std::vector<std::string> lines;
  if (!command.Output().empty()) {
    split(command.Output(), '\n', lines);
    if (lines.back().empty()) lines.pop_back();
  }
  for (const std::string& line : lines)
    if (msglint_log.Check(5)) msglint_log.Write(5, "%s: %s", command.Line().c_str(), line.c_str());
  if (status == 0) return;
  if (!command.Started()) {
    tell_command_failure(run, command, command.Arguments());
    return;
  }
  // pnlctl names a query without an answer and, after "pnlctl: M: ", the
  // panel's error; the others fail as any command does.
  const std::string own = "pnlctl: " + run.manager + ": ";
  bool told = false;
  for (const std::string& line : lines) {
    if (str::StartsWith(line, "pnl_client: ")) {
      tell_unanswered(run, line);
      add_panel_problem(run, "panel-query-failed", line.substr(std::string("pnl_client: ").size()));
      told = true;
    } else if (str::StartsWith(line, own) && line != own + "no reply") {
      const std::string error = line.substr(own.size());
      if (!is_write_failure(error)) continue;
      tell_panel_error(run, run.manager, error);
      told = true;
    }
  }
  if (!told) tell_command_failure(run, command, command.Arguments());
}

void record_failed_query(RunContext& run, const pnl_xml::Xml& reply, const std::string& manager,
                         const std::string& query) {
  if (reply.GetRoot()) return;
  add_panel_problem(run, "panel-query-failed",
                    "no answer from the panel of " + manager + " to " + query);
}
