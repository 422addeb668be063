#include "fix/fixer.h"

#include <algorithm>
#include <map>
#include <optional>

#include "findings/paths.h"
#include "fix/findings_reader.h"
#include "fix/msg_file_editor.h"
#include "pnl/file.h"
#include "pnl/proc.h"
#include "pnl/xml.h"

namespace fix {

const char kFixUsage[] =
    "Usage: sbin/msglint-fix manager language... [--text TEXT | --from "
    "language] [--dry-run] [--no-backup]";

namespace {

// Every new message says that the fixer added it. The unused- and
// repeated-message audits pass over messages with an "added" attribute:
// without it they would report each new form hint as "field is not found"
// (they look for a field named like the whole message) and list the new
// empty texts as repeats, so that a new run would show new findings where
// it should only lose the fixed ones. The missing-message audits and the
// column-hint check look at names and texts only, and see the message.
const char kAddedAttribute[] = "added";
const char kAddedValue[] = "msglint-fix";
// A text the user did not write is marked for the translator; no audit
// reads this attribute.
const char kTodoAttribute[] = "todo";
const char kTodoValue[] = "translate";

// A manager or language name that can be part of a file name, as
// everywhere (pnl_file::IsPlainName), and that does not start with "-":
// on the fixer's command line such a word is an option, or a mistyped one,
// and never a name that it should make a file name of.
bool GoodName(const std::string& name) {
  return pnl_file::IsPlainName(name) && name[0] != '-';
}

using findings::MessageFile;

// The texts of one language's messages as the panel finds them for a
// section: the first message of that name in the sections of that name,
// the base manager's file first, then the manager's.
class SourceTexts {
 public:
  SourceTexts(const std::string& manager, const std::string& lang) : lang_(lang) {
    std::vector<std::string> sources{"kern"};
    if (manager != "kern") sources.push_back(manager);
    for (const std::string& m : sources) {
      std::string path = MessageFile(m, lang);
      if (!pnl_file::Exists(path)) continue;
      docs_.emplace_back();
      docs_.back().LoadFromFile(path);
    }
  }

  std::optional<std::string> Find(const std::string& section,
                                  const std::string& name) const {
    for (const pnl_xml::Xml& doc : docs_) {
      pnl_xml::XmlNode root = doc.GetRoot();
      if (!root || root.Name() != "pnldata") continue;
      for (pnl_xml::XmlNode l = root.FirstChild(); l; l = l.Next()) {
        if (l.Name() != "lang" || l.GetProp("name") != lang_) continue;
        for (pnl_xml::XmlNode s = l.FirstChild(); s; s = s.Next()) {
          if (s.Name() != "messages" || s.GetProp("name") != section) continue;
          for (pnl_xml::XmlNode m = s.FirstChild(); m; m = m.Next())
            if (m.Name() == "msg" && m.GetProp("name") == name) return m.Str();
        }
      }
    }
    return std::nullopt;
  }

 private:
  std::string lang_;
  std::vector<pnl_xml::Xml> docs_;
};

// The unified diff between two texts of the file `path`, by diff(1); false
// with `error` set when it cannot be made.
bool Diff(const std::string& path, const std::string& before,
          const std::string& after, std::string* diff, std::string* error) {
  pnl_file::TempDir temp;
  if (temp.path().empty()) {
    *error = "cannot make a temporary directory";
    return false;
  }
  std::string a = temp.path() + "/a";
  std::string b = temp.path() + "/b";
  pnl::Status written = pnl_file::ReplaceFile(a, before);
  if (written.ok()) written = pnl_file::ReplaceFile(b, after);
  if (!written.ok()) {
    *error = written.message();
    return false;
  }
  pnl_proc::Execute run(
      std::vector<std::string>{"diff", "-u", "--label", path, "--label", path, a, b});
  run.CaptureOutput();
  int status = run.Result();
  if (status != 0 && status != 1) {
    *error = "diff failed: " + run.status().message();
    return false;
  }
  *diff = run.Output();
  return true;
}

std::string Plural(std::size_t n, const char* word) {
  return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

}  // namespace

bool ParseFixArguments(const std::vector<std::string>& args,
                       FixOptions* options, bool* help, std::string* error) {
  *options = FixOptions();
  *help = false;
  error->clear();
  bool has_from = false;
  std::vector<std::string> words;
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    auto value = [&](const std::string& option, std::string* to) {
      if (a.size() > option.size() && a.compare(0, option.size() + 1, option + "=") == 0) {
        *to = a.substr(option.size() + 1);
        return true;
      }
      if (i + 1 >= args.size()) {
        *error = option + " needs a value";
        return false;
      }
      *to = args[++i];
      return true;
    };
    if (a == "--help" || a == "-h") {
      *help = true;
      return true;
    } else if (a == "--dry-run") {
      options->dry_run = true;
    } else if (a == "--no-backup") {
      options->backup = false;
    } else if (a == "--text" || a.rfind("--text=", 0) == 0) {
      if (!value("--text", &options->text)) return false;
      options->use_text = true;
    } else if (a == "--from" || a.rfind("--from=", 0) == 0) {
      if (!value("--from", &options->from)) return false;
      has_from = true;
    } else if (a == "--") {
      words.insert(words.end(), args.begin() + static_cast<long>(i) + 1, args.end());
      break;
    } else if (a.size() > 1 && a[0] == '-') {
      *error = "unknown option " + a;
      return false;
    } else {
      words.push_back(a);
    }
  }
  if (options->use_text && has_from) {
    *error = "--text and --from exclude each other";
    return false;
  }
  if (has_from && !GoodName(options->from)) {
    *error = "bad language for --from: '" + options->from + "'";
    return false;
  }
  if (words.size() < 2) {
    *error = "a manager and at least one language are needed";
    return false;
  }
  options->manager = words[0];
  if (!GoodName(options->manager)) {
    *error = "bad manager name: '" + options->manager + "'";
    return false;
  }
  for (std::size_t i = 1; i < words.size(); ++i) {
    if (!GoodName(words[i])) {
      *error = "bad language: '" + words[i] + "'";
      return false;
    }
    if (std::find(options->languages.begin(), options->languages.end(), words[i]) ==
        options->languages.end())
      options->languages.push_back(words[i]);
  }
  return true;
}

int RunFix(const FixOptions& options, std::ostream& out, std::ostream& err) {
  const std::string prefix = "msglint-fix: ";
  const std::string findings_path = findings::FindingsFile();
  std::string text;
  if (!pnl_file::ReadFile(findings_path, text).ok()) {
    err << prefix << findings_path << ": cannot be read; run sbin/msglint "
        << options.manager << " first" << std::endl;
    return 2;
  }
  Findings findings;
  std::string error;
  if (!ReadFindings(text, &findings, &error)) {
    err << prefix << findings_path << ": " << error << std::endl;
    return 2;
  }
  if (findings.manager != options.manager) {
    err << prefix << findings_path << " holds the findings of manager '"
        << findings.manager << "', not '" << options.manager
        << "'; run sbin/msglint " << options.manager << " first" << std::endl;
    return 2;
  }

  std::optional<SourceTexts> from;
  if (!options.from.empty()) from.emplace(options.manager, options.from);

  int status = 0;
  for (const std::string& lang : options.languages) {
    const std::string path = MessageFile(options.manager, lang);
    if (std::find(findings.languages.begin(), findings.languages.end(), lang) ==
        findings.languages.end()) {
      err << prefix << "the last run did not audit language " << lang
          << "; nothing to add to " << path << std::endl;
      continue;
    }
    std::vector<const MissingMessage*> wanted;
    std::size_t doubtful = 0;
    for (const MissingMessage& m : findings.missing) {
      if (m.language != lang || m.manager != options.manager) continue;
      if (m.input_problem || m.file != path) {
        ++doubtful;
        continue;
      }
      wanted.push_back(&m);
    }
    if (doubtful > 0)
      err << prefix << "left alone: " << Plural(doubtful, "finding")
          << " of language " << lang
          << " that an input problem may have caused" << std::endl;

    std::string before;
    if (!pnl_file::ReadFile(path, before).ok()) {
      err << prefix << path << ": cannot be read" << std::endl;
      status = 1;
      continue;
    }
    MsgFileEditor editor;
    if (!editor.Load(before, path, &error)) {
      err << prefix << error << "; the file is left as it was" << std::endl;
      status = 1;
      continue;
    }
    std::size_t added = 0;
    std::size_t need_text = 0;
    for (const MissingMessage* m : wanted) {
      NewMessage message;
      message.name = m->name;
      message.attributes.emplace_back(kAddedAttribute, kAddedValue);
      if (options.use_text) {
        message.text = options.text;
      } else {
        if (from) message.text = from->Find(m->section, m->name).value_or("");
        message.attributes.emplace_back(kTodoAttribute, kTodoValue);
      }
      if (!editor.Add(lang, m->section, message)) continue;
      ++added;
      if (message.text.empty() && NeedsText(m->kind)) ++need_text;
    }
    std::string after = editor.Result();

    if (options.dry_run) {
      if (after == before) continue;
      std::string diff;
      if (!Diff(path, before, after, &diff, &error)) {
        err << prefix << path << ": " << error << std::endl;
        status = 1;
        continue;
      }
      out << diff << std::flush;
      continue;
    }
    if (after == before) {
      out << path << ": nothing to add" << std::endl;
      continue;
    }
    std::string backup = path + ".orig";
    if (pnl::Status replaceable = pnl_file::CanReplace(path); !replaceable.ok()) {
      err << prefix << path << ": " << replaceable.message() << "; the file is left as it was"
          << std::endl;
      status = 1;
      continue;
    }
    pnl::Status copied = options.backup ? pnl_file::ReplaceFile(backup, before) : pnl::Status();
    if (!copied.ok()) {
      err << prefix << backup << ": cannot write the copy: " << copied.message()
          << "; " << path << " is left as it was" << std::endl;
      status = 1;
      continue;
    }
    if (pnl::Status replaced = pnl_file::ReplaceFile(path, after); !replaced.ok()) {
      err << prefix << path << ": cannot be written: " << replaced.message()
          << "; the file is left as it was" << std::endl;
      status = 1;
      continue;
    }
    out << path << ": " << Plural(added, "message") << " added";
    if (need_text > 0)
      out << ", " << need_text << " of them still reported until "
          << (need_text == 1 ? "its" : "their") << " text is written";
    if (options.backup) out << "; the file as it was is " << backup;
    out << std::endl;
  }
  return status;
}

}  // namespace fix
