// The outputs of sbin/msglint-report, made from a findings document (the
// var/msglint/findings.json that a run of msglint writes): a SARIF 2.1.0
// log and the check that CI runs (the HTML page is html_page.h's).
#ifndef REPORT_REPORT_H_
#define REPORT_REPORT_H_

#include <ostream>
#include <string>

#include <nlohmann/json.hpp>

#include "findings/reader.h"
#include "findings/source_lines.h"
#include "report/baseline.h"

namespace report {

// What is wrong with a text that findings::Read refused, in this program's
// words; "" for kNone.
std::string Refusal(findings::Fault fault);

// True when `doc` is a findings document this program knows (findings::Check)
// with every part that the outputs show; else `why` says what is wrong.
bool IsFindingsDocument(const Json& doc, std::string& why);

// What a code-scanning service takes of one SARIF run: GitHub's limits of
// 25,000 results and 10 MB of gzip-compressed log.
inline constexpr long kSarifMaxResults = 25000;
inline constexpr long kSarifMaxGzipBytes = 10L * 1000 * 1000;

// The limits a SARIF log is written within; 0 for none.
struct SarifLimits {
  long max_results = kSarifMaxResults;
  long max_gzip_bytes = kSarifMaxGzipBytes;
};

// The size of `text` compressed by gzip at its default level, as a service
// that takes a compressed upload counts it.
size_t GzipSize(const std::string& text);

// The results of each level that a limit left out of a SARIF log.
struct SarifLeftOut {
  long written = 0;
  long errors = 0;
  long warnings = 0;
  long notes = 0;
  long fixed = 0;  // absent findings of a baseline
  long Total() const;
  // One line: "the SARIF log holds W of T results; left out: ... (--max-results 0
  // writes them all)".
  std::string Describe() const;
};

// The SARIF 2.1.0 log of the findings. With a comparison with a baseline,
// every result has its baselineState, and the absent findings follow the
// others as results of their own. When the findings give more results than
// `limits` allow, the errors are kept first, then the warnings, the notes
// and the fixed findings, each in report order, and `left_out` (if given)
// counts what is left out; the results kept stay in report order. With
// `messages`, the messages of a repeated text have their lines. The log is
// written on one line, without a newline, result by result: it is never
// held whole.
void WriteSarif(std::ostream& out, const Json& doc, const Comparison* baseline, const SarifLimits& limits,
                SarifLeftOut* left_out, findings::SourceLines* messages);

// The same log as a JSON value.
Json ToSarif(const Json& doc, const Comparison* baseline = nullptr, const SarifLimits& limits = {},
             SarifLeftOut* left_out = nullptr, findings::SourceLines* messages = nullptr);

// The rank of a level: note 1, warning 2, error 3; 0 for anything else.
int LevelRank(const std::string& level);

// One line per input problem of the findings document:
// "input problem: KIND FILE[:LINE] [LANG]: MESSAGE".
std::string InputProblemLines(const Json& doc);

// One line per level that findings have, error first, counting them and
// the findings of each kind, the five most frequent (ties in the order of
// the names): "error: 24 findings: missing-hint 8, missing-label 6, ...
// and 3 more kinds".
std::string KindCountLines(const Json& doc);

// The check's lines (one per language, one per input problem, the counts of
// KindCountLines, a count of the findings at or above `fail_on`) in `out`; true when it passes: no
// input problem and no such finding. With a comparison with a baseline, a
// line per language counts the new, unchanged and fixed findings, and only
// new findings at or above `fail_on` fail the check.
bool Check(const Json& doc, const std::string& fail_on, std::string& out,
           const Comparison* baseline = nullptr);

}  // namespace report

#endif  // REPORT_REPORT_H_
