#include "fix/po_import.h"

#include <optional>
#include <set>
#include <vector>

#include "findings/paths.h"
#include "fix/file_update.h"
#include "fix/fixer.h"
#include "fix/message_texts.h"
#include "fix/msg_file_editor.h"
#include "fix/po_catalog.h"
#include "fix/po_file.h"
#include "pnl/file.h"

namespace fix {

namespace {

const char kPrefix[] = "msglint-fix: ";

// The mark of a message that waits for its translator; a message that
// gets its text loses it.
const std::vector<std::pair<std::string, std::string>> kWaitingMarks = {
    {"todo", "translate"}};
// A new message says that the fixer added it, as those that sbin/msglint-fix
// adds without a PO file: the unused- and repeated-message audits pass over
// it (they would report a new form hint as "field is not found"). A message
// that already carries the mark keeps it for the same reason.
const std::pair<std::string, std::string> kAddedMark = {"added", "msglint-fix"};

std::string Plural(std::size_t n, const char* word) {
  return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

// What the import did with the entries.
struct Tally {
  std::size_t filled = 0;
  std::size_t added = 0;
  std::size_t unchanged = 0;
  std::size_t untranslated = 0;
  std::size_t fuzzy = 0;
  std::size_t skipped = 0;
};

// Whether the header names `manager` and `lang`; else says so on `err`.
bool HeaderFits(const PoContents& po, const std::string& po_path,
                const std::string& manager, const std::string& lang, std::ostream& err) {
  std::string po_manager = HeaderField(po.header, "X-Msglint-Manager");
  std::string po_lang = HeaderField(po.header, "Language");
  if (po_manager == manager && po_lang == lang) return true;
  err << kPrefix << po_path << " holds the texts of manager '" << po_manager
      << "' in language '" << po_lang << "' (its header's X-Msglint-Manager and Language), not of '"
      << manager << "' in '" << lang << "'; nothing imported" << std::endl;
  return false;
}

// Whether the header says that the texts are UTF-8, as the message files
// are; else says so on `err`.
bool IsUtf8(const PoContents& po, const std::string& po_path, std::ostream& err) {
  std::string type = HeaderField(po.header, "Content-Type");
  std::string lower;
  for (char c : type) lower += static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  std::size_t at = lower.find("charset=");
  std::string charset = at == std::string::npos ? "" : lower.substr(at + 8);
  if (charset == "utf-8" || charset == "utf8") return true;
  err << kPrefix << po_path << ": the header's Content-Type gives the charset '"
      << (at == std::string::npos ? "" : type.substr(at + 8))
      << "', not UTF-8; nothing imported" << std::endl;
  return false;
}

// Queues the text of one entry in `editor`; counts what became of it.
void ImportEntry(const PoEntry& e, const std::set<std::pair<std::string, std::string>>& needed,
                 const MessageTexts& own, const FixOptions& options,
                 MsgFileEditor* editor, Tally* tally, std::ostream& err) {
  const std::string& lang = options.languages[0];
  if (e.obsolete) return;
  if (e.msgstr.empty()) {
    ++tally->untranslated;
    return;
  }
  if (e.fuzzy && !options.fuzzy) {
    ++tally->fuzzy;
    return;
  }
  std::size_t slash = e.context.rfind('/');
  std::string section = slash == std::string::npos ? "" : e.context.substr(0, slash);
  std::string name = slash == std::string::npos ? "" : e.context.substr(slash + 1);
  std::optional<FoundMessage> current = own.Find(section, name);
  if (needed.count(std::make_pair(section, name)) == 0) {
    if (current && current->text == e.msgstr) {
      ++tally->unchanged;
      return;
    }
    err << kPrefix << options.import_path << ": msgctxt \"" << e.context
        << "\" names no message that the last run asks for in language " << lang
        << " (SECTION/NAME); skipped" << std::endl;
    ++tally->skipped;
    return;
  }
  if (current) {
    if (editor->SetText(lang, section, name, e.msgstr, kWaitingMarks)) ++tally->filled;
    return;
  }
  if (editor->Add(lang, section, NewMessage{name, e.msgstr, {kAddedMark}})) ++tally->added;
}

void Summary(const std::string& path, const Tally& t, bool backup, std::ostream& out) {
  out << path << ": " << Plural(t.filled, "message") << " filled, " << t.added << " added";
  if (t.untranslated + t.fuzzy > 0) {
    out << "; left out: " << t.untranslated << " without a translation, " << t.fuzzy
        << " fuzzy";
  }
  if (backup) out << "; the file as it was is " << path << ".orig";
  out << std::endl;
}

}  // namespace

int RunImport(const findings::Document& doc, const FixOptions& options,
              std::ostream& out, std::ostream& err) {
  const std::string& manager = options.manager;
  const std::string& lang = options.languages[0];
  const std::string path = findings::MessageFile(manager, lang);
  PoContents po;
  std::string error;
  if (!ReadPo(options.import_path, &po, &error)) {
    err << kPrefix << error << "; nothing imported" << std::endl;
    return kMalformedPo;
  }
  if (!HeaderFits(po, options.import_path, manager, lang, err)) return kForeignPo;
  if (!IsUtf8(po, options.import_path, err)) return kMalformedPo;

  std::string before;
  if (!pnl_file::ReadFile(path, before).ok()) {
    err << kPrefix << path << ": cannot be read; nothing imported" << std::endl;
    return kFileRefused;
  }
  MsgFileEditor editor;
  if (!editor.Load(before, path, &error)) {
    err << kPrefix << error << "; the file is left as it was" << std::endl;
    return kFileRefused;
  }
  MessageTexts own(manager, lang, false);
  std::size_t doubtful = 0;
  std::set<std::pair<std::string, std::string>> needed;
  for (const NeededMessage& m : NeededMessages(doc, manager, lang, own, &doubtful))
    needed.emplace(m.section, m.name);
  Tally tally;
  for (const PoEntry& e : po.entries)
    ImportEntry(e, needed, own, options, &editor, &tally, err);
  const int status = tally.skipped > 0 ? kSomeSkipped : kFixed;
  std::string after = editor.Result();

  if (options.dry_run) {
    if (after != before && !ShowDiff(path, before, after, out, err)) return kFileRefused;
    return status;
  }
  if (after == before) {
    out << path << ": nothing to import" << std::endl;
    return status;
  }
  if (!WriteFile(path, before, after, options.backup, err)) return kFileRefused;
  Summary(path, tally, options.backup, out);
  return status;
}

}  // namespace fix
