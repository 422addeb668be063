// The validator check: text inputs of the manager's forms without a
// validator.
#include "testutils/validator.h"

#include <map>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/xml.h"
#include "testutils/audit_finding.h"
#include "testutils/findings.h"

namespace {

// The texts that "//messages[@name='SECTION']/msg[@name='NAME']" selects
// first in a message file. A plain file (see ScanPlainElements) is read
// with the element scanner and only the asked messages are parsed, each on
// its own; any other file, and a name that the query could not quote, is
// asked of the parsed document, as it always was. The document is many
// times the file's bytes, and a large manager's Russian file was the
// check's whole cost in memory.
class FirstMessageTexts {
 public:
  explicit FirstMessageTexts(std::string path) : path_(std::move(path)) {
    if (pnl_file::ReadFile(path_, text_).ok() && pnl_xml::ScanPlainElements(text_, path_, &spans_)) {
      Index();
    } else {
      text_.clear();
      spans_.clear();
      Load();
    }
  }

  std::string Text(const std::string& section, const std::string& name) {
    // An empty name makes a query that tells an absent attribute from an
    // empty one; one with an apostrophe makes no query at all.
    if (scanned_ && Plain(section) && Plain(name)) {
      auto it = first_.find({section, name});
      if (it == first_.end()) return "";
      const pnl_xml::ElementSpan& span = spans_[it->second];
      pnl_xml::Xml msg;
      msg.LoadQuietly(text_.substr(span.begin, span.end - span.begin), path_);
      return msg.GetRoot().Str();
    }
    Load();
    pnl_xml::XPath found(doc_, "//messages[@name='" + section + "']/msg[@name='" + name + "']");
    return found.size() > 0 ? found[0].Str() : "";
  }

 private:
  static bool Plain(const std::string& name) {
    return !name.empty() && name.find('\'') == std::string::npos;
  }

  void Index() {
    scanned_ = true;
    for (size_t i = 0; i < spans_.size(); ++i) {
      const pnl_xml::ElementSpan& span = spans_[i];
      if (span.name != "msg" || span.parent < 0) continue;
      const pnl_xml::ElementSpan& parent = spans_[static_cast<size_t>(span.parent)];
      if (parent.name == "messages") first_.emplace(std::make_pair(parent.name_attr, span.name_attr), i);
    }
  }

  // Read for this check only: the cache of parsed files need not keep it.
  void Load() {
    if (loaded_) return;
    loaded_ = true;
    const bool keep = pnl_xml::KeepsParsedFiles();
    pnl_xml::SetKeepParsedFiles(false);
    doc_.LoadFromFile(path_);
    pnl_xml::SetKeepParsedFiles(keep);
  }

  std::string path_;
  std::string text_;
  std::vector<pnl_xml::ElementSpan> spans_;
  bool scanned_ = false;
  std::map<std::pair<std::string, std::string>, size_t> first_;
  bool loaded_ = false;
  pnl_xml::Xml doc_;
};

}  // namespace

void check_validator(RunContext& run) {
  run.out << '\n';
  run.out << "Checking validator for inputs\n";

  const std::string xml_dir = run.work_dir + "/etc/xml/";
  pnl_xml::Xml description;
  description.LoadFromFile(xml_dir + findings::DescriptionFileName(run.manager));
  // The Russian titles and labels help to find the field on screen,
  // whatever languages the run audits.
  FirstMessageTexts messages(xml_dir + findings::MessageFileName(run.manager, "ru"));

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
    const std::string title = messages.Text(form, "title");
    const std::string label = messages.Text(form, field);

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
