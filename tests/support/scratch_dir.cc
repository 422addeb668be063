#include "support/scratch_dir.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace fs = std::filesystem;

namespace testing_support {

namespace {

// True while process `pid` exists and has not exited (a zombie has).
bool IsRunning(long pid) {
  if (kill(static_cast<pid_t>(pid), 0) != 0) return false;
  std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
  std::string text;
  std::getline(stat, text);
  std::size_t close = text.rfind(')');
  return close == std::string::npos || close + 2 >= text.size() || text[close + 2] != 'Z';
}

// Gives the owner full access to `path` and every directory below it,
// without following links, so that a test that took the access away does not
// keep its scratch directory from being removed.
void RestoreAccess(const std::string& path) {
  struct stat st;
  if (lstat(path.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) return;
  chmod(path.c_str(), st.st_mode | S_IRWXU);
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(path, ec))
    RestoreAccess(entry.path().string());
}

}  // namespace

ScratchDir::ScratchDir() {
  previous_cwd_ = fs::current_path().string();
  std::string tmpl = (fs::temp_directory_path() / "msglint test-XXXXXX").string();
  if (mkdtemp(tmpl.data()) == nullptr) throw std::runtime_error("mkdtemp failed");
  path_ = fs::canonical(tmpl).string();
  fs::current_path(path_);
}

ScratchDir::~ScratchDir() {
  StopPanels();
  std::error_code ec;
  fs::current_path(previous_cwd_, ec);
  RestoreAccess(path_);
  fs::remove_all(path_, ec);
}

void ScratchDir::Write(const std::string& rel, const std::string& text) const {
  fs::path p = fs::path(path_) / rel;
  fs::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out << text;
}

std::string ScratchDir::Read(const std::string& rel) const {
  std::ifstream in(fs::path(path_) / rel, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

void ScratchDir::MakeDir(const std::string& rel) const {
  fs::create_directories(fs::path(path_) / rel);
}

void ScratchDir::Link(const std::string& target, const std::string& rel) const {
  fs::path p = fs::path(path_) / rel;
  fs::create_directories(p.parent_path());
  fs::create_symlink(target, p);
}

void ScratchDir::InstallPanel() const {
  Link(KernProgram(), "bin/kern");
  Link(PnlctlProgram(), "sbin/pnlctl");
}

void ScratchDir::AddManagerLink(const std::string& name) const {
  Link("kern", "bin/" + name);
}

void ScratchDir::StopPanels() const { StopPanelsIn(path_); }

void StopPanelsIn(const std::string& dir) {
  fs::path run = fs::path(dir) / "var/run";
  std::error_code ec;
  if (!fs::is_directory(run, ec)) return;
  for (const auto& entry : fs::directory_iterator(run, ec)) {
    if (entry.path().extension() != ".pid") continue;
    std::ifstream in(entry.path());
    long pid = 0;
    if (!(in >> pid) || pid <= 1) continue;
    if (kill(static_cast<pid_t>(pid), SIGTERM) != 0) continue;
    // A panel removes its pid file as it stops; a process that has exited
    // but is not reaped yet counts as stopped too.
    for (int i = 0; i < 100 && fs::exists(entry.path(), ec) && IsRunning(pid); ++i)
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

std::string KernProgram() { return MSGLINT_KERN_PROGRAM; }
std::string PnlctlProgram() { return MSGLINT_PNLCTL_PROGRAM; }
std::string LauncherProgram() { return MSGLINT_LAUNCHER_PROGRAM; }
std::string ModuleLibrary() { return MSGLINT_MODULE_LIBRARY; }
std::string NoSleepLibrary() { return MSGLINT_NOSLEEP_LIBRARY; }

std::string LogRecords(const std::string& dir, const std::string& name) {
  std::ifstream in(fs::path(dir) / "var/log" / (name + ".log"));
  std::string line, out;
  while (std::getline(in, line)) {
    // Skip date, time, [pid] and module name: four blank-separated fields.
    std::size_t pos = 0;
    for (int i = 0; i < 4 && pos != std::string::npos; ++i) {
      pos = line.find(' ', pos);
      if (pos != std::string::npos) ++pos;
    }
    out += (pos == std::string::npos ? line : line.substr(pos)) + "\n";
  }
  return out;
}

}  // namespace testing_support
