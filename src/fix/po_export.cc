#include "fix/po_export.h"

#include <optional>

#include "fix/fixer.h"
#include "fix/message_texts.h"
#include "fix/po_catalog.h"
#include "pnl/file.h"
#include "version/version.h"

namespace fix {

const char kNoSourceFlag[] = "msglint-no-source";

namespace {

const char kPrefix[] = "msglint-fix: ";

std::string Plural(std::size_t n, const char* word) {
  return std::to_string(n) + " " + word + (n == 1 ? "" : "s");
}

}  // namespace

std::string PoHeader(const std::string& manager, const std::string& lang) {
  return "Project-Id-Version: " + manager + "\n" +
         "Language: " + lang + "\n" +
         "MIME-Version: 1.0\n"
         "Content-Type: text/plain; charset=UTF-8\n"
         "Content-Transfer-Encoding: 8bit\n"
         "X-Generator: msglint " + MSGLINT_VERSION + "\n" +
         "X-Msglint-Manager: " + manager + "\n";
}

PoContents ExportContents(const findings::Document& doc, const std::string& manager,
                          const std::string& lang, const std::string& source,
                          std::size_t* doubtful) {
  // Where a msgid comes from: the source language, then the run's other
  // languages in their order; each as the panel reads it.
  std::vector<MessageTexts> sources;
  sources.emplace_back(manager, source, true);
  for (const std::string& other : doc.languages)
    if (other != source && other != lang) sources.emplace_back(manager, other, true);
  MessageTexts own(manager, lang, false);

  PoContents contents;
  contents.header = PoHeader(manager, lang);
  for (const NeededMessage& m : NeededMessages(doc, manager, lang, own, doubtful)) {
    PoEntry e;
    e.context = m.section + "/" + m.name;
    for (const MessageTexts& texts : sources) {
      std::optional<FoundMessage> found = texts.Find(m.section, m.name);
      if (found && !found->text.empty()) {
        e.msgid = found->text;
        break;
      }
    }
    if (e.msgid.empty()) {
      e.msgid = m.name;
      e.own_flag = kNoSourceFlag;
    }
    if (std::optional<FoundMessage> current = own.Find(m.section, m.name))
      e.msgstr = current->text;
    e.comments = m.purposes;
    e.references = m.places;
    contents.entries.push_back(e);
  }
  return contents;
}

int RunExport(const findings::Document& doc, const std::string& manager,
              const std::string& lang, const std::string& source,
              const std::string& path, std::ostream& out, std::ostream& err) {
  std::size_t doubtful = 0;
  PoContents contents = ExportContents(doc, manager, lang, source, &doubtful);
  if (doubtful > 0)
    err << kPrefix << "left out: " << Plural(doubtful, "finding") << " of language "
        << lang << " that an input problem may have caused" << std::endl;
  std::string text;
  std::string error;
  if (!WritePo(contents, &text, &error)) {
    err << kPrefix << path << ": " << error << std::endl;
    return kFileRefused;
  }
  if (pnl::Status written = pnl_file::ReplaceFile(path, text); !written.ok()) {
    err << kPrefix << path << ": cannot be written: " << written.message() << std::endl;
    return kFileRefused;
  }
  out << path << ": " << Plural(contents.entries.size(), "message") << " of language "
      << lang << " to translate" << std::endl;
  return kFixed;
}

}  // namespace fix
