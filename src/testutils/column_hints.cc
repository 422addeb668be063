// The column hint check: list columns without a hint message.
#include "testutils/column_hints.h"

#include <algorithm>
#include <ostream>
#include <set>
#include <string_view>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/str.h"
#include "testutils/audit_finding.h"
#include "testutils/findings.h"

namespace msglint_private {

namespace {

std::string XmlPath(const std::string& work_dir, const std::string& file) {
  return pnl_file::ConcatNPath(4, work_dir.c_str(), "etc", "xml", file.c_str());
}

}  // namespace

ColumnList::ColumnList(const RunContext& run, const std::string& lang)
    : manager(run.manager), lang(lang) {
  const std::string path = XmlPath(run.work_dir, findings::DescriptionFileName(manager));
  if (pnl_file::Exists(path)) doc.LoadFromFile(path);

  std::vector<std::string> columns;
  for (pnl_xml::XmlNode metadata : doc.GetNodes("/pnldata/metadata")) {
    const std::string list = metadata.GetProp("name");
    // The lines are those of the last list of the name, even one without
    // columns, whose earlier namesake's columns then have no line.
    std::unordered_map<std::string, long>& at = lines_[list];
    at.clear();
    pnl_xml::XmlNode coldata = metadata.FindNode("coldata");
    if (!coldata) continue;
    for (pnl_xml::XmlNode col = coldata.FirstChild(); col; col = col.Next()) {
      const std::string name = col.GetProp("name");
      if (!name.empty()) columns.push_back(name);
      at.emplace(name, col.Line());
    }
    table[list] = columns;
    columns.clear();
  }
  // The table and the lines are all that the check needs; a large
  // description's parsed document goes before the message file is read.
  doc = pnl_xml::Xml();
}

long ColumnList::Line(const std::string& list, const std::string& column) const {
  auto at = lines_.find(list);
  if (at == lines_.end()) return 0;
  auto line = at->second.find(column);
  return line != at->second.end() ? line->second : 0;
}

ColumnList::HintList::HintList(const RunContext& run, const std::string& lang)
    : manager(run.manager),
      lang(lang),
      path_(XmlPath(run.work_dir, findings::MessageFileName(manager, lang))) {}

// The sections that "/pnldata/lang[@name='LANG']/messages" selects, found by
// the element scanner; false when the file is not one that the scanner
// reads exactly as the parser and the query would.
bool ColumnList::HintList::ScanSections(std::vector<Section>* sections) const {
  // An empty language makes a query that tells an absent attribute from an
  // empty one; one with an apostrophe makes no query at all.
  if (lang.empty() || lang.find('\'') != std::string::npos) return false;
  std::string text;
  if (!pnl_file::ReadFile(path_, text).ok()) return false;
  std::vector<pnl_xml::ElementSpan> spans;
  if (!pnl_xml::ScanPlainElements(text, path_, &spans)) return false;
  if (spans.empty() || spans[0].name != "pnldata") return true;

  // For each span: whether it is a selected lang element, and the index in
  // `sections` of a selected messages element.
  std::vector<bool> is_lang(spans.size(), false);
  std::vector<long> section_of(spans.size(), -1);
  for (size_t i = 1; i < spans.size(); ++i) {
    const pnl_xml::ElementSpan& span = spans[i];
    const long parent = span.parent;
    if (parent == 0) {
      is_lang[i] = span.name == "lang" && span.name_attr == lang;
    } else if (parent > 0 && is_lang[parent]) {
      if (span.name != "messages") continue;
      section_of[i] = static_cast<long>(sections->size());
      sections->push_back({span.name_attr, {}});
    } else if (parent > 0 && section_of[parent] >= 0) {
      (*sections)[section_of[parent]].children.emplace_back(span.name, span.name_attr);
    }
  }
  return true;
}

void ColumnList::HintList::QuerySections(std::vector<Section>* sections) {
  if (pnl_file::Exists(path_)) doc.LoadFromFile(path_);
  for (pnl_xml::XmlNode section :
       doc.GetNodes("/pnldata/lang[@name='" + lang + "']/messages")) {
    Section found{section.GetProp("name"), {}};
    for (pnl_xml::XmlNode child = section.FirstChild(); child; child = child.Next())
      found.children.emplace_back(child.Name(), child.GetProp("name"));
    sections->push_back(std::move(found));
  }
}

void ColumnList::HintList::Parse() {
  std::vector<Section> sections;
  if (!ScanSections(&sections)) {
    sections.clear();
    QuerySections(&sections);
  }
  // Section -> the sections whose hints it would take over through its
  // includes. Only includes feed these sets, so they stay empty and an
  // include never adds a hint to a section.
  std::map<std::string, std::set<std::string>> includes;
  for (const Section& section : sections) {
    std::set<std::string> hints;
    for (const auto& [name, name_attr] : section.children) {
      if (name == "include") {
        const std::set<std::string> included = includes[name_attr];
        std::set<std::string>& own = includes[section.name];
        own.insert(included.begin(), included.end());
      } else if (name == "msg" && str::StartsWith(name_attr, "hint_")) {
        hints.insert(name_attr);
      }
    }
    table[section.name] = std::vector<std::string>(hints.begin(), hints.end());
  }
  for (const auto& [section_name, included] : includes) {
    for (const std::string& other : included) {
      auto from = table.find(other);
      if (from == table.end()) continue;
      const std::vector<std::string> extra = from->second;
      std::vector<std::string>& into = table[section_name];
      into.insert(into.end(), extra.begin(), extra.end());
    }
  }
}

}  // namespace msglint_private

void report_column_hints(RunContext& run, const std::string& lang) {
  const std::string& manager = run.manager;
  msglint_private::ColumnList columns(run, lang);
  msglint_private::ColumnList::HintList hints(run, lang);
  hints.Parse();
  for (const auto& [list, names] : columns.table) {
    for (const std::string& column : names) {
      bool lacks = hints.table.empty();
      if (!lacks) {
        auto section = hints.table.find(list);
        lacks = section == hints.table.end() ||
                std::find(section->second.begin(), section->second.end(),
                          "hint_" + column) == section->second.end();
      }
      if (lacks) {
        const std::string line =
            "В таблице '" + list + "' отстутствет хинт для столбца '" + column + "'\n";
        run.out << line;
        Finding finding =
            AuditFinding("column-hints", "missing-column-hint", list, "column", column, lang);
        finding.message_name = "hint_" + column;
        finding.section = list;
        finding.file = findings::DescriptionFile(manager);
        finding.line = columns.Line(list, column);
        finding.report = line;
        run.findings.Add(finding);
      }
    }
  }
}
