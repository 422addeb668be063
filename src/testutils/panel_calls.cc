// The module's calls of other programs: queries to a panel, panel
// functions through sbin/pnlctl, and any command.
#include "testutils/panel_calls.h"

#include <utility>

#include "pnl/client.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/diagnostics.h"
#include "testutils/discovery.h"
#include "testutils/findings.h"
#include "testutils/msglint.h"

pnl_xml::Xml ask_panel(const std::string& manager, const std::string& query) {
  pnl_client::Local client(manager, "checkXml");
  pnl_xml::Xml reply = client.Query(query);
  // The client has logged it already.
  if (!client.Error().empty()) tell_unanswered("pnl_client: " + client.Error());
  pnl_xml::XPath errors(reply, "/doc/error");
  if (!errors.empty()) tell_panel_error(manager, errors[0].Str());
  return reply;
}

int run_command(const std::vector<std::string>& argv, bool must_succeed) {
  pnl_proc::Execute command(argv);
  const int status = command.Result();
  if (status == 0 || (command.Started() && !must_succeed)) return status;
  tell_command_failure(command, argv);
  return status;
}

namespace {
OrderedSteps* g_audit_steps = nullptr;
}  // namespace

void set_audit_steps(OrderedSteps* steps) { g_audit_steps = steps; }

OrderedSteps* audit_steps() { return g_audit_steps; }

void in_order(std::function<void()> step) {
  if (g_audit_steps != nullptr)
    g_audit_steps->Then(std::move(step));
  else
    step();
}

void call_panel_function(const std::string& function) {
  std::unique_ptr<pnl_proc::Execute> command = panel_function_command(function);
  command->Run();
  panel_function_done(*command);
}

std::unique_ptr<pnl_proc::Execute> panel_function_command(const std::string& function) {
  const std::string work_dir = pnl_file::GetCurrentDir();
  // The panel writes the checked files of every language whatever the
  // request names, so the request always asks in Russian. Every piece is
  // one argument, whatever blanks the directory or the names hold.
  auto command = std::make_unique<pnl_proc::Execute>(std::vector<std::string>{
      pnl_file::GoodPath(work_dir + "/sbin/pnlctl"), "-m", PNL_NAME(), function, "lang=ru"});
  command->CaptureOutput();
  return command;
}

void panel_function_done(pnl_proc::Execute& command) {
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
    tell_command_failure(command, command.Arguments());
    return;
  }
  // pnlctl names a query without an answer and, after "pnlctl: M: ", the
  // panel's error; the others fail as any command does.
  const std::string own = "pnlctl: " + PNL_NAME() + ": ";
  bool told = false;
  for (const std::string& line : lines) {
    if (str::StartsWith(line, "pnl_client: ")) {
      tell_unanswered(line);
      add_panel_problem("panel-query-failed", line.substr(std::string("pnl_client: ").size()));
      told = true;
    } else if (str::StartsWith(line, own) && line != own + "no reply") {
      const std::string error = line.substr(own.size());
      if (!is_write_failure(error)) continue;
      tell_panel_error(PNL_NAME(), error);
      told = true;
    }
  }
  if (!told) tell_command_failure(command, command.Arguments());
}

void record_failed_query(const pnl_xml::Xml& reply, const std::string& manager,
                         const std::string& query) {
  if (reply.GetRoot()) return;
  add_panel_problem("panel-query-failed", "no answer from the panel of " + manager + " to " + query);
}
