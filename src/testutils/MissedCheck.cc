#include "testutils/MissedCheck.h"


#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <memory>
#include <sstream>

#include "findings/paths.h"
#include "pnl/file.h"
#include "pnl/log.h"
#include "pnl/str.h"
#include "testutils/diagnostics.h"
#include "testutils/audit_finding.h"
#include "testutils/findings.h"
#include "testutils/includes.h"
#include "testutils/msglint.h"
#include "testutils/ordered_steps.h"
#include "testutils/panel_calls.h"

namespace {

// One row of the built-in exclusion table: a field or property of a form
// (metadata element) of a manager that the audit leaves alone. A row
// without a field excludes the whole metadata element.
struct ExclusionRow {
  const char* manager;
  const char* form;
  const char* field;
};

// Rows of one manager stay together: each manager gets one element.
const ExclusionRow kExclusions[] = {
    {"kern", "backup.plan", "type"},
    {"kern", "backup.plan.datafilter", "type"},
    {"kern", "backup.plan.datafilter", "owner"},
    {"kern", "backup.plan.datafilter", "name"},
    {"kern", "backup.storages", "type"},
    {"kern", "backups", "plan_type"},
    {"kern", "backups", "backup_type"},
    {"kern", "backupdata", "type"},
    {"kern", "sysinfo", "name"},
    {"kern", "sysinfo.detail", "name"},
    {"kern", "sysinfo.cpu", "name"},
    {"kern", "product", "descr"},
    {"kern", "product.changelog", "type"},
    {"kern", "product.changelog", "edition"},
    {"kern", "software", "dispname"},
    {"kern", "builder", nullptr},
    {"kelpnl", "file.avcheckparams", "optype"},
    {"kelpnl", "file.avcheckparams", "time_min"},
    {"kelpnl", "file.avcheck", "command"},
    {"kelpnl", "file.avcheck", "avname"},
    {"kelpnl", "scheduler.edit", "time_min"},
    {"kelpnl", "firewall", "proto"},
    {"kelpnl", "firewall", "sourceip"},
    {"kelpnl", "firewall", "dport"},
    {"kelpnl", "firewall", "depend"},
    {"kelpnl", "netactconn.detail.showbycountry", "country"},
    {"kelpnl", "preset", "level"},
    {"kelpnl", "domain.record", "rtype"},
    {"kelpnl", "db.server", "type"},
    {"kelpnl", "emaildomain", "defaction"},
    {"kelpnl", "email.sorter", "allany"},
    {"kelpnl", "email.sorter.cond", "what"},
    {"kelpnl", "email.sorter.cond", "mod"},
    {"kelpnl", "email.sorter.action", "action"},
    {"kelpnl", "services", "description"},
    {"kelpnl", "monitoring.add", "service_name"},
    {"kelpnl", "monitoring.add", "service_process_name"},
    {"kelpnl", "monitoring.add", "service_pid"},
    {"kelpnl", "monitoring.add", "service_type"},
    {"kelpnl", "monitoring.add", "service_ip"},
    {"kelpnl", "monitoring.add", "service_port"},
    {"kelpnl", "userstat", "name"},
    {"kelpnl", "adminstat", "name"},
    {"kelpnl", "adminstat.details", "uname"},
    {"fenpnl", "dashboard.adminfo", "type"},
    {"fenpnl", "vm.sysinfo", "name"},
    {"gorpnl", "vm.sysinfo", "name"},
    {"gorpnl", "vmhostnode.net", "type"},
    {"gorpnl", "vmhostnode.info", "type"},
    {"gorpnl", "dashboard.adminfo", "type"},
    {"gorpnl", "dashboard.adminfo", "value"},
    {"rudpnl", "dashboard.info", "type"},
};

// How many pnlctl runs of the audit may run at once: enough to keep two
// processors busy while the audit goes on.
const std::size_t kPanelCallsAtOnce = 4;

// Colours that a setcolor element may name, compared exactly.
const char* const kAllowedColors[] = {"red", "green", "blue", "yellow", "cyan"};

bool Contains(const std::vector<std::string>& list, const std::string& item) {
  return std::find(list.begin(), list.end(), item) != list.end();
}

bool IsAllowedColor(const std::string& color) {
  for (const char* allowed : kAllowedColors)
    if (color == allowed) return true;
  return false;
}

// Fills `doc` with the messages one object needs in language `lang`: its
// own file `file` completed with the files it includes, then every message
// of the common file `common`, then the base manager's common messages.
void AssembleMessages(MissedCheck& audit, pnl_xml::Xml& doc, const std::string& file,
                      const std::string& common, const std::string& lang) {
  doc.LoadFromFile(file);
  pnl_xml::XPath includes(doc, "//include");
  if (!includes.empty()) {
    std::ostringstream collector;  // include problems are not this audit's report
    MergeIncludes(audit.run, doc, includes, lang, collector);
  }
  pnl_xml::Xml common_doc;
  common_doc.LoadFromFile(common);
  pnl_xml::XmlNode root = doc.GetRoot();
  for (pnl_xml::XmlNode msg : pnl_xml::XPath(common_doc, "//msg")) root.AppendChild(msg);
  audit.add_kern_common_msg(doc, lang);
}

// The text that printf would write for `format` and its arguments.
std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  va_list again;
  va_copy(again, args);
  const int size = vsnprintf(nullptr, 0, format, args);
  va_end(args);
  std::string text(size > 0 ? static_cast<std::size_t>(size) : 0, '\0');
  if (size > 0) vsnprintf(text.data(), text.size() + 1, format, again);
  va_end(again);
  return text;
}

// The query that finds the message `name` in a messages document.
std::string MsgQuery(const std::string& name) { return "//messages/msg[@name='" + name + "']"; }

}  // namespace

// ---- What the audit says ----------------------------------------------------

void MissedCheck::Report(pnl_file::OutputFile* out_file, pnl_log::Level level, const std::string& record,
                         const std::string& coded, const std::string& sentence) {
  run.InOrder([this, out_file, level, record, coded, sentence] {
    last_report = LastReport{coded, sentence};
    if (msglint_log.Check(level)) msglint_log.Write(level, "%s", record.c_str());
    if (pnl::Status written = out_file->Append(coded); !written.ok())
      tell_write_error(run, "var/test_msgs", written.cause());
    run.out << sentence;
  });
}

void MissedCheck::Log(pnl_log::Level level, const std::string& text) {
  if (!msglint_log.Check(level)) return;
  run.InOrder([level, text] { msglint_log.Write(level, "%s", text.c_str()); });
}

void MissedCheck::Print(const std::string& text) {
  run.InOrder([this, text] { run.out << text; });
}

void MissedCheck::Present(const std::string& lang, const std::string& object) {
  run.InOrder([this, lang, object] { run.findings.Present(lang, object); });
}

void MissedCheck::Record(const char* kind, const std::string& object, const char* element_type,
                         const std::string& element, const std::string& lang, int bit,
                         const std::string& message, const std::string& section, long line,
                         const std::string& sentence) {
  Finding finding = AuditFinding("missing-messages", kind, object, element_type, element, lang);
  finding.result_bit = bit;
  finding.message_name = message;
  finding.section = section;
  finding.file = findings::DescriptionFile(run.manager);
  finding.line = line;
  if (!sentence.empty()) {
    finding.report = sentence;
    run.InOrder([this, finding] { run.findings.Add(finding); });
    return;
  }
  // The finding just reported: its texts are there once the report is.
  run.InOrder([this, finding]() mutable {
    finding.report = last_report.sentence;
    finding.audit_line = last_report.coded;
    if (!finding.audit_line.empty() && finding.audit_line.back() == '\n')
      finding.audit_line.pop_back();
    run.findings.Add(finding);
  });
}

// ---- Driver and exclusion lists -------------------------------------------

void MissedCheck::initExludeList() {
  pnl_xml::XmlNode root = exclude_xml.GetRoot();
  pnl_xml::XmlNode manager;
  std::string manager_name;
  for (const ExclusionRow& row : kExclusions) {
    if (!manager || manager_name != row.manager) {
      manager_name = row.manager;
      manager = root.AppendChild(row.manager);
    }
    pnl_xml::XmlNode form = manager.AppendChild(row.form);
    if (row.field)
      form.AppendChild(row.field);
    else
      form.SetProp("nocheck", "yes");
  }
  if (pnl::Status saved = exclude_xml.Save(run.work_dir + "/ecl.xml", false); !saved.ok()) {
    // A directory at ecl.xml is no write error of the disk: the file simply
    // cannot be there, as before.
    if (!saved.IsDirectory()) tell_write_error(run, "ecl.xml", saved.cause());
  }
}

int MissedCheck::check() {
  const std::string work_dir = run.work_dir;
  pnl_file::OutputFile audit_file;
  if (!audit_file.Open(work_dir + "/var/test_msgs").ok()) {
    run.out << "Can't open out file for log.\n";
    InputProblem problem;
    problem.kind = "audit-file-not-opened";
    problem.file = "var/test_msgs";
    problem.message = "the missing-message audit did not run";
    run.findings.AddProblem(problem);
    return -1;
  }
  // Written in large blocks; a write that fails is told where it fails, or
  // at the close.
  out_file = &audit_file;

  main_xml_path = run.work_dir + "/" + findings::DescriptionFile(run.manager);
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Main xml data stored in \"%s\".", MSGLINT_HERE,
                      main_xml_path.c_str());
  // Logged in both report modes, although the walk runs only in full mode.
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Validating xml on self-included conditions.", MSGLINT_HERE);
  main_xml.LoadFromFile(main_xml_path);

  // The pnlctl runs of the audit go on while the audit does, a few at a
  // time; what it says stays in order behind them. Under literal
  // evaluation each run is waited for where it starts, as the audit reads.
  std::unique_ptr<OrderedSteps> steps;
  if (!pnl_xml::IsLiteralEvaluation()) steps = std::make_unique<OrderedSteps>(kPanelCallsAtOnce);
  function_failed_.clear();
  run.steps = steps.get();

  if (report_mode == "-f") ValidateNext(main_xml, "//pnldata", {}, "pnldata");

  pnl_xml::XPath metadata(main_xml, "//pnldata/metadata");
  check_mainmenu();

  for (pnl_xml::XmlNode meta : metadata) {
    meta_name = meta.GetProp("name");
    meta_type = meta.GetProp("type");
    pnl_xml::XPath nocheck(exclude_xml, "/doc/" + run.manager + "/" + meta_name + "/@" + "nocheck");
    if (!nocheck.empty()) continue;

    if (meta_type == "form") {
      pnl_xml::XPath forms(main_xml, "//pnldata/metadata[@name='" + meta_name + "']/form");
      const bool multi_form = forms.size() > 1;
      for (pnl_xml::XmlNode form : forms) {
        if (form.GetProp("id") == "windows") continue;
        std::vector<std::string> hint_fields;
        std::vector<std::string> checkbox_descs;
        form_line = form.Line();
        check_form_fields(multi_form, form, hint_fields, checkbox_descs);
        check_form_langs(hint_fields, checkbox_descs);
      }
    } else if (meta_type == "list") {
      check_list();
    }
  }

  if (steps) steps->Finish();
  run.steps = nullptr;

  if (pnl::Status closed = audit_file.Close(); !closed.ok())
    tell_write_error(run, "var/test_msgs", closed.cause());
  out_file = nullptr;

  int result = 0;
  if (color_errors) result |= 1;
  if (hint_errors) result |= 2;
  if (label_errors) result |= 4;
  if (desc_errors) result |= 8;
  if (title_errors) result |= 16;
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Resulting Error Code: %d", MSGLINT_HERE, result);
  return result;
}

bool MissedCheck::isExcludedProp(std::string form, const std::string& prop) {
  return !pnl_xml::XPath(exclude_xml, "//" + run.manager + "/" + form + "/" + prop).empty();
}

bool MissedCheck::usedFunctionToCheck(const std::string& func, const std::string& field,
                                      const std::string& lang) {
  call_panel_function(run, func);
  return checkedHasHint(func, field, lang);
}

bool MissedCheck::checkedHasHint(const std::string& func, const std::string& field,
                                 const std::string& lang) {
  const std::string work_dir = run.work_dir;
  const std::string cache_file = pnl_file::GoodPath(work_dir + "/var/.xmlcache/" + run.manager +
                                                    "/checked/" + func + ".msg." + lang + ".xml");
  if (!pnl_file::Exists(cache_file)) return false;
  pnl_xml::Xml messages;
  messages.LoadFromFile(cache_file);
  return !pnl_xml::XPath(messages, MsgQuery("hint_" + field)).empty();
}

void MissedCheck::whenHintChecked(const std::string& func, const std::string& field,
                                  const std::string& lang, std::function<void(bool)> then) {
  OrderedSteps* steps = run.steps;
  if (steps == nullptr) {
    then(usedFunctionToCheck(func, field, lang));
    return;
  }
  if (function_failed_.count(func) > 0) {
    // Queued behind the step of the function's first run, which has noted
    // how that run ended by the time this one runs. The checked files it
    // wrote are those a new run would write: the sources do not change
    // while the audit runs. Only a failed run is tried again.
    steps->Then([this, func, field, lang, then] {
      if (function_failed_[func]) function_failed_[func] = !call_panel_function(run, func);
      then(checkedHasHint(func, field, lang));
    });
    return;
  }
  function_failed_[func] = false;  // set when the run has ended
  steps->After(panel_function_command(run, func),
               [this, func, field, lang, then](pnl_proc::Execute& command) {
                 panel_function_done(run, command);
                 function_failed_[func] = command.Result() != 0;
                 then(checkedHasHint(func, field, lang));
               });
}

void MissedCheck::add_kern_common_msg(pnl_xml::Xml& msgs, const std::string& lang) {
  pnl_xml::Xml kern;
  kern.LoadFromFile(run.work_dir + "/" + findings::MessageFile("kern", lang));
  pnl_xml::XmlNode root = msgs.GetRoot();
  for (pnl_xml::XmlNode msg : pnl_xml::XPath(kern, "//messages[@name='common']/msg"))
    root.AppendChild(msg);
}

// ---- Form fields ----------------------------------------------------------

void MissedCheck::check_form_fields(bool multi_form, const pnl_xml::XmlNode& form,
                                    std::vector<std::string>& hint_fields,
                                    std::vector<std::string>& checkbox_descs) {
  const std::string selector =
      multi_form ? "form[@id='" + form.GetProp("id") + "']" : std::string("form");
  const std::string form_path =
      "//pnldata/metadata[@name='" + meta_name + "']/" + selector + "/field[@name='";
  pnl_xml::XPath fields(main_xml, "//pnldata/metadata[@name='" + meta_name + "']/" + selector +
                                      "/field[(boolean(@if)=false or @if!='windows') and "
                                      "not(@noname)]");

  for (unsigned long i = 0; i < fields.size(); ++i)
    check_form_field(form_path, fields[i], hint_fields, checkbox_descs);
}

void MissedCheck::check_form_field(const std::string& form_path, const pnl_xml::XmlNode& field,
                                   std::vector<std::string>& hint_fields,
                                   std::vector<std::string>& checkbox_descs) {
  const std::string name = field.GetProp("name");
  const char* const F = name.c_str();
  const char* const M = meta_name.c_str();

  if (field.GetProp("type") == "textdata") return;
  if (isExcludedProp(meta_name, name)) return;
  if (Contains(field_skip_list, meta_name + "." + name)) {
    if (msglint_log.Check(4))
      Log(4, Format("Skiping %s from %s 'cause it's in the shit list.", F, M));
    return;
  }

  const std::string path = form_path + name;
  element_lines["field:" + name] = field.Line();
  pnl_xml::XPath msg_textdata(main_xml, path + "']/textdata[@type='msg']");
  pnl_xml::XPath hidden(main_xml, path + "']/*[@type='hidden']");
  pnl_xml::XPath children(main_xml, path + "']/*");
  pnl_xml::XPath descs(main_xml, path + "']/desc");
  pnl_xml::XPath links(main_xml, path + "']/link");
  pnl_xml::XPath textdata(main_xml, path + "']/textdata");

  if (!check_field_textdata(textdata, name)) return;
  // A field made of one kind of child only needs no messages of its own.
  if (only_of_one_kind(name, children, msg_textdata, links, descs, hidden)) return;

  pnl_xml::XPath checkboxes(main_xml, path + "']/input[@type='checkbox']");
  pnl_xml::XPath domains(main_xml, path + "']/input[@check='domain']");
  descs = pnl_xml::XPath(main_xml, path + "']/desc");

  if (!domains.empty()) check_domain_convert(domains[0], name);

  if (field.GetProp("fullwidth") != "yes" && checkboxes.empty() && !name.empty())
    hint_fields.push_back(name);

  if (checkboxes.size() > descs.size() && msglint_log.Check(4))
    Log(4, Format("size of descriptions is less than size of checkbox in \"%s\" with field name \"%s\".",
        M, F));

  for (pnl_xml::XmlNode desc : descs) {
    const std::string desc_name = desc.GetProp("name");
    checkbox_descs.push_back(desc_name.empty() ? name : desc_name);
    element_lines["checkbox:" + checkbox_descs.back()] = desc.Line();
  }
}

bool MissedCheck::check_field_textdata(const pnl_xml::XPath& textdata, const std::string& name) {
  if (textdata.empty()) return true;
  if (run.manager == "rudpnl" && name == "confinfo" && meta_name == "spareaddmoveconfirm")
    return false;
  if (textdata[0].GetProp("name") != name) return true;
  const char* const F = name.c_str();
  const char* const M = meta_name.c_str();
  if (msglint_log.Check(3))
    Log(3, Format("Textdata name = field name with value: %s in form: %s \n", F, M));
  Print(Format("Textdata name = field name with value: %s in form: %s \n", F, M));
  Record("textdata-named-like-field", meta_name, "field", name, "", 0, "", "", textdata[0].Line(),
         Format("Textdata name = field name with value: %s in form: %s \n", F, M));
  return true;
}

bool MissedCheck::only_of_one_kind(const std::string& name, const pnl_xml::XPath& children,
                                   const pnl_xml::XPath& msg_textdata,
                                   const pnl_xml::XPath& links, const pnl_xml::XPath& descs,
                                   const pnl_xml::XPath& hidden) {
  // Each kind with what the log says of a field made of it only.
  const struct {
    const pnl_xml::XPath& part;
    const char* format;
  } kinds[] = {
      {msg_textdata, "Only textdata in field '%s' in '%s' skiping it"},
      {links, "Only links presented in field '%s' in '%s' skiping it"},
      {descs, "Only descriptions presented in field '%s' in '%s' skiping it"},
      {hidden, "Skiping field '%s' in '%s' 'cause it is hidden"},
  };
  for (const auto& kind : kinds) {
    if (kind.part.empty() || kind.part.size() != children.size()) continue;
    if (msglint_log.Check(4)) Log(4, Format(kind.format, name.c_str(), meta_name.c_str()));
    return true;
  }
  return false;
}

void MissedCheck::check_domain_convert(const pnl_xml::XmlNode& domain, const std::string& name) {
  const char* const F = name.c_str();
  const char* const M = meta_name.c_str();
  const std::string convert = domain.GetProp("convert");
  if (convert.empty()) {
    if (msglint_log.Check(3))
      Log(3, Format("No attribute convert on field %s for form named \"%s\" \n", F, M));
    Print(Format("No attribute convert on field %s for form named \"%s\" \n", F, M));
    ++title_errors;
    Record("missing-convert", meta_name, "field", name, "", 16, "", "", domain.Line(),
           Format("No attribute convert on field %s for form named \"%s\" \n", F, M));
  } else if (convert != "punycode") {
    if (msglint_log.Check(3))
      Log(3, Format("Wrong attribute value convert %s on field %s for form named "
                    "\"%s\" \n",
                    convert.c_str(), F, M));
    Print(Format("Wrong attribute value convert %s on field %s for form named \"%s\" \n",
                 convert.c_str(), F, M));
    ++title_errors;
    Record("wrong-convert", meta_name, "field", name, "", 16, "", "", domain.Line(),
           Format("Wrong attribute value convert %s on field %s for form named \"%s\" \n",
                  convert.c_str(), F, M));
  }
}

// ---- Self-included conditions ---------------------------------------------

void MissedCheck::ValidateNext(pnl_xml::Xml doc, const std::string& path,
                               std::vector<std::string> conditions, const std::string& path_name) {
  if (path.empty()) return;
  pnl_xml::XPath children(doc, path + "/*");
  for (unsigned long i = 1; i <= children.size(); ++i) {
    pnl_xml::XmlNode child = children[i - 1];
    const std::string name = child.GetProp("name");
    const std::string cond = child.GetProp("if");
    const std::string label = name.empty() ? "[" + str::Str(static_cast<long>(i)) + "]" : name;
    const std::string child_name = path_name + "." + label;

    if (Contains(conditions, cond)) {
      if (msglint_log.Check(3))
        Log(3, Format("There are self-included conditions for xml: \"%s\" with condition "
                          "(if) = \"%s\".",
                          child_name.c_str(), cond.c_str()));
      Print(Format(
          "There are self-included conditions for xml: \"%s\" with condition (if) = \"%s\".\n",
          child_name.c_str(), cond.c_str()));
      Record("self-included-condition", "", "element", child_name, "", 0, "", "", child.Line(),
             Format("There are self-included conditions for xml: \"%s\" with condition (if) = "
                    "\"%s\".\n",
                    child_name.c_str(), cond.c_str()));
    }
    if (!cond.empty()) conditions.push_back(cond);
    ValidateNext(doc, path + "/*[" + str::Str(static_cast<long>(i)) + "]", conditions, child_name);
    if (!cond.empty()) conditions.pop_back();
  }
}

// ---- Form titles, hints, labels and check boxes ---------------------------

void MissedCheck::check_form_langs(const std::vector<std::string>& hint_fields,
                                   const std::vector<std::string>& checkbox_descs) {
  for (const std::string& lang : langs) check_form_lang(lang, hint_fields, checkbox_descs);
}

void MissedCheck::check_form_lang(const std::string& lang,
                                  const std::vector<std::string>& hint_fields,
                                  const std::vector<std::string>& checkbox_descs) {
  const std::string& form = meta_name;
  const char* const F = form.c_str();
  const char* const L = lang.c_str();
  const std::string form_file = cache_dir + "/" + form + ".msg." + lang + ".xml";
  const std::string common_file = cache_dir + "/common.msg." + lang + ".xml";
  if (!pnl_file::Exists(form_file)) {
    if (msglint_log.Check(4)) Log(4, Format("File \"%s\" not exist.", form_file.c_str()));
    return;
  }
  pnl_xml::Xml messages;
  AssembleMessages(*this, messages, form_file, common_file, lang);

  pnl_xml::XPath title(messages, MsgQuery("title"));
  pnl_xml::XPath title_new(messages, MsgQuery("title_new"));

  if (Contains(lang_skip_list, form)) {
    if (msglint_log.Check(4))
      Log(4, Format("Skiping %s from titles 'cause it's in the shit list.", F));
    return;
  }
  if (form.find("filter") != std::string::npos) return;

  if (title.empty() && title_new.empty()) {
    // These forms have no title of their own; their fields go unchecked too.
    const std::string& manager = run.manager;
    if (manager == "kelpnl" && (form == "file.avcheck" || form == "web.restore.ip")) return;
    Report(out_file, 3, Format("Form \"%s\" on %s have no title.", F, L),
           Format("TITLE %s %s\n", F, L), Format("Form \"%s\" on %s have no title.\n", F, L));
    ++title_errors;
    Record("missing-title", form, "form", form, lang, 16, "title", form, form_line);
  } else {
    Present(lang, form);
  }

  for (const std::string& field : hint_fields) check_field_hint(messages, lang, field);
  for (const std::string& checkbox : checkbox_descs) check_checkbox(messages, lang, checkbox);
}

void MissedCheck::check_field_hint(pnl_xml::Xml& messages, const std::string& lang,
                                   const std::string& field) {
  const std::string& form = meta_name;
  const char* const F = form.c_str();
  const char* const N = field.c_str();
  const char* const L = lang.c_str();
  pnl_xml::XPath hint(messages, MsgQuery("hint_" + field));
  pnl_xml::XPath label(messages, MsgQuery(field));

  if (form.find("plugin") != std::string::npos || form.find("builder") != std::string::npos ||
      form.find("filter") != std::string::npos)
    return;

  const MessageState label_state = label.empty()             ? MessageState::kMissing
                                   : label[0].Str().empty() ? MessageState::kEmpty
                                                            : MessageState::kPresent;
  const long line = element_lines["field:" + field];
  if (hint.empty()) {
    // What follows for this field waits for the panel's checked
    // messages; the audit goes on meanwhile.
    whenHintChecked(form, field, lang, [this, form, field, lang, label_state, line](bool used) {
      if (used) return;
      const std::string& manager = run.manager;
      if (manager == "rudpnl" && field == "confinfo") return;
      if (manager == "rudpnl" && field == "net" && form == "vlan.edit") return;
      if (manager == "kelpnl" && field == "stat" && form == "usermove.last") return;
      if (manager == "kelpnl" && field == "comment" && form == "admin.edit") return;
      const char* const F = form.c_str();
      const char* const N = field.c_str();
      const char* const L = lang.c_str();
      Report(out_file, 4,
             Format("There is no hint for field \"%s\" from \"%s\" on %s language.", N, F, L),
             Format("HINT %s.%s %s\n", F, N, L),
             Format("There is no hint for field \"%s\" from \"%s\" on %s language.\n", N, F, L) +
                 Format("Must be: <msg name=\"hint_%s\"></msg>\n", N));
      ++hint_errors;
      Record("missing-hint", form, "field", field, lang, 2, "hint_" + field, form, line);
      check_label(form, field, lang, label_state, line);
    });
    return;
  }
  if (hint[0].Str().empty()) {
    Report(out_file, 4,
           Format("Hint for field \"%s\" from \"%s\" on %s language is empty.", N, F, L),
           Format("EMPTY HINT %s.%s %s\n", F, N, L),
           Format("Hint for field \"%s\" from \"%s\" on %s language is empty.\n", N, F, L));
    ++hint_errors;
    Record("empty-hint", form, "field", field, lang, 2, "hint_" + field, form, line);
  } else {
    Present(lang, form);
  }
  check_label(form, field, lang, label_state, line);
}

void MissedCheck::check_checkbox(pnl_xml::Xml& messages, const std::string& lang,
                                 const std::string& checkbox) {
  const std::string& form = meta_name;
  const char* const F = form.c_str();
  const char* const X = checkbox.c_str();
  const char* const L = lang.c_str();
  pnl_xml::XPath desc(messages, MsgQuery(checkbox));
  if (desc.empty()) {
    Report(out_file, 3,
           Format("There is no description about checkbox \"%s\" in \"%s\" xml file for %s.", X,
                  F, L),
           Format("CBOX %s.%s %s\n", F, X, L),
           Format("There is no description about checkbox \"%s\" in \"%s\" xml file for %s.\n",
                  X, F, L));
    ++desc_errors;
    Record("missing-checkbox-description", form, "checkbox", checkbox, lang, 8, checkbox, form,
           element_lines["checkbox:" + checkbox]);
  } else if (desc[0].Str().empty()) {
    Report(out_file, 3,
           Format("Description about checkbox \"%s\" in \"%s\" xml file for %s is empty.", X, F,
                  L),
           Format("EMPTY CBOX %s.%s %s\n", F, X, L),
           Format("Description about checkbox \"%s\" in \"%s\" xml file for %s is empty.\n", X,
                  F, L));
    ++desc_errors;
    Record("empty-checkbox-description", form, "checkbox", checkbox, lang, 8, checkbox, form,
           element_lines["checkbox:" + checkbox]);
  } else {
    Present(lang, form);
  }
}

void MissedCheck::check_label(const std::string& form, const std::string& field,
                              const std::string& lang, MessageState label, long line) {
  const std::string& manager = run.manager;
  const char* const F = form.c_str();
  const char* const N = field.c_str();
  const char* const L = lang.c_str();
  if (label == MessageState::kMissing) {
    if (manager == "rudpnl" && field == "confinfo" && form == "spareaddmoveconfirm") return;
    if (manager == "kelpnl" && field == "stat" && form == "usermove.last") return;
    if (manager == "kelpnl" && field == "comment" && form == "admin.edit") return;
    Report(out_file, 3,
           Format("There is no label for field \"%s\" from \"%s\" on %s language.", N, F, L),
           Format("LABEL %s.%s %s\n", F, N, L),
           Format("There is no label for field \"%s\" from \"%s\" on %s language.\n", N, F, L));
    ++label_errors;
    Record("missing-label", form, "field", field, lang, 4, field, form, line);
  } else if (label == MessageState::kEmpty) {
    // An empty label is reported with the empty-hint texts on purpose.
    Report(out_file, 3,
           Format("Hint for field \"%s\" from \"%s\" on %s language is empty.", N, F, L),
           Format("EMPTY HINT %s.%s %s\n", F, N, L),
           Format("Hint for field \"%s\" from \"%s\" on %s language is empty.\n", N, F, L));
    ++label_errors;
    Record("empty-label", form, "field", field, lang, 4, field, form, line);
  } else {
    Present(lang, form);
  }
}

// ---- Lists: columns, colours and toolbar buttons --------------------------

// The messages of one list in each language, assembled at the first use
// and kept for every column and button of the list (nothing changes the
// cache while a list is checked).
class MissedCheck::ListMessages {
 public:
  ListMessages(MissedCheck& audit, const std::string& list) : audit_(audit), list_(list) {}

  // Null when the list has no message file in `lang` (said in the log at
  // every ask).
  const pnl_xml::Xml* Of(const std::string& lang) {
    const std::string list_file = audit_.cache_dir + "/" + list_ + ".msg." + lang + ".xml";
    if (!pnl_file::Exists(list_file)) {
      if (msglint_log.Check(4)) audit_.Log(4, Format("File \"%s\" not exist.", list_file.c_str()));
      return nullptr;
    }
    auto kept = assembled_.find(lang);
    if (kept != assembled_.end()) return &kept->second;
    pnl_xml::Xml& doc = assembled_[lang];
    AssembleMessages(audit_, doc, list_file, audit_.cache_dir + "/common.msg." + lang + ".xml",
                     lang);
    return &doc;
  }

 private:
  MissedCheck& audit_;
  const std::string& list_;
  std::map<std::string, pnl_xml::Xml> assembled_;
};

void MissedCheck::check_list() {
  const std::string prefix = "//pnldata/metadata[@name='" + meta_name + "']";
  ListMessages messages(*this, meta_name);

  pnl_xml::XPath columns(main_xml, prefix + "/coldata/col[boolean(@if)=false or @if!='windows']");
  for (unsigned long i = 0; i < columns.size(); ++i) check_list_column(columns[i], messages);

  pnl_xml::XPath buttons(main_xml,
                         prefix + "/toolbar//toolbtn[boolean(@if)=false or @if!='windows']");
  for (unsigned long i = 0; i < buttons.size(); ++i) check_list_button(buttons[i], messages);
}

void MissedCheck::check_list_column(const pnl_xml::XmlNode& column, ListMessages& messages) {
  const std::string& list = meta_name;
  const char* const S = list.c_str();
  const std::string prefix = "//pnldata/metadata[@name='" + list + "']";
  const std::string column_name = column.GetProp("name");
  const char* const N = column_name.c_str();

  if (Contains(list_skip_list, list + "." + column_name)) {
    if (msglint_log.Check(4))
      Log(4, Format("Skiping collumn %s from %s 'cause it's in the shit list.", N, S));
    return;
  }

  for (const std::string& lang : langs) {
    const char* const L = lang.c_str();
    const pnl_xml::Xml* assembled = messages.Of(lang);
    if (assembled == nullptr) continue;
    if (pnl_xml::XPath(*assembled, MsgQuery(column_name)).empty()) {
      Report(
          out_file, 3,
          Format("There is no description for table column named \"%s\" in \"%s\" for language %s.",
                 N, S, L),
          Format("COLUMN %s.%s %s\n", S, N, L),
          Format("There is no description for table column named \"%s\" in \"%s\" for language "
                 "%s.\n",
                 N, S, L));
      ++desc_errors;
      Record("missing-column-description", list, "column", column_name, lang, 8, column_name,
             list, column.Line());
    } else {
      Present(lang, list);
    }
  }

  if (column.GetProp("type") != "msg") return;

  pnl_xml::XPath background(main_xml, prefix + "/coldata//setcolor[@name='" + column_name + "']");
  pnl_xml::XPath text(main_xml, prefix + "/coldata/col[@name='" + column_name + "']/setcolor");
  if (isExcludedProp(list, column_name)) return;

  if (report_mode == "-f") check_background_colors(column, background);
  check_text_colors(column, text);
}

void MissedCheck::check_background_colors(const pnl_xml::XmlNode& column,
                                          const pnl_xml::XPath& background) {
  const std::string& list = meta_name;
  const char* const S = list.c_str();
  const std::string column_name = column.GetProp("name");
  const char* const N = column_name.c_str();
  if (background.empty()) {
    Report(out_file, 3,
           Format("There is no background setcolor for table column named \"%s\" in \"%s\" \n",
                  N, S),
           Format("COLUMN %s.%s \n", S, N),
           Format("There is no background setcolor for table column named \"%s\" in \"%s\" .\n",
                  N, S));
    ++color_errors;
    Record("missing-background-color", list, "column", column_name, "", 1, "", "",
           column.Line());
    return;
  }
  for (pnl_xml::XmlNode setcolor : background) {
    const std::string color = setcolor.GetProp("color");
    if (color.empty()) {
      Report(
          out_file, 3,
          Format("Background setcolor is empty for table column named \"%s\" in \"%s\" \n", N, S),
          Format("COLUMN %s.%s \n", S, N),
          Format("Background setcolor is empty for table column named \"%s\" in \"%s\" .\n", N,
                 S));
      ++color_errors;
      Record("empty-background-color", list, "column", column_name, "", 1, "", "",
             setcolor.Line());
    } else if (!IsAllowedColor(color)) {
      const char* const K = color.c_str();
      Report(out_file, 3,
             Format("Background setcolor has wrong color: %s for table column named "
                    "\"%s\" in \"%s\" \n",
                    K, N, S),
             Format("COLUMN %s.%s \n", S, N),
             Format("Background setcolor has wrong color: %s for table column named \"%s\" "
                    "in \"%s\" "
                    ".\n",
                    K, N, S));
      ++color_errors;
      Record("wrong-background-color", list, "column", column_name, "", 1, "", "",
             setcolor.Line());
    }
  }
}

void MissedCheck::check_text_colors(const pnl_xml::XmlNode& column, const pnl_xml::XPath& text) {
  const std::string& list = meta_name;
  const char* const S = list.c_str();
  const std::string column_name = column.GetProp("name");
  const char* const N = column_name.c_str();
  if (text.empty()) {
    const std::string& manager = run.manager;
    // These columns show plain text on purpose.
    const bool exempt =
        manager == "kelpnl" && ((column_name == "name" && list == "resellerstat") ||
                                (column_name == "uname" && list == "resellerstat.details") ||
                                (column_name == "dname" && list == "feature") ||
                                (column_name == "type" && list == "feature"));
    if (exempt) return;
    Report(
        out_file, 3,
        Format("There is no text color setcolor for table column named \"%s\" in \"%s\" \n", N, S),
        Format("COLUMN %s.%s \n", S, N),
        Format("There is no text setcolor for table column named \"%s\" in \"%s\" .\n", N, S));
    ++color_errors;
    Record("missing-text-color", list, "column", column_name, "", 1, "", "", column.Line());
    return;
  }
  for (pnl_xml::XmlNode setcolor : text) {
    const std::string color = setcolor.GetProp("color");
    if (color.empty()) {
      Report(out_file, 3,
             Format("Text setcolor is empty for table column named \"%s\" in \"%s\" \n", N, S),
             Format("COLUMN %s.%s \n", S, N),
             Format("Text setcolor is empty for table column named \"%s\" in \"%s\" .\n", N, S));
      ++color_errors;
      Record("empty-text-color", list, "column", column_name, "", 1, "", "", setcolor.Line());
    } else if (!IsAllowedColor(color)) {
      const char* const K = color.c_str();
      Report(
          out_file, 3,
          Format("Text setcolor has wrong color: %s for table column named \"%s\" in \"%s\" \n",
                 K, N, S),
          Format("COLUMN %s.%s \n", S, N),
          Format("Text setcolor has wrong color: %s for table column named \"%s\" in \"%s\" .\n",
                 K, N, S));
      ++color_errors;
      Record("wrong-text-color", list, "column", column_name, "", 1, "", "", setcolor.Line());
    }
  }
}

void MissedCheck::check_list_button(const pnl_xml::XmlNode& button, ListMessages& messages) {
  const std::string& list = meta_name;
  const char* const S = list.c_str();
  button_func = button.GetProp("func");
  button_name = button.GetProp("name");

  // A button belongs to the list when its function is one of the list's
  // own ("user.edit" for the list "user"), or when it leads back.
  const std::string::size_type dot = button_func.rfind('.');
  if (dot != 0) {
    const std::string owner = dot == std::string::npos ? button_func : button_func.substr(0, dot);
    if (owner != list && button_name != "back") return;
  }

  const char* const B = button_name.c_str();
  for (const std::string& lang : langs) {
    const char* const L = lang.c_str();
    const pnl_xml::Xml* assembled = messages.Of(lang);
    if (assembled == nullptr) continue;

    pnl_xml::XPath short_name(*assembled, MsgQuery("short_" + button_name));
    if (short_name.empty() || short_name[0].Str().empty()) {
      Report(out_file, 3,
             Format("There is no short name for button \"%s\" from list \"%s\" for language %s.",
                    B, S, L),
             Format("SHORT NAME BUTTON %s.%s %s\n", S, B, L),
             Format("There is no short name for button \"%s\" from list \"%s\" for language "
                    "%s.\nMust be: "
                    "<msg name=\"short_%s\"></msg>\n",
                    B, S, L, B));
      ++hint_errors;
      Record(short_name.empty() ? "missing-button-short-name" : "empty-button-short-name", list,
             "button", button_name, lang, 2, "short_" + button_name, list, button.Line());
    } else {
      Present(lang, list);
    }

    pnl_xml::XPath hint(*assembled, MsgQuery("hint_" + button_name));
    if (hint.empty() || hint[0].Str().empty()) {
      Report(out_file, 4,
             Format("There is no hint for \"%s\" from \"%s\" on %s language.", B, S, L),
             Format("HINT %s.%s %s\n", S, B, L),
             Format("There is no hint for \"%s\" from \"%s\" on %s language.\nMust be: <msg "
                    "name=\"hint_%s\"></msg>\n",
                    B, S, L, B));
      ++hint_errors;
      Record(hint.empty() ? "missing-button-hint" : "empty-button-hint", list, "button",
             button_name, lang, 2, "hint_" + button_name, list, button.Line());
    } else {
      Present(lang, list);
    }
  }
}

// ---- Main menu ------------------------------------------------------------

void MissedCheck::check_mainmenu() {
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Checking messages in main menu", MSGLINT_HERE);

  pnl_xml::XPath second_level(main_xml, "//pnldata/mainmenu/node/node/@name");
  pnl_xml::XPath first_level(main_xml, "//pnldata/mainmenu/node/@name");

  std::vector<std::string> items;
  std::map<std::string, long> item_lines;  // the first node of each item
  for (const pnl_xml::XPath* level : {&first_level, &second_level}) {
    for (unsigned long i = 0; i < level->size(); ++i) {
      const std::string item = (*level)[i].Str();
      if (!Contains(items, item)) {
        items.push_back(item);
        item_lines[item] = (*level)[i].Line();
      }
    }
  }

  // The menu's messages of each language, assembled at the first use and
  // kept for every item (nothing changes the cache meanwhile).
  std::map<std::string, pnl_xml::Xml> assembled;
  for (const std::string& item : items) {
    const char* const M = item.c_str();
    for (const std::string& lang : langs) {
      const char* const L = lang.c_str();
      const std::string desktop_file = cache_dir + "/desktop." + lang + ".xml";
      const std::string common_file = cache_dir + "/common." + lang + ".xml";
      if (!pnl_file::Exists(desktop_file)) {
        if (msglint_log.Check(4))
          msglint_log.Write(4, "File \"%s\" not exist.", desktop_file.c_str());
        continue;
      }
      auto kept = assembled.find(lang);
      if (kept == assembled.end()) {
        kept = assembled.emplace(lang, pnl_xml::Xml()).first;
        AssembleMessages(*this, kept->second, desktop_file, common_file, lang);
      }
      const pnl_xml::Xml& messages = kept->second;

      pnl_xml::XPath menu_msg(messages, MsgQuery("menu_" + item));
      pnl_xml::XPath plain_msg(messages, MsgQuery(item));
      if (!menu_msg.empty() || !plain_msg.empty()) {
        Present(lang, "mainmenu");
        continue;
      }

      Report(out_file, 3,
             Format("There is no description for menu item \"%s\" for language %s.", M, L),
             Format("Message %s %s\n", M, L),
             Format("There is no description for menu item \"%s\" for language %s.\n", M, L));
      ++desc_errors;
      Record("missing-menu-item-description", "mainmenu", "menu-item", item, lang, 8,
             "menu_" + item, "desktop", item_lines[item]);
    }
  }
}
