#include "pnl/proc.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <signal.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <utility>
#include <vector>

#include "pnl/log.h"

extern char** environ;

namespace pnl_proc {

namespace {

const pnl_log::Module& Log() { return pnl_log::LibraryLog(); }

// The words of a command line: separated by runs of blanks and tabs.
std::vector<std::string> SplitWords(const std::string& command) {
  std::vector<std::string> words;
  std::string word;
  for (char c : command) {
    if (c == ' ' || c == '\t') {
      if (!word.empty()) words.push_back(word);
      word.clear();
    } else {
      word += c;
    }
  }
  if (!word.empty()) words.push_back(word);
  return words;
}

long long NowMs() {
  struct timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// Closes every descriptor from `first` up, except `keep`. Runs in the child
// between fork and exec: no allocation.
void CloseFrom(int first, int keep) {
#ifdef SYS_close_range
  if (keep < first) {
    if (syscall(SYS_close_range, first, ~0U, 0) == 0) return;
  } else {
    bool ok = true;
    if (keep > first &&
        syscall(SYS_close_range, first, keep - 1, 0) != 0)
      ok = false;
    if (ok && syscall(SYS_close_range, keep + 1, ~0U, 0) == 0) return;
  }
#endif
  long max = sysconf(_SC_OPEN_MAX);
  if (max < 0 || max > 65536) max = 65536;
  for (int fd = first; fd < max; ++fd)
    if (fd != keep) close(fd);
}

// Sends each complete line of `pending` to the log; with `flush`, the rest
// as well.
void LogLines(const std::string& command, std::string& pending, bool flush) {
  std::string::size_type start = 0;
  for (;;) {
    std::string::size_type end = pending.find('\n', start);
    if (end == std::string::npos) break;
    if (Log().Check(5))
      Log().Write(5, "%s: %s", command.c_str(),
                  pending.substr(start, end - start).c_str());
    start = end + 1;
  }
  pending.erase(0, start);
  if (flush && !pending.empty()) {
    if (Log().Check(5))
      Log().Write(5, "%s: %s", command.c_str(), pending.c_str());
    pending.clear();
  }
}

// Spawn's attributes: an empty signal mask and the default action for
// every signal the caller may have set to be ignored or caught.
bool MakeAttributes(posix_spawnattr_t* attr, bool new_session) {
  if (posix_spawnattr_init(attr) != 0) return false;
  sigset_t none;
  sigemptyset(&none);
  sigset_t defaults;
  sigemptyset(&defaults);
  for (int sig = 1; sig < 32; ++sig)
    if (sig != SIGKILL && sig != SIGSTOP) sigaddset(&defaults, sig);
  short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
  if (new_session) flags |= POSIX_SPAWN_SETSID;
  if (posix_spawnattr_setsigmask(attr, &none) != 0 ||
      posix_spawnattr_setsigdefault(attr, &defaults) != 0 ||
      posix_spawnattr_setflags(attr, flags) != 0) {
    posix_spawnattr_destroy(attr);
    return false;
  }
  return true;
}

// Spawn's file actions: the three standard descriptors, nothing else.
bool MakeFileActions(posix_spawn_file_actions_t* actions,
                     const SpawnOptions& options) {
  if (posix_spawn_file_actions_init(actions) != 0) return false;
  const int wanted[3] = {options.stdin_fd, options.stdout_fd,
                         options.stderr_fd};
  bool ok = true;
  for (int fd = 0; fd < 3 && ok; ++fd) {
    if (wanted[fd] < 0) {
      ok = posix_spawn_file_actions_addopen(actions, fd, "/dev/null",
                                            fd == 0 ? O_RDONLY : O_WRONLY,
                                            0) == 0;
    } else {
      // A descriptor given as its own number keeps it; the action then
      // clears its close-on-exec flag.
      ok = posix_spawn_file_actions_adddup2(actions, wanted[fd], fd) == 0;
    }
  }
  if (ok) ok = posix_spawn_file_actions_addclosefrom_np(actions, 3) == 0;
  if (!ok) posix_spawn_file_actions_destroy(actions);
  return ok;
}

bool PlainWord(const std::string& word) {
  if (word.empty()) return false;
  for (char c : word) {
    bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                 (c >= '0' && c <= '9') ||
                 std::string("_-.,/=:+@%").find(c) != std::string::npos;
    if (!plain) return false;
  }
  return true;
}

}  // namespace

pnl::Status Spawn(const std::vector<std::string>& argv, const SpawnOptions& options,
                  pid_t* started) {
  *started = -1;
  if (argv.empty() || argv[0].empty()) return pnl::Status::Error("empty command");
  std::vector<char*> args;
  for (const std::string& word : argv)
    args.push_back(const_cast<char*>(word.c_str()));
  args.push_back(nullptr);

  posix_spawnattr_t attr;
  if (!MakeAttributes(&attr, options.new_session))
    return pnl::Status::Error("cannot prepare the process attributes");
  posix_spawn_file_actions_t actions;
  if (!MakeFileActions(&actions, options)) {
    posix_spawnattr_destroy(&attr);
    return pnl::Status::Error("cannot prepare the process descriptors");
  }
  pid_t pid = -1;
  int r = argv[0].find('/') == std::string::npos
              ? posix_spawnp(&pid, args[0], &actions, &attr, args.data(),
                             environ)
              : posix_spawn(&pid, args[0], &actions, &attr, args.data(),
                            environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attr);
  if (r != 0) return pnl::Status::FromErrno(r, strerror(r));
  *started = pid;
  return pnl::Status();
}

std::string CommandLine(const std::vector<std::string>& argv) {
  std::string line;
  for (const std::string& word : argv) {
    if (!line.empty()) line += ' ';
    if (PlainWord(word)) {
      line += word;
      continue;
    }
    line += '\'';
    for (char c : word) {
      if (c == '\'')
        line += "'\\''";
      else
        line += c;
    }
    line += '\'';
  }
  return line;
}

Execute::Execute(std::vector<std::string> argv)
    : argv_(std::move(argv)), command_(CommandLine(argv_)) {}

Execute::Execute(const std::string& command, int /*flags*/)
    : argv_(SplitWords(command)), command_(command) {}

Execute::~Execute() {
  // A command started and never waited for is waited for here, so nothing
  // is left running.
  Wait();
}

void Execute::Run() {
  Start();
  Wait();
}

void Execute::Start() {
  if (ran_) return;
  ran_ = true;
  status_ = -1;

  if (argv_.empty()) {
    status_text_ = pnl::Status::Error("empty command");
    if (Log().Check(3)) Log().Write(3, "Empty command not run");
    return;
  }

  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) {
    status_text_ = pnl::Status::FromErrno(errno, strerror(errno));
    if (Log().Check(3))
      Log().Write(3, "%s: cannot make a pipe: %s", command_.c_str(),
                  status_text_.message().c_str());
    return;
  }
  SpawnOptions options;
  options.stdout_fd = output[1];
  options.stderr_fd = output[1];
  pid_t pid = -1;
  status_text_ = Spawn(argv_, options, &pid);
  close(output[1]);
  if (!status_text_.ok()) {
    close(output[0]);
    if (Log().Check(3))
      Log().Write(3, "%s: cannot run: %s", command_.c_str(), status_text_.message().c_str());
    return;
  }
  started_ = true;
  pid_ = pid;
  output_fd_ = output[0];
  deadline_ms_ = NowMs() + time_limit_s_ * 1000LL;
}

void Execute::Wait() {
  if (pid_ < 0) return;
  const pid_t pid = pid_;
  const int out = output_fd_;
  pid_ = -1;
  output_fd_ = -1;

  // Gather the output until the child has ended. A command may leave a
  // process of its own holding the pipe, so the end of the child, not the
  // end of the pipe, ends the wait.
  fcntl(out, F_SETFL, fcntl(out, F_GETFL) | O_NONBLOCK);
  // A descriptor that becomes readable when the child ends, so that the
  // wait below wakes at its end rather than at the next tick; without one
  // (a kernel older than 5.3) the wait looks again every few milliseconds.
  const int child_fd = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
  std::string pending;
  bool pipe_open = true;
  bool reaped = false;
  bool killed = false;
  int wait_status = 0;
  const long long deadline = deadline_ms_;
  for (;;) {
    if (pipe_open) {
      char buffer[4096];
      ssize_t n = -1;
      // Bounded, so that a command that writes without end cannot keep
      // the time limit from being checked.
      for (int i = 0; i < 256; ++i) {
        n = read(out, buffer, sizeof(buffer));
        if (n <= 0) break;
        pending.append(buffer, static_cast<size_t>(n));
      }
      if (n == 0) pipe_open = false;
      if (capture_) {
        output_ += pending;
        pending.clear();
      } else {
        LogLines(command_, pending, false);
      }
    }
    if (reaped) break;
    pid_t r = waitpid(pid, &wait_status, WNOHANG);
    if (r == pid) {
      reaped = true;
      continue;  // one more read for what is left in the pipe
    }
    if (r < 0 && errno != EINTR) break;
    long long left = deadline - NowMs();
    if (left <= 0 && !killed) {
      kill(pid, SIGKILL);
      killed = true;
      if (Log().Check(3))
        Log().Write(3, "%s: still running after %d seconds, killed",
                    command_.c_str(), time_limit_s_);
      continue;
    }
    struct pollfd fds[2];
    nfds_t count = 0;
    if (pipe_open) fds[count++] = {out, POLLIN, 0};
    if (child_fd >= 0) fds[count++] = {child_fd, POLLIN, 0};
    int wait_ms = pipe_open ? 50 : 10;
    // The child's end wakes the wait, so it may last until the time limit.
    if (child_fd >= 0 && left > 0) wait_ms = left < 1000 ? static_cast<int>(left) : 1000;
    if (pipe_open && left > 0 && left < wait_ms) wait_ms = static_cast<int>(left);
    poll(count > 0 ? fds : nullptr, count, wait_ms);
  }
  if (child_fd >= 0) close(child_fd);
  close(out);
  if (capture_)
    output_ += pending;
  else
    LogLines(command_, pending, true);

  if (reaped && WIFEXITED(wait_status) && !killed) {
    status_ = WEXITSTATUS(wait_status);
    if (status_ != 0) status_text_ = pnl::Status::Error("exit status " + std::to_string(status_));
  } else {
    status_ = -1;
    if (killed)
      status_text_ = pnl::Status::Error("killed after " + std::to_string(time_limit_s_) + " seconds");
    else if (reaped && WIFSIGNALED(wait_status))
      status_text_ = pnl::Status::Error("killed by signal " + std::to_string(WTERMSIG(wait_status)));
    else
      status_text_ = pnl::Status::Error("lost track of the process");
  }
}

int Execute::Result() {
  Start();
  Wait();
  return status_;
}

void CloseDescriptorsFrom(int first, int keep) { CloseFrom(first, keep); }

void Pause(int seconds) {
  struct timespec left = {seconds, 0};
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

namespace {

int g_start_fd = -1;
int g_signal_write_fd = -1;

void OnStopSignal(int) {
  int saved = errno;
  char c = 's';
  if (write(g_signal_write_fd, &c, 1) < 0) {
    // The pipe is full: a wake-up is already pending.
  }
  errno = saved;
}

}  // namespace

pnl::Status Detach(bool* detached) {
  *detached = false;
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0)
    return pnl::Status::FromErrno(errno, std::string("cannot make a pipe: ") + strerror(errno));
  pid_t pid = fork();
  if (pid < 0) {
    const int error = errno;
    close(ready[0]);
    close(ready[1]);
    return pnl::Status::FromErrno(error, std::string("cannot fork: ") + strerror(error));
  }
  if (pid > 0) {
    close(ready[1]);
    char answer = '0';
    ssize_t n;
    do {
      n = read(ready[0], &answer, 1);
    } while (n < 0 && errno == EINTR);
    close(ready[0]);
    if (n == 1 && answer == '1') return pnl::Status();
    return pnl::Status::Error("the detached process did not start");
  }
  close(ready[0]);
  g_start_fd = ready[1];
  setsid();
  int null_fd = open("/dev/null", O_RDWR);
  if (null_fd >= 0) {
    dup2(null_fd, 0);
    dup2(null_fd, 1);
    dup2(null_fd, 2);
    if (null_fd > 2) close(null_fd);
  }
  *detached = true;
  return pnl::Status();
}

void StartDone(bool ready) {
  if (g_start_fd < 0) return;
  char answer = ready ? '1' : '0';
  ssize_t n;
  do {
    n = write(g_start_fd, &answer, 1);
  } while (n < 0 && errno == EINTR);
  close(g_start_fd);
  g_start_fd = -1;
}

StopSignals::StopSignals() {
  if (pipe2(fds_, O_CLOEXEC | O_NONBLOCK) != 0) {
    status_ = pnl::Status::FromErrno(errno, std::string("cannot make a pipe: ") + strerror(errno));
    fds_[0] = fds_[1] = -1;
    return;
  }
  g_signal_write_fd = fds_[1];
  struct sigaction action;
  memset(&action, 0, sizeof(action));
  action.sa_handler = OnStopSignal;
  sigemptyset(&action.sa_mask);
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  signal(SIGHUP, SIG_IGN);
  signal(SIGPIPE, SIG_IGN);
}

StopSignals::~StopSignals() {
  if (fds_[0] < 0) return;
  signal(SIGTERM, SIG_DFL);
  signal(SIGINT, SIG_DFL);
  g_signal_write_fd = -1;
  close(fds_[0]);
  close(fds_[1]);
}

}  // namespace pnl_proc
