#include "fix/findings_reader.h"

#include <nlohmann/json.hpp>

namespace fix {

namespace {

using nlohmann::json;

// The string member `key` of `object`; "" when it is absent or not a string.
std::string Str(const json& object, const char* key) {
  if (!object.is_object()) return std::string();
  auto it = object.find(key);
  if (it == object.end() || !it->is_string()) return std::string();
  return it->get<std::string>();
}

}  // namespace

bool IsFixableKind(const std::string& kind) {
  static const char* const kKinds[] = {
      "missing-title",
      "missing-hint",
      "missing-label",
      "missing-checkbox-description",
      "missing-column-description",
      "missing-menu-item-description",
      "missing-button-short-name",
      "missing-button-hint",
      "missing-column-hint",
  };
  for (const char* k : kKinds)
    if (kind == k) return true;
  return false;
}

bool NeedsText(const std::string& kind) {
  return kind == "missing-hint" || kind == "missing-label" ||
         kind == "missing-checkbox-description" ||
         kind == "missing-button-short-name" || kind == "missing-button-hint";
}

bool ReadFindings(const std::string& text, Findings* findings,
                  std::string* error) {
  *findings = Findings();
  error->clear();
  json doc = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (doc.is_discarded()) {
    *error = "not JSON";
    return false;
  }
  if (Str(doc, "schema") != "msglint-findings") {
    *error = "not a findings file of msglint";
    return false;
  }
  auto version = doc.find("version");
  if (version == doc.end() || !version->is_number_integer() ||
      version->get<long>() != 1) {
    *error = "a findings file of another version than 1";
    return false;
  }
  auto run = doc.find("run");
  if (run != doc.end() && run->is_object()) {
    findings->manager = Str(*run, "manager");
    auto languages = run->find("languages");
    if (languages != run->end() && languages->is_array())
      for (const json& l : *languages)
        if (l.is_string()) findings->languages.push_back(l.get<std::string>());
  }
  auto list = doc.find("findings");
  if (list == doc.end() || !list->is_array()) {
    *error = "no list of findings";
    return false;
  }
  for (const json& f : *list) {
    std::string kind = Str(f, "kind");
    if (!IsFixableKind(kind)) continue;
    auto message = f.find("message");
    if (message == f.end() || !message->is_object()) continue;
    MissingMessage m;
    auto id = f.find("id");
    if (id != f.end() && id->is_number_integer()) m.id = id->get<long>();
    m.kind = kind;
    m.manager = Str(f, "manager");
    m.object = Str(f, "object");
    auto element = f.find("element");
    if (element != f.end()) m.element = Str(*element, "name");
    m.language = Str(f, "language");
    m.name = Str(*message, "name");
    m.section = Str(*message, "section");
    m.file = Str(*message, "file");
    auto problem = f.find("input_problem");
    m.input_problem = problem != f.end() && problem->is_boolean() &&
                      problem->get<bool>();
    if (m.language.empty() || m.name.empty() || m.section.empty()) continue;
    findings->missing.push_back(m);
  }
  return true;
}

}  // namespace fix
