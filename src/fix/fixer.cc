#include "fix/fixer.h"

#include <algorithm>
#include <map>
#include <optional>

#include "findings/paths.h"
#include "fix/file_update.h"
#include "fix/findings_reader.h"
#include "fix/message_texts.h"
#include "fix/msg_file_editor.h"
#include "fix/po_export.h"
#include "fix/po_import.h"
#include "findings/reader.h"
#include "pnl/file.h"
#include "pnl/xml.h"

namespace fix {

const char kFixUsage[] =
    "Usage: sbin/msglint-fix manager language... [--text TEXT | --from "
    "language] [--dry-run] [--no-backup]\n"
    "       sbin/msglint-fix manager language --export FILE.po [--source language]\n"
    "       sbin/msglint-fix manager language --import FILE.po [--fuzzy] [--dry-run] "
    "[--no-backup]";

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

// The options of the translators' round trip, checked against the others
// and the number of languages; false with `error` set when they clash.
bool RoundTripOptionsFit(const FixOptions& o, std::size_t languages, bool has_from,
                         bool has_source, std::string* error) {
  bool exporting = !o.export_path.empty();
  bool importing = !o.import_path.empty();
  if (exporting && importing) *error = "--export and --import exclude each other";
  else if ((exporting || importing) && (o.use_text || has_from))
    *error = "--text and --from are not for --export or --import";
  else if ((exporting || importing) && languages != 1)
    *error = "--export and --import take one language";
  else if (has_source && !exporting) *error = "--source goes with --export";
  else if (has_source && !GoodName(o.source)) *error = "bad language for --source: '" + o.source + "'";
  else if (o.fuzzy && !importing) *error = "--fuzzy goes with --import";
  else if (exporting && o.dry_run) *error = "--dry-run is not for --export";
  else if (exporting && !o.backup) *error = "--no-backup is not for --export";
  return error->empty();
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
  bool has_source = false;
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
    } else if (a == "--export" || a.rfind("--export=", 0) == 0) {
      if (!value("--export", &options->export_path)) return false;
    } else if (a == "--import" || a.rfind("--import=", 0) == 0) {
      if (!value("--import", &options->import_path)) return false;
    } else if (a == "--source" || a.rfind("--source=", 0) == 0) {
      if (!value("--source", &options->source)) return false;
      has_source = true;
    } else if (a == "--fuzzy") {
      options->fuzzy = true;
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
  if (!RoundTripOptionsFit(*options, words.size() - 1, has_from, has_source, error))
    return false;
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

namespace {

// The translators' round trip, once the findings file (`text`) is known to
// be a run of the manager.
int RoundTrip(const FixOptions& options, const std::string& text, std::ostream& out,
              std::ostream& err) {
  const std::string& lang = options.languages[0];
  findings::Document doc;
  findings::Read(text, &doc);
  if (std::find(doc.languages.begin(), doc.languages.end(), lang) == doc.languages.end()) {
    err << "msglint-fix: the last run did not audit language " << lang
        << "; run sbin/msglint " << options.manager << " with it first" << std::endl;
    return kUnusable;
  }
  if (!options.export_path.empty())
    return RunExport(doc, options.manager, lang, options.source, options.export_path, out, err);
  return RunImport(doc, options, out, err);
}

// Adds the missing messages of `lang`; a FixStatus.
int FixLanguage(const FixOptions& options, const Findings& findings, const std::string& lang,
                const std::optional<MessageTexts>& from, std::ostream& out,
                std::ostream& err) {
  const std::string prefix = "msglint-fix: ";
  const std::string path = MessageFile(options.manager, lang);
  if (std::find(findings.languages.begin(), findings.languages.end(), lang) ==
      findings.languages.end()) {
    err << prefix << "the last run did not audit language " << lang
        << "; nothing to add to " << path << std::endl;
    return kFixed;
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
  std::string error;
  if (!pnl_file::ReadFile(path, before).ok()) {
    err << prefix << path << ": cannot be read" << std::endl;
    return kFileRefused;
  }
  MsgFileEditor editor;
  if (!editor.Load(before, path, &error)) {
    err << prefix << error << "; the file is left as it was" << std::endl;
    return kFileRefused;
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
      if (from) {
        std::optional<FoundMessage> found = from->Find(m->section, m->name);
        if (found) message.text = found->text;
      }
      message.attributes.emplace_back(kTodoAttribute, kTodoValue);
    }
    if (!editor.Add(lang, m->section, message)) continue;
    ++added;
    if (message.text.empty() && NeedsText(m->kind)) ++need_text;
  }
  std::string after = editor.Result();

  if (options.dry_run) {
    if (after != before && !ShowDiff(path, before, after, out, err)) return kFileRefused;
    return kFixed;
  }
  if (after == before) {
    out << path << ": nothing to add" << std::endl;
    return kFixed;
  }
  if (!WriteFile(path, before, after, options.backup, err)) return kFileRefused;
  out << path << ": " << Plural(added, "message") << " added";
  if (need_text > 0)
    out << ", " << need_text << " of them still reported until "
        << (need_text == 1 ? "its" : "their") << " text is written";
  if (options.backup) out << "; the file as it was is " << path << ".orig";
  out << std::endl;
  return kFixed;
}

}  // namespace

int RunFix(const FixOptions& options, std::ostream& out, std::ostream& err) {
  const std::string prefix = "msglint-fix: ";
  const std::string findings_path = findings::FindingsFile();
  std::string text;
  if (!pnl_file::ReadFile(findings_path, text).ok()) {
    err << prefix << findings_path << ": cannot be read; run sbin/msglint "
        << options.manager << " first" << std::endl;
    return kUnusable;
  }
  Findings findings;
  std::string error;
  if (!ReadFindings(text, &findings, &error)) {
    err << prefix << findings_path << ": " << error << std::endl;
    return kUnusable;
  }
  if (findings.manager != options.manager) {
    err << prefix << findings_path << " holds the findings of manager '"
        << findings.manager << "', not '" << options.manager
        << "'; run sbin/msglint " << options.manager << " first" << std::endl;
    return kUnusable;
  }
  if (!options.export_path.empty() || !options.import_path.empty())
    return RoundTrip(options, text, out, err);

  std::optional<MessageTexts> from;
  if (!options.from.empty()) from.emplace(options.manager, options.from, true);
  int status = kFixed;
  for (const std::string& lang : options.languages)
    if (FixLanguage(options, findings, lang, from, out, err) != kFixed) status = kFileRefused;
  return status;
}

}  // namespace fix
