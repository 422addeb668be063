// The identity of a finding from one run to the next: what a baseline
// records and what SARIF carries as the partial fingerprint.
//
// A finding is identified by six parts, its kind, manager, object, element
// (type and name), message name and language, and by its occurrence: the
// rank, from 1, among the findings of the same run that share the six parts,
// ordered by their report text and then by report order. Line numbers, the
// report order of other findings and the other findings themselves never
// enter it, so an identity survives lines added or removed anywhere, objects
// reordered and languages added; it changes when one of the six parts does.
// Two findings of one run never share an identity, so comparing the
// identities of two runs compares their findings as multisets.
#ifndef REPORT_FINGERPRINT_H_
#define REPORT_FINGERPRINT_H_

#include <string>
#include <tuple>
#include <vector>

#include "findings/json.h"

namespace report {

using Json = findings::Json;

struct FindingIdentity {
  std::string kind;
  std::string object;        // "" for a finding of no object
  std::string element_type;  // "" for a finding of no element
  std::string element;
  std::string message;       // name of the message at fault, or ""
  std::string language;      // "" for a finding of no language
  long occurrence = 1;

  // The parts in one order, for sorting and comparing.
  auto Tie() const {
    return std::tie(object, element_type, element, message, kind, language, occurrence);
  }
  bool operator<(const FindingIdentity& other) const { return Tie() < other.Tie(); }
  bool operator==(const FindingIdentity& other) const { return Tie() == other.Tie(); }

  // The fingerprint of the finding in a run of `manager`:
  // "KIND|MANAGER|OBJECT|TYPE:ELEMENT|MESSAGE|LANGUAGE|OCCURRENCE", with
  // "\" and "|" inside a part written as "\\" and "\|", and an absent part
  // (and the element of a finding without one) empty.
  std::string Fingerprint(const std::string& manager) const;
};

// The identities of the findings of a findings document, in document order.
std::vector<FindingIdentity> IdentitiesOf(const Json& doc);

}  // namespace report

#endif  // REPORT_FINGERPRINT_H_
