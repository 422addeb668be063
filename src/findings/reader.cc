#include "findings/reader.h"

#include "findings/schema.h"

namespace findings {

namespace {

Entry EntryOf(const Json& f) {
  Entry e;
  const Json& id = At(f, "id");
  if (id.is_number_integer()) e.id = id.get<long>();
  e.kind = Str(At(f, "kind"));
  e.level = Str(At(f, "level"));
  e.audit = Str(At(f, "audit"));
  e.manager = Str(At(f, "manager"));
  e.object = Str(At(f, "object"));
  e.element_type = Str(At(At(f, "element"), "type"));
  e.element = Str(At(At(f, "element"), "name"));
  e.language = Str(At(f, "language"));
  e.result_bit = Num(At(f, "result_bit"));
  const Json& message = At(f, "message");
  e.has_message = message.is_object();
  e.message = Str(At(message, "name"));
  e.section = Str(At(message, "section"));
  e.message_file = Str(At(message, "file"));
  e.add = Str(At(message, "add"));
  e.file = Str(At(At(f, "location"), "file"));
  e.line = Num(At(At(f, "location"), "line"));
  e.report = Str(At(f, "report"));
  e.audit_line = Str(At(f, "audit_line"));
  const Json& problem = At(f, "input_problem");
  e.input_problem = problem.is_boolean() && problem.get<bool>();
  return e;
}

}  // namespace

Fault Check(const Json& json) {
  if (Str(At(json, "schema")) != kSchemaName) return Fault::kForeign;
  const Json& version = At(json, "version");
  if (!version.is_number_integer() || version.get<long>() != kSchemaVersion)
    return Fault::kOtherVersion;
  if (!At(json, "findings").is_array()) return Fault::kNoFindings;
  return Fault::kNone;
}

std::vector<Entry> EntriesOf(const Json& json) {
  std::vector<Entry> entries;
  const Json& list = At(json, "findings");
  if (!list.is_array()) return entries;
  for (const Json& f : list) entries.push_back(EntryOf(f));
  return entries;
}

Fault Parse(const std::string& text, Json* json) {
  *json = Json::parse(text, nullptr, /*allow_exceptions=*/false);
  Fault fault = json->is_discarded() ? Fault::kNotJson : Check(*json);
  if (fault != Fault::kNone) *json = Json();
  return fault;
}

Fault Read(const std::string& text, Document* doc) {
  *doc = Document();
  Json json;
  if (Fault fault = Parse(text, &json); fault != Fault::kNone) return fault;
  const Json& run = At(json, "run");
  doc->manager = Str(At(run, "manager"));
  const Json& languages = At(run, "languages");
  if (languages.is_array())
    for (const Json& lang : languages)
      if (lang.is_string()) doc->languages.push_back(lang.get<std::string>());
  doc->findings = EntriesOf(json);
  doc->json = std::move(json);
  return Fault::kNone;
}

}  // namespace findings
