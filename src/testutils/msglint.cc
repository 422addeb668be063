#include "testutils/msglint.h"

#include <cstdint>
#include <cstdlib>
#include <algorithm>
#include <chrono>
#include <iostream>
#include <memory>
#include <string_view>
#include <thread>

#include "findings/paths.h"
#include "pnl/client.h"
#include "pnl/proc.h"
#include "pnl/str.h"
#include "testutils/MissedCheck.h"
#include "testutils/findings.h"
#include "testutils/texts.h"

const pnl_log::Module msglint_log("msglint", "kern");

std::string& PNL_NAME() {
  static std::string name;
  return name;
}

void usage(const std::string& program) {
  std::cout << "Usage: " << program << " pnl_name report_type languagelist" << std::endl;
  std::cout << " pnl_name - name of checked manager, e.g.: kern, sabpnl" << std::endl;
  std::cout << " report_type : -s print short report, -f print full report (default)"
            << std::endl;
  std::cout << " languagelist - comma separated list of lanugages, e.g.: en,ru,fr" << std::endl;
}

void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out) {
  out << "\t" << object << " - " << problem << ". \t\t msgtext: " << text << "\n";
  out.flush();
}

namespace {

// The leading decimal number of `text` as base-10 strtol reads it, cut to a
// signed 32-bit integer.
int32_t LeadingNumber(const std::string& text) {
  long value = std::strtol(text.c_str(), nullptr, 10);
  return static_cast<int32_t>(static_cast<uint32_t>(static_cast<unsigned long>(value)));
}

}  // namespace

bool order(const std::string& a, const std::string& b) {
  return LeadingNumber(a) > LeadingNumber(b);
}

std::string get_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? std::string() : word;
}

std::string cut_prefix(std::string name) {
  std::string word = str::GetWord(name, '_');
  return name.empty() ? word : name;
}

std::set<std::string>& msglint_private::told_programs() {
  static std::set<std::string> told;
  return told;
}

std::set<std::string>& msglint_private::failed_writes() {
  static std::set<std::string> failed;
  return failed;
}

void tell_write_error(const std::string& path, const std::string& reason) {
  if (!msglint_private::failed_writes().insert(path).second) return;
  if (msglint_log.Check(3))
    msglint_log.Write(3, "cannot write %s: %s", path.c_str(), reason.c_str());
  std::cout.flush();
  std::cerr << "msglint: cannot write " << path << ": " << reason << std::endl;
}

bool write_failed() { return !msglint_private::failed_writes().empty(); }

std::set<std::string>& msglint_private::unanswered_queries() {
  static std::set<std::string> unanswered;
  return unanswered;
}

bool panel_failed() { return !msglint_private::unanswered_queries().empty(); }

namespace {

// What the panel says when a cache file or its directory could not be
// written: "cannot write PATH: REASON", "cannot create DIR: REASON".
bool IsWriteFailure(const std::string& error) {
  return str::StartsWith(error, "cannot write ") || str::StartsWith(error, "cannot create ");
}

// Records in the findings file a query that the panel left without the
// answer the run needed.
void AddPanelProblem(const std::string& kind, const std::string& message) {
  InputProblem problem;
  problem.kind = kind;
  problem.message = message;
  Findings().AddProblem(problem);
}

// True when `line` was not told before and is told now.
bool TellOnce(std::set<std::string>& told, const std::string& line) {
  if (!told.insert(line).second) return false;
  if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
  std::cout.flush();
  std::cerr << "msglint: " << line << std::endl;
  return true;
}

}  // namespace

void tell_panel_error(const std::string& manager, const std::string& error) {
  const std::string line = "panel of " + manager + ": " + error;
  const bool write = IsWriteFailure(error);
  if (!TellOnce(write ? msglint_private::failed_writes() : msglint_private::unanswered_queries(), line))
    return;
  // The findings file says it too: whoever reads only that file must not
  // take a report the panel left incomplete for a whole one.
  AddPanelProblem(write ? "panel-write-failed" : "panel-query-failed", line);
}

void tell_unanswered(const std::string& line) {
  if (!msglint_private::unanswered_queries().insert(line).second) return;
  std::cout.flush();
  std::cerr << line << std::endl;
}

namespace {

// What may stand at a path the run uses.
enum class Kind { kDirectory, kFile, kSocket, kNotALink };

bool Fits(Kind kind, const std::string& found) {
  switch (kind) {
    case Kind::kDirectory: return found == "a directory";
    case Kind::kFile: return found == "a regular file";
    case Kind::kSocket: return found == "a socket";
    case Kind::kNotALink: return found != "a symbolic link";
  }
  return false;
}

}  // namespace

std::vector<std::string> unsafe_paths(const std::string& manager) {
  std::vector<std::pair<std::string, Kind>> paths = {
      {"var", Kind::kDirectory},
      {"var/.xmlcache", Kind::kDirectory},
  };
  std::vector<std::string> managers = {manager};
  if (manager != "kern") managers.push_back("kern");
  for (const std::string& m : managers) {
    paths.push_back({"var/.xmlcache/" + m, Kind::kDirectory});
    paths.push_back({"var/.xmlcache/" + m + ".hash", Kind::kFile});
  }
  paths.push_back({"var/log", Kind::kDirectory});
  paths.push_back({"var/log/msglint.log", Kind::kFile});
  for (const std::string& m : managers) paths.push_back({"var/log/" + m + ".log", Kind::kFile});
  paths.push_back({"var/run", Kind::kDirectory});
  for (const std::string& m : managers) {
    paths.push_back({"var/run/" + m + ".lock", Kind::kFile});
    paths.push_back({"var/run/" + m + ".pid", Kind::kFile});
    paths.push_back({"var/run/" + m + ".socket", Kind::kSocket});
  }
  // The audit file and the exclusion list: a directory there is the
  // audit's own failure to open its file; only a link is refused here.
  paths.push_back({"var/test_msgs", Kind::kNotALink});
  paths.push_back({"ecl.xml", Kind::kNotALink});

  std::vector<std::string> unsafe;
  std::set<std::string> told;
  for (const auto& [path, kind] : paths) {
    const std::string found = pnl_file::Describe(path);
    if (found.empty() || Fits(kind, found)) continue;
    // A component above the path that is wrong comes back as a sentence of
    // its own; every path under it says the same, once is enough.
    const std::string sentence = found.rfind("a ", 0) == 0 ? path + " is " + found : found;
    if (told.insert(sentence).second) unsafe.push_back(sentence);
  }
  return unsafe;
}

pnl_xml::Xml ask_panel(const std::string& manager, const std::string& query) {
  pnl_client::Local client(manager, "checkXml");
  pnl_xml::Xml reply = client.Query(query);
  // The client has logged it already.
  if (!client.Error().empty()) tell_unanswered("pnl_client: " + client.Error());
  pnl_xml::XPath errors(reply, "/doc/error");
  if (!errors.empty()) tell_panel_error(manager, errors[0].Str());
  return reply;
}

namespace {

// Tells that a command cannot be run or failed.
void TellCommandFailure(pnl_proc::Execute& command, const std::vector<std::string>& argv) {
  const std::string line = command.Line();
  const char* what = command.Started() ? "failed" : "cannot be run";
  if (msglint_log.Check(3))
    msglint_log.Write(3, "Command %s %s: %s", line.c_str(), what, command.Error().c_str());
  // One line per program and run is enough to show that something is wrong;
  // the log has every failure.
  if (msglint_private::told_programs().insert(argv.empty() ? std::string() : argv[0]).second) {
    std::cerr << "msglint: command " << what << ": " << line << ": " << command.Error();
    std::cerr << " (later failures of this program are only logged)" << std::endl;
    InputProblem problem;
    problem.kind = "command-failed";
    problem.message = std::string("command ") + what + ": " + line + ": " + command.Error();
    Findings().AddProblem(problem);
  }
}

}  // namespace

int run_command(const std::vector<std::string>& argv, bool must_succeed) {
  pnl_proc::Execute command(argv);
  const int status = command.Result();
  if (status == 0 || (command.Started() && !must_succeed)) return status;
  TellCommandFailure(command, argv);
  return status;
}

namespace {
OrderedSteps* g_audit_steps = nullptr;
}  // namespace

void set_audit_steps(OrderedSteps* steps) { g_audit_steps = steps; }

OrderedSteps* audit_steps() { return g_audit_steps; }

void in_order(std::function<void()> step) {
  if (g_audit_steps != nullptr)
    g_audit_steps->Then(std::move(step));
  else
    step();
}

void call_panel_function(const std::string& function) {
  std::unique_ptr<pnl_proc::Execute> command = panel_function_command(function);
  command->Run();
  panel_function_done(*command);
}

std::unique_ptr<pnl_proc::Execute> panel_function_command(const std::string& function) {
  const std::string work_dir = pnl_file::GetCurrentDir();
  // The panel writes the checked files of every language whatever the
  // request names, so the request always asks in Russian. Every piece is
  // one argument, whatever blanks the directory or the names hold.
  auto command = std::make_unique<pnl_proc::Execute>(std::vector<std::string>{
      pnl_file::GoodPath(work_dir + "/sbin/pnlctl"), "-m", PNL_NAME(), function, "lang=ru"});
  command->CaptureOutput();
  return command;
}

void panel_function_done(pnl_proc::Execute& command) {
  const int status = command.Result();
  std::vector<std::string> lines;
  if (!command.Output().empty()) {
    split(command.Output(), '\n', lines);
    if (lines.back().empty()) lines.pop_back();
  }
  for (const std::string& line : lines)
    if (msglint_log.Check(5)) msglint_log.Write(5, "%s: %s", command.Line().c_str(), line.c_str());
  if (status == 0) return;
  if (!command.Started()) {
    TellCommandFailure(command, command.Arguments());
    return;
  }
  // pnlctl names a query without an answer and, after "pnlctl: M: ", the
  // panel's error; the others fail as any command does.
  const std::string own = "pnlctl: " + PNL_NAME() + ": ";
  bool told = false;
  for (const std::string& line : lines) {
    if (str::StartsWith(line, "pnl_client: ")) {
      tell_unanswered(line);
      AddPanelProblem("panel-query-failed", line.substr(std::string("pnl_client: ").size()));
      told = true;
    } else if (str::StartsWith(line, own) && line != own + "no reply") {
      const std::string error = line.substr(own.size());
      if (!IsWriteFailure(error)) continue;
      tell_panel_error(PNL_NAME(), error);
      told = true;
    }
  }
  if (!told) TellCommandFailure(command, command.Arguments());
}

void tell_names_too_long(const std::vector<std::string>& langs) {
  const std::string description = findings::DescriptionFile(PNL_NAME());
  pnl_xml::Xml doc;
  doc.LoadFromFile(pnl_file::GetCurrentDir() + "/" + description);
  std::set<std::string> told;
  for (pnl_xml::XmlNode metadata : doc.GetNodes("/pnldata/metadata")) {
    const std::string name = metadata.GetProp("name");
    bool fits = true;
    for (const std::string& lang : langs)
      fits = fits && pnl_file::FitsFileName(name + ".msg." + lang + ".xml");
    if (fits || !told.insert(name).second) continue;
    // The name itself may be thousands of bytes long: its start is enough.
    const std::size_t kShown = 40;
    const std::string shown = name.substr(0, kShown) + (name.size() > kShown ? "..." : "");
    const std::string line = "skipping \"" + shown + "\" (" + std::to_string(name.size()) +
                             " bytes) of " + description +
                             ": the name is too long for a file name";
    if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
    std::cout.flush();
    std::cerr << "msglint: " << line << std::endl;
  }
}

// ---- XML file discovery -------------------------------------------------

bool fileIsNotForLang::operator()(const std::string& path) const {
  return path.find("." + lang + ".xml") == std::string::npos;
}

bool fileIsForKern::operator()(const std::string& path) const {
  const std::string base = pnl_file::Name(path);
  for (const std::string& name : names)
    if (name == base) return true;
  return false;
}

bool skipFile::operator()(const std::string& path) const {
  return path.find(text) != std::string::npos;
}

void getDirContent(const std::string& dir, std::vector<std::string>& out) {
  out.clear();
  pnl_file::Dir reader(dir);
  while (reader.Read()) out.push_back(reader.FullName());
}

namespace {

template <typename Predicate>
void RemoveIf(std::vector<std::string>& files, Predicate predicate) {
  files.erase(std::remove_if(files.begin(), files.end(), predicate), files.end());
}

}  // namespace

void getXmlFiles(std::vector<std::string>& files, const std::string& lang) {
  files.clear();
  const std::string cache_root = pnl_file::GetCurrentDir() + "/var/.xmlcache/";
  getDirContent(cache_root + PNL_NAME(), files);
  RemoveIf(files, fileIsNotForLang(lang));
  // The base manager's own list is complete as it stands: its filter files
  // stay in it on purpose.
  if (PNL_NAME() == "kern") return;

  std::vector<std::string> kern_files;
  getDirContent(cache_root + "kern", kern_files);
  RemoveIf(kern_files, fileIsNotForLang(lang));
  for (std::string& path : kern_files) path = pnl_file::Name(path);

  RemoveIf(files, fileIsForKern(kern_files));
  RemoveIf(files, skipFile(".filter"));
}

void split(const std::string& text, char separator, std::vector<std::string>& out) {
  std::string rest = text;
  for (std::string::size_type pos; (pos = rest.find(separator)) != std::string::npos;) {
    out.push_back(rest.substr(0, pos));
    rest.erase(0, pos + 1);
  }
  out.push_back(rest);
}

// ---- Include merging ----------------------------------------------------

void MergeIncludes(pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out) {
  const std::string cache_dir =
      pnl_file::GetCurrentDir() + "/var/.xmlcache/" + PNL_NAME();
  for (pnl_xml::XmlNode include : includes) {
    const std::string file = include.GetProp("name") + ".msg." + lang + ".xml";
    const std::string path = pnl_file::ConcatPath(cache_dir, file);
    if (!pnl_file::Exists(path)) {
      print_msg("include", include.Str(), "include is not found", out);
      continue;
    }
    pnl_xml::Xml included;
    included.LoadFromFile(path);
    pnl_xml::XmlNode root = doc.GetRoot();
    for (pnl_xml::XmlNode msg : pnl_xml::XPath(included, "//msg")) root.AppendChild(msg);
  }
  doc.RemoveNodes("//include");
}

// ---- Run driver ---------------------------------------------------------

namespace {

// A query that got no answer leaves the audits without what they read.
void RecordFailedQuery(const pnl_xml::Xml& reply, const std::string& manager,
                       const std::string& query) {
  if (reply.GetRoot()) return;
  AddPanelProblem("panel-query-failed", "no answer from the panel of " + manager + " to " + query);
}

// Ends the run at once: what was printed goes out first.
[[noreturn]] void Fail() {
  std::cout.flush();
  std::exit(1);
}

}  // namespace

void drop_languages(std::vector<std::string>& langs, const std::string& msg_dir) {
  std::vector<std::string>::size_type pos = 0;
  // A removal moves the position on as well, so after removing the last
  // language it stands beyond the end: "at or beyond" ends the walk.
  while (pos < langs.size()) {
    const std::string path = msg_dir + findings::MessageFileName(PNL_NAME(), langs[pos]);
    if (msglint_log.Check(9))
      msglint_log.Write(9, "%s:%d Checking existence of %s", MSGLINT_HERE, path.c_str());
    if (!pnl_file::Exists(path)) langs.erase(langs.begin() + pos);
    ++pos;
  }
}

namespace {

// Each unreadable or malformed file is told once per run, however many
// audits load it.
void TellFileProblem(const std::string& path, const std::string& line) {
  static std::set<std::string> told;
  if (!told.insert(path).second) return;
  in_order([line] {
    std::cout.flush();
    std::cerr << line << std::endl;
  });
}

}  // namespace

int kelmain(int argc, char** argv) {
  pnl_log::Init("msglint", 5);
  pnl_xml::SetProblemReporter(TellFileProblem);
  std::string report_mode = "-f";
  if (argc < 3) {
    usage(argc > 0 && argv[0] ? argv[0] : "");
    Fail();
  }

  int first = 2;
  const std::string mode = argv[2];
  if (mode == "-s" || mode == "-f") {
    report_mode = mode;
    first = 3;
  }

  PNL_NAME() = argv[1];
  const std::string work_dir = pnl_file::GetCurrentDir();
  const bool found =
      // A manager name is also a path piece (bin/NAME, var/.xmlcache/NAME):
      // one that could leave its directory names no manager.
      pnl_file::IsPlainName(PNL_NAME()) &&
      (pnl_file::Exists(work_dir + "/bin/" + PNL_NAME()) ||
       pnl_file::Exists(work_dir + "/lib/" + PNL_NAME() + ".so"));
  if (!found) {
    if (msglint_log.Check(3))
      msglint_log.Write(3, "No manager with name \"%s\" found", PNL_NAME().c_str());
    std::cout << "No manager with name \"" << PNL_NAME() << "\" found" << std::endl;
    Fail();
  }

  std::vector<std::string> langs;
  for (int i = first; i < argc; ++i) langs.push_back(argv[i]);
  const std::string msg_dir = work_dir + "/etc/xml/";
  const std::vector<std::string> given_langs = langs;
  drop_languages(langs, msg_dir);
  Findings().SetRun(PNL_NAME(), report_mode, std::vector<std::string>(argv + 2, argv + argc));
  Findings().SetLanguages(langs);
  RecordInputProblems(Findings(), work_dir, PNL_NAME(), given_langs, langs);

  if (report_mode == "-f") check_validator();

  if (langs.empty()) {
    if (msglint_log.Check(3)) msglint_log.Write(3, "You should specify at least one language.");
    std::cout << "You should specify at least one language." << std::endl;
    Findings().Write(work_dir);
    Fail();
  }

  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Work dir founded in \"%s\".", MSGLINT_HERE, work_dir.c_str());
  const std::string cache_dir = work_dir + "/var/.xmlcache/" + PNL_NAME();
  // Nothing is removed or written where a link could send it elsewhere.
  const std::vector<std::string> unsafe = unsafe_paths(PNL_NAME());
  if (!unsafe.empty()) {
    std::cout.flush();
    for (const std::string& sentence : unsafe) {
      if (msglint_log.Check(3)) msglint_log.Write(3, "unsafe installation: %s", sentence.c_str());
      std::cerr << "msglint: unsafe installation: " << sentence << std::endl;
    }
    std::cerr << "msglint: nothing removed or written" << std::endl;
    return kUnsafeInstallation;
  }
  if (msglint_log.Check(9))
    msglint_log.Write(9, "%s:%d Removing cache from \"%s\".", MSGLINT_HERE, cache_dir.c_str());
  pnl_file::Remove(cache_dir);
  pnl_file::Remove(cache_dir + ".hash");

  // killall finds no process to stop more often than not; only a killall
  // that cannot be run at all is worth a word.
  run_command({"killall", "kern"}, false);

  // The base manager's panels need a moment to stop before the cache is
  // asked for again; the pause is fixed.
  if (pnl_file::IsTerminal(2))
    std::cerr << "msglint: waiting 10 seconds for the panels of kern to stop before the "
                 "cache is rebuilt..."
              << std::endl;
  std::this_thread::sleep_for(std::chrono::seconds(10));

  for (const std::string& lang : langs) {
    const std::string query = "func=session&lang=" + lang + "&out=devel";
    RecordFailedQuery(ask_panel(PNL_NAME(), query), PNL_NAME(), query);
    if (PNL_NAME() != "kern") RecordFailedQuery(ask_panel("kern", query), "kern", query);
  }

  tell_names_too_long(langs);

  if (report_mode == "-f") {
    for (const std::string& lang : langs) {
      check_repeats_and_unused(lang);
      check_actionlist(lang);
    }
  }

  for (const std::string& lang : langs) report_column_hints(PNL_NAME(), lang);
  // The missing-message audit asks for no lines: the description parsed
  // for them is let go before it starts.
  SourceLines::ForgetLastFile();

  int result;
  {
    MissedCheck missed;
    missed.langs = langs;
    missed.cache_dir = cache_dir;
    missed.report_mode = report_mode;
    missed.initExludeList();
    result = missed.check();
  }
  if (report_mode == "-f") texts::CheckTexts(Findings(), work_dir, PNL_NAME(), langs);
  Findings().Write(work_dir);
  if (write_failed()) return kWriteError;
  if (result >= 0 && panel_failed()) {
    const std::string line = "the panel did not answer every query: the report is incomplete";
    if (msglint_log.Check(3)) msglint_log.Write(3, "%s", line.c_str());
    std::cout.flush();
    std::cerr << "msglint: " << line << std::endl;
    return kPanelFailure;
  }
  return result;
}

// ---- Validator check ----------------------------------------------------

void check_validator() {
  std::cout << std::endl;
  std::cout << "Checking validator for inputs" << std::endl;

  const std::string xml_dir = pnl_file::GetCurrentDir() + "/etc/xml/";
  pnl_xml::Xml description;
  description.LoadFromFile(xml_dir + findings::DescriptionFileName(PNL_NAME()));
  // The Russian titles and labels help to find the field on screen,
  // whatever languages the run audits.
  // Read for this check only: the cache of parsed files need not keep it
  // (as a document it takes many times the bytes of the file).
  pnl_xml::Xml messages;
  const bool keep = pnl_xml::KeepsParsedFiles();
  pnl_xml::SetKeepParsedFiles(false);
  messages.LoadFromFile(xml_dir + findings::MessageFileName(PNL_NAME(), "ru"));
  pnl_xml::SetKeepParsedFiles(keep);

  pnl_xml::XPath inputs(description, "//input[@type=\"text\" and not(@check)]");
  if (inputs.size() == 0) return;

  for (pnl_xml::XmlNode input : inputs) {
    pnl_xml::XmlNode owner = input.Parent(1);
    while (owner && owner.Name() != "metadata" && owner.GetProp("type") != "form")
      owner = owner.Parent(1);

    const pnl_xml::XmlNode parent = input.Parent(1);
    std::string field;
    if (parent.Name() == "field") field = parent.GetProp("name");
    if (field.empty()) field = input.GetProp("name");

    const std::string form = owner.GetProp("name");
    std::string title;
    pnl_xml::XPath titles(messages,
                          "//messages[@name='" + form + "']/msg[@name='title']");
    if (titles.size() > 0) title = titles[0].Str();
    std::string label;
    pnl_xml::XPath labels(messages,
                          "//messages[@name='" + form + "']/msg[@name='" + field + "']");
    if (labels.size() > 0) label = labels[0].Str();

    std::cout << form << " -> " << field << "\t\t" << "(" << title << " -> " << label << ")"
              << std::endl;
    Finding finding;
    finding.kind = "input-without-validator";
    finding.audit = "validator";
    finding.object = form;
    finding.element_type = "field";
    finding.element = field;
    finding.file = DescriptionFile(PNL_NAME());
    finding.line = input.Line();
    finding.report = form + " -> " + field + "\t\t(" + title + " -> " + label + ")\n";
    Findings().Add(finding);
  }
}

// ---- Action list check --------------------------------------------------

void check_actionlist(const std::string& lang) {
  std::cout << std::endl;
  std::cout << "Actionlist check for lang " << lang << std::endl;

  pnl_xml::Xml actions = ask_panel(PNL_NAME(), "func=actionlist&out=xml");
  RecordFailedQuery(actions, PNL_NAME(), "func=actionlist&out=xml");
  SourceLines lines(pnl_file::GetCurrentDir());

  std::ostringstream out;
  std::vector<std::string> files;
  getXmlFiles(files, lang);
  for (const std::string& path : files) {
    std::string name = pnl_file::SplitPath(path).second;
    for (int i = 0; i < 3; ++i) str::RGetWord(name, '.');
    // Shared message files are no actions.
    if (name == "global" || name == "common" || name == "msgerror") continue;
    pnl_xml::XPath found(actions, "//elem/action[text()='" + name + "']");
    if (found.size() == 0) {
      out << "\t" << name << " - no such action" << "\n";
      Finding finding;
      finding.kind = "no-such-action";
      finding.audit = "actionlist";
      finding.object = name;
      finding.element_type = "section";
      finding.element = name;
      finding.language = lang;
      finding.file = MessageFile(PNL_NAME(), lang);
      finding.line = lines.Message(PNL_NAME(), lang, name, "");
      finding.report = "\t" + name + " - no such action\n";
      Findings().Add(finding);
    }
  }

  if (out.str().empty())
    std::cout << "\tEverything is ok" << std::endl;
  else
    std::cout << out.str() << std::flush;
}

// ---- Unused message check -----------------------------------------------

namespace {

bool Selects(pnl_xml::Xml& doc, const std::string& expr) {
  return pnl_xml::XPath(doc, expr).size() > 0;
}

// A finding of the unused audit about the entry `element` (of
// `element_type`) of section `section` of the language's message file, at
// that file's `line`.
Finding SectionFinding(const std::string& kind, const std::string& section,
                       const std::string& element_type, const std::string& element,
                       const std::string& lang, long line) {
  Finding finding;
  finding.kind = kind;
  finding.audit = "unused";
  finding.object = section;
  finding.element_type = element_type;
  finding.element = element;
  finding.language = lang;
  finding.section = section;
  finding.file = MessageFile(PNL_NAME(), lang);
  finding.line = line;
  return finding;
}

// The finding of a message of section `section` that nothing uses, at
// `line` of the message file; `report` is its line of the report.
Finding UnusedFinding(const std::string& section, const std::string& name,
                      const std::string& lang, long line, const std::string& report) {
  Finding finding = SectionFinding("unused-message", section, "message", name, lang, line);
  finding.message_name = name;
  finding.report = report;
  return finding;
}

// The findings of the includes that MergeIncludes will find missing.
void RecordMissingIncludes(const pnl_xml::XPath& includes, const std::string& section,
                           const std::string& lang, SourceLines& lines,
                           std::vector<Finding>& found) {
  const std::string cache_dir = pnl_file::GetCurrentDir() + "/var/.xmlcache/" + PNL_NAME();
  for (pnl_xml::XmlNode include : includes) {
    const std::string name = include.GetProp("name");
    if (pnl_file::Exists(pnl_file::ConcatPath(cache_dir, name + ".msg." + lang + ".xml")))
      continue;
    Finding finding = SectionFinding("include-not-found", section, "include", name, lang,
                                     lines.Message(PNL_NAME(), lang, section, ""));
    std::ostringstream line;
    print_msg("include", include.Str(), "include is not found", line);
    finding.report = line.str();
    found.push_back(finding);
  }
}

}  // namespace

bool field_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//form/field/*[@name='" + key + "']") ||
         Selects(meta, "//form/field[@name='" + key + "']") ||
         Selects(meta, "//form/page/field/*[@name='" + key + "']") ||
         Selects(meta, "//form/page/field[@name='" + key + "']");
}

bool page_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//form/page/*[@name='" + key + "']");
}

bool toolbtn_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//toolbar//toolbtn[@name='" + key + "']");
}

bool toolbtn_found_by_func_name(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//toolbar//toolbtn[@func='" + key + "']");
}

bool colprop_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//coldata/col/prop[@name='" + key + "']");
}

bool col_found(pnl_xml::Xml& meta, const std::string& key) {
  return Selects(meta, "//coldata/col[@name='" + key + "']");
}

namespace {

// A quote in a key ends the literal it is written in: the query is another
// one, or none.
bool HoldsQuote(const std::string& key) {
  return key.find_first_of("'\"") != std::string::npos;
}

}  // namespace

MetadataLookups::MetadataLookups(const pnl_xml::XmlNode& metadata) : metadata_(metadata) {
  if (pnl_xml::IsLiteralEvaluation()) return;
  // The copy's root stands below the document node, which is no element:
  // the element itself may be a form or a toolbar, never below one.
  const Tag tag = TagOf(metadata_);
  Walk(metadata_, tag, Tag::kOther, Tag::kOther, tag == Tag::kToolbar);
  walked_ = true;
}

MetadataLookups::Tag MetadataLookups::TagOf(const pnl_xml::XmlNode& element) {
  if (!element.InNoNamespace()) return Tag::kOther;
  const std::string name = element.Name();
  if (name == "form") return Tag::kForm;
  if (name == "field") return Tag::kField;
  if (name == "page") return Tag::kPage;
  if (name == "coldata") return Tag::kColdata;
  if (name == "col") return Tag::kCol;
  if (name == "prop") return Tag::kProp;
  if (name == "toolbar") return Tag::kToolbar;
  if (name == "toolbtn") return Tag::kToolbtn;
  return Tag::kOther;
}

void MetadataLookups::Walk(const pnl_xml::XmlNode& node, Tag parent, Tag grand, Tag great,
                           bool in_toolbar) {
  std::string key;
  for (pnl_xml::XmlNode element = node.FirstChild(); element; element = element.Next()) {
    const Tag tag = TagOf(element);
    if (element.GetNoNsProp("name", &key)) {
      // "//form/field/*", "//form/page/field/*": any element, whatever its
      // namespace.
      if (parent == Tag::kField &&
          (grand == Tag::kForm || (grand == Tag::kPage && great == Tag::kForm)))
        fields_.insert(key);
      // "//form/field", "//form/page/field".
      if (tag == Tag::kField &&
          (parent == Tag::kForm || (parent == Tag::kPage && grand == Tag::kForm)))
        fields_.insert(key);
      // "//form/page/*".
      if (parent == Tag::kPage && grand == Tag::kForm) pages_.insert(key);
      // "//toolbar//toolbtn".
      if (tag == Tag::kToolbtn && in_toolbar) toolbtn_names_.insert(key);
      // "//coldata/col/prop", "//coldata/col".
      if (tag == Tag::kProp && parent == Tag::kCol && grand == Tag::kColdata)
        col_props_.insert(key);
      if (tag == Tag::kCol && parent == Tag::kColdata) cols_.insert(key);
    }
    if (tag == Tag::kToolbtn && in_toolbar && element.GetNoNsProp("func", &key))
      toolbtn_funcs_.insert(key);
    Walk(element, tag, parent, grand, in_toolbar || tag == Tag::kToolbar);
  }
}

bool MetadataLookups::AsWritten(const std::string& key) const {
  return !walked_ || HoldsQuote(key);
}

pnl_xml::Xml& MetadataLookups::Copy() {
  if (!copied_) copy_.SetRoot(metadata_, false);
  copied_ = true;
  return copy_;
}

bool MetadataLookups::Field(const std::string& key) {
  return AsWritten(key) ? field_found(Copy(), key) : fields_.count(key) > 0;
}

bool MetadataLookups::Page(const std::string& key) {
  return AsWritten(key) ? page_found(Copy(), key) : pages_.count(key) > 0;
}

bool MetadataLookups::ToolbtnByName(const std::string& key) {
  return AsWritten(key) ? toolbtn_found(Copy(), key) : toolbtn_names_.count(key) > 0;
}

bool MetadataLookups::ToolbtnByFunc(const std::string& key) {
  return AsWritten(key) ? toolbtn_found_by_func_name(Copy(), key)
                        : toolbtn_funcs_.count(key) > 0;
}

bool MetadataLookups::ColProp(const std::string& key) {
  return AsWritten(key) ? colprop_found(Copy(), key) : col_props_.count(key) > 0;
}

bool MetadataLookups::Col(const std::string& key) {
  return AsWritten(key) ? col_found(Copy(), key) : cols_.count(key) > 0;
}

MessageLookups::MessageLookups(pnl_xml::Xml& doc) : doc_(doc) {
  walked_ = !pnl_xml::IsLiteralEvaluation();
}

void MessageLookups::Walk(const pnl_xml::XmlNode& element) {
  std::string name;
  if (element.InNoNamespace() && element.Name() == "msg" && element.GetNoNsProp("name", &name))
    names_.insert(name);
  for (pnl_xml::XmlNode child = element.FirstChild(); child; child = child.Next()) Walk(child);
}

bool MessageLookups::Has(const std::string& name) {
  if (!walked_ || HoldsQuote(name)) return Selects(doc_, "//msg[@name='" + name + "']");
  // Gathered at the first question: most documents are never asked.
  if (!gathered_ && doc_.GetRoot()) Walk(doc_.GetRoot());
  gathered_ = true;
  return names_.count(name) > 0;
}

void form_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out) {
  if (meta.Field(name)) return;
  if (meta.Page(name)) return;
  if (prefix.empty()) {
    if (!meta.Field(name)) print_msg(name, text, "field is not found", out);
    return;
  }
  if (prefix == "hint") {
    if (rest == "default") return;
    if (!meta.Field(name)) print_msg(name, text, "field is not found", out);
    return;
  }
  if (prefix == "placeholder") {
    if (!meta.Field(rest)) print_msg(name, text, "field is not found", out);
    return;
  }
  // A message a_b belongs to the message a of the same document.
  if (!doc.Has(prefix)) print_msg(name, text, "is unrecognized", out);
}

void list_process(const std::string& prefix, const std::string& rest,
                  const std::string& name, MetadataLookups& meta, MessageLookups& doc,
                  const std::string& text, std::ostringstream& out) {
  if (prefix.empty()) {
    if (!meta.Col(rest)) print_msg(name, text, "column is not found", out);
    return;
  }
  if (prefix == "short") {
    if (!meta.ToolbtnByName(rest)) print_msg(name, text, "toolbtn is not found", out);
    return;
  }
  if (prefix == "hint") {
    if (get_prefix(rest) == "p") {
      std::string key = cut_prefix(rest);
      if (get_prefix(key) == "def") key = cut_prefix(key);
      if (!meta.ColProp(key)) print_msg(name, text, "column prop is not found", out);
    } else if (!meta.ToolbtnByName(rest) && !meta.Col(rest)) {
      print_msg(name, text, "toolbtn or column is not found", out);
    }
    return;
  }
  if (prefix == "msg") {
    std::string key = cut_prefix(rest);
    if (key == "confirm") key = cut_prefix(key);
    std::replace(key.begin(), key.end(), '_', '.');
    if (!meta.ToolbtnByFunc(key)) print_msg(name, text, "is unrecognized", out);
    return;
  }
  if (doc.Has(prefix)) return;
  if (!meta.Col(name)) print_msg(name, text, "is unrecognized", out);
}

namespace {

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

  explicit UnusedAudit(const std::string& lang)
      : lang_(lang), lines_(pnl_file::GetCurrentDir()) {
    description_.LoadFromFile(pnl_file::GetCurrentDir() + "/" +
                              findings::DescriptionFile(PNL_NAME()));
  }

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

  std::string lang_;
  pnl_xml::Xml description_;
  SourceLines lines_;
  bool asked_ = false;
  std::string last_root_;
  std::unique_ptr<MetadataLookups> last_lookups_;
};

MetadataLookups* UnusedAudit::LookupsOf(const std::string& root_name) {
  if (asked_ && root_name == last_root_) return last_lookups_.get();
  pnl_xml::XPath metadata(description_, "//metadata[@name=\"" + root_name + "\"]");
  last_lookups_.reset();
  if (metadata.size() != 0) last_lookups_ = std::make_unique<MetadataLookups>(metadata[0]);
  last_root_ = root_name;
  asked_ = true;
  return last_lookups_.get();
}

bool UnusedAudit::Check(const std::string& path, pnl_xml::Xml& doc, FileReport& report) {
  std::ostringstream out;
  const std::string root_name = doc.GetRoot().GetProp("name");
  // Recorded when the file's lines are printed.
  std::vector<Finding> found;
  std::vector<Unused> unused;

  pnl_xml::XPath includes(doc, "//include");
  if (includes.size() != 0) {
    RecordMissingIncludes(includes, root_name, lang_, lines_, found);
    MergeIncludes(doc, includes, lang_, out);
  }

  // A document without metadata has nothing to be checked against: it is
  // passed over without a word, its merge lines included.
  MetadataLookups* meta = LookupsOf(root_name);
  if (meta == nullptr) return false;
  MessageLookups messages(doc);
  const std::string type = meta->Type();

  for (pnl_xml::XmlNode msg : pnl_xml::XPath(doc, "/*/*")) {
    if (!msg.GetProp("added").empty()) continue;
    const std::string name = msg.GetProp("name");
    const std::string text = msg.Str();
    if (name == "title" || name.starts_with("msg_error_") || name.starts_with("progress_"))
      continue;
    const std::string prefix = get_prefix(name);
    const std::string rest = cut_prefix(name);
    const std::streampos before = out.tellp();
    if (type == "list")
      list_process(prefix, rest, name, *meta, messages, text, out);
    else if (type == "form")
      form_process(prefix, rest, name, *meta, messages, text, out);
    if (out.tellp() != before)
      unused.push_back({name, lines_.Message(PNL_NAME(), lang_, root_name, name),
                        static_cast<std::size_t>(before), static_cast<std::size_t>(out.tellp())});
  }

  if (out.view().empty()) return false;
  report.base = pnl_file::SplitPath(path).second;
  report.section = root_name;
  report.lang = lang_;
  report.lines = std::move(out).str();
  report.includes = std::move(found);
  report.unused = std::move(unused);
  return true;
}

void PrintUnused(const UnusedAudit::FileReport& report) {
  std::cout << std::endl;
  std::cout << report.base << std::endl;
  std::cout << report.lines << std::flush;
  for (const Finding& finding : report.includes) Findings().Add(finding);
  for (const UnusedAudit::Unused& unused : report.unused)
    Findings().Add(UnusedFinding(report.section, unused.name, report.lang, unused.line,
                                 report.lines.substr(unused.begin, unused.end - unused.begin)));
}

// The repeated audit's table: each message text and where it occurs.
using RepeatTable = std::map<std::string, std::vector<XmlMsg>>;

// Adds the messages of `doc` (loaded from `path`, includes not merged).
void AddRepeats(const std::string& path, const pnl_xml::Xml& doc, RepeatTable& table) {
  const std::string base = pnl_file::SplitPath(path).second;
  for (pnl_xml::XmlNode msg : pnl_xml::XPath(doc, "//msg")) {
    if (!msg.GetProp("added").empty()) continue;
    table[msg.Str()].emplace_back(base, msg.GetProp("name"));
  }
}

void PrintRepeats(const std::string& lang, const RepeatTable& table) {
  std::vector<std::string> blocks;
  std::vector<Finding> repeated;
  for (const auto& [text, places] : table) {
    std::ostringstream block;
    if (places.size() > 1) {
      block << places.size() << " - '" << text << "'" << "\n";
      for (const XmlMsg& place : places) block << "\t" << place.file << " " << place.name << "\n";
      Finding finding;
      finding.kind = "repeated-message";
      finding.audit = "repeats";
      finding.element_type = "text";
      finding.element = text;
      finding.language = lang;
      finding.report = block.str();
      repeated.push_back(finding);
    }
    blocks.push_back(block.str());
  }
  // Equal counts keep the ascending order of their texts, so that every run
  // reports alike.
  std::stable_sort(blocks.begin(), blocks.end(), order);
  for (const std::string& block : blocks) std::cout << block;
  std::cout.flush();
  // Recorded in the order printed.
  std::stable_sort(repeated.begin(), repeated.end(),
                   [](const Finding& a, const Finding& b) { return order(a.report, b.report); });
  for (const Finding& finding : repeated) Findings().Add(finding);
}

void PrintRepeatsHeader(const std::string& lang) {
  std::cout << std::endl;
  std::cout << "Repeated messages for lang " << lang << std::endl;
}

void PrintUnusedHeader(const std::string& lang) {
  std::cout << std::endl;
  std::cout << "Unused for lang " << lang << std::endl;
}

// Loads each cache file of language `lang` (as getXmlFiles lists them) and
// hands it to `use`.
void ForEachCacheFile(const std::string& lang,
                      const std::function<void(const std::string&, pnl_xml::Xml&)>& use) {
  std::vector<std::string> files;
  getXmlFiles(files, lang);
  for (const std::string& path : files) {
    pnl_xml::Xml doc;
    doc.LoadFromFile(path);
    use(path, doc);
  }
}

}  // namespace

void check_unused(const std::string& lang) {
  PrintUnusedHeader(lang);
  UnusedAudit audit(lang);
  ForEachCacheFile(lang, [&audit](const std::string& path, pnl_xml::Xml& doc) {
    UnusedAudit::FileReport report;
    if (audit.Check(path, doc, report)) PrintUnused(report);
  });
}

// ---- Repeated message check ---------------------------------------------

void check_repeats(const std::string& lang) {
  PrintRepeatsHeader(lang);
  RepeatTable table;
  ForEachCacheFile(lang, [&table](const std::string& path, pnl_xml::Xml& doc) {
    AddRepeats(path, doc, table);
  });
  PrintRepeats(lang, table);
}

void check_repeats_and_unused(const std::string& lang) {
  PrintRepeatsHeader(lang);
  RepeatTable table;
  UnusedAudit audit(lang);
  std::vector<UnusedAudit::FileReport> reports;
  ForEachCacheFile(lang, [&](const std::string& path, pnl_xml::Xml& doc) {
    // The repeated audit reads the file as it stands, before the merge.
    AddRepeats(path, doc, table);
    UnusedAudit::FileReport report;
    if (audit.Check(path, doc, report)) reports.push_back(std::move(report));
  });
  PrintRepeats(lang, table);
  PrintUnusedHeader(lang);
  for (const UnusedAudit::FileReport& report : reports) PrintUnused(report);
}

// ---- Column hint check --------------------------------------------------

namespace msglint_private {

namespace {

std::string XmlPath(const std::string& file) {
  const std::string work_dir = pnl_file::GetCurrentDir();
  return pnl_file::ConcatNPath(4, work_dir.c_str(), "etc", "xml", file.c_str());
}

}  // namespace

ColumnList::ColumnList(const std::string& manager, const std::string& lang)
    : manager(manager), lang(lang) {
  const std::string path = XmlPath(findings::DescriptionFileName(manager));
  if (pnl_file::Exists(path)) doc.LoadFromFile(path);

  std::vector<std::string> columns;
  for (pnl_xml::XmlNode metadata : doc.GetNodes("/pnldata/metadata")) {
    pnl_xml::XmlNode coldata = metadata.FindNode("coldata");
    if (!coldata) continue;
    for (pnl_xml::XmlNode col = coldata.FirstChild(); col; col = col.Next()) {
      const std::string name = col.GetProp("name");
      if (!name.empty()) columns.push_back(name);
    }
    table[metadata.GetProp("name")] = columns;
    columns.clear();
  }
  // The table is all that the check needs; a large description's parsed
  // document goes before the message file is read.
  doc = pnl_xml::Xml();
}

ColumnList::HintList::HintList(const std::string& manager, const std::string& lang)
    : manager(manager), lang(lang), path_(XmlPath(findings::MessageFileName(manager, lang))) {}

// The sections that "/pnldata/lang[@name='LANG']/messages" selects, found by
// the element scanner; false when the file is not one that the scanner
// reads exactly as the parser and the query would.
bool ColumnList::HintList::ScanSections(std::vector<Section>* sections) const {
  if (pnl_xml::IsLiteralEvaluation()) return false;
  // An empty language makes a query that tells an absent attribute from an
  // empty one; one with an apostrophe makes no query at all.
  if (lang.empty() || lang.find('\'') != std::string::npos) return false;
  std::string text;
  if (!pnl_file::ReadFile(path_, text)) return false;
  // Namespaces and a DTD (default attributes, entities) change what the
  // query selects; such files are left to the parser.
  if (text.find("xmlns") != std::string::npos || text.find("<!DOCTYPE") != std::string::npos)
    return false;
  std::vector<pnl_xml::ElementSpan> spans;
  std::string error;
  if (!pnl_xml::ScanElements(text, path_, &spans, &error)) return false;
  const std::string_view bytes = text;
  for (const pnl_xml::ElementSpan& span : spans) {
    // A prefix in a start tag, of the element or of an attribute.
    const std::string_view tag = bytes.substr(span.begin, span.content_begin - span.begin);
    if (tag.find(':') != std::string_view::npos) return false;
  }
  if (spans.empty() || spans[0].name != "pnldata") return true;

  // For each span: whether it is a selected lang element, and the index in
  // `sections` of a selected messages element.
  std::vector<bool> is_lang(spans.size(), false);
  std::vector<long> section_of(spans.size(), -1);
  for (size_t i = 1; i < spans.size(); ++i) {
    const pnl_xml::ElementSpan& span = spans[i];
    const long parent = span.parent;
    if (parent == 0) {
      is_lang[i] = span.name == "lang" && span.name_attr == lang;
    } else if (parent > 0 && is_lang[parent]) {
      if (span.name != "messages") continue;
      section_of[i] = static_cast<long>(sections->size());
      sections->push_back({span.name_attr, {}});
    } else if (parent > 0 && section_of[parent] >= 0) {
      (*sections)[section_of[parent]].children.emplace_back(span.name, span.name_attr);
    }
  }
  return true;
}

void ColumnList::HintList::QuerySections(std::vector<Section>* sections) {
  if (pnl_file::Exists(path_)) doc.LoadFromFile(path_);
  for (pnl_xml::XmlNode section :
       doc.GetNodes("/pnldata/lang[@name='" + lang + "']/messages")) {
    Section found{section.GetProp("name"), {}};
    for (pnl_xml::XmlNode child = section.FirstChild(); child; child = child.Next())
      found.children.emplace_back(child.Name(), child.GetProp("name"));
    sections->push_back(std::move(found));
  }
}

void ColumnList::HintList::Parse() {
  std::vector<Section> sections;
  if (!ScanSections(&sections)) {
    sections.clear();
    QuerySections(&sections);
  }
  // Section -> the sections whose hints it would take over through its
  // includes. Only includes feed these sets, so they stay empty and an
  // include never adds a hint to a section.
  std::map<std::string, std::set<std::string>> includes;
  for (const Section& section : sections) {
    std::set<std::string> hints;
    for (const auto& [name, name_attr] : section.children) {
      if (name == "include") {
        const std::set<std::string> included = includes[name_attr];
        std::set<std::string>& own = includes[section.name];
        own.insert(included.begin(), included.end());
      } else if (name == "msg" && str::StartsWith(name_attr, "hint_")) {
        hints.insert(name_attr);
      }
    }
    table[section.name] = std::vector<std::string>(hints.begin(), hints.end());
  }
  for (const auto& [section_name, included] : includes) {
    for (const std::string& other : included) {
      auto from = table.find(other);
      if (from == table.end()) continue;
      const std::vector<std::string> extra = from->second;
      std::vector<std::string>& into = table[section_name];
      into.insert(into.end(), extra.begin(), extra.end());
    }
  }
}

}  // namespace msglint_private

void report_column_hints(const std::string& manager, const std::string& lang) {
  msglint_private::ColumnList columns(manager, lang);
  msglint_private::ColumnList::HintList hints(manager, lang);
  hints.Parse();
  SourceLines lines(pnl_file::GetCurrentDir());
  for (const auto& [list, names] : columns.table) {
    for (const std::string& column : names) {
      bool lacks = hints.table.empty();
      if (!lacks) {
        auto section = hints.table.find(list);
        lacks = section == hints.table.end() ||
                std::find(section->second.begin(), section->second.end(),
                          "hint_" + column) == section->second.end();
      }
      if (lacks) {
        std::cout << "В таблице '" << list << "' отстутствет хинт для столбца '" << column
                  << "'" << std::endl;
        Finding finding;
        finding.kind = "missing-column-hint";
        finding.audit = "column-hints";
        finding.object = list;
        finding.element_type = "column";
        finding.element = column;
        finding.language = lang;
        finding.message_name = "hint_" + column;
        finding.section = list;
        finding.file = DescriptionFile(manager);
        finding.line = lines.Column(manager, list, column);
        finding.report = "В таблице '" + list + "' отстутствет хинт для столбца '" + column + "'\n";
        Findings().Add(finding);
      }
    }
  }
}
