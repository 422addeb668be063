#include "pnl/proc.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <vector>

#include "pnl/log.h"

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

}  // namespace

Execute::Execute(const std::string& command, int /*flags*/)
    : command_(command) {}

Execute::~Execute() {
  // Run() always waits for its child, so nothing is left running here.
}

void Execute::Run() {
  if (ran_) return;
  ran_ = true;
  status_ = -1;

  std::vector<std::string> words = SplitWords(command_);
  if (words.empty()) {
    if (Log().Check(3)) Log().Write(3, "Empty command not run");
    return;
  }
  std::vector<char*> argv;
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  int output[2];
  int failure[2];
  if (pipe2(output, O_CLOEXEC) != 0) {
    if (Log().Check(3))
      Log().Write(3, "%s: cannot make a pipe: %s", command_.c_str(),
                  strerror(errno));
    return;
  }
  if (pipe2(failure, O_CLOEXEC) != 0) {
    if (Log().Check(3))
      Log().Write(3, "%s: cannot make a pipe: %s", command_.c_str(),
                  strerror(errno));
    close(output[0]);
    close(output[1]);
    return;
  }
  int null_fd = open("/dev/null", O_RDONLY | O_CLOEXEC);

  pid_t pid = fork();
  if (pid == 0) {
    // The child: only async-signal-safe calls from here to exec.
    sigset_t all;
    sigemptyset(&all);
    sigprocmask(SIG_SETMASK, &all, nullptr);
    signal(SIGPIPE, SIG_DFL);
    int in = null_fd >= 0 ? null_fd : open("/dev/null", O_RDONLY);
    if (in < 0 || dup2(in, 0) < 0 || dup2(output[1], 1) < 0 ||
        dup2(output[1], 2) < 0) {
      int error = errno;
      ssize_t ignored = write(failure[1], &error, sizeof(error));
      (void)ignored;
      _exit(127);
    }
    CloseFrom(3, failure[1]);
    execvp(argv[0], argv.data());
    int error = errno;
    ssize_t ignored = write(failure[1], &error, sizeof(error));
    (void)ignored;
    _exit(127);
  }

  if (null_fd >= 0) close(null_fd);
  close(output[1]);
  close(failure[1]);
  if (pid < 0) {
    if (Log().Check(3))
      Log().Write(3, "%s: cannot fork: %s", command_.c_str(), strerror(errno));
    close(output[0]);
    close(failure[0]);
    return;
  }

  // The failure pipe closes at exec; a number on it is the exec's errno.
  int exec_error = 0;
  bool exec_failed = false;
  for (;;) {
    ssize_t n = read(failure[0], &exec_error, sizeof(exec_error));
    if (n < 0 && errno == EINTR) continue;
    exec_failed = n == static_cast<ssize_t>(sizeof(exec_error));
    break;
  }
  close(failure[0]);

  // Gather the output until the child has ended. A command may leave a
  // process of its own holding the pipe, so the end of the child, not the
  // end of the pipe, ends the wait.
  fcntl(output[0], F_SETFL, fcntl(output[0], F_GETFL) | O_NONBLOCK);
  std::string pending;
  bool pipe_open = true;
  bool reaped = false;
  bool killed = false;
  int wait_status = 0;
  long long deadline = NowMs() + time_limit_s_ * 1000LL;
  for (;;) {
    if (pipe_open) {
      char buffer[4096];
      ssize_t n = -1;
      // Bounded, so that a command that writes without end cannot keep
      // the time limit from being checked.
      for (int i = 0; i < 256; ++i) {
        n = read(output[0], buffer, sizeof(buffer));
        if (n <= 0) break;
        pending.append(buffer, static_cast<size_t>(n));
      }
      if (n == 0) pipe_open = false;
      if (!exec_failed) LogLines(command_, pending, false);
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
    struct pollfd fds = {output[0], POLLIN, 0};
    int wait_ms = pipe_open ? 50 : 10;
    if (pipe_open && left > 0 && left < wait_ms) wait_ms = static_cast<int>(left);
    if (pipe_open)
      poll(&fds, 1, wait_ms);
    else
      poll(nullptr, 0, wait_ms);
  }
  close(output[0]);
  if (!exec_failed) LogLines(command_, pending, true);

  if (exec_failed) {
    if (Log().Check(3))
      Log().Write(3, "%s: cannot run: %s", command_.c_str(),
                  strerror(exec_error));
    status_ = -1;
    return;
  }
  if (reaped && WIFEXITED(wait_status) && !killed)
    status_ = WEXITSTATUS(wait_status);
  else
    status_ = -1;
}

int Execute::Result() {
  Run();
  return status_;
}

void CloseDescriptorsFrom(int first, int keep) { CloseFrom(first, keep); }

}  // namespace pnl_proc
