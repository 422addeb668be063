#include "report/baseline.h"

#include <climits>
#include <cmath>

#include <algorithm>
#include <set>

#include "findings/schema.h"

namespace report {

namespace {

constexpr char kFormat[] = "msglint-baseline";

Json StringOrNull(const std::string& text) { return text.empty() ? Json(nullptr) : Json(text); }

// One finding of the file.
Json ToJson(const FindingIdentity& id) {
  Json item;
  item["kind"] = id.kind;
  item["object"] = StringOrNull(id.object);
  if (id.element_type.empty()) {
    item["element"] = nullptr;
  } else {
    item["element"]["type"] = id.element_type;
    item["element"]["name"] = id.element;
  }
  item["message"] = StringOrNull(id.message);
  item["language"] = StringOrNull(id.language);
  item["occurrence"] = id.occurrence;
  return item;
}

// A string member, or null read as "". False when it is something else or
// (unless `nullable`) missing, null or empty.
bool ReadPart(const Json& item, const char* key, bool nullable, std::string& out) {
  auto it = item.find(key);
  if (it == item.end()) return false;
  if (it->is_null()) {
    out.clear();
    return nullable;
  }
  if (!it->is_string()) return false;
  out = it->get<std::string>();
  return nullable || !out.empty();
}

bool FromJson(const Json& item, FindingIdentity& id) {
  if (!item.is_object()) return false;
  if (!ReadPart(item, "kind", false, id.kind) || !ReadPart(item, "object", true, id.object) ||
      !ReadPart(item, "message", true, id.message) || !ReadPart(item, "language", true, id.language))
    return false;
  auto element = item.find("element");
  if (element == item.end()) return false;
  if (element->is_null()) {
    id.element_type.clear();
    id.element.clear();
  } else if (!element->is_object() || !ReadPart(*element, "type", false, id.element_type) ||
             !ReadPart(*element, "name", true, id.element)) {
    return false;
  }
  auto occurrence = item.find("occurrence");
  if (occurrence == item.end() || !occurrence->is_number_integer() || occurrence->get<long>() < 1)
    return false;
  id.occurrence = occurrence->get<long>();
  return true;
}

// A whole number too large for any integer type: the reader gets it as a
// floating-point value (or as an unsigned one past the signed range). Such
// a version can only come from a format newer than any this one knows.
bool IsBeyondAnyInteger(const Json& version) {
  if (version.is_number_unsigned())
    return version.get<unsigned long long>() > static_cast<unsigned long long>(LLONG_MAX);
  if (!version.is_number_float()) return false;
  const double value = version.get<double>();
  return std::isfinite(value) && value >= 9223372036854775808.0 && value == std::floor(value);
}

}  // namespace

Baseline Baseline::Of(const Json& doc) {
  Baseline baseline;
  baseline.manager_ = findings::Str(findings::At(findings::At(doc, "run"), "manager"));
  baseline.findings_ = IdentitiesOf(doc);
  std::sort(baseline.findings_.begin(), baseline.findings_.end());
  return baseline;
}

Baseline::Fault Baseline::Parse(const std::string& text, Baseline& out, std::string& why) {
  const Json doc = Json::parse(text, nullptr, false);
  if (doc.is_discarded()) {
    why = "not JSON";
    return Fault::kMalformed;
  }
  if (!doc.is_object() || !doc.contains("format")) {
    why = doc.is_object() && doc.contains("schema") && doc["schema"] == findings::kSchemaName
              ? "a findings file, not a baseline (msglint-report --write-baseline makes one)"
              : "JSON without \"format\": \"" + std::string(kFormat) + "\"";
    return Fault::kForeign;
  }
  if (doc["format"] != kFormat) {
    why = "JSON of another format than \"" + std::string(kFormat) + "\"";
    return Fault::kForeign;
  }
  const Json& version = doc.contains("version") ? doc["version"] : Json();
  if (IsBeyondAnyInteger(version) ||
      (version.is_number_integer() && version.get<long>() > kBaselineVersion)) {
    // A floating-point value would print rounded, so it is not printed.
    const std::string shown =
        version.is_number_float() ? "too large for an integer" : version.dump();
    why = "format version " + shown + ", written by a newer msglint; this one reads version " +
          std::to_string(kBaselineVersion);
    return Fault::kNewerVersion;
  }
  if (!version.is_number_integer() || version.get<long>() < 1) {
    why = "no format version";
    return Fault::kMalformed;
  }
  if (!doc.contains("manager") || !doc["manager"].is_string() || doc["manager"].get<std::string>().empty()) {
    why = "no manager";
    return Fault::kMalformed;
  }
  if (!doc.contains("findings") || !doc["findings"].is_array()) {
    why = "no list of findings";
    return Fault::kMalformed;
  }
  Baseline baseline;
  baseline.manager_ = doc["manager"];
  std::set<FindingIdentity> seen;
  size_t number = 0;
  for (const Json& item : doc["findings"]) {
    ++number;
    FindingIdentity id;
    if (!FromJson(item, id)) {
      why = "finding " + std::to_string(number) + " lacks a part of its identity or has one of the wrong type";
      return Fault::kMalformed;
    }
    if (!seen.insert(id).second) {
      why = "finding " + std::to_string(number) + " is recorded twice";
      return Fault::kMalformed;
    }
    baseline.findings_.push_back(id);
  }
  std::sort(baseline.findings_.begin(), baseline.findings_.end());
  out = baseline;
  return Fault::kNone;
}

std::string Baseline::ToText() const {
  // One finding per line: a diff of the file is a list of findings.
  std::string text = "{\n";
  text += "  \"format\": " + Json(kFormat).dump() + ",\n";
  text += "  \"version\": " + std::to_string(kBaselineVersion) + ",\n";
  text += "  \"manager\": " + Json(manager_).dump() + ",\n";
  if (findings_.empty()) return text + "  \"findings\": []\n}\n";
  text += "  \"findings\": [\n";
  for (size_t i = 0; i < findings_.size(); ++i)
    text += "    " + ToJson(findings_[i]).dump() + (i + 1 < findings_.size() ? ",\n" : "\n");
  return text + "  ]\n}\n";
}

const char* StateName(BaselineState state) {
  switch (state) {
    case BaselineState::kNew: return "new";
    case BaselineState::kUnchanged: return "unchanged";
    case BaselineState::kAbsent: return "absent";
  }
  return "";
}

Comparison Compare(const Json& doc, const Baseline& baseline) {
  Comparison comparison;
  comparison.identities = IdentitiesOf(doc);
  const std::set<FindingIdentity> recorded(baseline.findings().begin(), baseline.findings().end());
  const std::set<FindingIdentity> current(comparison.identities.begin(), comparison.identities.end());
  for (const FindingIdentity& id : comparison.identities)
    comparison.states.push_back(recorded.count(id) ? BaselineState::kUnchanged : BaselineState::kNew);
  for (const FindingIdentity& id : baseline.findings())
    if (!current.count(id)) comparison.absent.push_back(id);
  return comparison;
}

}  // namespace report
