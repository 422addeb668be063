// Loading a shared module and finding its entry: how the launcher reaches
// the audit module, lib/modules/msglint.so.
#ifndef PNL_MODULE_H_
#define PNL_MODULE_H_

#include <string>

#include "pnl/status.h"

namespace pnl_module {

// Loads the shared object at `path` (every symbol bound now, none made
// visible to other modules) and sets `entry` to the address of its symbol
// `symbol`. Not ok, with the loader's own message ("PATH: cannot open
// shared object file: No such file or directory", "... undefined symbol:
// kelmain"), when it cannot be loaded or has no such symbol, or "SYMBOL is
// null". The module stays loaded until the process ends.
pnl::Status LoadEntry(const std::string& path, const char* symbol, void** entry);

}  // namespace pnl_module

#endif  // PNL_MODULE_H_
