#include "pnl/module.h"

#include <dlfcn.h>

namespace pnl_module {

namespace {

// The loader's last message, or `otherwise` when it has none.
pnl::Status LoaderError(const std::string& otherwise) {
  const char* error = dlerror();
  return pnl::Status::Error(error != nullptr ? error : otherwise);
}

}  // namespace

pnl::Status LoadEntry(const std::string& path, const char* symbol, void** entry) {
  *entry = nullptr;
  void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) return LoaderError("unknown error");
  dlerror();
  void* found = dlsym(handle, symbol);
  const char* error = dlerror();
  if (error != nullptr) return pnl::Status::Error(error);
  if (found == nullptr) return pnl::Status::Error(std::string(symbol) + " is null");
  *entry = found;
  return pnl::Status();
}

}  // namespace pnl_module
