#include "fix/file_update.h"

#include <vector>

#include "pnl/file.h"
#include "pnl/proc.h"

namespace fix {

namespace {

const char kPrefix[] = "msglint-fix: ";

// The unified diff between two texts of the file `path`, by diff(1); false
// with `error` set when it cannot be made.
bool Diff(const std::string& path, const std::string& before,
          const std::string& after, std::string* diff, std::string* error) {
  pnl_file::TempDir temp;
  if (temp.path().empty()) {
    *error = "cannot make a temporary directory";
    return false;
  }
  std::string a = temp.path() + "/a";
  std::string b = temp.path() + "/b";
  if (!pnl_file::ReplaceFile(a, before, error) ||
      !pnl_file::ReplaceFile(b, after, error))
    return false;
  pnl_proc::Execute run(
      std::vector<std::string>{"diff", "-u", "--label", path, "--label", path, a, b});
  run.CaptureOutput();
  int status = run.Result();
  if (status != 0 && status != 1) {
    *error = "diff failed: " + run.Error();
    return false;
  }
  *diff = run.Output();
  return true;
}

}  // namespace

bool ShowDiff(const std::string& path, const std::string& before,
              const std::string& after, std::ostream& out, std::ostream& err) {
  std::string diff;
  std::string error;
  if (!Diff(path, before, after, &diff, &error)) {
    err << kPrefix << path << ": " << error << std::endl;
    return false;
  }
  out << diff << std::flush;
  return true;
}

bool WriteFile(const std::string& path, const std::string& before,
               const std::string& after, bool backup, std::ostream& err) {
  std::string error;
  std::string copy = path + ".orig";
  if (!pnl_file::CanReplace(path, &error)) {
    err << kPrefix << path << ": " << error << "; the file is left as it was"
        << std::endl;
    return false;
  }
  if (backup && !pnl_file::ReplaceFile(copy, before, &error)) {
    err << kPrefix << copy << ": cannot write the copy: " << error
        << "; " << path << " is left as it was" << std::endl;
    return false;
  }
  if (!pnl_file::ReplaceFile(path, after, &error)) {
    err << kPrefix << path << ": cannot be written: " << error
        << "; the file is left as it was" << std::endl;
    return false;
  }
  return true;
}

}  // namespace fix
