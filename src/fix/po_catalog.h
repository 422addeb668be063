// The messages that a language still needs a text for, as the translators'
// round trip sees them: every message that the last run found missing or
// empty in that language, in report order, then every message of the
// language's message file still marked todo="translate". Each says what it
// is for ("label of field "note" in form "mailbox.edit"") and where the
// element that wants it stands in the manager's description.
#ifndef FIX_PO_CATALOG_H_
#define FIX_PO_CATALOG_H_

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "findings/reader.h"
#include "fix/message_texts.h"

namespace fix {

struct NeededMessage {
  std::string section;
  std::string name;
  std::vector<std::string> purposes;  // what it is for, one line each
  std::vector<std::pair<std::string, std::size_t>> places;  // file, line
  bool in_file = false;  // the message file has it (empty, or to translate)
};

// What one finding asks a message for: "hint of field "name" in form
// "mailbox.edit"", "menu item "mailqueue"", ...; "" for a finding that names
// no message of the missing-message audits or the column-hint check.
std::string PurposeOf(const findings::Entry& finding);

// True for the findings of a message missing or empty in a message file.
bool IsMissingOrEmpty(const findings::Entry& finding);

// The messages that `lang` of `manager` needs, from the findings of the
// last run and the language's message file (`texts`, without the base
// manager's). Findings that an input problem may have caused, or that
// belong to another file, are left out and counted in `doubtful`.
std::vector<NeededMessage> NeededMessages(const findings::Document& doc,
                                          const std::string& manager,
                                          const std::string& lang,
                                          const MessageTexts& texts,
                                          std::size_t* doubtful);

}  // namespace fix

#endif  // FIX_PO_CATALOG_H_
