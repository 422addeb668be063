// The findings record of a run: every finding that the audits report, the
// problems met in the run's input, and per-language counts of the messages
// that the missing-message audit looked up. The audits hand each finding to
// the recorder beside the place where they report it; at the end of the run
// the record becomes the JSON document var/msglint/findings.json, which
// sbin/msglint-report reads (its manual page describes the document).
//
// The recorder only collects: it never prints, and nothing that the run
// prints or returns depends on it.
#ifndef TESTUTILS_FINDINGS_H_
#define TESTUTILS_FINDINGS_H_

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "findings/source_lines.h"
#include "pnl/file.h"

// One finding. Empty strings and zero numbers are written as null.
struct Finding {
  std::string kind;          // "missing-hint", "wrong-text-color", ...
  std::string audit;         // "missing-messages", "unused", ...
  std::string object;        // form, list or message section
  std::string element_type;  // "field", "column", "button", "menu-item", ...
  std::string element;       // its name
  std::string language;
  int result_bit = 0;        // the bit of the run's status that it sets
  std::string message_name;  // the message that is missing or at fault
  std::string section;       // the messages section where it belongs
  std::string file;          // description file of the element (relative)
  long line = 0;             // libxml2's line of the element in `file`
  std::string report;        // the lines it printed on standard output
  std::string audit_line;    // its line in var/test_msgs
  // A finding of the texts audit also names the reference language, the
  // two texts and what differs; written as "comparison" only when
  // `reference_language` is set.
  std::string reference_language;
  std::string reference_text;
  std::string text;
  std::string difference;    // "en has %s, %d; ru has %d"
};

// A problem of the run's input: a file missing, unreadable or malformed, a
// language dropped or taken unexamined, a failed panel query or command.
struct InputProblem {
  std::string kind;      // "missing-file", "malformed-file", ...
  std::string file;      // relative to the installation, or ""
  long line = 0;
  std::string message;   // the parser's or the system's message
  std::string language;  // the language it concerns, or "" for all
};

class FindingsRecorder {
 public:
  // The run: manager, mode ("-s" or "-f"), the arguments after the program
  // name as given, and the languages kept for the audits.
  void SetRun(const std::string& manager, const std::string& mode,
              const std::vector<std::string>& arguments);
  void SetLanguages(const std::vector<std::string>& languages);

  // Each finding becomes its entry of the document at once; the recorder
  // keeps that text, not the Finding, in blocks of about a megabyte, and a
  // full block goes to a scratch file (see pnl_file::ScratchFile) until the
  // document is written: a run of a hundred thousand findings holds one
  // block of them in memory (all of them when no scratch file can be had).
  void Add(const Finding& finding);
  void AddProblem(const InputProblem& problem);
  // One message that the missing-message audit required of `object` in
  // `lang` and found present with a text.
  void Present(const std::string& lang, const std::string& object);

  long finding_count() const { return static_cast<long>(entries_.size()); }
  const std::vector<InputProblem>& problems() const { return problems_; }

  // The whole document, indented by two spaces, ending in a newline.
  std::string ToJson() const;

  // Writes the document to var/msglint/findings.json under `work_dir` piece
  // by piece (never the whole text at once), never through a symbolic link;
  // on failure one line on standard error.
  bool Write(const std::string& work_dir) const;

  // Forgets everything (tests run several audits in one process).
  void Clear();

  // From now on the recorder also keeps every Finding as given, so that
  // LiteralJson() can build the document the plain way, as one JSON value
  // dumped whole; tests check ToJson() against it.
  void KeepFindings() { keep_findings_ = true; }
  const std::vector<Finding>& findings() const { return findings_; }
  std::string LiteralJson() const;

 private:
  struct Counts {
    long present = 0;
    long missing = 0;
    long empty = 0;
  };
  // Where a finding's entry stands in `entry_text_` (which block, from where
  // to where), and the language it concerns (its index in
  // `entry_languages_`): the entry's last member, "input_problem", depends
  // on problems that may be met later in the run and is added when the
  // document is written. The entries' text is kept in blocks of about a
  // megabyte, so that it never has to be moved to grow.
  struct Entry {
    size_t block = 0;
    size_t begin = 0;
    size_t end = 0;
    size_t language = 0;
  };
  class Document;
  friend class Document;
  // The document's first members and its "findings" array opened; the
  // array closed and the members after it.
  std::string Head() const;
  std::string Tail() const;
  // Sends a full block to the scratch file, if one can be had.
  void Spill(size_t block);
  // The members before the findings: schema, version, run, statistics.
  nlohmann::ordered_json HeadJson() const;
  nlohmann::ordered_json RunJson() const;
  nlohmann::ordered_json StatisticsJson() const;

  std::string manager_;
  std::string mode_;
  std::vector<std::string> arguments_;
  std::vector<std::string> languages_;
  std::vector<std::string> entry_text_;
  // Where each block of `entry_text_` stands in the scratch file; -1 while
  // it is in memory.
  std::vector<long long> spilled_at_;
  std::vector<size_t> block_sizes_;
  std::shared_ptr<pnl_file::ScratchFile> scratch_;
  std::vector<Entry> entries_;
  std::vector<std::string> entry_languages_;
  std::vector<InputProblem> problems_;
  bool keep_findings_ = false;
  std::vector<Finding> findings_;
  // language -> object -> counts, and the order objects were first met.
  std::map<std::string, std::map<std::string, Counts>> counts_;
  std::map<std::string, std::vector<std::string>> object_order_;
  Counts& CountsOf(const std::string& lang, const std::string& object);
};

using SourceLines = findings::SourceLines;

// Looks at the run's input files and records what is wrong with them: the
// description, each kept language's message file, the languages that the
// command line named but the run dropped, and those kept unexamined.
void RecordInputProblems(FindingsRecorder& recorder, const std::string& work_dir,
                         const std::string& manager, const std::vector<std::string>& given,
                         const std::vector<std::string>& kept);

#endif  // TESTUTILS_FINDINGS_H_
