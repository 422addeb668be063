// The fixer: adds the messages that the last run found missing to the
// manager's message files, each where the audits look for it, or shows
// the change as a unified diff. Runs in an installation directory, which
// must be the current directory.
#ifndef FIX_FIXER_H_
#define FIX_FIXER_H_

#include <ostream>
#include <string>
#include <vector>

namespace fix {

struct FixOptions {
  std::string manager;
  std::vector<std::string> languages;
  // The text of new messages: empty and marked todo="translate" (the
  // default), `text` as given (`use_text`), or the text that language
  // `from` has for the same message, marked todo="translate".
  bool use_text = false;
  std::string text;
  std::string from;
  bool dry_run = false;
  bool backup = true;  // keep the file as it was in FILE.orig
  // The translators' round trip (one language): write the PO file
  // `export_path` of what the language still needs, its msgids in the
  // language `source`; or take the texts of the PO file `import_path`,
  // its fuzzy entries too with `fuzzy`.
  std::string export_path;
  std::string source = "en";
  std::string import_path;
  bool fuzzy = false;
};

// The usage line of the program.
extern const char kFixUsage[];

// Reads the command line (without the program name). False with `error`
// set on a usage error.
bool ParseFixArguments(const std::vector<std::string>& args,
                       FixOptions* options, bool* help, std::string* error);

// The exit statuses of the program.
enum FixStatus {
  kFixed = 0,
  // A message file (or the PO file of an export) was refused or could
  // not be written; it is left as it was.
  kFileRefused = 1,
  kUnusable = 2,  // a usage error, or a findings file that cannot be used
  kForeignPo = 3,  // a PO file of another manager or language
  kMalformedPo = 4,  // a PO file that cannot be read or is malformed
  kSomeSkipped = 5,  // PO entries for no message that the run asks for
};

// Does the work. What was done, or the diff of a dry run, goes to `out`;
// what went wrong to `err`, each line starting with "msglint-fix: ".
// Returns a FixStatus: 0 when every file was fixed (or needed nothing), 1
// when a message file was refused or could not be written (it is then
// left as it was), 2 when the findings file cannot be used; an import also
// 3, 4 or 5.
int RunFix(const FixOptions& options, std::ostream& out, std::ostream& err);

}  // namespace fix

#endif  // FIX_FIXER_H_
