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
  pnl::Status written = pnl_file::ReplaceFile(a, before);
  if (written.ok()) written = pnl_file::ReplaceFile(b, after);
  if (!written.ok()) {
    *error = written.message();
    return false;
  }
  pnl_proc::Execute run(
      std::vector<std::string>{"diff", "-u", "--label", path, "--label", path, a, b});
  run.CaptureOutput();
  int status = run.Result();
  if (status != 0 && status != 1) {
    *error = "diff failed: " + run.status().message();
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
  std::string copy = path + ".orig";
  if (pnl::Status replaceable = pnl_file::CanReplace(path); !replaceable.ok()) {
    err << kPrefix << path << ": " << replaceable.message() << "; the file is left as it was"
        << std::endl;
    return false;
  }
  if (pnl::Status copied = backup ? pnl_file::ReplaceFile(copy, before) : pnl::Status();
      !copied.ok()) {
    err << kPrefix << copy << ": cannot write the copy: " << copied.message()
        << "; " << path << " is left as it was" << std::endl;
    return false;
  }
  if (pnl::Status replaced = pnl_file::ReplaceFile(path, after); !replaced.ok()) {
    err << kPrefix << path << ": cannot be written: " << replaced.message()
        << "; the file is left as it was" << std::endl;
    return false;
  }
  return true;
}

}  // namespace fix
