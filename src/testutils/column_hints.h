// The column hint check (both modes, per language): list columns of the
// manager's description without a "hint_" message in their list's section
// of the language's message file.
#ifndef TESTUTILS_COLUMN_HINTS_H_
#define TESTUTILS_COLUMN_HINTS_H_

#include <map>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "pnl/xml.h"
#include "testutils/run_context.h"

namespace msglint_private {

// The columns of every list of a manager's description: list name -> its
// column names in description order. A later list of the same name wins.
class ColumnList {
 public:
  ColumnList(const RunContext& run, const std::string& lang);

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
    HintList(const RunContext& run, const std::string& lang);
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

  // Line of the first column `column` of the last list `list` in the
  // description; 0 if it has none.
  long Line(const std::string& list, const std::string& column) const;

  std::string manager;
  std::string lang;
  std::map<std::string, std::vector<std::string>> table;
  pnl_xml::Xml doc;

 private:
  std::unordered_map<std::string, std::unordered_map<std::string, long>> lines_;
};

}  // namespace msglint_private

// Writes one line of the report for every list column of the run's manager
// that has no "hint_" message in the language's message file.
void report_column_hints(RunContext& run, const std::string& lang);

#endif  // TESTUTILS_COLUMN_HINTS_H_
