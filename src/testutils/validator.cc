// The validator check: text inputs of the manager's forms without a
// validator.
#include "testutils/validator.h"

#include <ostream>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/xml.h"
#include "testutils/audit_finding.h"
#include "testutils/findings.h"

void check_validator(RunContext& run) {
  run.out << '\n';
  run.out << "Checking validator for inputs\n";

  const std::string xml_dir = run.work_dir + "/etc/xml/";
  pnl_xml::Xml description;
  description.LoadFromFile(xml_dir + findings::DescriptionFileName(run.manager));
  // The Russian titles and labels help to find the field on screen,
  // whatever languages the run audits.
  // Read for this check only: the cache of parsed files need not keep it
  // (as a document it takes many times the bytes of the file).
  pnl_xml::Xml messages;
  const bool keep = pnl_xml::KeepsParsedFiles();
  pnl_xml::SetKeepParsedFiles(false);
  messages.LoadFromFile(xml_dir + findings::MessageFileName(run.manager, "ru"));
  pnl_xml::SetKeepParsedFiles(keep);

  pnl_xml::XPath inputs(description, "//input[@type=\"text\" and not(@check)]");
  if (inputs.size() == 0) return;

  for (pnl_xml::XmlNode input : inputs) {
    pnl_xml::XmlNode owner = input.Parent(1);
    while (owner && owner.Name() != "metadata" && owner.GetProp("type") != "form")
      owner = owner.Parent(1);

    const pnl_xml::XmlNode parent = input.Parent(1);
    std::string field;
    if (parent.Name() == "field") field = parent.GetProp("name");
    if (field.empty()) field = input.GetProp("name");

    const std::string form = owner.GetProp("name");
    std::string title;
    pnl_xml::XPath titles(messages,
                          "//messages[@name='" + form + "']/msg[@name='title']");
    if (titles.size() > 0) title = titles[0].Str();
    std::string label;
    pnl_xml::XPath labels(messages,
                          "//messages[@name='" + form + "']/msg[@name='" + field + "']");
    if (labels.size() > 0) label = labels[0].Str();

    const std::string line = form + " -> " + field + "\t\t(" + title + " -> " + label + ")\n";
    run.out << line;
    Finding finding =
        AuditFinding("validator", "input-without-validator", form, "field", field, "");
    finding.file = findings::DescriptionFile(run.manager);
    finding.line = input.Line();
    finding.report = line;
    run.findings.Add(finding);
  }
}
