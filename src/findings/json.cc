#include "findings/json.h"

namespace findings {

const Json& At(const Json& object, const char* key) {
  static const Json kNull;
  if (!object.is_object()) return kNull;
  auto it = object.find(key);
  return it == object.end() ? kNull : *it;
}

std::string Str(const Json& value) { return value.is_string() ? value.get<std::string>() : ""; }

long Num(const Json& value) { return value.is_number() ? value.get<long>() : 0; }

}  // namespace findings
