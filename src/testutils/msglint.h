// The msglint module: the entry function kelmain, the functions that every
// audit shares, XML file discovery, include merging and the free-standing
// audits (validators, action list, unused and repeated messages, column
// hints). The missing-message audit lives in MissedCheck.h.
#ifndef TESTUTILS_MSGLINT_H_
#define TESTUTILS_MSGLINT_H_

#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/xml.h"

// The module's exported entry: argv[0] program, argv[1] manager name, then
// an optional report mode ("-s" or "-f") and one or more language codes.
extern "C" __attribute__((visibility("default"))) int kelmain(int argc, char** argv);

// The module's one log writer ("msglint", belonging to the "kern" log).
extern const pnl_log::Module msglint_log;

// Source file base name and line: the two leading values of every trace
// (level 9) record, whose formats begin with "%s:%d ".
#define MSGLINT_HERE __FILE_NAME__, __LINE__

namespace pnl_file {
// The name part of a path (the second part of SplitPath).
inline std::string Name(const std::string& path) { return SplitPath(path).second; }
}  // namespace pnl_file

// The process-wide name of the checked manager, set once by kelmain.
std::string& PNL_NAME();

// Writes the four-line usage text to standard output.
void usage(const std::string& program);

// Appends "\t" object " - " problem ". \t\t msgtext: " text "\n" to `out`.
void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out);

// True when the leading decimal number of `a` is greater than that of `b`
// (strtol in base 10, cut to 32 bits).
bool order(const std::string& a, const std::string& b);

// The text before the first "_" when something follows it, else "".
std::string get_prefix(std::string name);
// The text after the first "_" when not empty, else the text before it.
std::string cut_prefix(std::string name);

// ---- XML file discovery -------------------------------------------------

// True for a path that does not contain "." + lang + ".xml".
struct fileIsNotForLang {
  explicit fileIsNotForLang(std::string lang) : lang(std::move(lang)) {}
  bool operator()(const std::string& path) const;
  std::string lang;
};

// True for a path whose base name is one of `names`.
struct fileIsForKern {
  explicit fileIsForKern(std::vector<std::string> names) : names(std::move(names)) {}
  bool operator()(const std::string& path) const;
  std::vector<std::string> names;
};

// True for a path that contains `text` anywhere.
struct skipFile {
  explicit skipFile(std::string text) : text(std::move(text)) {}
  bool operator()(const std::string& path) const;
  std::string text;
};

// Replaces `out` with the full paths of the entries of `dir`.
void getDirContent(const std::string& dir, std::vector<std::string>& out);
// Replaces `files` with the checked manager's own cached XML files for `lang`.
void getXmlFiles(std::vector<std::string>& files, const std::string& lang);
// Appends to `out` the pieces of `text` between separators.
void split(const std::string& text, char separator, std::vector<std::string>& out);

// ---- Include merging ----------------------------------------------------

// Copies the msg elements of every file that `includes` (the "//include"
// selection of `doc`) names under the root of `doc`, then deletes the
// include elements; a missing file adds a report line to `out`.
void MergeIncludes(pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out);

#endif  // TESTUTILS_MSGLINT_H_
