// The last step of every change of a message file: show it as a unified
// diff, or write it in place of the file, atomically, after keeping the
// file as it was in FILE.orig. What goes wrong is said on `err` in one line
// that starts with "msglint-fix: " and ends saying that the file is left
// as it was.
#ifndef FIX_FILE_UPDATE_H_
#define FIX_FILE_UPDATE_H_

#include <ostream>
#include <string>

namespace fix {

// Writes the unified diff (diff -u) from `before` to `after` of the file
// `path` to `out`. False when it cannot be made.
bool ShowDiff(const std::string& path, const std::string& before,
              const std::string& after, std::ostream& out, std::ostream& err);

// Replaces the file `path` (which holds `before`) by `after`, keeping
// `before` in `path`.orig when `backup` is set. False, with the file left
// as it was, when it is read-only, a symbolic link or cannot be written.
bool WriteFile(const std::string& path, const std::string& before,
               const std::string& after, bool backup, std::ostream& err);

}  // namespace fix

#endif  // FIX_FILE_UPDATE_H_
