// Resolving a path, kept apart from the rest of the file operations so that
// the launcher, which needs only this, links nothing else of them.
#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include "pnl/file.h"

namespace pnl_file {

pnl::Status RealPath(const std::string& path, std::string* real) {
  real->clear();
  char resolved[PATH_MAX];
  if (realpath(path.c_str(), resolved) == nullptr)
    return pnl::Status::FromErrno(errno, path + ": " + strerror(errno));
  *real = resolved;
  return pnl::Status();
}

}  // namespace pnl_file
