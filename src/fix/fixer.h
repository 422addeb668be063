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
};

// The usage line of the program.
extern const char kFixUsage[];

// Reads the command line (without the program name). False with `error`
// set on a usage error.
bool ParseFixArguments(const std::vector<std::string>& args,
                       FixOptions* options, bool* help, std::string* error);

// Does the work. What was done, or the diff of a dry run, goes to `out`;
// what went wrong to `err`, each line starting with "msglint-fix: ".
// Returns 0 when every file was fixed (or needed nothing), 1 when a
// message file was refused or could not be written (it is then left as it
// was), 2 when the findings file cannot be used.
int RunFix(const FixOptions& options, std::ostream& out, std::ostream& err);

}  // namespace fix

#endif  // FIX_FIXER_H_
