#include "support/run_program.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/capability.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "pnl/proc.h"
#include "support/scratch_dir.h"

namespace testing_support {

namespace {

using Clock = std::chrono::steady_clock;

// Sets variables of this process's environment while it lives and puts
// back what was there before: Spawn gives a program the environment of
// the moment it starts it.
class ScopedEnvironment {
 public:
  explicit ScopedEnvironment(const std::vector<std::string>& assignments) {
    for (const std::string& assignment : assignments) {
      const std::string::size_type equals = assignment.find('=');
      if (equals == std::string::npos || equals == 0) continue;
      const std::string name = assignment.substr(0, equals);
      const char* old = getenv(name.c_str());
      saved_.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
      setenv(name.c_str(), assignment.c_str() + equals + 1, 1);
    }
  }
  ~ScopedEnvironment() {
    // Last set first back, so that a name set twice ends as it was.
    for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
      if (it->second)
        setenv(it->first.c_str(), it->second->c_str(), 1);
      else
        unsetenv(it->first.c_str());
    }
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  std::vector<std::pair<std::string, std::optional<std::string>>> saved_;
};

// Starts the program. The capability bounding set belongs to a thread and
// bounds what a program started from that thread has; for a run as a plain
// user a thread of its own gives up the capabilities that override file
// modes and starts the program, and the test's thread keeps them.
pnl::Status Start(const std::vector<std::string>& argv, const pnl_proc::SpawnOptions& spawn,
                  bool as_plain_user, pid_t* pid) {
  if (!as_plain_user || geteuid() != 0) return pnl_proc::Spawn(argv, spawn, pid);
  pnl::Status started;
  std::thread starter([&] {
    for (int cap : {CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_FOWNER})
      prctl(PR_CAPBSET_DROP, cap, 0, 0, 0);
    started = pnl_proc::Spawn(argv, spawn, pid);
  });
  starter.join();
  return started;
}

// The read end of an output pipe and where what comes through it goes.
struct Sink {
  int fd;
  std::string* text;
};

// Takes what is waiting in the pipe (a bounded amount, so that a program
// that writes without end cannot keep the time limit from being checked);
// closes the pipe at its end.
void Drain(Sink& sink) {
  char buffer[4096];
  for (int i = 0; i < 256 && sink.fd >= 0; ++i) {
    ssize_t n = read(sink.fd, buffer, sizeof buffer);
    if (n > 0) {
      sink.text->append(buffer, static_cast<size_t>(n));
      continue;
    }
    if (n < 0 && errno == EINTR) continue;
    if (n == 0 || errno != EAGAIN) {
      close(sink.fd);
      sink.fd = -1;
    }
    return;
  }
}

}  // namespace

RunResult RunProgram(const std::vector<std::string>& argv, const RunOptions& options) {
  RunResult result;
  std::string* errors = options.merge_stderr ? &result.out : &result.err;
  const std::string name = argv.empty() ? std::string() : argv[0];

  int out_pipe[2] = {-1, -1};
  int err_pipe[2] = {-1, -1};
  if (pipe2(out_pipe, O_CLOEXEC) != 0 ||
      (!options.merge_stderr && pipe2(err_pipe, O_CLOEXEC) != 0)) {
    *errors = "cannot start " + name + ": no pipe\n";
    for (int fd : {out_pipe[0], out_pipe[1]})
      if (fd >= 0) close(fd);
    return result;
  }
  pnl_proc::SpawnOptions spawn;
  spawn.stdout_fd = out_pipe[1];
  spawn.stderr_fd = options.merge_stderr ? out_pipe[1] : err_pipe[1];
  spawn.new_session = true;

  std::vector<std::string> env;
  if (options.no_sleep) env.push_back("LD_PRELOAD=" + NoSleepLibrary());
  env.insert(env.end(), options.env.begin(), options.env.end());
  pid_t pid = -1;
  pnl::Status started;
  {
    ScopedEnvironment scoped(env);
    started = Start(argv, spawn, options.as_plain_user, &pid);
  }
  close(out_pipe[1]);
  if (err_pipe[1] >= 0) close(err_pipe[1]);

  Sink sinks[2] = {{out_pipe[0], &result.out}, {err_pipe[0], &result.err}};
  if (pid < 0) {
    for (Sink& sink : sinks)
      if (sink.fd >= 0) close(sink.fd);
    *errors = "cannot start " + name + ": " + started.message() + "\n";
    return result;
  }
  for (Sink& sink : sinks)
    if (sink.fd >= 0) fcntl(sink.fd, F_SETFL, fcntl(sink.fd, F_GETFL) | O_NONBLOCK);

  // The end of the program, not the end of its output, ends the wait: a
  // process it leaves behind may hold its output open.
  const Clock::time_point deadline = Clock::now() + std::chrono::seconds(options.time_limit_seconds);
  bool reaped = false;
  int wait_status = 0;
  for (;;) {
    for (Sink& sink : sinks) Drain(sink);
    if (reaped) break;
    pid_t r = waitpid(pid, &wait_status, WNOHANG);
    if (r == pid) {
      reaped = true;
      continue;  // one more read for what is left in the pipes
    }
    if (r < 0 && errno != EINTR) break;
    const long long left = std::chrono::duration_cast<std::chrono::milliseconds>(
                               deadline - Clock::now()).count();
    if (left <= 0 && !result.timed_out) {
      result.timed_out = true;
      kill(-pid, SIGKILL);
      kill(pid, SIGKILL);
      continue;
    }
    pollfd fds[2];
    nfds_t count = 0;
    for (const Sink& sink : sinks)
      if (sink.fd >= 0) fds[count++] = {sink.fd, POLLIN, 0};
    poll(count > 0 ? fds : nullptr, count, count > 0 ? 20 : 2);
  }
  for (Sink& sink : sinks)
    if (sink.fd >= 0) close(sink.fd);

  if (reaped && WIFEXITED(wait_status))
    result.status = WEXITSTATUS(wait_status);
  else if (reaped && WIFSIGNALED(wait_status))
    result.status = 128 + WTERMSIG(wait_status);
  return result;
}

}  // namespace testing_support
