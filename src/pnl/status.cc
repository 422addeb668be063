#include "pnl/status.h"

#include <errno.h>
#include <string.h>

namespace pnl {

namespace {

Status::Code CodeOf(int error) {
  switch (error) {
    case ENOENT:
      return Status::Code::kNotFound;
    case ENOTDIR:
      return Status::Code::kNotDirectory;
    case EISDIR:
      return Status::Code::kIsDirectory;
    case EWOULDBLOCK:
      return Status::Code::kBusy;
    default:
      return Status::Code::kFailed;
  }
}

}  // namespace

Status Status::Error(const std::string& message) { return Error(Code::kFailed, message); }

Status Status::Error(Code code, const std::string& message) {
  Status status;
  status.code_ = code == Code::kOk ? Code::kFailed : code;
  status.message_ = message;
  status.cause_ = message;
  return status;
}

Status Status::WithMessage(const std::string& message) const {
  Status status = *this;
  if (!ok()) status.message_ = message;
  return status;
}

Status Status::FromErrno(int error, const std::string& message) {
  Status status;
  status.code_ = CodeOf(error);
  status.message_ = message;
  status.cause_ = strerror(error);
  return status;
}

}  // namespace pnl
