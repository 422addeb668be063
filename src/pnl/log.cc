#include "pnl/log.h"

#include <pthread.h>
#include <stdarg.h>
#include <stdio.h>
#include <time.h>
#include <unistd.h>

#include <atomic>
#include <mutex>

#include "pnl/file.h"

namespace pnl_log {

namespace {

// The one log of the process.
struct LogState {
  FILE* file = nullptr;
  std::string path;
  Level level = 5;
};

LogState& State() {
  static LogState state;
  return state;
}

// The process id that records carry, taken once per process rather than
// asked of the system for every record; 0 until taken. A forked child
// forgets its parent's (the handler runs in the child of every fork), and
// takes its own at its first record.
std::atomic<long> g_pid{0};

void ForgetPid() { g_pid.store(0, std::memory_order_relaxed); }

long Pid() {
  static std::once_flag registered;
  std::call_once(registered, [] { pthread_atfork(nullptr, nullptr, ForgetPid); });
  long pid = g_pid.load(std::memory_order_relaxed);
  if (pid == 0) {
    pid = static_cast<long>(getpid());
    g_pid.store(pid, std::memory_order_relaxed);
  }
  return pid;
}

// Formats a printf format and its arguments into a string, whatever the
// length; a format that vsnprintf cannot handle gives the format itself.
std::string FormatV(const char* format, va_list args) {
  if (format == nullptr) return std::string();
  char small[512];
  va_list copy;
  va_copy(copy, args);
  int n = vsnprintf(small, sizeof(small), format, copy);
  va_end(copy);
  if (n < 0) return format;
  if (static_cast<size_t>(n) < sizeof(small)) return std::string(small, n);
  std::string text(static_cast<size_t>(n) + 1, '\0');
  va_copy(copy, args);
  int m = vsnprintf(text.data(), text.size(), format, copy);
  va_end(copy);
  if (m < 0) return format;
  text.resize(static_cast<size_t>(m) < text.size() ? m : text.size() - 1);
  return text;
}

}  // namespace

void Init(const std::string& name, Level level) {
  Close();
  LogState& state = State();
  state.level = level;
  std::string dir = pnl_file::GetCurrentDir();
  if (dir == "/") dir.clear();
  dir += "/var/log";
  // Reached without following a link, and never a link itself: a log
  // appended through a link would write into someone else's file.
  pnl_file::DirHandle log_dir;
  if (!log_dir.Open("var/log", true).ok()) return;
  int fd = -1;
  if (!log_dir.OpenFile(name + ".log", false, 0644, &fd).ok()) return;
  // Close-on-exec: the log is not inherited by the commands that we run.
  state.file = fdopen(fd, "a");
  if (state.file == nullptr) {
    close(fd);
    return;
  }
  state.path = dir + "/" + name + ".log";
}

void Close() {
  LogState& state = State();
  if (state.file != nullptr) fclose(state.file);
  state.file = nullptr;
  state.path.clear();
  state.level = 5;
}

Level CurrentLevel() { return State().level; }

std::string LogPath() { return State().path; }

Module::Module(const char* name, const char* other)
    : name_(name != nullptr ? name : ""), other_(other != nullptr ? other : "") {}

bool Module::Check(Level level) const { return level <= State().level; }

void Module::Write(Level level, const char* format, ...) const {
  LogState& state = State();
  if (state.file == nullptr || !Check(level)) return;

  va_list args;
  va_start(args, format);
  std::string text = FormatV(format, args);
  va_end(args);

  time_t now = time(nullptr);
  struct tm local;
  char stamp[32] = "0000-00-00 00:00:00";
  if (localtime_r(&now, &local) != nullptr)
    strftime(stamp, sizeof(stamp), "%Y-%m-%d %H:%M:%S", &local);

  std::string record = stamp;
  record += " [" + std::to_string(Pid()) + "] ";
  record += name_;
  record += " " + std::to_string(level) + " ";
  record += text;
  if (record.empty() || record.back() != '\n') record += '\n';
  fwrite(record.data(), 1, record.size(), state.file);
  fflush(state.file);
}

const Module& LibraryLog() {
  static const Module log("pnl", "kern");
  return log;
}

}  // namespace pnl_log
