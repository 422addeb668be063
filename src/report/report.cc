#include "report/report.h"

#include <zlib.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <map>
#include <sstream>
#include <string_view>
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

// The size of a text, given in pieces, compressed by gzip at its default
// level: the pieces go through one compressor and only the count of its
// output is kept.
class GzipCounter {
 public:
  GzipCounter();
  ~GzipCounter();
  GzipCounter(const GzipCounter&) = delete;
  GzipCounter& operator=(const GzipCounter&) = delete;
  void Add(std::string_view text);
  // The compressed size of everything added; the text's own size when the
  // compressor cannot be had.
  size_t Finish();

 private:
  void Deflate(std::string_view text, int flush);
  z_stream stream_{};
  std::vector<unsigned char> buffer_;
  bool ok_ = false;
  size_t size_ = 0;
  size_t raw_ = 0;
};

}  // namespace

GzipCounter::GzipCounter() : buffer_(1 << 16) {
  ok_ = deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY) == Z_OK;
}

GzipCounter::~GzipCounter() {
  if (ok_) deflateEnd(&stream_);
}

void GzipCounter::Deflate(std::string_view text, int flush) {
  stream_.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
  stream_.avail_in = static_cast<uInt>(text.size());
  int status;
  do {
    stream_.next_out = buffer_.data();
    stream_.avail_out = static_cast<uInt>(buffer_.size());
    status = deflate(&stream_, flush);
    size_ += buffer_.size() - stream_.avail_out;
  } while (flush == Z_FINISH ? status == Z_OK : stream_.avail_out == 0);
}

void GzipCounter::Add(std::string_view text) {
  raw_ += text.size();
  if (ok_) Deflate(text, Z_NO_FLUSH);
}

size_t GzipCounter::Finish() {
  if (!ok_) return raw_;
  Deflate("", Z_FINISH);
  return size_;
}

size_t GzipSize(const std::string& text) {
  GzipCounter counter;
  counter.Add(text);
  return counter.Finish();
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

namespace {

// What every result of a SARIF log is made from: the findings, their
// identities and baseline states, the rules, and the lines of the messages
// of a repeated text. A result is built when it is written and let go at
// once, so that a log of tens of thousands of results is never held whole.
struct SarifParts {
  const Json& doc;
  const Json& findings;
  const Comparison* baseline;
  findings::SourceLines* messages;
  std::string manager;
  std::vector<FindingIdentity> identities;
  std::map<std::string, int> rule_index;
  Json rules = Json::array();

  SarifParts(const Json& d, const Comparison* b, findings::SourceLines* m)
      : doc(d), findings(At(d, "findings")), baseline(b), messages(m),
        manager(Str(At(At(d, "run"), "manager"))),
        identities(b ? b->identities : IdentitiesOf(d)) {
    for (const Json& f : findings) AddRule(Str(At(f, "kind")));
    if (baseline)
      for (const FindingIdentity& id : baseline->absent) AddRule(id.kind);
  }

  void AddRule(const std::string& kind) {
    if (rule_index.count(kind)) return;
    rule_index[kind] = static_cast<int>(rules.size());
    rules.push_back(Rule(kind));
  }

  // The findings, then the absent findings of a baseline.
  size_t Count() const { return findings.size() + (baseline ? baseline->absent.size() : 0); }
  // The rank of result `i`: error 3, warning 2, note 1, a fixed finding 0.
  int Rank(size_t i) const { return i < findings.size() ? LevelRank(Str(At(findings[i], "level"))) : 0; }
  Json Result(size_t i) const {
    return i < findings.size() ? FindingResult(i) : AbsentResult(baseline->absent[i - findings.size()]);
  }

  Json FindingResult(size_t i) const;
  Json Locations(const Json& f, Json& related) const;
  Json AbsentResult(const FindingIdentity& id) const;
};

// The locations of a finding: its element's, else for a repeated text each
// message that holds it (the first as the location, the others related),
// else the manager's description.
Json SarifParts::Locations(const Json& f, Json& related) const {
  Json locations = Json::array();
  if (At(f, "location").is_object()) {
    locations.push_back(PhysicalLocation(Str(At(At(f, "location"), "file")), Num(At(At(f, "location"), "line"))));
  } else if (Str(At(f, "kind")) == "repeated-message" && At(f, "language").is_string()) {
    const std::string language = Str(At(f, "language"));
    const std::string file = findings::MessageFile(manager, language);
    for (const auto& [section, name] : RepeatedMessages(Str(At(f, "report")))) {
      Json occurrence = PhysicalLocation(file, messages ? messages->Message(manager, language, section, name) : 0);
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
  return locations;
}

Json SarifParts::FindingResult(size_t i) const {
  const Json& f = findings[i];
  const Json& message = At(f, "message");
  Json result;
  const std::string kind = Str(At(f, "kind"));
  result["ruleId"] = kind;
  result["ruleIndex"] = rule_index.at(kind);
  result["level"] = Str(At(f, "level"));
  std::string text = ReportText(f);
  if (At(f, "comparison").is_object()) text += "\n" + ComparedTexts(f);
  if (message.is_object() && At(message, "add").is_string())
    text += "\nAdd " + Str(At(message, "add")) + " to section " + Str(At(message, "section")) + " of " +
            Str(At(message, "file")) + ".";
  result["message"]["text"] = text;
  Json related = Json::array();
  result["locations"] = Locations(f, related);
  if (message.is_object() && At(message, "file").is_string() &&
      (!At(f, "location").is_object() || Str(At(At(f, "location"), "file")) != Str(At(message, "file")))) {
    Json location = PhysicalLocation(Str(At(message, "file")), 0);
    location["id"] = static_cast<int>(related.size()) + 1;
    location["message"]["text"] = "The message " + Str(At(message, "name")) + " belongs in section " +
                                  Str(At(message, "section")) + ".";
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
  return result;
}

Json SarifParts::AbsentResult(const FindingIdentity& id) const {
  Json result;
  result["ruleId"] = id.kind;
  result["ruleIndex"] = rule_index.at(id.kind);
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
  return result;
}

Json Notifications(const Json& doc) {
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
  return notifications;
}

// The run of the log without its results: the tool and its rules, the
// invocation and the automation details.
Json RunWithoutResults(const Json& doc, const SarifParts& parts) {
  Json run;
  run["tool"]["driver"]["name"] = "msglint";
  run["tool"]["driver"]["fullName"] = "msglint " MSGLINT_VERSION ", audit of a manager's XML descriptions and messages";
  run["tool"]["driver"]["version"] = MSGLINT_VERSION;
  run["tool"]["driver"]["semanticVersion"] = MSGLINT_VERSION;
  run["tool"]["driver"]["rules"] = parts.rules;
  Json invocation;
  invocation["executionSuccessful"] = At(doc, "input_problems").empty();
  Json arguments = Json::array({Str(At(At(doc, "run"), "manager"))});
  for (const Json& a : At(At(doc, "run"), "arguments")) arguments.push_back(a);
  invocation["arguments"] = arguments;
  invocation["toolExecutionNotifications"] = Notifications(doc);
  run["invocations"] = Json::array({invocation});
  std::string languages;
  for (const Json& l : At(At(doc, "run"), "languages")) languages += (languages.empty() ? "" : ",") + Str(l);
  run["automationDetails"]["id"] = "msglint/" + parts.manager + "/" + languages + "/";
  return run;
}

// The log's text around its results: the results are the last member of
// the one run, so the text is the head, the results separated by commas,
// and "]}]}".
std::string SarifHead(const Json& run) {
  Json sarif;
  sarif["$schema"] = "https://json.schemastore.org/sarif-2.1.0.json";
  sarif["version"] = "2.1.0";
  sarif["runs"] = Json::array({run});
  std::string text = sarif.dump();
  text.resize(text.size() - 3);  // the run's "}", the runs' "]" and the log's "}"
  return text + ",\"results\":[";
}

constexpr char kSarifTail[] = "]}]}";

// Writes the log with the results that `kept` marks, piece by piece, to
// `write` (a callable that takes a std::string_view).
template <typename Write>
void WriteLog(const SarifParts& parts, const std::string& head, const std::vector<bool>& kept, Write write) {
  write(head);
  bool first = true;
  for (size_t i = 0; i < kept.size(); ++i) {
    if (!kept[i]) continue;
    if (!first) write(",");
    first = false;
    write(parts.Result(i).dump());
  }
  write(kSarifTail);
}

}  // namespace

void WriteSarif(std::ostream& out, const Json& doc, const Comparison* baseline, const SarifLimits& limits,
                SarifLeftOut* left_out, findings::SourceLines* messages) {
  const SarifParts parts(doc, baseline, messages);
  const std::string head = SarifHead(RunWithoutResults(doc, parts));

  // Which results fit: the errors first, then the warnings, the notes and
  // the fixed findings, each in report order; the log keeps report order.
  std::vector<int> rank(parts.Count());
  for (size_t i = 0; i < rank.size(); ++i) rank[i] = parts.Rank(i);
  std::vector<size_t> order(rank.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return rank[a] > rank[b]; });
  size_t count = order.size();
  if (limits.max_results > 0 && count > static_cast<size_t>(limits.max_results)) count = limits.max_results;
  std::vector<bool> kept;
  for (;;) {
    kept.assign(order.size(), false);
    for (size_t i = 0; i < count; ++i) kept[order[i]] = true;
    if (limits.max_gzip_bytes <= 0 || count == 0) break;
    GzipCounter gzip;
    WriteLog(parts, head, kept, [&gzip](std::string_view piece) { gzip.Add(piece); });
    const size_t size = gzip.Finish();
    if (size <= static_cast<size_t>(limits.max_gzip_bytes)) break;
    // Fewer results, in proportion, with a margin for their unequal sizes.
    count = static_cast<size_t>(count * (static_cast<double>(limits.max_gzip_bytes) / size) * 0.95);
  }
  WriteLog(parts, head, kept, [&out](std::string_view piece) { out << piece; });
  if (left_out) {
    *left_out = SarifLeftOut();
    left_out->written = static_cast<long>(count);
    for (size_t i = count; i < order.size(); ++i) {
      switch (rank[order[i]]) {
        case 3: ++left_out->errors; break;
        case 2: ++left_out->warnings; break;
        case 1: ++left_out->notes; break;
        default: ++left_out->fixed; break;
      }
    }
  }
}

Json ToSarif(const Json& doc, const Comparison* baseline, const SarifLimits& limits, SarifLeftOut* left_out,
             findings::SourceLines* messages) {
  std::ostringstream out;
  WriteSarif(out, doc, baseline, limits, left_out, messages);
  return Json::parse(out.str());
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
