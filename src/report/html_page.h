// The findings page of msglint-report (--format html): one self-contained
// HTML file, opened from disk without network, that a translator filters by
// language, level, kind, object and baseline state. The findings travel in
// the page as compact JSON and the page's script draws only the rows in
// view, so a manager with tens of thousands of findings gives a page of a
// few megabytes that opens in a second or two.
#ifndef REPORT_HTML_PAGE_H_
#define REPORT_HTML_PAGE_H_

#include <ostream>
#include <string>

#include "report/baseline.h"

namespace report {

// The data the page draws from `doc` (a findings document, already
// narrowed by the selection options) and, with a comparison with a
// baseline, the baseline states and the absent findings:
//   {"manager", "command", "baseline": bool,
//    "strings": ["", ...],                 every short text, each once
//    "statistics": [[LANG, required, present, missing, empty, percent,
//                    [[OBJECT, required, present, missing, empty, percent], ...]], ...],
//    "problems": ["input problem: ...", ...],
//    "help": [[KIND, "help text"], ...],
//    "findings": [[STATE, LEVEL, KIND, OBJECT, ELEMENT_TYPE, ELEMENT, LANG,
//                  MESSAGE, SECTION, MESSAGE_FILE, ADD, FILE, line, "report"
//                  (, [REFERENCE_LANG, "reference", "text", "difference"] for a
//                  finding of the texts audit)], ...]}
// Upper-case fields are indexes into "strings" (0, the empty string, for
// what a finding lacks), the most used texts first; STATE is 0 new, 1
// unchanged, 2 fixed (0 for every finding without a baseline). With a baseline the new findings come
// first, then the unchanged ones, then the fixed ones; each group in report
// order.
Json PageData(const Json& doc, const Comparison* baseline = nullptr);

// `data` as the text of a <script type="application/json"> element: JSON on
// one line, with every '<' written as \u003c, so that no text in it ends
// the element ("</script") or opens a comment ("<!--"), and bytes that are
// not UTF-8 replaced.
std::string ScriptJson(const Json& data);

// Writes the whole page to `out`: summary, filters and findings, with its
// style and script.
void WriteHtml(std::ostream& out, const Json& doc, const Comparison* baseline = nullptr);

// The same page as a text.
std::string ToHtml(const Json& doc, const Comparison* baseline = nullptr);

}  // namespace report

#endif  // REPORT_HTML_PAGE_H_
