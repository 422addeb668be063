#include "panel/query.h"

#include "pnl/str.h"

namespace panel {

bool Query::Parse(const std::string& line, std::string* error) {
  values_.clear();
  std::string rest = line;
  while (!rest.empty()) {
    std::string part = str::GetWord(rest, '&');
    if (part.empty()) continue;
    // A part without "=" is a key with an empty value, as form decoding
    // has it: "lang=a&b" names language "a" and a key "b".
    std::size_t eq = part.find('=');
    std::string key = str::UrlDecode(part.substr(0, eq));
    std::string value =
        eq == std::string::npos ? std::string() : str::UrlDecode(part.substr(eq + 1));
    values_.emplace(key, value);  // keeps the first value of a key
  }
  if (Function().empty()) {
    *error = "malformed query: no function";
    return false;
  }
  return true;
}

const std::string& Query::Get(const std::string& key) const {
  static const std::string kNone;
  auto it = values_.find(key);
  return it == values_.end() ? kNone : it->second;
}

}  // namespace panel
