// The msglint module: the entry function kelmain, the functions that every
// audit shares, XML file discovery, include merging and the free-standing
// audits (validators, action list, unused and repeated messages, column
// hints). The missing-message audit lives in MissedCheck.h.
#ifndef TESTUTILS_MSGLINT_H_
#define TESTUTILS_MSGLINT_H_

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/proc.h"
#include "pnl/xml.h"
#include "testutils/ordered_steps.h"

// The module's exported entry: argv[0] program, argv[1] manager name, then
// an optional report mode ("-s" or "-f") and one or more language codes.
extern "C" __attribute__((visibility("default"))) int kelmain(int argc, char** argv);

// The module's one log writer ("msglint", belonging to the "kern" log).
extern const pnl_log::Module msglint_log;

// Source file base name and line: the two leading values of every trace
// (level 9) record, whose formats begin with "%s:%d ".
#define MSGLINT_HERE __FILE_NAME__, __LINE__

namespace pnl_file {
// The name part of a path (the second part of SplitPath).
inline std::string Name(const std::string& path) { return SplitPath(path).second; }
}  // namespace pnl_file

// The process-wide name of the checked manager, set once by kelmain.
std::string& PNL_NAME();

// Writes the four-line usage text to standard output.
void usage(const std::string& program);

// Appends "\t" object " - " problem ". \t\t msgtext: " text "\n" to `out`.
void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out);

// True when the leading decimal number of `a` is greater than that of `b`
// (strtol in base 10, cut to 32 bits).
bool order(const std::string& a, const std::string& b);

// The text before the first "_" when something follows it, else "".
std::string get_prefix(std::string name);
// The text after the first "_" when not empty, else the text before it.
std::string cut_prefix(std::string name);

// Sends `query` to the panel of `manager` and returns its reply; a query
// that gets no answer is told on standard error, naming the manager and
// the query (the log has it too), and gives an empty document. An error
// reply is told as tell_panel_error does.
pnl_xml::Xml ask_panel(const std::string& manager, const std::string& query);

// Calls function `function` of the checked manager's panel through
// sbin/pnlctl, which has the panel write its checked files. A query that
// got no answer is told as ask_panel tells it; a checked file that the
// panel could not write as tell_panel_error tells it; any other failure as
// run_command tells it.
void call_panel_function(const std::string& function);
// While the missing-message audit runs, what the module says goes through
// its ordered steps (see OrderedSteps), so that it stays behind the panel
// calls that run meanwhile; otherwise (null steps) it is said at once.
void set_audit_steps(OrderedSteps* steps);
OrderedSteps* audit_steps();
// Runs `step` now, or in its place among the audit's ordered steps.
void in_order(std::function<void()> step);

// call_panel_function in two halves, for a caller that runs the command
// while it goes on: the command, not started yet, and what is done once it
// has ended (its output logged, its failure told).
std::unique_ptr<pnl_proc::Execute> panel_function_command(const std::string& function);
void panel_function_done(pnl_proc::Execute& command);

// Tells once on standard error and in the log each form or list of the
// checked manager's description whose name, made a cache file name for one
// of `langs`, is too long for a file name: the panel writes no cache file
// for it, so the audits that read the cache pass over it.
void tell_names_too_long(const std::vector<std::string>& langs);

// Tells an error reply of `manager`'s panel once per run, on standard error
// and in the log: "msglint: panel of M: ERROR". An error that says a cache
// file could not be written ends the run with kWriteError; any other leaves
// a query without its answer (kPanelFailure). Each is also an input problem
// of the findings file: "panel-write-failed" or "panel-query-failed".
void tell_panel_error(const std::string& manager, const std::string& error);
// Tells `line`, which names a query that got no answer, once per run on
// standard error; the run then ends with kPanelFailure.
void tell_unanswered(const std::string& line);
// Whether a query to a panel got no answer, or an error reply, in this run.
bool panel_failed();

// Runs the program argv[0] with the arguments `argv` (no shell: every
// argument reaches the program as it stands) and waits for it; returns its
// exit status, -1 when it could not be started or did not end by itself.
// A program that cannot be started, or that fails when `must_succeed`, is
// written to the log, and the first such failure of each program in a run
// also to standard error, naming the command.
int run_command(const std::vector<std::string>& argv, bool must_succeed);

// Exit statuses beside the result bits (1-31), 1 (command line) and 255
// (the audit file cannot be opened):
// an installation where a symbolic link, or something of the wrong kind,
// stands at a path the run would write or remove under var/ or at ecl.xml;
// nothing is removed or written.
const int kUnsafeInstallation = 64;
// writing var/test_msgs, ecl.xml or the cache failed (a full disk, an I/O
// error): the report is incomplete.
const int kWriteError = 65;
// a query to a panel got no answer or an error reply (a panel that cannot
// run, a socket path too long): the audits missed what the panel writes,
// so the report is incomplete. The audit file's failures (255, 65) come
// first.
const int kPanelFailure = 66;

// The paths below the current directory that the run of `manager` creates,
// writes or removes and that hold something they must not: one sentence
// each, "var/.xmlcache is a symbolic link", in a fixed order, each once.
// Empty when the run may go on.
std::vector<std::string> unsafe_paths(const std::string& manager);

// Tells a write failure once per path: on standard error and in the log,
// "cannot write PATH: REASON"; the run then ends with kWriteError.
void tell_write_error(const std::string& path, const std::string& reason);
// Whether a write failed in this run.
bool write_failed();

// ---- XML file discovery -------------------------------------------------

// True for a path that does not contain "." + lang + ".xml".
struct fileIsNotForLang {
  explicit fileIsNotForLang(std::string lang) : lang(std::move(lang)) {}
  bool operator()(const std::string& path) const;
  std::string lang;
};

// True for a path whose base name is one of `names`.
struct fileIsForKern {
  explicit fileIsForKern(std::vector<std::string> names) : names(std::move(names)) {}
  bool operator()(const std::string& path) const;
  std::vector<std::string> names;
};

// True for a path that contains `text` anywhere.
struct skipFile {
  explicit skipFile(std::string text) : text(std::move(text)) {}
  bool operator()(const std::string& path) const;
  std::string text;
};

// Replaces `out` with the full paths of the entries of `dir`.
void getDirContent(const std::string& dir, std::vector<std::string>& out);
// Replaces `files` with the checked manager's own cached XML files for `lang`.
void getXmlFiles(std::vector<std::string>& files, const std::string& lang);
// Appends to `out` the pieces of `text` between separators.
void split(const std::string& text, char separator, std::vector<std::string>& out);

// ---- Include merging ----------------------------------------------------

// Copies the msg elements of every file that `includes` (the "//include"
// selection of `doc`) names under the root of `doc`, then deletes the
// include elements; a missing file adds a report line to `out`.
void MergeIncludes(pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out);

// ---- Run driver ---------------------------------------------------------

// Drops from `langs` the languages whose message file
// `msg_dir` + manager + "_msg_" + language + ".xml" does not exist. The walk
// moves one position on after every removal too, so the language that moved
// up into a removed one's place is kept unexamined; it ends at the end of
// the list, also when the last language was the one removed.
void drop_languages(std::vector<std::string>& langs, const std::string& msg_dir);

// ---- Free-standing audits -----------------------------------------------

// Lists the text inputs of the manager's forms that have no validator, with
// their form, field and Russian title and label.
void check_validator();

// Lists the cached description files of `lang` whose name is no action of
// the running manager.
void check_actionlist(const std::string& lang);

// Lists the messages of `lang` that no element of their form or list uses.
void check_unused(const std::string& lang);
// What the unused audit asks of one metadata element of the description:
// whether it has a field, a page, a toolbar button (by name or by
// function), a column or a column property of a given name. Each answer is
// the one that the query of field_found and its kin gives on a copy of the
// element. Out of literal evaluation the answers come from sets gathered
// in one walk of the element, and no copy is made (a parsed document holds
// no entity reference, so the copy's names and values are the element's);
// a key holding a quote makes another query (or none at all), and such keys
// are asked of the copy as written.
class MetadataLookups {
 public:
  explicit MetadataLookups(const pnl_xml::XmlNode& metadata);

  // The element's "type" attribute ("form", "list", ...).
  std::string Type() const { return metadata_.GetProp("type"); }

  bool Field(const std::string& key);
  bool Page(const std::string& key);
  bool ToolbtnByName(const std::string& key);
  bool ToolbtnByFunc(const std::string& key);
  bool ColProp(const std::string& key);
  bool Col(const std::string& key);

 private:
  // What an element is to the queries: one of the names they test (in no
  // namespace), or anything else.
  enum class Tag { kOther, kForm, kField, kPage, kColdata, kCol, kProp, kToolbar, kToolbtn };
  static Tag TagOf(const pnl_xml::XmlNode& element);
  // Gathers the keys of the children of `node` and of their subtrees;
  // `parent`, `grand` and `great` are the tags of `node` and of its two
  // ancestors (kOther above the copied element).
  void Walk(const pnl_xml::XmlNode& node, Tag parent, Tag grand, Tag great, bool in_toolbar);
  bool AsWritten(const std::string& key) const;
  pnl_xml::Xml& Copy();

  pnl_xml::XmlNode metadata_;
  bool walked_ = false;
  bool copied_ = false;
  pnl_xml::Xml copy_;
  std::unordered_set<std::string> fields_, pages_, toolbtn_names_, toolbtn_funcs_;
  std::unordered_set<std::string> col_props_, cols_;
};

// Whether a message document (includes merged) has a message of a given
// name: what "//msg[@name='NAME']" selects on it, from the set of its
// message names out of literal evaluation (a name with a quote is asked as
// written). The document must
// not change while the lookups are in use.
class MessageLookups {
 public:
  explicit MessageLookups(pnl_xml::Xml& doc);
  bool Has(const std::string& name);

 private:
  void Walk(const pnl_xml::XmlNode& element);

  pnl_xml::Xml& doc_;
  bool walked_ = false;
  bool gathered_ = false;
  std::unordered_set<std::string> names_;
};

// The deciders of check_unused for a message of a form and of a list: a
// message that nothing can use gets a report line in `out`.
void form_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out);
void list_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out);
// Lookups of `key` in a metadata description, evaluated as written.
bool field_found(pnl_xml::Xml& meta, const std::string& key);
bool page_found(pnl_xml::Xml& meta, const std::string& key);
bool toolbtn_found(pnl_xml::Xml& meta, const std::string& key);
bool toolbtn_found_by_func_name(pnl_xml::Xml& meta, const std::string& key);
bool colprop_found(pnl_xml::Xml& meta, const std::string& key);
bool col_found(pnl_xml::Xml& meta, const std::string& key);

// One occurrence of a message: the base name of its file and its name.
struct XmlMsg {
  XmlMsg(std::string file, std::string name) : file(std::move(file)), name(std::move(name)) {}
  std::string file;
  std::string name;
};

// Lists the message texts of `lang` that occur more than once, the most
// repeated first, with every place where they occur.
void check_repeats(const std::string& lang);

// check_repeats then check_unused, with the same report, findings and
// files, but each cache file read once for both.
void check_repeats_and_unused(const std::string& lang);

namespace msglint_private {

// The programs whose failure run_command has already told on standard
// error in this run.
std::set<std::string>& told_programs();

// The paths whose write failure has been told in this run.
std::set<std::string>& failed_writes();

// The queries without an answer (and the panel's error replies) told in
// this run.
std::set<std::string>& unanswered_queries();

// The columns of every list of a manager's description: list name -> its
// column names in description order. A later list of the same name wins.
class ColumnList {
 public:
  ColumnList(const std::string& manager, const std::string& lang);

  // The hint messages of every messages section of a language's message
  // file: section name -> its "hint_" message names, ascending. Only the
  // hints written directly in a section count; includes add nothing.
  //
  // A large manager's message file parses into a document of many times its
  // size, and only the sections' names and their children's names are
  // needed here, so a plain file (UTF-8, no namespaces, no DTD) is read
  // with the element scanner instead; any other file, and every file under
  // literal evaluation, is parsed as a document and queried.
  class HintList {
   public:
    HintList(const std::string& manager, const std::string& lang);
    void Parse();

    std::string manager;
    std::string lang;
    std::map<std::string, std::vector<std::string>> table;
    pnl_xml::Xml doc;

   private:
    // One messages section: its name and its element children as (element
    // name, "name" attribute).
    struct Section {
      std::string name;
      std::vector<std::pair<std::string, std::string>> children;
    };
    bool ScanSections(std::vector<Section>* sections) const;
    void QuerySections(std::vector<Section>* sections);
    std::string path_;
  };

  std::string manager;
  std::string lang;
  std::map<std::string, std::vector<std::string>> table;
  pnl_xml::Xml doc;
};

}  // namespace msglint_private

// Writes one line on standard output for every list column of `manager`
// that has no "hint_" message in the language's message file.
void report_column_hints(const std::string& manager, const std::string& lang);

#endif  // TESTUTILS_MSGLINT_H_
