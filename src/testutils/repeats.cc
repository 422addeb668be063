// The repeated-message audit: message texts of a language that occur more
// than once among the manager's cached messages.
#include "testutils/repeats.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <ostream>
#include <sstream>

#include "pnl/file.h"
#include "testutils/audit_finding.h"
#include "testutils/discovery.h"
#include "testutils/findings.h"

namespace {

// The leading decimal number of `text` as base-10 strtol reads it, cut to a
// signed 32-bit integer.
int32_t LeadingNumber(const std::string& text) {
  long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long>(value)));
}

}  // namespace

bool order(const std::string& a, const std::string& b) {
  return LeadingNumber(a) > LeadingNumber(b);
}

void AddRepeats(const std::string& path, const pnl_xml::Xml& doc, RepeatTable& table) {
  const std::string base = pnl_file::SplitPath(path).second;
  for (pnl_xml::XmlNode msg : pnl_xml::XPath(doc, "//msg")) {
    if (!msg.GetProp("added").empty()) continue;
    table[msg.Str()].emplace_back(base, msg.GetProp("name"));
  }
}

void PrintRepeats(RunContext& run, const std::string& lang, const RepeatTable& table) {
  std::vector<std::string> blocks;
  std::vector<Finding> repeated;
  for (const auto& [text, places] : table) {
    std::ostringstream block;
    if (places.size() > 1) {
      block << places.size() << " - '" << text << "'" << "\n";
      for (const XmlMsg& place : places) block << "\t" << place.file << " " << place.name << "\n";
      Finding finding = AuditFinding("repeats", "repeated-message", "", "text", text, lang);
      finding.report = block.str();
      repeated.push_back(finding);
    }
    blocks.push_back(block.str());
  }
  // Equal counts keep the ascending order of their texts, so that every run
  // reports alike.
  std::stable_sort(blocks.begin(), blocks.end(), order);
  for (const std::string& block : blocks) run.out << block;
  // Recorded in the order printed.
  std::stable_sort(repeated.begin(), repeated.end(),
                   [](const Finding& a, const Finding& b) { return order(a.report, b.report); });
  for (const Finding& finding : repeated) run.findings.Add(finding);
}

void PrintRepeatsHeader(RunContext& run, const std::string& lang) {
  run.out << '\n';
  run.out << "Repeated messages for lang " << lang << '\n';
}

void check_repeats(RunContext& run, const std::string& lang) {
  PrintRepeatsHeader(run, lang);
  RepeatTable table;
  ForEachCacheFile(run, lang, [&table](const std::string& path, pnl_xml::Xml& doc) {
    AddRepeats(path, doc, table);
  });
  PrintRepeats(run, lang, table);
}
