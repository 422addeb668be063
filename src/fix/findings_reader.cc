#include "fix/findings_reader.h"

#include "findings/kinds.h"
#include "findings/reader.h"
#include "findings/schema.h"

namespace fix {

namespace {

// What is wrong with a text that findings::Read refused, in the fixer's
// words.
std::string Refusal(findings::Fault fault) {
  switch (fault) {
    case findings::Fault::kNone: return "";
    case findings::Fault::kNotJson: return "not JSON";
    case findings::Fault::kForeign: return "not a findings file of msglint";
    case findings::Fault::kOtherVersion:
      return "a findings file of another version than " + std::to_string(findings::kSchemaVersion);
    case findings::Fault::kNoFindings: break;
  }
  return "no list of findings";
}

}  // namespace

bool IsFixableKind(const std::string& kind) {
  const findings::Kind* found = findings::FindKind(kind);
  return found != nullptr && found->fixable;
}

bool NeedsText(const std::string& kind) {
  const findings::Kind* found = findings::FindKind(kind);
  return found != nullptr && found->needs_text;
}

bool ReadFindings(const std::string& text, Findings* out, std::string* error) {
  *out = Findings();
  findings::Document doc;
  *error = Refusal(findings::Read(text, &doc));
  if (!error->empty()) return false;
  out->manager = doc.manager;
  out->languages = doc.languages;
  for (const findings::Entry& f : doc.findings) {
    if (!IsFixableKind(f.kind) || !f.has_message) continue;
    if (f.language.empty() || f.message.empty() || f.section.empty()) continue;
    MissingMessage m;
    m.id = f.id;
    m.kind = f.kind;
    m.manager = f.manager;
    m.object = f.object;
    m.element = f.element;
    m.language = f.language;
    m.name = f.message;
    m.section = f.section;
    m.file = f.message_file;
    m.input_problem = f.input_problem;
    out->missing.push_back(m);
  }
  return true;
}

}  // namespace fix
