// The kinds of finding that a run records, in one table: for each its name
// in the findings file, its level, the audit that reports it, the bit of
// the run's status that it sets, what it means (the report tool's help
// text) and what the fixer can do about it.
#ifndef FINDINGS_KINDS_H_
#define FINDINGS_KINDS_H_

#include <span>
#include <string>
#include <string_view>

namespace findings {

struct Kind {
  const char* name;   // "missing-hint", "wrong-text-color", ...
  const char* level;  // "error", "warning" or "note"
  const char* audit;  // "missing-messages", "unused", ...
  int result_bit;     // 0 for the kinds that never change the status
  // The fixer adds the missing message that the finding names.
  bool fixable;
  // The audit also reports the message with an empty text (an empty hint,
  // label, ...): the finding stays reported, as empty, until the text of
  // the added message is written.
  bool needs_text;
  const char* help;
};

// Every kind, in the order of the audits' report.
std::span<const Kind> Kinds();

// The kind called `name`; null for a name that is no kind.
const Kind* FindKind(std::string_view name);

// The level of `kind`; "error" for a name that is no kind.
std::string LevelOf(std::string_view kind);

// The help text of `kind`; a general one for a name that is no kind.
std::string HelpOf(std::string_view kind);

}  // namespace findings

#endif  // FINDINGS_KINDS_H_
