// Running commands, without a shell.
//
// The command line is split into words at blanks and executed directly
// (found through PATH when the first word has no "/"), so no text of a
// command line can make it run another command. The command's standard
// input is /dev/null; what it prints on standard output and error goes to
// the log, never to this process's own streams. A command that cannot be
// started is a failed result (-1), never an exception. A command still
// running after two minutes is killed (logged) so that nothing waits forever.
#ifndef PNL_PROC_H_
#define PNL_PROC_H_

#include <string>

namespace pnl_proc {

class Execute {
 public:
  // Prepares `command`; `flags` is unused: pass 0.
  Execute(const std::string& command, int flags);
  // Waits for a command that is still running; leaves nothing behind.
  ~Execute();
  Execute(const Execute&) = delete;
  Execute& operator=(const Execute&) = delete;

  // Changes the time after which a running command is killed (120
  // seconds unless set); for tests.
  void SetTimeLimit(int seconds) { time_limit_s_ = seconds; }

  // Runs the command and returns when it has finished.
  void Run();
  // Runs the command if it has not run, waits for it, and returns its exit
  // status; -1 when it could not be started, was killed or died by a signal.
  int Result();

 private:
  std::string command_;
  bool ran_ = false;
  int status_ = -1;
  int time_limit_s_ = 120;
};

// Closes every file descriptor from `first` up, except `keep` (-1 keeps
// none): for a process just forked, so that the program it becomes holds
// none of its parent's files, pipes or sockets. Allocates nothing.
void CloseDescriptorsFrom(int first, int keep = -1);

}  // namespace pnl_proc

#endif  // PNL_PROC_H_
