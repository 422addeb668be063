// The unused-message audit: messages of a language that nothing in their
// form or list can use, and includes that are not found.
#include "testutils/unused.h"

#include <algorithm>
#include <ostream>
#include <memory>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/audit_finding.h"
#include "testutils/discovery.h"
#include "testutils/findings.h"
#include "testutils/includes.h"
#include "testutils/repeats.h"

std::string get_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? std::string() : word;
}

std::string cut_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? word : name;
}

namespace {

bool Selects(pnl_xml::Xml& doc, const std::string& expr) {
  return pnl_xml::XPath(doc, expr).size() > 0;
}

// A finding of the unused audit about the entry `element` (of
// `element_type`) of section `section` of the language's message file, at
// that file's `line`.
Finding SectionFinding(const std::string& manager, const std::string& kind,
                       const std::string& section, const std::string& element_type,
                       const std::string& element, const std::string& lang, long line) {
  Finding finding = AuditFinding("unused", kind, section, element_type, element, lang);
  finding.section = section;
  finding.file = findings::MessageFile(manager, lang);
  finding.line = line;
  return finding;
}

// The finding of a message of section `section` that nothing uses, at
// `line` of the message file; `report` is its line of the report.
Finding UnusedFinding(const std::string& manager, const std::string& section,
                      const std::string& name, const std::string& lang, long line,
                      const std::string& report) {
  Finding finding = SectionFinding(manager, "unused-message", section, "message", name, lang, line);
  finding.message_name = name;
  finding.report = report;
  return finding;
}

// The findings of the includes that MergeIncludes will find missing.
void RecordMissingIncludes(const RunContext& run, const pnl_xml::XPath& includes,
                           const std::string& section, const std::string& lang,
                           SourceLines& lines, std::vector<Finding>& found) {
  const std::string cache_dir = run.CacheDir();
  for (pnl_xml::XmlNode include : includes) {
    const std::string name = include.GetProp("name");
    if (pnl_file::Exists(pnl_file::ConcatPath(cache_dir, name + ".msg." + lang + ".xml")))
      continue;
    Finding finding =
        SectionFinding(run.manager, "include-not-found", section, "include", name, lang,
                       lines.Message(run.manager, lang, section, ""));
    std::ostringstream line;
    print_msg("include", include.Str(), "include is not found", line);
    finding.report = line.str();
    found.push_back(finding);
  }
}

}  // namespace

bool field_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//form/field/*[@name='" + key + "']") ||
         Selects(meta, "//form/field[@name='" + key + "']") ||
         Selects(meta, "//form/page/field/*[@name='" + key + "']") ||
         Selects(meta, "//form/page/field[@name='" + key + "']");
}

bool page_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//form/page/*[@name='" + key + "']");
}

bool toolbtn_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//toolbar//toolbtn[@name='" + key + "']");
}

bool toolbtn_found_by_func_name(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//toolbar//toolbtn[@func='" + key + "']");
}

bool colprop_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//coldata/col/prop[@name='" + key + "']");
}

bool col_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//coldata/col[@name='" + key + "']");
}

namespace {

// A quote in a key ends the literal it is written in: the query is another
// one, or none.
bool HoldsQuote(const std::string& key) {
  return key.find_first_of("'\"") != std::string::npos;
}

}  // namespace

MetadataLookups::MetadataLookups(const pnl_xml::XmlNode& metadata) : metadata_(metadata) {
  if (pnl_xml::IsLiteralEvaluation()) return;
  // The copy's root stands below the document node, which is no element:
  // the element itself may be a form or a toolbar, never below one.
  const Tag tag = TagOf(metadata_);
  Walk(metadata_, tag, Tag::kOther, Tag::kOther, tag == Tag::kToolbar);
  walked_ = true;
}

MetadataLookups::Tag MetadataLookups::TagOf(const pnl_xml::XmlNode& element) {
  if (!element.InNoNamespace()) return Tag::kOther;
  const std::string name = element.Name();
  if (name == "form") return Tag::kForm;
  if (name == "field") return Tag::kField;
  if (name == "page") return Tag::kPage;
  if (name == "coldata") return Tag::kColdata;
  if (name == "col") return Tag::kCol;
  if (name == "prop") return Tag::kProp;
  if (name == "toolbar") return Tag::kToolbar;
  if (name == "toolbtn") return Tag::kToolbtn;
  return Tag::kOther;
}

void MetadataLookups::Walk(const pnl_xml::XmlNode& node, Tag parent, Tag grand, Tag great,
                           bool in_toolbar) {
  std::string key;
  for (pnl_xml::XmlNode element = node.FirstChild(); element; element = element.Next()) {
    const Tag tag = TagOf(element);
    if (element.GetNoNsProp("name", &key)) {
      // "//form/field/*", "//form/page/field/*": any element, whatever its
      // namespace.
      if (parent == Tag::kField &&
          (grand == Tag::kForm || (grand == Tag::kPage && great == Tag::kForm)))
        fields_.insert(key);
      // "//form/field", "//form/page/field".
      if (tag == Tag::kField &&
          (parent == Tag::kForm || (parent == Tag::kPage && grand == Tag::kForm)))
        fields_.insert(key);
      // "//form/page/*".
      if (parent == Tag::kPage && grand == Tag::kForm) pages_.insert(key);
      // "//toolbar//toolbtn".
      if (tag == Tag::kToolbtn && in_toolbar) toolbtn_names_.insert(key);
      // "//coldata/col/prop", "//coldata/col".
      if (tag == Tag::kProp && parent == Tag::kCol && grand == Tag::kColdata)
        col_props_.insert(key);
      if (tag == Tag::kCol && parent == Tag::kColdata) cols_.insert(key);
    }
    if (tag == Tag::kToolbtn && in_toolbar && element.GetNoNsProp("func", &key))
      toolbtn_funcs_.insert(key);
    Walk(element, tag, parent, grand, in_toolbar || tag == Tag::kToolbar);
  }
}

bool MetadataLookups::AsWritten(const std::string& key) const {
  return !walked_ || HoldsQuote(key);
}

pnl_xml::Xml& MetadataLookups::Copy() {
  if (!copied_) copy_.SetRoot(metadata_, false);
  copied_ = true;
  return copy_;
}

bool MetadataLookups::Field(const std::string& key) {
  return AsWritten(key) ? field_found(Copy(), key) : fields_.count(key) > 0;
}

bool MetadataLookups::Page(const std::string& key) {
  return AsWritten(key) ? page_found(Copy(), key) : pages_.count(key) > 0;
}

bool MetadataLookups::ToolbtnByName(const std::string& key) {
  return AsWritten(key) ? toolbtn_found(Copy(), key) : toolbtn_names_.count(key) > 0;
}

bool MetadataLookups::ToolbtnByFunc(const std::string& key) {
  return AsWritten(key) ? toolbtn_found_by_func_name(Copy(), key)
                        : toolbtn_funcs_.count(key) > 0;
}

bool MetadataLookups::ColProp(const std::string& key) {
  return AsWritten(key) ? colprop_found(Copy(), key) : col_props_.count(key) > 0;
}

bool MetadataLookups::Col(const std::string& key) {
  return AsWritten(key) ? col_found(Copy(), key) : cols_.count(key) > 0;
}

MessageLookups::MessageLookups(pnl_xml::Xml& doc) : doc_(doc) {
  walked_ = !pnl_xml::IsLiteralEvaluation();
}

void MessageLookups::Walk(const pnl_xml::XmlNode& element) {
  std::string name;
  if (element.InNoNamespace() && element.Name() == "msg" && element.GetNoNsProp("name", &name))
    names_.insert(name);
  for (pnl_xml::XmlNode child = element.FirstChild(); child; child = child.Next()) Walk(child);
}

bool MessageLookups::Has(const std::string& name) {
  if (!walked_ || HoldsQuote(name)) return Selects(doc_, "//msg[@name='" + name + "']");
  // Gathered at the first question: most documents are never asked.
  if (!gathered_ && doc_.GetRoot()) Walk(doc_.GetRoot());
  gathered_ = true;
  return names_.count(name) > 0;
}

void form_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out) {
  if (meta.Field(name)) return;
  if (meta.Page(name)) return;
  if (prefix.empty()) {
    if (!meta.Field(name)) print_msg(name, text, "field is not found", out);
    return;
  }
  if (prefix == "hint") {
    if (rest == "default") return;
    if (!meta.Field(name)) print_msg(name, text, "field is not found", out);
    return;
  }
  if (prefix == "placeholder") {
    if (!meta.Field(rest)) print_msg(name, text, "field is not found", out);
    return;
  }
  // A message a_b belongs to the message a of the same document.
  if (!doc.Has(prefix)) print_msg(name, text, "is unrecognized", out);
}

void list_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out) {
  if (prefix.empty()) {
    if (!meta.Col(rest)) print_msg(name, text, "column is not found", out);
    return;
  }
  if (prefix == "short") {
    if (!meta.ToolbtnByName(rest)) print_msg(name, text, "toolbtn is not found", out);
    return;
  }
  if (prefix == "hint") {
    if (get_prefix(rest) == "p") {
      std::string key = cut_prefix(rest);
      if (get_prefix(key) == "def") key = cut_prefix(key);
      if (!meta.ColProp(key)) print_msg(name, text, "column prop is not found", out);
    } else if (!meta.ToolbtnByName(rest) && !meta.Col(rest)) {
      print_msg(name, text, "toolbtn or column is not found", out);
    }
    return;
  }
  if (prefix == "msg") {
    std::string key = cut_prefix(rest);
    if (key == "confirm") key = cut_prefix(key);
    std::replace(key.begin(), key.end(), '_', '.');
    if (!meta.ToolbtnByFunc(key)) print_msg(name, text, "is unrecognized", out);
    return;
  }
  if (doc.Has(prefix)) return;
  if (!meta.Col(name)) print_msg(name, text, "is unrecognized", out);
}

UnusedAudit::UnusedAudit(RunContext& run, const std::string& lang)
    : run_(run), lang_(lang), lines_(run.work_dir, run.last_lines_file) {
  description_.LoadFromFile(run.work_dir + "/" + findings::DescriptionFile(run.manager));
}

MetadataLookups* UnusedAudit::LookupsOf(const std::string& root_name) {
  if (asked_ && root_name == last_root_) return last_lookups_.get();
  pnl_xml::XPath metadata(description_, "//metadata[@name=\"" + root_name + "\"]");
  last_lookups_.reset();
  if (metadata.size() != 0) last_lookups_ = std::make_unique<MetadataLookups>(metadata[0]);
  last_root_ = root_name;
  asked_ = true;
  return last_lookups_.get();
}

bool UnusedAudit::Check(const std::string& path, pnl_xml::Xml& doc, FileReport& report) {
  std::ostringstream out;
  const std::string root_name = doc.GetRoot().GetProp("name");
  // Recorded when the file's lines are printed.
  std::vector<Finding> found;
  std::vector<Unused> unused;

  pnl_xml::XPath includes(doc, "//include");
  if (includes.size() != 0) {
    RecordMissingIncludes(run_, includes, root_name, lang_, lines_, found);
    MergeIncludes(run_, doc, includes, lang_, out);
  }

  // A document without metadata has nothing to be checked against: it is
  // passed over without a word, its merge lines included.
  MetadataLookups* meta = LookupsOf(root_name);
  if (meta == nullptr) return false;
  MessageLookups messages(doc);
  const std::string type = meta->Type();

  for (pnl_xml::XmlNode msg : pnl_xml::XPath(doc, "/*/*")) {
    if (!msg.GetProp("added").empty()) continue;
    const std::string name = msg.GetProp("name");
    const std::string text = msg.Str();
    if (name == "title" || name.starts_with("msg_error_") || name.starts_with("progress_"))
      continue;
    const std::string prefix = get_prefix(name);
    const std::string rest = cut_prefix(name);
    const std::streampos before = out.tellp();
    if (type == "list")
      list_process(prefix, rest, name, *meta, messages, text, out);
    else if (type == "form")
      form_process(prefix, rest, name, *meta, messages, text, out);
    if (out.tellp() != before)
      unused.push_back({name, lines_.Message(run_.manager, lang_, root_name, name),
                        static_cast<std::size_t>(before), static_cast<std::size_t>(out.tellp())});
  }

  if (out.view().empty()) return false;
  report.base = pnl_file::SplitPath(path).second;
  report.section = root_name;
  report.lang = lang_;
  report.lines = std::move(out).str();
  report.includes = std::move(found);
  report.unused = std::move(unused);
  return true;
}

void PrintUnused(RunContext& run, const UnusedAudit::FileReport& report) {
  run.out << '\n';
  run.out << report.base << '\n';
  run.out << report.lines;
  for (const Finding& finding : report.includes) run.findings.Add(finding);
  for (const UnusedAudit::Unused& unused : report.unused)
    run.findings.Add(UnusedFinding(run.manager, report.section, unused.name, report.lang,
                                   unused.line,
                                   report.lines.substr(unused.begin, unused.end - unused.begin)));
}

void PrintUnusedHeader(RunContext& run, const std::string& lang) {
  run.out << '\n';
  run.out << "Unused for lang " << lang << '\n';
}

void check_unused(RunContext& run, const std::string& lang) {
  PrintUnusedHeader(run, lang);
  UnusedAudit audit(run, lang);
  ForEachCacheFile(run, lang, [&run, &audit](const std::string& path, pnl_xml::Xml& doc) {
    UnusedAudit::FileReport report;
    if (audit.Check(path, doc, report)) PrintUnused(run, report);
  });
}

void check_repeats_and_unused(RunContext& run, const std::string& lang) {
  PrintRepeatsHeader(run, lang);
  RepeatTable table;
  UnusedAudit audit(run, lang);
  std::vector<UnusedAudit::FileReport> reports;
  ForEachCacheFile(run, lang, [&](const std::string& path, pnl_xml::Xml& doc) {
    // The repeated audit reads the file as it stands, before the merge.
    AddRepeats(path, doc, table);
    UnusedAudit::FileReport report;
    if (audit.Check(path, doc, report)) reports.push_back(std::move(report));
  });
  PrintRepeats(run, lang, table);
  PrintUnusedHeader(run, lang);
  for (const UnusedAudit::FileReport& report : reports) PrintUnused(run, report);
}
