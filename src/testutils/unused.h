// The unused-message audit (full mode, per language): messages of the
// manager's cached message files that nothing in their form or list can
// use, and includes that are not found. The questions it asks of the
// description and of a message document are answered by MetadataLookups
// and MessageLookups.
#ifndef TESTUTILS_UNUSED_H_
#define TESTUTILS_UNUSED_H_

#include <cstddef>
#include <memory>
#include <sstream>
#include <string>
#include <unordered_set>
#include <vector>

#include "pnl/xml.h"
#include "testutils/findings.h"
#include "testutils/run_context.h"

// Lists the messages of `lang` that no element of their form or list uses.
void check_unused(RunContext& run, const std::string& lang);

// check_repeats then check_unused, with the same report, findings and
// files, but each cache file read once for both.
void check_repeats_and_unused(RunContext& run, const std::string& lang);

// The text before the first "_" when something follows it, else "".
std::string get_prefix(std::string name);
// The text after the first "_" when not empty, else the text before it.
std::string cut_prefix(std::string name);

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

// The unused audit of one language, one cache file at a time.
class UnusedAudit {
 public:
  // What one file gets in the report: its base name and lines, and what
  // to record when they are printed: the findings of its missing includes,
  // then one finding per unused message, kept small (a run may hold those
  // of every file of a language) and made whole when recorded.
  struct Unused {
    std::string name;
    long line = 0;  // in the message file
    // Where its report line stands in `lines`.
    std::size_t begin = 0;
    std::size_t end = 0;
  };
  struct FileReport {
    std::string base;
    std::string section;
    std::string lang;
    std::string lines;
    std::vector<Finding> includes;
    std::vector<Unused> unused;
  };

  UnusedAudit(RunContext& run, const std::string& lang);

  // Checks the file at `path`, loaded into `doc` (whose includes are merged
  // into it); false when the file has nothing to report.
  bool Check(const std::string& path, pnl_xml::Xml& doc, FileReport& report);

 private:
  // The lookups of the metadata element of `root_name`; null when the
  // description has none. Nearly every file belongs to an element of its
  // own, so only the lookups of the element asked last are kept (for a
  // next file of the same element): those of a large description's every
  // element would be memory held for nothing.
  MetadataLookups* LookupsOf(const std::string& root_name);

  RunContext& run_;
  std::string lang_;
  pnl_xml::Xml description_;
  SourceLines lines_;
  bool asked_ = false;
  std::string last_root_;
  std::unique_ptr<MetadataLookups> last_lookups_;
};

// Prints the header of a language's unused report.
void PrintUnusedHeader(RunContext& run, const std::string& lang);
// Prints what one file gets in the report and records its findings.
void PrintUnused(RunContext& run, const UnusedAudit::FileReport& report);

#endif  // TESTUTILS_UNUSED_H_
