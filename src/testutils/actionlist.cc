// The action-list check: cached description files named after no action
// of the manager.
#include "testutils/actionlist.h"

#include <iostream>
#include <sstream>
#include <vector>

#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/diagnostics.h"
#include "testutils/discovery.h"
#include "testutils/findings.h"
#include "testutils/msglint.h"
#include "testutils/panel_calls.h"

void check_actionlist(const std::string& lang) {
  std::cout << std::endl;
  std::cout << "Actionlist check for lang " << lang << std::endl;

  pnl_xml::Xml actions = ask_panel(PNL_NAME(), "func=actionlist&out=xml");
  record_failed_query(actions, PNL_NAME(), "func=actionlist&out=xml");
  SourceLines lines(pnl_file::GetCurrentDir());

  std::ostringstream out;
  std::vector<std::string> files;
  getXmlFiles(files, lang);
  for (const std::string& path : files) {
    std::string name = pnl_file::SplitPath(path).second;
    for (int i = 0; i < 3; ++i) str::RGetWord(name, '.');
    // Shared message files are no actions.
    if (name == "global" || name == "common" || name == "msgerror") continue;
    pnl_xml::XPath found(actions, "//elem/action[text()='" + name + "']");
    if (found.size() == 0) {
      out << "\t" << name << " - no such action" << "\n";
      Finding finding;
      finding.kind = "no-such-action";
      finding.audit = "actionlist";
      finding.object = name;
      finding.element_type = "section";
      finding.element = name;
      finding.language = lang;
      finding.file = MessageFile(PNL_NAME(), lang);
      finding.line = lines.Message(PNL_NAME(), lang, name, "");
      finding.report = "\t" + name + " - no such action\n";
      Findings().Add(finding);
    }
  }

  if (out.str().empty())
    std::cout << "\tEverything is ok" << std::endl;
  else
    std::cout << out.str() << std::flush;
}
