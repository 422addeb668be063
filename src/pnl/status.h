// The result of a platform call that can fail: ok, or an error with a
// sentence saying what went wrong.
//
// Every function of the platform layer that can fail returns a Status (and
// its other results through pointers), as LevelDB's Env does. Nothing in the
// platform layer prints: the caller decides whether and where to tell the
// message. A failure of a system call also keeps the system's own words for
// it (strerror's text) in cause(), for the messages that give only those,
// and a code for the few kinds of failure that callers treat apart.
#ifndef PNL_STATUS_H_
#define PNL_STATUS_H_

#include <string>

namespace pnl {

class Status {
 public:
  // The kinds of failure a caller may branch on; kFailed is every other.
  enum class Code {
    kOk,
    kNotFound,      // nothing at the path (ENOENT)
    kNotDirectory,  // a component on the way is not a directory (ENOTDIR)
    kIsDirectory,   // a directory where a file was wanted (EISDIR)
    kBusy,          // held by another process (a lock)
    kFailed,
  };

  // Ok.
  Status() = default;
  static Status OK() { return Status(); }
  // A failure told by `message`; its cause is the message itself.
  static Status Error(const std::string& message);
  // The same with a code of its own.
  static Status Error(Code code, const std::string& message);
  // A failed system call that left `error` in errno: the code follows
  // the error number, the cause is strerror's text.
  static Status FromErrno(int error, const std::string& message);

  bool ok() const { return code_ == Code::kOk; }
  Code code() const { return code_; }
  bool IsNotFound() const { return code_ == Code::kNotFound; }
  bool IsNotDirectory() const { return code_ == Code::kNotDirectory; }
  bool IsDirectory() const { return code_ == Code::kIsDirectory; }
  bool IsBusy() const { return code_ == Code::kBusy; }
  // What went wrong, as a sentence ("var/log is a symbolic link",
  // "var/test_msgs: No space left on device"); "" when ok.
  const std::string& message() const { return message_; }
  // The system's words for it ("No space left on device"); the message
  // when no system call failed; "" when ok.
  const std::string& cause() const { return cause_; }
  // The same failure told by another sentence (its code and cause kept);
  // ok stays ok.
  Status WithMessage(const std::string& message) const;

 private:
  Code code_ = Code::kOk;
  std::string message_;
  std::string cause_;
};

}  // namespace pnl

#endif  // PNL_STATUS_H_
