// The action-list check: cached description files named after no action
// of the manager.
#include "testutils/actionlist.h"

#include <ostream>
#include <sstream>
#include <vector>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/audit_finding.h"
#include "testutils/discovery.h"
#include "testutils/findings.h"
#include "testutils/panel_calls.h"

void check_actionlist(RunContext& run, const std::string& lang) {
  run.out << '\n';
  run.out << "Actionlist check for lang " << lang << '\n';

  pnl_xml::Xml actions = ask_panel(run, run.manager, "func=actionlist&out=xml");
  record_failed_query(run, actions, run.manager, "func=actionlist&out=xml");
  SourceLines lines(run.work_dir, run.last_lines_file);

  std::ostringstream out;
  std::vector<std::string> files;
  getXmlFiles(run, files, lang);
  for (const std::string& path : files) {
    std::string name = pnl_file::SplitPath(path).second;
    for (int i = 0; i < 3; ++i) str::RGetWord(name, '.');
    // Shared message files are no actions.
    if (name == "global" || name == "common" || name == "msgerror") continue;
    pnl_xml::XPath found(actions, "//elem/action[text()='" + name + "']");
    if (found.size() == 0) {
      out << "\t" << name << " - no such action" << "\n";
      Finding finding = AuditFinding("actionlist", "no-such-action", name, "section", name, lang);
      finding.file = findings::MessageFile(run.manager, lang);
      finding.line = lines.Message(run.manager, lang, name, "");
      finding.report = "\t" + name + " - no such action\n";
      run.findings.Add(finding);
    }
  }

  if (out.str().empty())
    run.out << "\tEverything is ok\n";
  else
    run.out << out.str();
}
