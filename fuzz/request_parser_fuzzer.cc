// Fuzz target: the panel's reading of one request line.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "panel/query.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string line(reinterpret_cast<const char*>(data), size);
  panel::Query query;
  std::string error;
  if (query.Parse(line, &error)) {
    // A request that parses names a function and explains nothing.
    if (query.Function().empty() || !error.empty()) abort();
    (void)query.Get("lang");
    (void)query.Get("out");
  } else if (error.empty()) {
    abort();  // a refusal always says why
  }
  return 0;
}
