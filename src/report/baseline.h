// A baseline: the identities of the findings of one run of a manager, kept
// in a small JSON file beside the manager's descriptions, and the
// comparison of a later run with it (each finding new or unchanged, each
// recorded finding that is gone absent).
//
// The file holds its format name and version, the manager and one line per
// finding (its kind, object, element, message name, language and
// occurrence, see fingerprint.h), sorted, so that the diff of the file
// between two commits reads as the findings added and fixed.
#ifndef REPORT_BASELINE_H_
#define REPORT_BASELINE_H_

#include <string>
#include <vector>

#include "report/fingerprint.h"

namespace report {

// Version of the baseline file; raised when a field changes meaning or goes
// away (new fields keep it). A file of a higher version is refused.
constexpr int kBaselineVersion = 1;

class Baseline {
 public:
  // Why a text is not a baseline that can be compared with.
  enum class Fault {
    kNone,
    kMalformed,     // not JSON, or a baseline with a field missing or wrong
    kForeign,       // JSON, but not a baseline
    kNewerVersion,  // a baseline of a format version this program does not know
  };

  // The baseline of the findings of a findings document.
  static Baseline Of(const Json& doc);

  // Reads the text of a baseline file into `out`; kNone, or the fault with
  // `why` saying what is wrong in a few words.
  static Fault Parse(const std::string& text, Baseline& out, std::string& why);

  // The text of the file, ending in a newline.
  std::string ToText() const;

  const std::string& manager() const { return manager_; }
  // Sorted, each identity once.
  const std::vector<FindingIdentity>& findings() const { return findings_; }

 private:
  std::string manager_;
  std::vector<FindingIdentity> findings_;
};

enum class BaselineState { kNew, kUnchanged, kAbsent };

// "new", "unchanged" or "absent", as SARIF names them.
const char* StateName(BaselineState state);

// A findings document compared with a baseline of the same manager.
struct Comparison {
  std::vector<FindingIdentity> identities;  // of each finding, in document order
  std::vector<BaselineState> states;        // of each finding: new or unchanged
  std::vector<FindingIdentity> absent;      // recorded and gone, in baseline order
};

Comparison Compare(const Json& doc, const Baseline& baseline);

}  // namespace report

#endif  // REPORT_BASELINE_H_
