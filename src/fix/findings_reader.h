// Picks out of the findings file of a run (var/msglint/findings.json, read
// by findings/reader.h) the findings that one new message can fix: a
// message that the missing-message audit or the column-hint check looked up
// by name and did not find at all (the kinds that findings/kinds.h marks
// fixable).
#ifndef FIX_FINDINGS_READER_H_
#define FIX_FINDINGS_READER_H_

#include <string>
#include <vector>

namespace fix {

// A missing message, as the run recorded it.
struct MissingMessage {
  long id = 0;             // the finding's number in the run's report order
  std::string kind;        // "missing-hint", "missing-title", ...
  std::string manager;
  std::string object;      // form, list or "mainmenu"
  std::string element;     // field, column, button or menu item; "" for none
  std::string language;
  std::string name;        // the message to add: "hint_name", "title", ...
  std::string section;     // the section of the message file it belongs in
  std::string file;        // the message file: "etc/xml/M_msg_L.xml"
  bool input_problem = false;  // an input problem may have caused it
};

// What a findings file holds for the fixer.
struct Findings {
  std::string manager;                 // the run's manager
  std::vector<std::string> languages;  // the languages the run audited
  std::vector<MissingMessage> missing; // in report order
};

// True for the kinds of finding that adding the message fixes (see
// findings::Kind).
bool IsFixableKind(const std::string& kind);
// True for the kinds whose audit also reports a message with an empty
// text (an empty hint, label, check-box description, button short name or
// button hint): they stay reported, as empty, until the text is written.
bool NeedsText(const std::string& kind);

// Parses the text of a findings file. False, with `error` saying why, when
// it is not JSON or not a findings document of version 1.
bool ReadFindings(const std::string& text, Findings* findings,
                  std::string* error);

}  // namespace fix

#endif  // FIX_FINDINGS_READER_H_
