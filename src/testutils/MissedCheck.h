// The missing-message audit: walks every metadata element of the checked
// manager's main description and reports missing, empty or wrongly
// attributed messages of forms, lists and the main menu, three ways (log,
// audit file, the run's report), counting them into the result bit set.
#ifndef TESTUTILS_MISSEDCHECK_H_
#define TESTUTILS_MISSEDCHECK_H_

#include <cstdint>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/xml.h"
#include "testutils/run_context.h"

class MissedCheck {
 public:
  // Takes the run's languages, cache directory and report mode; a test may
  // change them before check().
  explicit MissedCheck(RunContext& run)
      : langs(run.langs), cache_dir(run.CacheDir()), report_mode(run.mode), run(run) {}

  // Builds the exclusion document and writes it to "ecl.xml".
  void initExludeList();
  // Runs the audit; returns the result bit set, -1 when the audit file
  // cannot be opened.
  int check();

  bool isExcludedProp(std::string form, const std::string& prop);
  // Calls the panel function `func` (pnlctl) and tells whether the checked
  // messages it leaves for `lang` hold the hint of `field`.
  bool usedFunctionToCheck(const std::string& func, const std::string& field,
                           const std::string& lang);
  // Whether the checked messages of `func` for `lang` hold the hint of
  // `field`, as the panel left them.
  bool checkedHasHint(const std::string& func, const std::string& field,
                      const std::string& lang);
  // usedFunctionToCheck with the answer given to `then`: at once, or, while
  // the audit runs its steps in order, once the pnlctl run has ended (the
  // audit going on meanwhile).
  void whenHintChecked(const std::string& func, const std::string& field,
                       const std::string& lang, std::function<void(bool)> then);
  void add_kern_common_msg(pnl_xml::Xml& msgs, const std::string& lang);

  // Gathers the fields of `form` that need a hint and the check-box
  // descriptions it needs, reporting textdata named like its field and the
  // "convert" attributes of domain inputs on the way.
  void check_form_fields(bool multi_form, const pnl_xml::XmlNode& form,
                         std::vector<std::string>& hint_fields,
                         std::vector<std::string>& checkbox_descs);
  // One field of the form: `form_path` is the query of the form's fields
  // up to the opening quote of the field's name.
  void check_form_field(const std::string& form_path, const pnl_xml::XmlNode& field,
                        std::vector<std::string>& hint_fields,
                        std::vector<std::string>& checkbox_descs);
  // Reports a textdata named like its field `name`; false when the field
  // is passed over altogether.
  bool check_field_textdata(const pnl_xml::XPath& textdata, const std::string& name);
  // Whether the field's children are all of one kind that needs no
  // messages (message textdata, links, descriptions, hidden inputs).
  bool only_of_one_kind(const std::string& name, const pnl_xml::XPath& children,
                        const pnl_xml::XPath& msg_textdata, const pnl_xml::XPath& links,
                        const pnl_xml::XPath& descs, const pnl_xml::XPath& hidden);
  void check_domain_convert(const pnl_xml::XmlNode& domain, const std::string& name);

  // The form's title, the hints and labels of `hint_fields` and the
  // descriptions of `checkbox_descs`, in every language.
  void check_form_langs(const std::vector<std::string>& hint_fields,
                        const std::vector<std::string>& checkbox_descs);
  void check_form_lang(const std::string& lang, const std::vector<std::string>& hint_fields,
                       const std::vector<std::string>& checkbox_descs);
  // The hint (and then the label) of `field` in the language's assembled
  // `messages`.
  void check_field_hint(pnl_xml::Xml& messages, const std::string& lang,
                        const std::string& field);
  void check_checkbox(pnl_xml::Xml& messages, const std::string& lang,
                      const std::string& checkbox);
  // What the description's messages say of a message.
  enum class MessageState { kMissing, kEmpty, kPresent };
  // Reports the label of `field` of form `form` in `lang` when missing or
  // empty (at `line` of the description).
  void check_label(const std::string& form, const std::string& field, const std::string& lang,
                   MessageState label, long line);
  // The columns (descriptions, background and text colours) and toolbar
  // buttons (short names, hints) of the list being checked.
  void check_list();
  class ListMessages;
  void check_list_column(const pnl_xml::XmlNode& column, ListMessages& messages);
  void check_background_colors(const pnl_xml::XmlNode& column, const pnl_xml::XPath& background);
  void check_text_colors(const pnl_xml::XmlNode& column, const pnl_xml::XPath& text);
  void check_list_button(const pnl_xml::XmlNode& button, ListMessages& messages);
  void check_mainmenu();
  void ValidateNext(pnl_xml::Xml doc, const std::string& path,
                    std::vector<std::string> conditions, const std::string& path_name);

  // What the audit says, each in its place among the run's ordered steps
  // (see RunContext::InOrder).
  // Writes one finding three ways, in this order: the log record (only when
  // the log records its level), the coded line in the audit file, the
  // sentence in the report; each stream is flushed after it.
  void Report(pnl_file::OutputFile* out_file, pnl_log::Level level, const std::string& record,
              const std::string& coded, const std::string& sentence);
  // Writes `text` as a log record of `level`.
  void Log(pnl_log::Level level, const std::string& text);
  // Writes `text` in the report.
  void Print(const std::string& text);
  // Counts a message of `object` in `lang` found present (the findings file
  // lists objects in the order first met).
  void Present(const std::string& lang, const std::string& object);
  // Records the finding just reported (or, with `sentence`, printed): its
  // element of the description at `line`, and the message `message` of
  // section `section` where one belongs.
  void Record(const char* kind, const std::string& object, const char* element_type,
              const std::string& element, const std::string& lang, int bit,
              const std::string& message, const std::string& section, long line,
              const std::string& sentence = std::string());

  std::vector<std::string> langs;
  std::string cache_dir;
  pnl_xml::Xml main_xml;
  std::string meta_name;
  std::string meta_type;
  std::string button_name;
  std::string button_func;
  std::string main_xml_path;
  // Entries "metadata.field" to skip; nothing fills them yet, but every
  // lookup is in place so that an entry added later takes effect.
  std::vector<std::string> field_skip_list;
  std::vector<std::string> list_skip_list;
  std::vector<std::string> lang_skip_list;
  pnl_file::OutputFile* out_file = nullptr;
  std::string report_mode;
  int32_t color_errors = 0;
  int32_t hint_errors = 0;
  int32_t label_errors = 0;
  int32_t desc_errors = 0;
  int32_t title_errors = 0;
  pnl_xml::Xml exclude_xml{"doc"};
  // Lines in the main description, for the findings file: of the form
  // being checked, and of its fields ("field:" + name) and check-box
  // descriptions ("checkbox:" + name).
  long form_line = 0;
  std::map<std::string, long> element_lines;
  // The coded line and the sentence of the last finding reported, for its
  // record in the findings file.
  struct LastReport {
    std::string coded;
    std::string sentence;
  };
  LastReport last_report;
  RunContext& run;

 private:
  // The panel functions whose pnlctl run the audit started, and whether
  // the last one failed. pnlctl runs once per function: the panel writes
  // the function's checked files of every language at once, from sources
  // that do not change while the audit runs, so a later hint check of the
  // same function reads what the first run wrote. A failed run is tried
  // again by the next check.
  std::map<std::string, bool> function_failed_;
};

#endif  // TESTUTILS_MISSEDCHECK_H_
