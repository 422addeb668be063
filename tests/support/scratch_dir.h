// A scratch installation directory for tests: created empty under the
// system's temporary directory, made the current directory while the object
// lives, and removed afterwards (after stopping any panel that runs in it and
// making every directory in it writable again). Its name holds a blank on
// purpose ("msglint test-XXXXXX"): every test then also shows that no path
// is split at blanks on its way to a program.
#ifndef TESTS_SUPPORT_SCRATCH_DIR_H_
#define TESTS_SUPPORT_SCRATCH_DIR_H_

#include <string>

namespace testing_support {

class ScratchDir {
 public:
  ScratchDir();
  ~ScratchDir();
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  // Absolute path of the directory (no trailing "/").
  const std::string& path() const { return path_; }

  // Writes `text` to the file `rel` (relative to the directory), creating
  // missing parent directories.
  void Write(const std::string& rel, const std::string& text) const;
  // Content of the file `rel`; "" when it cannot be read.
  std::string Read(const std::string& rel) const;
  // Creates the directory `rel` and its parents.
  void MakeDir(const std::string& rel) const;
  // Makes `rel` a symbolic link to `target`.
  void Link(const std::string& target, const std::string& rel) const;

  // Lays out the reference panel's programs: bin/kern and sbin/pnlctl, as
  // links to the programs of the build tree.
  void InstallPanel() const;
  // Adds manager `name`: bin/`name` as a link to kern.
  void AddManagerLink(const std::string& name) const;

  // Sends SIGTERM to every panel whose pid file is under var/run and waits
  // (briefly) until each is gone.
  void StopPanels() const;

 private:
  std::string previous_cwd_;
  std::string path_;
};

// Paths of the programs of the build tree.
std::string KernProgram();
std::string PnlctlProgram();
std::string LauncherProgram();
std::string ModuleLibrary();
std::string NoSleepLibrary();

// Sends SIGTERM to every panel whose pid file is under DIR/var/run and waits
// (briefly) until each is gone.
void StopPanelsIn(const std::string& dir);

// Lines of the log file written under `dir` for `name` (var/log/NAME.log),
// each reduced to what follows the level: for the record
//   "2026-11-22 10:00:00 [1234] msglint 3 Text"
// the entry is "3 Text". Empty when there is no log.
std::string LogRecords(const std::string& dir, const std::string& name);

}  // namespace testing_support

#endif  // TESTS_SUPPORT_SCRATCH_DIR_H_
