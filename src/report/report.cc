#include "report/report.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <vector>

#include "findings/json.h"
#include "findings/kinds.h"
#include "findings/paths.h"
#include "version/version.h"

namespace report {

namespace {

using findings::At;
using findings::HelpOf;
using findings::Num;
using findings::Str;

std::string Percent(const Json& value) {
  char text[32];
  snprintf(text, sizeof text, "%.1f", value.is_number() ? value.get<double>() : 0.0);
  return text;
}

// The finding's text without its trailing newline. A finding that printed
// nothing (the texts audit's) is told by what differs, or by its kind.
std::string ReportText(const Json& finding) {
  std::string text = Str(At(finding, "report"));
  while (!text.empty() && text.back() == '\n') text.pop_back();
  if (text.empty()) text = Str(At(At(finding, "comparison"), "difference"));
  return text.empty() ? Str(At(finding, "kind")) : text;
}

// The two texts that a finding of the texts audit compared, one line each:
// "en: \"Name:\"\nru: \"Имя\"", or "" for another finding.
std::string ComparedTexts(const Json& finding) {
  const Json& comparison = At(finding, "comparison");
  if (!comparison.is_object()) return "";
  return Str(At(comparison, "reference_language")) + ": \"" + Str(At(comparison, "reference")) +
         "\"\n" + Str(At(finding, "language")) + ": \"" + Str(At(comparison, "text")) + "\"";
}

// A finding of a baseline in a few words: "missing-hint field domain in
// mailbox.edit, message hint_domain [en]".
std::string Describe(const FindingIdentity& id) {
  std::string text = id.kind;
  if (!id.element_type.empty()) text += " " + id.element_type + " " + id.element;
  if (!id.object.empty()) text += " in " + id.object;
  if (!id.message.empty()) text += ", message " + id.message;
  if (!id.language.empty()) text += " [" + id.language + "]";
  if (id.occurrence > 1) text += " (occurrence " + std::to_string(id.occurrence) + ")";
  return text;
}

// New, unchanged and absent findings of one language.
struct StateCounts {
  long new_findings = 0;
  long unchanged = 0;
  long absent = 0;
};

// The counts of each language of a comparison: the audited languages in
// order, then any other language of a finding, then "" for the findings of
// no language, when there are such.
std::vector<std::pair<std::string, StateCounts>> CountsByLanguage(const Json& doc,
                                                                  const Comparison& comparison) {
  std::map<std::string, StateCounts> counts;
  for (size_t i = 0; i < comparison.identities.size(); ++i) {
    StateCounts& c = counts[comparison.identities[i].language];
    if (comparison.states[i] == BaselineState::kNew)
      ++c.new_findings;
    else
      ++c.unchanged;
  }
  for (const FindingIdentity& id : comparison.absent) ++counts[id.language].absent;

  std::vector<std::pair<std::string, StateCounts>> ordered;
  for (const Json& s : At(doc, "statistics")) {
    const std::string lang = Str(At(s, "language"));
    if (lang.empty()) continue;
    auto it = counts.find(lang);
    ordered.emplace_back(lang, it == counts.end() ? StateCounts() : it->second);
    if (it != counts.end()) counts.erase(it);
  }
  for (const auto& [lang, c] : counts)
    if (!lang.empty()) ordered.emplace_back(lang, c);
  if (counts.count("")) ordered.emplace_back("", counts[""]);
  return ordered;
}

Json PhysicalLocation(const std::string& file, long line) {
  Json physical;
  physical["artifactLocation"]["uri"] = file;
  if (line > 0) physical["region"]["startLine"] = line;
  Json location;
  location["physicalLocation"] = physical;
  return location;
}

// A SARIF rule of a kind of finding: its id and a name made of it
// ("missing-hint", "MissingHint"), its help text as every description, and
// its level.
Json Rule(const std::string& kind) {
  std::string name;
  bool upper = true;
  for (char c : kind) {
    if (c == '-') {
      upper = true;
    } else {
      name += upper ? static_cast<char>(toupper(static_cast<unsigned char>(c))) : c;
      upper = false;
    }
  }
  const findings::Kind* known = findings::FindKind(kind);
  Json rule;
  rule["id"] = kind;
  rule["name"] = name;
  rule["shortDescription"]["text"] = HelpOf(kind);
  std::string full = HelpOf(kind);
  if (known) {
    full += std::string(" Reported by the ") + known->audit + " audit";
    if (known->result_bit) full += ", which sets bit " + std::to_string(known->result_bit) + " of the run's status";
    full += ".";
  }
  rule["fullDescription"]["text"] = full;
  rule["help"]["text"] = full + " See man msglint-report for the findings of this kind.";
  if (known) rule["defaultConfiguration"]["level"] = known->level;
  return rule;
}

// The messages that a repeated-message finding names, from its report
// lines "\tSECTION.msg.LANG.xml NAME": (section, name) in report order.
std::vector<std::pair<std::string, std::string>> RepeatedMessages(const std::string& report) {
  std::vector<std::pair<std::string, std::string>> messages;
  size_t start = 0;
  while (start < report.size()) {
    size_t end = report.find('\n', start);
    if (end == std::string::npos) end = report.size();
    const std::string line = report.substr(start, end - start);
    start = end + 1;
    if (line.empty() || line[0] != '\t') continue;
    const size_t blank = line.find(' ');
    const size_t dot = line.find(".msg.");
    if (blank == std::string::npos || dot == std::string::npos || dot > blank) continue;
    messages.emplace_back(line.substr(1, dot - 1), line.substr(blank + 1));
  }
  return messages;
}

// What the report says of a document that lacks a part it shows.
constexpr char kIncomplete[] =
    "findings document without its findings, statistics, input problems or run";

}  // namespace

size_t GzipSize(const std::string& text) {
  z_stream stream{};
  if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) != Z_OK)
    return text.size();
  std::vector<unsigned char> buffer(1 << 16);
  stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream.avail_in = static_cast<uInt>(text.size());
  size_t size = 0;
  int status;
  do {
    stream.next_out = buffer.data();
    stream.avail_out = static_cast<uInt>(buffer.size());
    status = deflate(&stream, Z_FINISH);
    size += buffer.size() - stream.avail_out;
  } while (status == Z_OK);
  deflateEnd(&stream);
  return size;
}

std::string Refusal(findings::Fault fault) {
  switch (fault) {
    case findings::Fault::kNone: return "";
    case findings::Fault::kNotJson: return "not JSON";
    case findings::Fault::kForeign: return "not a findings document of msglint";
    case findings::Fault::kOtherVersion: return "findings document of an unknown version";
    case findings::Fault::kNoFindings: break;
  }
  return kIncomplete;
}

bool IsFindingsDocument(const Json& doc, std::string& why) {
  why = Refusal(findings::Check(doc));
  if (!why.empty()) return false;
  if (!At(doc, "statistics").is_array() || !At(doc, "input_problems").is_array() ||
      !At(doc, "run").is_object()) {
    why = kIncomplete;
    return false;
  }
  return true;
}

int LevelRank(const std::string& level) {
  if (level == "note") return 1;
  if (level == "warning") return 2;
  if (level == "error") return 3;
  return 0;
}

long SarifLeftOut::Total() const { return errors + warnings + notes + fixed; }

std::string SarifLeftOut::Describe() const {
  return "the SARIF log holds " + std::to_string(written) + " of " + std::to_string(written + Total()) +
         " results; left out: " + std::to_string(errors) + " errors, " + std::to_string(warnings) +
         " warnings, " + std::to_string(notes) + " notes, " + std::to_string(fixed) +
         " fixed findings (--max-results 0 writes them all)";
}

Json ToSarif(const Json& doc, const Comparison* baseline, const SarifLimits& limits, SarifLeftOut* left_out,
             MessageLines* messages) {
  const std::string manager = Str(At(At(doc, "run"), "manager"));
  const std::vector<FindingIdentity> identities = baseline ? baseline->identities : IdentitiesOf(doc);
  Json rules = Json::array();
  std::map<std::string, int> rule_index;
  auto add_rule = [&](const std::string& kind) {
    if (rule_index.count(kind)) return;
    rule_index[kind] = static_cast<int>(rules.size());
    rules.push_back(Rule(kind));
  };
  for (const Json& f : At(doc, "findings")) add_rule(Str(At(f, "kind")));
  if (baseline)
    for (const FindingIdentity& id : baseline->absent) add_rule(id.kind);

  // Each result with its rank: error 3, warning 2, note 1, a fixed finding 0.
  std::vector<std::pair<int, Json>> all;
  size_t index = 0;
  for (const Json& f : At(doc, "findings")) {
    const size_t i = index++;
    Json result;
    const std::string kind = Str(At(f, "kind"));
    result["ruleId"] = kind;
    result["ruleIndex"] = rule_index[kind];
    result["level"] = Str(At(f, "level"));
    std::string text = ReportText(f);
    if (At(f, "comparison").is_object()) text += "\n" + ComparedTexts(f);
    if (At(f, "message").is_object() && At(At(f, "message"), "add").is_string())
      text += "\nAdd " + Str(At(At(f, "message"), "add")) + " to section " +
              Str(At(At(f, "message"), "section")) + " of " + Str(At(At(f, "message"), "file")) + ".";
    result["message"]["text"] = text;
    Json related = Json::array();
    Json locations = Json::array();
    if (At(f, "location").is_object()) {
      locations.push_back(PhysicalLocation(Str(At(At(f, "location"), "file")), Num(At(At(f, "location"), "line"))));
    } else if (kind == "repeated-message" && At(f, "language").is_string()) {
      // Each message that holds the text, the first as the location.
      const std::string file = findings::MessageFile(manager, Str(At(f, "language")));
      for (const auto& [section, name] : RepeatedMessages(Str(At(f, "report")))) {
        Json occurrence = PhysicalLocation(file, messages ? messages->Line(file, section, name) : 0);
        occurrence["message"]["text"] = "Message " + name + " of section " + section + ".";
        if (locations.empty()) {
          locations.push_back(occurrence);
        } else {
          occurrence["id"] = static_cast<int>(related.size()) + 1;
          related.push_back(occurrence);
        }
      }
    }
    if (locations.empty()) locations.push_back(PhysicalLocation(findings::DescriptionFile(manager), 0));
    result["locations"] = locations;
    if (At(f, "message").is_object() && At(At(f, "message"), "file").is_string() &&
        (!At(f, "location").is_object() || Str(At(At(f, "location"), "file")) != Str(At(At(f, "message"), "file")))) {
      Json location = PhysicalLocation(Str(At(At(f, "message"), "file")), 0);
      location["id"] = static_cast<int>(related.size()) + 1;
      location["message"]["text"] = "The message " + Str(At(At(f, "message"), "name")) +
                                    " belongs in section " + Str(At(At(f, "message"), "section")) + ".";
      related.push_back(location);
    }
    if (!related.empty()) result["relatedLocations"] = related;
    result["partialFingerprints"]["msglintFinding/v2"] = identities[i].Fingerprint(manager);
    if (baseline) result["baselineState"] = StateName(baseline->states[i]);
    Json properties;
    properties["manager"] = At(At(doc, "run"), "manager");
    properties["object"] = At(f, "object");
    properties["element"] = At(f, "element");
    properties["language"] = At(f, "language");
    properties["resultBit"] = At(f, "result_bit");
    properties["inputProblem"] = At(f, "input_problem");
    result["properties"] = properties;
    all.emplace_back(LevelRank(Str(At(f, "level"))), std::move(result));
  }
  if (baseline) {
    for (const FindingIdentity& id : baseline->absent) {
      Json result;
      result["ruleId"] = id.kind;
      result["ruleIndex"] = rule_index[id.kind];
      result["kind"] = "pass";
      result["level"] = "none";
      result["message"]["text"] = "Fixed since the baseline: " + Describe(id) + ".";
      // Where it was is not recorded; the description of the manager.
      result["locations"] = Json::array({PhysicalLocation(findings::DescriptionFile(manager), 0)});
      result["partialFingerprints"]["msglintFinding/v2"] = id.Fingerprint(manager);
      result["baselineState"] = StateName(BaselineState::kAbsent);
      Json properties;
      properties["manager"] = manager;
      properties["object"] = id.object.empty() ? Json(nullptr) : Json(id.object);
      if (id.element_type.empty()) {
        properties["element"] = nullptr;
      } else {
        properties["element"]["type"] = id.element_type;
        properties["element"]["name"] = id.element;
      }
      properties["language"] = id.language.empty() ? Json(nullptr) : Json(id.language);
      result["properties"] = properties;
      all.emplace_back(0, std::move(result));
    }
  }

  Json notifications = Json::array();
  for (const Json& p : At(doc, "input_problems")) {
    Json n;
    n["level"] = "error";
    std::string text = Str(At(p, "kind"));
    if (At(p, "language").is_string()) text += " (" + Str(At(p, "language")) + ")";
    if (At(p, "message").is_string()) text += ": " + Str(At(p, "message"));
    n["message"]["text"] = text;
    if (At(p, "file").is_string()) n["locations"] = Json::array({PhysicalLocation(Str(At(p, "file")), Num(At(p, "line")))});
    notifications.push_back(n);
  }

  Json run;
  run["tool"]["driver"]["name"] = "msglint";
  run["tool"]["driver"]["fullName"] = "msglint " MSGLINT_VERSION ", audit of a manager's XML descriptions and messages";
  run["tool"]["driver"]["version"] = MSGLINT_VERSION;
  run["tool"]["driver"]["semanticVersion"] = MSGLINT_VERSION;
  run["tool"]["driver"]["rules"] = rules;
  Json invocation;
  invocation["executionSuccessful"] = At(doc, "input_problems").empty();
  Json arguments = Json::array({Str(At(At(doc, "run"), "manager"))});
  for (const Json& a : At(At(doc, "run"), "arguments")) arguments.push_back(a);
  invocation["arguments"] = arguments;
  invocation["toolExecutionNotifications"] = notifications;
  run["invocations"] = Json::array({invocation});
  std::string languages;
  for (const Json& l : At(At(doc, "run"), "languages")) languages += (languages.empty() ? "" : ",") + Str(l);
  run["automationDetails"]["id"] = "msglint/" + manager + "/" + languages + "/";

  // Which results fit: the errors first, then the warnings, the notes and
  // the fixed findings, each in report order; the log keeps report order.
  std::vector<size_t> order(all.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(),
                   [&](size_t a, size_t b) { return all[a].first > all[b].first; });
  size_t count = all.size();
  if (limits.max_results > 0 && count > static_cast<size_t>(limits.max_results)) count = limits.max_results;
  Json sarif;
  for (;;) {
    std::vector<bool> kept(all.size(), false);
    for (size_t i = 0; i < count; ++i) kept[order[i]] = true;
    Json results = Json::array();
    for (size_t i = 0; i < all.size(); ++i)
      if (kept[i]) results.push_back(all[i].second);
    run["results"] = std::move(results);
    sarif = Json();
    sarif["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
    sarif["version"] = "2.1.0";
    sarif["runs"] = Json::array({run});
    if (limits.max_gzip_bytes <= 0 || count == 0) break;
    const size_t size = GzipSize(sarif.dump());
    if (size <= static_cast<size_t>(limits.max_gzip_bytes)) break;
    // Fewer results, in proportion, with a margin for their unequal sizes.
    count = static_cast<size_t>(count * (static_cast<double>(limits.max_gzip_bytes) / size) * 0.95);
  }
  if (left_out) {
    *left_out = SarifLeftOut();
    left_out->written = static_cast<long>(count);
    for (size_t i = count; i < order.size(); ++i) {
      switch (all[order[i]].first) {
        case 3: ++left_out->errors; break;
        case 2: ++left_out->warnings; break;
        case 1: ++left_out->notes; break;
        default: ++left_out->fixed; break;
      }
    }
  }
  return sarif;
}

std::string InputProblemLines(const Json& doc) {
  std::string out;
  for (const Json& p : At(doc, "input_problems")) {
    out += "input problem: " + Str(At(p, "kind"));
    if (At(p, "file").is_string()) {
      out += " " + Str(At(p, "file"));
      if (Num(At(p, "line")) > 0) out += ":" + std::to_string(Num(At(p, "line")));
    }
    if (At(p, "language").is_string()) out += " [" + Str(At(p, "language")) + "]";
    if (At(p, "message").is_string()) out += ": " + Str(At(p, "message"));
    out += "\n";
  }
  return out;
}

std::string KindCountLines(const Json& doc) {
  constexpr size_t kShown = 5;
  std::string out;
  for (const char* level : {"error", "warning", "note"}) {
    std::map<std::string, long> counts;
    long total = 0;
    for (const Json& f : At(doc, "findings")) {
      if (Str(At(f, "level")) != level) continue;
      ++counts[Str(At(f, "kind"))];
      ++total;
    }
    if (total == 0) continue;
    std::vector<std::pair<std::string, long>> ranked(counts.begin(), counts.end());
    std::stable_sort(ranked.begin(), ranked.end(),
                     [](const auto& a, const auto& b) { return a.second > b.second; });
    out += std::string(level) + ": " + std::to_string(total) + " findings:";
    for (size_t i = 0; i < ranked.size() && i < kShown; ++i)
      out += std::string(i ? ", " : " ") + ranked[i].first + " " + std::to_string(ranked[i].second);
    if (ranked.size() > kShown) out += " and " + std::to_string(ranked.size() - kShown) + " more kinds";
    out += "\n";
  }
  return out;
}

bool Check(const Json& doc, const std::string& fail_on, std::string& out, const Comparison* baseline) {
  for (const Json& s : At(doc, "statistics")) {
    out += Str(At(s, "language")) + ": " + std::to_string(Num(At(s, "required"))) + " required, " +
           std::to_string(Num(At(s, "present"))) + " present, " + std::to_string(Num(At(s, "missing"))) +
           " missing, " + std::to_string(Num(At(s, "empty"))) + " empty (" + Percent(At(s, "percent")) +
           "%)\n";
  }
  out += InputProblemLines(doc);
  out += KindCountLines(doc);
  const int threshold = LevelRank(fail_on);
  long failing = 0;
  size_t index = 0;
  for (const Json& f : At(doc, "findings")) {
    const size_t i = index++;
    if (baseline && baseline->states[i] != BaselineState::kNew) continue;
    if (LevelRank(Str(At(f, "level"))) >= threshold) ++failing;
  }
  if (!baseline) {
    out += std::to_string(failing) + " findings at or above " + fail_on + "\n";
  } else {
    for (const auto& [lang, c] : CountsByLanguage(doc, *baseline))
      out += "baseline " + (lang.empty() ? std::string("(no language)") : lang) + ": " +
             std::to_string(c.new_findings) + " new, " + std::to_string(c.unchanged) + " unchanged, " +
             std::to_string(c.absent) + " fixed\n";
    out += std::to_string(failing) + " new findings at or above " + fail_on + "\n";
  }
  return failing == 0 && At(doc, "input_problems").empty();
}

}  // namespace report
