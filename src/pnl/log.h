// The program's log: var/log/NAME.log under the current directory.
//
// Init opens (appends to) the log; Module objects write records through it.
// A record is one line: time, process id, module name, level and text:
//   "2026-11-22 10:00:00 [1234] msglint 3 There is no label ..."
// A record's text that ends in a newline gets no second one. Records written
// before Init, or when the log cannot be opened, go nowhere.
#ifndef PNL_LOG_H_
#define PNL_LOG_H_

#include <string>

namespace pnl_log {

// Levels: the lower, the more important. A record is written when its level
// is not above the level in force.
using Level = int;

// Opens the log var/log/`name`.log under the current directory (creating
// the directories if needed) and sets the level in force. A symbolic link
// at var, var/log or the log file, or anything but a regular file there,
// leaves the process without a log (nothing is created or appended to);
// LogPath() then says "". Calling it again
// closes the previous log and opens the new one.
void Init(const std::string& name, Level level);

// Closes the log and puts the level back to 5, as before Init: records go
// nowhere until the next Init.
void Close();

// The level in force (5 until Init says otherwise).
Level CurrentLevel();
// The path of the open log file ("" when none is open).
std::string LogPath();

// A named writer of records. `other` names the log the module belongs to;
// records go to the log opened by Init whatever it is.
class Module {
 public:
  Module(const char* name, const char* other);

  // Whether records of `level` are written now.
  bool Check(Level level) const;
  // Writes one record; `format` is a printf format.
  void Write(Level level, const char* format, ...) const
      __attribute__((format(printf, 3, 4)));

 private:
  std::string name_;
  std::string other_;
};

// The writer of the panel library's own records (module "pnl"): files that
// cannot be read, invalid queries, the output of commands.
const Module& LibraryLog();

}  // namespace pnl_log

#endif  // PNL_LOG_H_
