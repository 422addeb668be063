// Reading members of a findings document without trusting it: a member that
// is absent or of another type reads as null, "" or 0, never as an error.
#ifndef FINDINGS_JSON_H_
#define FINDINGS_JSON_H_

#include <string>

#include <nlohmann/json.hpp>

namespace findings {

using Json = nlohmann::ordered_json;

// The member `key` of `object`; null when `object` is no object or has no
// such member.
const Json& At(const Json& object, const char* key);

// `value` as a string; "" when it is not one.
std::string Str(const Json& value);

// `value` as a whole number; 0 when it is not a number.
long Num(const Json& value);

}  // namespace findings

#endif  // FINDINGS_JSON_H_
