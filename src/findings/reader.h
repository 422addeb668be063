// The one reader of the findings file (var/msglint/findings.json, see
// schema.h): it checks that a text is a findings document of this version
// and gives its run and its findings as typed records. It never prints:
// what is wrong comes back as a Fault, and each program says it in its own
// words. Members of the wrong type read as absent (see json.h), so a
// document edited by hand cannot make a program fail halfway.
#ifndef FINDINGS_READER_H_
#define FINDINGS_READER_H_

#include <string>
#include <vector>

#include "findings/json.h"

namespace findings {

// Why a text is not a findings document that can be read.
enum class Fault {
  kNone,
  kNotJson,
  kForeign,       // JSON, but not of schema kSchemaName
  kOtherVersion,  // a version other than kSchemaVersion
  kNoFindings,    // without the list of findings
};

// One finding as the document records it; "" and 0 for what it lacks.
struct Entry {
  long id = 0;                // its number in the run's report order
  std::string kind;           // "missing-hint", ...
  std::string level;
  std::string audit;
  std::string manager;
  std::string object;         // form, list, message section or "mainmenu"
  std::string element_type;   // "field", "column", "button", "menu-item", ...
  std::string element;        // its name
  std::string language;
  long result_bit = 0;
  bool has_message = false;   // it names a message at fault:
  std::string message;        //   its name,
  std::string section;        //   the section where it belongs,
  std::string message_file;   //   the message file of that section,
  std::string add;            //   and the element to add, if it is missing
  std::string file;           // the file of the element and its line
  long line = 0;
  std::string report;         // the lines the run printed for it
  std::string audit_line;     // its line of var/test_msgs
  bool input_problem = false; // an input problem may have caused it
};

// What the reader gives of a document.
struct Document {
  Json json;                           // the whole document as read
  std::string manager;                 // the run's manager
  std::vector<std::string> languages;  // the languages the run audited
  std::vector<Entry> findings;         // in report order
};

// Parses `text` into `json` and checks it (see Check): kNone, or what is
// wrong with it (`json` is then null). For a program that reads the
// document's members itself; Read also gives its typed records.
Fault Parse(const std::string& text, Json* json);

// Parses `text` into `doc`: kNone, or what is wrong with it (`doc` is then
// left empty).
Fault Read(const std::string& text, Document* doc);

// What is wrong with a parsed document: its schema, its version or its
// list of findings.
Fault Check(const Json& json);

// The findings of a document, in its order; none when it has no list.
std::vector<Entry> EntriesOf(const Json& json);

}  // namespace findings

#endif  // FINDINGS_READER_H_
