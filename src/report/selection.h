// Which findings of a findings document an output of msglint-report shows:
// the options --min-level, --language, --kind, --object and --new-only,
// applied in one place so that the JSON, the SARIF log, the page, the check
// and a baseline written with them all hold the same findings.
#ifndef REPORT_SELECTION_H_
#define REPORT_SELECTION_H_

#include <set>
#include <string>

#include "report/baseline.h"

namespace report {

class Selection {
 public:
  // Each setter takes the option's value as given and returns "" or what
  // is wrong with it, naming the value ("unknown kind 'x'").
  std::string SetMinLevel(const std::string& level);
  // A comma-separated list; empty items are refused.
  std::string SetLanguages(const std::string& list);
  std::string SetKinds(const std::string& list);
  void SetObject(const std::string& object) { object_ = object; }
  void SetNewOnly() { new_only_ = true; }

  bool new_only() const { return new_only_; }
  // True when no option narrows the findings.
  bool Everything() const;

  // "" when every language of the selection is a language of the document
  // (audited, or of a finding), else what is wrong naming the first that
  // is not.
  std::string CheckLanguages(const Json& doc) const;

  // True when the finding `f` (an entry of the document's findings, in
  // `state` when compared with a baseline) is selected.
  bool Selects(const Json& f, BaselineState state = BaselineState::kNew) const;
  // The same for a finding of a baseline that the run no longer has.
  bool SelectsAbsent(const FindingIdentity& id) const;

  // `doc` with only the selected findings, and the statistics of the
  // selected languages only. With a comparison, `compared` becomes the
  // comparison of what is kept. The identities are those of the whole
  // document: a finding keeps its fingerprint whatever is selected. The
  // findings kept are moved, not copied, out of `doc`.
  Json Apply(Json doc, const Comparison* comparison, Comparison* compared) const;

 private:
  // The test of every option but --new-only, on the parts of a finding.
  bool Matches(const std::string& level, const std::string& language, const std::string& kind,
               const std::string& object) const;

  int min_rank_ = 0;
  std::set<std::string> languages_;
  std::set<std::string> kinds_;
  std::string object_;
  bool new_only_ = false;
};

}  // namespace report

#endif  // REPORT_SELECTION_H_
