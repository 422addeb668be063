#include "report/fingerprint.h"

#include <algorithm>
#include <map>

#include "findings/json.h"

namespace report {

namespace {

// A part of a fingerprint, its separators escaped.
std::string Part(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (c == '\\' || c == '|') out += '\\';
    out += c;
  }
  return out;
}

}  // namespace

std::string FindingIdentity::Fingerprint(const std::string& manager) const {
  const std::string element_part = element_type.empty() ? "" : element_type + ":" + element;
  return Part(kind) + "|" + Part(manager) + "|" + Part(object) + "|" + Part(element_part) + "|" +
         Part(message) + "|" + Part(language) + "|" + std::to_string(occurrence);
}

std::vector<FindingIdentity> IdentitiesOf(const Json& doc) {
  std::vector<FindingIdentity> identities;
  std::vector<std::string> texts;
  // The parts read as findings::EntriesOf reads them, without copying the
  // rest of each finding.
  const Json& list = findings::At(doc, "findings");
  if (!list.is_array()) return identities;
  for (const Json& f : list) {
    const Json& element = findings::At(f, "element");
    identities.push_back({findings::Str(findings::At(f, "kind")), findings::Str(findings::At(f, "object")),
                          findings::Str(findings::At(element, "type")),
                          findings::Str(findings::At(element, "name")),
                          findings::Str(findings::At(findings::At(f, "message"), "name")),
                          findings::Str(findings::At(f, "language")), 0});
    texts.push_back(findings::Str(findings::At(f, "report")));
  }

  // Findings that share the six parts, each group ranked by report text,
  // then by report order.
  std::map<FindingIdentity, std::vector<size_t>> groups;
  for (size_t i = 0; i < identities.size(); ++i) groups[identities[i]].push_back(i);
  for (auto& [key, members] : groups) {
    std::stable_sort(members.begin(), members.end(),
                     [&texts](size_t a, size_t b) { return texts[a] < texts[b]; });
    long rank = 0;
    for (size_t i : members) identities[i].occurrence = ++rank;
  }
  return identities;
}

}  // namespace report
