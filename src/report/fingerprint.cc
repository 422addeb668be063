#include "report/fingerprint.h"

#include <algorithm>
#include <map>

#include "findings/reader.h"

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
  for (const findings::Entry& f : findings::EntriesOf(doc)) {
    identities.push_back({f.kind, f.object, f.element_type, f.element, f.message, f.language, 0});
    texts.push_back(f.report);
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
