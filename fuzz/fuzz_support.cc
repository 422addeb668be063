#include "fuzz_support.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace fuzz_support {

namespace {
std::string scratch_dir;
}  // namespace

std::string EnterScratchDir() {
  if (scratch_dir.empty()) {
    std::string tmpl = (fs::temp_directory_path() / "msglint-fuzz-XXXXXX").string();
    if (mkdtemp(tmpl.data()) == nullptr) abort();
    scratch_dir = fs::canonical(tmpl).string();
  }
  fs::current_path(scratch_dir);
  EmptyScratchDir();
  return scratch_dir;
}

void EmptyScratchDir() {
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(scratch_dir, ec))
    fs::remove_all(entry.path(), ec);
}

void WriteFile(const std::string& rel, const std::string& text) {
  fs::path p = fs::path(scratch_dir) / rel;
  fs::create_directories(p.parent_path());
  std::ofstream out(p, std::ios::binary | std::ios::trunc);
  out << text;
}

std::string ReadFile(const std::string& rel) {
  std::ifstream in(fs::path(scratch_dir) / rel, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

std::vector<std::string> SplitParts(const uint8_t* data, size_t size, size_t count) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string separator = "\n====\n";
  std::vector<std::string> parts;
  std::string::size_type start = 0;
  while (parts.size() + 1 < count) {
    std::string::size_type at = text.find(separator, start);
    if (at == std::string::npos) break;
    parts.push_back(text.substr(start, at - start));
    start = at + separator.size();
  }
  parts.push_back(text.substr(std::min(start, text.size())));
  parts.resize(count);
  return parts;
}

}  // namespace fuzz_support
