#include "testutils/findings.h"

#include <algorithm>
#include <cmath>
#include <iostream>

#include <nlohmann/json.hpp>

#include "findings/kinds.h"
#include "findings/paths.h"
#include "findings/schema.h"
#include "pnl/file.h"
#include "pnl/xml.h"

using ordered_json = nlohmann::ordered_json;

namespace {

// Kinds whose finding is a message that the missing-message audit looked
// up and found missing ("missing-...") or without text ("empty-...").
bool IsMessageLookup(const Finding& finding) {
  return finding.audit == "missing-messages" && !finding.message_name.empty() &&
         !finding.language.empty() &&
         (finding.kind.starts_with("missing-") || finding.kind.starts_with("empty-"));
}

ordered_json StringOrNull(const std::string& text) {
  return text.empty() ? ordered_json(nullptr) : ordered_json(text);
}

// Percentage of present messages, one decimal; 100 when none is required.
double Percent(long present, long required) {
  if (required == 0) return 100.0;
  return std::round(1000.0 * static_cast<double>(present) / static_cast<double>(required)) / 10.0;
}

// The document's way of writing JSON: two spaces a level. A text that is not
// valid UTF-8 (a language given on the command line can be anything) has
// its bad bytes replaced rather than stopping the run.
std::string Dump(const ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
}

// Appends `text` to `out` with every line after the first indented by
// `spaces` more: a value dumped on its own, placed deeper in the document.
// JSON texts hold no raw newline, so every newline is a line break.
void Indent(std::string_view text, int spaces, std::string* out) {
  const std::string indent = "\n" + std::string(spaces, ' ');
  size_t start = 0;
  for (size_t nl = text.find('\n'); nl != std::string_view::npos; nl = text.find('\n', start)) {
    out->append(text.substr(start, nl - start));
    out->append(indent);
    start = nl + 1;
  }
  out->append(text.substr(start));
}

ordered_json ProblemsJson(const std::vector<InputProblem>& problems_in) {
  ordered_json problems = ordered_json::array();
  for (const InputProblem& problem : problems_in) {
    ordered_json item;
    item["kind"] = problem.kind;
    item["file"] = StringOrNull(problem.file);
    item["line"] = problem.line > 0 ? ordered_json(problem.line) : ordered_json(nullptr);
    item["message"] = StringOrNull(problem.message);
    item["language"] = StringOrNull(problem.language);
    problems.push_back(item);
  }
  return problems;
}

// A finding's entry of the document, but for its last member
// "input_problem".
ordered_json FindingEntry(const Finding& f, const std::string& manager, long id) {
  ordered_json item;
  item["id"] = id;
  item["kind"] = f.kind;
  item["level"] = findings::LevelOf(f.kind);
  item["audit"] = f.audit;
  item["manager"] = manager;
  item["object"] = StringOrNull(f.object);
  if (f.element_type.empty()) {
    item["element"] = nullptr;
  } else {
    ordered_json element;
    element["type"] = f.element_type;
    element["name"] = f.element;
    item["element"] = element;
  }
  item["language"] = StringOrNull(f.language);
  item["result_bit"] = f.result_bit ? ordered_json(f.result_bit) : ordered_json(nullptr);
  if (f.message_name.empty()) {
    item["message"] = nullptr;
  } else {
    ordered_json message;
    message["name"] = f.message_name;
    message["section"] = StringOrNull(f.section);
    message["file"] = f.language.empty() ? ordered_json(nullptr)
                                         : ordered_json(findings::MessageFile(manager, f.language));
    message["add"] = f.kind.starts_with("missing-") || f.kind.starts_with("empty-")
                         ? ordered_json("<msg name=\"" + f.message_name + "\"></msg>")
                         : ordered_json(nullptr);
    item["message"] = message;
  }
  if (f.file.empty()) {
    item["location"] = nullptr;
  } else {
    ordered_json location;
    location["file"] = f.file;
    location["line"] = f.line > 0 ? ordered_json(f.line) : ordered_json(nullptr);
    item["location"] = location;
  }
  item["report"] = f.report;
  item["audit_line"] = StringOrNull(f.audit_line);
  if (!f.reference_language.empty()) {
    ordered_json& comparison = item["comparison"];
    comparison["reference_language"] = f.reference_language;
    comparison["reference"] = f.reference_text;
    comparison["text"] = f.text;
    comparison["difference"] = f.difference;
  }
  return item;
}

}  // namespace

void FindingsRecorder::SetRun(const std::string& manager, const std::string& mode,
                              const std::vector<std::string>& arguments) {
  manager_ = manager;
  mode_ = mode;
  arguments_ = arguments;
}

void FindingsRecorder::SetLanguages(const std::vector<std::string>& languages) {
  languages_ = languages;
}

FindingsRecorder::Counts& FindingsRecorder::CountsOf(const std::string& lang,
                                                     const std::string& object) {
  auto& objects = counts_[lang];
  if (objects.find(object) == objects.end()) object_order_[lang].push_back(object);
  return objects[object];
}

void FindingsRecorder::Add(const Finding& finding) {
  if (keep_findings_) findings_.push_back(finding);
  // The entry as it stands inside the document's "findings" array (four
  // spaces in), without its closing line.
  std::string text = Dump(FindingEntry(finding, manager_, finding_count() + 1));
  text.resize(text.size() - 2);  // "\n}"
  constexpr size_t kBlock = 1 << 20;
  if (entry_text_.empty() || entry_text_.back().size() + 2 * text.size() > kBlock) {
    if (!entry_text_.empty()) Spill(entry_text_.size() - 1);
    entry_text_.emplace_back();
    entry_text_.back().reserve(std::max(kBlock, 2 * text.size()));
    spilled_at_.push_back(-1);
    block_sizes_.push_back(0);
  }
  std::string& block = entry_text_.back();
  const size_t begin = block.size();
  Indent(text, 4, &block);
  auto known = std::find(entry_languages_.begin(), entry_languages_.end(), finding.language);
  const size_t language = static_cast<size_t>(known - entry_languages_.begin());
  if (known == entry_languages_.end()) entry_languages_.push_back(finding.language);
  entries_.push_back({entry_text_.size() - 1, begin, block.size(), language});
  block_sizes_.back() = block.size();
  if (!IsMessageLookup(finding)) return;
  Counts& counts = CountsOf(finding.language, finding.object);
  if (finding.kind.starts_with("empty-"))
    ++counts.empty;
  else
    ++counts.missing;
}

void FindingsRecorder::AddProblem(const InputProblem& problem) { problems_.push_back(problem); }

void FindingsRecorder::Present(const std::string& lang, const std::string& object) {
  ++CountsOf(lang, object).present;
}

void FindingsRecorder::Clear() { *this = FindingsRecorder(); }

ordered_json FindingsRecorder::RunJson() const {
  ordered_json run;
  run["manager"] = manager_;
  run["mode"] = mode_ == "-s" ? "short" : "full";
  run["arguments"] = arguments_;
  run["languages"] = languages_;
  return run;
}

ordered_json FindingsRecorder::StatisticsJson() const {
  // Every audited language has its statistics, also one that needed nothing.
  ordered_json statistics = ordered_json::array();
  std::vector<std::string> langs = languages_;
  for (const auto& [lang, objects] : counts_)
    if (std::find(langs.begin(), langs.end(), lang) == langs.end()) langs.push_back(lang);
  for (const std::string& lang : langs) {
    ordered_json entry;
    entry["language"] = lang;
    Counts total;
    ordered_json per_object = ordered_json::array();
    auto found = counts_.find(lang);
    if (found != counts_.end()) {
      for (const std::string& object : object_order_.at(lang)) {
        const Counts& c = found->second.at(object);
        total.present += c.present;
        total.missing += c.missing;
        total.empty += c.empty;
        const long required = c.present + c.missing + c.empty;
        ordered_json item;
        item["object"] = object;
        item["required"] = required;
        item["present"] = c.present;
        item["missing"] = c.missing;
        item["empty"] = c.empty;
        item["percent"] = Percent(c.present, required);
        per_object.push_back(item);
      }
    }
    const long required = total.present + total.missing + total.empty;
    entry["required"] = required;
    entry["present"] = total.present;
    entry["missing"] = total.missing;
    entry["empty"] = total.empty;
    entry["percent"] = Percent(total.present, required);
    entry["objects"] = per_object;
    statistics.push_back(entry);
  }
  return statistics;
}

ordered_json FindingsRecorder::HeadJson() const {
  ordered_json doc;
  doc["schema"] = findings::kSchemaName;
  doc["version"] = findings::kSchemaVersion;
  doc["run"] = RunJson();
  doc["statistics"] = StatisticsJson();
  return doc;
}

std::string FindingsRecorder::LiteralJson() const {
  ordered_json doc = HeadJson();
  ordered_json findings = ordered_json::array();
  long id = 0;
  for (const Finding& f : findings_) {
    ordered_json item = FindingEntry(f, manager_, ++id);
    bool caused = false;
    for (const InputProblem& p : problems_)
      if (p.language.empty() || p.language == f.language) caused = true;
    item["input_problem"] = caused;
    findings.push_back(item);
  }
  doc["findings"] = findings;
  doc["input_problems"] = ProblemsJson(problems_);
  return Dump(doc) + "\n";
}

void FindingsRecorder::Spill(size_t block) {
  if (!scratch_) scratch_ = std::make_shared<pnl_file::ScratchFile>();
  if (!scratch_->ok()) return;
  long long at = -1;
  if (!scratch_->Append(entry_text_[block], &at).ok()) return;  // kept in memory
  spilled_at_[block] = at;
  std::string().swap(entry_text_[block]);
}

std::string FindingsRecorder::Head() const {
  std::string head = Dump(HeadJson());
  head.resize(head.size() - 2);  // "\n}"
  head += entries_.empty() ? ",\n  \"findings\": []" : ",\n  \"findings\": [\n    ";
  return head;
}

std::string FindingsRecorder::Tail() const {
  std::string tail = "\n  ],\n  \"input_problems\": ";
  if (entries_.empty()) tail.erase(0, 4);
  Indent(Dump(ProblemsJson(problems_)), 2, &tail);
  tail += "\n}\n";
  return tail;
}

// The document's pieces in order, each entry's text read back from the
// scratch file a block at a time.
class FindingsRecorder::Document : public pnl_file::PieceSource {
 public:
  explicit Document(const FindingsRecorder& recorder)
      : recorder_(recorder), head_(recorder.Head()), tail_(recorder.Tail()) {
    // A finding comes from an input problem when a problem concerns all
    // languages or the finding's own.
    caused_.assign(recorder.entry_languages_.size(), false);
    for (const InputProblem& p : recorder.problems_) {
      if (p.language.empty()) all_languages_ = true;
      for (size_t i = 0; i < caused_.size(); ++i)
        if (recorder.entry_languages_[i] == p.language) caused_[i] = true;
    }
  }

  bool Next(std::string_view* piece) override {
    static constexpr std::string_view kCaused = ",\n      \"input_problem\": true\n    }";
    static constexpr std::string_view kNotCaused = ",\n      \"input_problem\": false\n    }";
    static constexpr std::string_view kBetween = ",\n    ";
    const std::vector<Entry>& entries = recorder_.entries_;
    // Each entry gives three pieces: what stands before it, its text, and
    // its last member; then the tail.
    if (step_ == 0) {
      step_ = 1;
      *piece = head_;
      return true;
    }
    if (entry_ == entries.size()) {
      if (step_ == 4) return false;
      step_ = 4;
      *piece = tail_;
      return true;
    }
    const Entry& entry = entries[entry_];
    switch (step_) {
      case 1:
        step_ = 2;
        if (entry_ > 0) {
          *piece = kBetween;
          return true;
        }
        [[fallthrough]];
      case 2: {
        step_ = 3;
        const std::string* block = Block(entry.block);
        if (block == nullptr) {
          entry_ = entries.size();  // nothing more can be had
          step_ = 4;
          return false;
        }
        *piece = std::string_view(*block).substr(entry.begin, entry.end - entry.begin);
        return true;
      }
      default:
        step_ = 1;
        ++entry_;
        *piece = all_languages_ || caused_[entry.language] ? kCaused : kNotCaused;
        return true;
    }
  }

  pnl::Status status() const override { return status_; }

 private:
  // The text of block `block`, read back when it was spilled; null (with
  // the reason in `error_`) when it cannot be read.
  const std::string* Block(size_t block) {
    const long long at = recorder_.spilled_at_[block];
    if (at < 0) return &recorder_.entry_text_[block];
    if (loaded_ != block) {
      status_ = recorder_.scratch_->Read(at, recorder_.block_sizes_[block], &buffer_);
      if (!status_.ok()) return nullptr;
      loaded_ = block;
    }
    return &buffer_;
  }

  const FindingsRecorder& recorder_;
  std::string head_;
  std::string tail_;
  bool all_languages_ = false;
  std::vector<bool> caused_;
  size_t entry_ = 0;
  int step_ = 0;
  std::string buffer_;
  size_t loaded_ = static_cast<size_t>(-1);
  pnl::Status status_;
};

std::string FindingsRecorder::ToJson() const {
  Document document(*this);
  std::string text;
  std::string_view piece;
  while (document.Next(&piece)) text += piece;
  return text;
}

bool FindingsRecorder::Write(const std::string& work_dir) const {
  const std::string var = work_dir + "/var";
  const std::string dir = work_dir + "/" + findings::FindingsDir();
  const std::string path = work_dir + "/" + findings::FindingsFile();
  std::string why;
  Document document(*this);
  if (pnl_file::IsLink(var) || pnl_file::IsLink(dir) || pnl_file::IsLink(path))
    why = "refusing a symbolic link";
  else if (!pnl_file::MakeDirs(dir).ok())
    why = "cannot create " + findings::FindingsDir();
  else if (pnl::Status written = pnl_file::WriteFile(path, document); !written.ok())
    why = written.cause();
  if (why.empty()) return true;
  std::cerr << "msglint: cannot write " << findings::FindingsFile() << ": " << why << std::endl;
  return false;
}

// ---- Input problems -------------------------------------------------------

namespace {

// Records why the file `rel` cannot serve, if it cannot; true when it can.
bool CheckFile(FindingsRecorder& recorder, const std::string& work_dir, const std::string& rel,
               const std::string& lang) {
  const std::string path = work_dir + "/" + rel;
  InputProblem problem;
  problem.file = rel;
  problem.language = lang;
  std::string text;
  if (pnl::Status read = pnl_file::ReadFile(path, text); !read.ok()) {
    problem.kind = pnl_file::Exists(path) ? "unreadable-file" : "missing-file";
    // A directory or a FIFO where the file belongs is named as such, not by
    // the error number the refusal left.
    const std::string what = pnl_file::Describe(path);
    problem.message = what.starts_with("a ") && what != "a regular file"
                          ? what + ", not a regular file"
                          : read.cause();
    recorder.AddProblem(problem);
    return false;
  }
  pnl_xml::ParseProblem parse;
  if (!pnl_xml::CheckWellFormed(text, path, &parse)) {
    problem.kind = "malformed-file";
    problem.line = parse.line;
    problem.message = parse.message;
    recorder.AddProblem(problem);
    return false;
  }
  return true;
}

}  // namespace

void RecordInputProblems(FindingsRecorder& recorder, const std::string& work_dir,
                         const std::string& manager, const std::vector<std::string>& given,
                         const std::vector<std::string>& kept) {
  CheckFile(recorder, work_dir, findings::DescriptionFile(manager), "");

  // The run's walk over the languages, again: a language whose file is
  // missing is dropped, and the one that moves into its place is kept
  // without its file being looked at.
  std::vector<std::string> langs = given;
  std::vector<std::string> unexamined;
  for (std::vector<std::string>::size_type pos = 0; pos < langs.size(); ++pos) {
    if (!pnl_file::Exists(work_dir + "/" + findings::MessageFile(manager, langs[pos]))) {
      InputProblem dropped;
      dropped.kind = "dropped-language";
      dropped.file = findings::MessageFile(manager, langs[pos]);
      dropped.language = langs[pos];
      dropped.message = "no message file: the language is not audited";
      recorder.AddProblem(dropped);
      langs.erase(langs.begin() + pos);
      if (pos < langs.size()) unexamined.push_back(langs[pos]);
    }
  }
  for (const std::string& lang : kept) {
    const bool looked_at = std::find(unexamined.begin(), unexamined.end(), lang) == unexamined.end();
    const std::string rel = findings::MessageFile(manager, lang);
    if (!looked_at && !pnl_file::Exists(work_dir + "/" + rel)) {
      InputProblem problem;
      problem.kind = "language-not-checked";
      problem.file = rel;
      problem.language = lang;
      problem.message = "kept after a dropped language without its message file being looked at";
      recorder.AddProblem(problem);
      continue;
    }
    CheckFile(recorder, work_dir, rel, lang);
  }
}
