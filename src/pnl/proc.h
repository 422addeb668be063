// Running programs, without a shell.
//
// Every process that the module, the client or the panel starts is started
// by Spawn: from a vector of arguments, each passed to the program as it
// stands (no splitting, no shell, no expansion), so no text of a name or a
// path can make it run another command. Spawn does not copy the caller's
// address space (posix_spawn, vfork semantics), so starting a small program
// costs the same from a process of a hundred megabytes as from a small one.
//
// Execute runs one command to its end: its standard input is /dev/null;
// what it prints on standard output and error goes to the log, never to
// this process's own streams. A command that cannot be started is a failed
// result (-1, with the reason in status()), never an exception. A command
// still running after two minutes is killed (logged) so that nothing waits
// forever.
#ifndef PNL_PROC_H_
#define PNL_PROC_H_

#include <sys/types.h>

#include <string>
#include <vector>

#include "pnl/status.h"

namespace pnl_proc {

// What a started program gets besides its arguments.
struct SpawnOptions {
  // Its standard input, output and error: descriptors of the caller, or -1
  // for /dev/null.
  int stdin_fd = -1;
  int stdout_fd = -1;
  int stderr_fd = -1;
  // Starts it in a session of its own, without a controlling terminal.
  bool new_session = false;
};

// Starts the program argv[0] (looked up in PATH when it holds no "/") with
// the argument vector `argv`. The program holds no descriptor of the caller
// but its three standard ones, every signal at its default action and none
// blocked. `pid` gets its process id; not ok (and `pid` -1) when it could
// not be started (no such program, not executable, no resources), the
// message then the reason alone ("No such file or directory").
pnl::Status Spawn(const std::vector<std::string>& argv, const SpawnOptions& options,
                  pid_t* pid);

// The argument vector as one line for messages: words joined by blanks, a
// word that is empty or holds anything but letters, digits and "_-.,/=:+@%"
// in single quotes. For people to read; never run.
std::string CommandLine(const std::vector<std::string>& argv);

class Execute {
 public:
  // Prepares the program argv[0] with the arguments `argv`.
  explicit Execute(std::vector<std::string> argv);
  // Prepares `command`, split into words at runs of blanks and tabs (for
  // fixed command lines only: a word can hold no blank); `flags` is
  // unused: pass 0.
  Execute(const std::string& command, int flags);
  // Waits for a command that is still running; leaves nothing behind.
  ~Execute();
  Execute(const Execute&) = delete;
  Execute& operator=(const Execute&) = delete;

  // Changes the time after which a running command is killed (120
  // seconds unless set); for tests.
  void SetTimeLimit(int seconds) { time_limit_s_ = seconds; }

  // Makes the run keep what the command prints (standard output and error
  // together) for Output() instead of sending it to the log.
  void CaptureOutput() { capture_ = true; }
  // After a run with CaptureOutput: everything the command printed.
  const std::string& Output() const { return output_; }

  // Runs the command and returns when it has finished.
  void Run();
  // Starts the command and returns at once; Wait (or Result) waits for its
  // end. Several commands may run at once this way. What the command
  // prints waits in its pipe meanwhile.
  void Start();
  // Waits for a started command to end; nothing when none runs.
  void Wait();
  // Runs the command if it has not run, waits for it, and returns its exit
  // status; -1 when it could not be started, was killed or died by a signal.
  int Result();
  // After a run: false when the program could not be started at all.
  bool Started() const { return started_; }
  // After a run that did not end with status 0: not ok, with why in a few
  // words ("No such file or directory", "exit status 1", "killed by
  // signal 9").
  const pnl::Status& status() const { return status_text_; }
  // The command as CommandLine shows it.
  std::string Line() const { return CommandLine(argv_); }
  // The argument vector it runs.
  const std::vector<std::string>& Arguments() const { return argv_; }

 private:
  std::vector<std::string> argv_;
  std::string command_;  // for log records
  pnl::Status status_text_;
  std::string output_;
  bool capture_ = false;
  bool started_ = false;
  bool ran_ = false;
  int status_ = -1;
  int time_limit_s_ = 120;
  // While started and not waited for: the child, the read end of its
  // output pipe, and when it is to be killed.
  pid_t pid_ = -1;
  int output_fd_ = -1;
  long long deadline_ms_ = 0;
};

// Closes every file descriptor from `first` up, except `keep` (-1 keeps
// none): for a process just forked, so that the program it becomes holds
// none of its parent's files, pipes or sockets. Allocates nothing.
void CloseDescriptorsFrom(int first, int keep = -1);

// Detaching a server from the program that started it. Detach forks: the
// process that called it waits, in Detach, until the detached one tells
// how its start went (StartDone) or dies, and gets `detached` false and
// ok when it is ready, not ok when it failed or could not be started. The
// detached process gets `detached` true: it runs in a session of its own
// with its standard descriptors on /dev/null. A fork (not a re-exec
// through Spawn) keeps the server's request handler, built by the caller
// before Detach, without passing anything through arguments; the detached
// process execs nothing.
pnl::Status Detach(bool* detached);
// In the detached process: tells the waiting starter `ready` (its status 0)
// or failure (1). Only the first call counts.
void StartDone(bool ready);

// Stop signals turned into something a poll loop can wait for: while the
// object lives, SIGTERM and SIGINT make fd() readable, SIGHUP and SIGPIPE
// are ignored (a write to a closed connection is an error, not a death).
// One object at a time per process.
class StopSignals {
 public:
  StopSignals();
  ~StopSignals();
  StopSignals(const StopSignals&) = delete;
  StopSignals& operator=(const StopSignals&) = delete;
  // Not ok when the signals could not be set up.
  const pnl::Status& status() const { return status_; }
  // Readable once a stop signal has arrived.
  int fd() const { return fds_[0]; }

 private:
  int fds_[2] = {-1, -1};
  pnl::Status status_;
};

// Sleeps `seconds` whole (a signal does not cut it short). The wait is
// nanosleep's, which the test suite's preload library answers at once.
void Pause(int seconds);

}  // namespace pnl_proc

#endif  // PNL_PROC_H_
