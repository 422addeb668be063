// Terminal detection, kept apart from the rest of the file operations.
#include <unistd.h>

#include "pnl/file.h"

namespace pnl_file {

bool IsTerminal(int fd) { return isatty(fd) == 1; }

}  // namespace pnl_file
