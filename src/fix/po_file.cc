#include "fix/po_file.h"

#include <gettext-po.h>

#include <cerrno>
#include <csetjmp>
#include <cstring>
#include <cstdlib>
#include <memory>

#include "pnl/file.h"

namespace fix {

namespace {

// What the library reported during one call, and where to jump back to
// when it reports a fatal error: the handler of such an error must not
// return, and the library's own would end the process. The jump leaves
// the library's half-built catalog behind; nothing of ours is skipped.
struct Problems {
  std::string first;
  std::jmp_buf* fatal = nullptr;
};
thread_local Problems* current = nullptr;

void Report(int severity, const char* filename, std::size_t lineno,
            const char* text) {
  if (severity == PO_SEVERITY_WARNING || current == nullptr) return;
  if (current->first.empty()) {
    std::string where;
    if (filename != nullptr) {
      where = filename;
      if (lineno != static_cast<std::size_t>(-1)) where += ":" + std::to_string(lineno);
      where += ": ";
    }
    std::string message = text != nullptr ? text : "error";
    while (!message.empty() && message.back() == '\n') message.pop_back();
    current->first = where + message;
  }
  if (severity == PO_SEVERITY_FATAL_ERROR && current->fatal != nullptr)
    std::longjmp(*current->fatal, 1);
}

void XError(int severity, po_message_t, const char* filename, std::size_t lineno,
            std::size_t, int, const char* text) {
  Report(severity, filename, lineno, text);
}

void XError2(int severity, po_message_t, const char* filename1, std::size_t lineno1,
             std::size_t, int, const char* text1, po_message_t, const char*,
             std::size_t, std::size_t, int, const char*) {
  Report(severity, filename1, lineno1, text1);
}

const po_xerror_handler kHandler = {XError, XError2};

// po_file_read with the handler above, and no C++ object alive between
// the jump and its target. Null after a fatal error.
po_file_t ReadCatalog(const char* path, Problems* problems) {
  std::jmp_buf jump;
  problems->fatal = &jump;
  current = problems;
  po_file_t file = nullptr;
  if (setjmp(jump) == 0) file = po_file_read(path, &kHandler);
  current = nullptr;
  return file;
}

// The same for po_file_write.
bool WriteCatalog(po_file_t file, const char* path, Problems* problems) {
  std::jmp_buf jump;
  problems->fatal = &jump;
  current = problems;
  bool written = false;
  if (setjmp(jump) == 0) written = po_file_write(file, path, &kHandler) != nullptr;
  current = nullptr;
  return written;
}

struct FileFree {
  void operator()(po_file_t f) const { po_file_free(f); }
};
using File = std::unique_ptr<struct po_file, FileFree>;

std::string Str(const char* s) { return s != nullptr ? s : ""; }

PoEntry EntryOf(po_message_t m) {
  PoEntry e;
  e.context = Str(po_message_msgctxt(m));
  e.msgid = Str(po_message_msgid(m));
  e.msgstr = Str(po_message_msgstr(m));
  std::string comments = Str(po_message_extracted_comments(m));
  for (std::size_t start = 0; start < comments.size();) {
    std::size_t end = comments.find('\n', start);
    if (end == std::string::npos) end = comments.size();
    e.comments.push_back(comments.substr(start, end - start));
    start = end + 1;
  }
  for (int i = 0; po_filepos_t p = po_message_filepos(m, i); ++i)
    e.references.emplace_back(Str(po_filepos_file(p)), po_filepos_start_line(p));
  e.fuzzy = po_message_is_fuzzy(m) != 0;
  e.obsolete = po_message_is_obsolete(m) != 0;
  return e;
}

po_message_t MessageOf(const PoEntry& e) {
  po_message_t m = po_message_create();
  if (!e.context.empty()) po_message_set_msgctxt(m, e.context.c_str());
  po_message_set_msgid(m, e.msgid.c_str());
  po_message_set_msgstr(m, e.msgstr.c_str());
  std::string comments;
  for (const std::string& c : e.comments) comments += c + "\n";
  if (!comments.empty()) po_message_set_extracted_comments(m, comments.c_str());
  for (const auto& [file, line] : e.references)
    po_message_add_filepos(m, file.c_str(), line);
  po_message_set_fuzzy(m, e.fuzzy ? 1 : 0);
  po_message_set_obsolete(m, e.obsolete ? 1 : 0);
  return m;
}

// Adds each entry's own flag to the text that the library wrote: its
// entries stand in the order given, the header first, one blank line
// between two, and a flag line goes before the first line of the entry
// that is not a comment.
std::string AddOwnFlags(const std::string& text, const PoContents& contents) {
  std::string out;
  std::size_t block = 0;  // 0 is the header
  bool in_comments = true;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    end = end == std::string::npos ? text.size() : end + 1;
    std::string line = text.substr(start, end - start);
    start = end;
    if (line == "\n") {
      ++block;
      in_comments = true;
    } else if (in_comments && line[0] != '#') {
      in_comments = false;
      if (block >= 1 && block <= contents.entries.size() &&
          !contents.entries[block - 1].own_flag.empty())
        out += "#, " + contents.entries[block - 1].own_flag + "\n";
    }
    out += line;
  }
  return out;
}

}  // namespace

#if defined(__SANITIZE_ADDRESS__)
// libgettextpo (0.21) keeps a few strings of each message it reads after
// po_file_free, and the catalog that a fatal error leaves behind: leaks of
// the library, not of ours, which the leak checker of a sanitized build is
// told to pass over.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() {
  return "leak:libgettextpo.so\n";
}
// ... without a word about it: a program's standard error, and the
// sanitizer's reports, stay as they are without the library.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_options() {
  return "print_suppressions=0";
}
#endif

std::string HeaderField(const std::string& header, const std::string& field) {
  char* value = po_header_field(header.c_str(), field.c_str());
  if (value == nullptr) return "";
  std::string out = value;
  std::free(value);
  return out;
}

bool ReadPo(const std::string& path, PoContents* contents, std::string* error) {
  *contents = PoContents();
  Problems problems;
  File file(ReadCatalog(path.c_str(), &problems));
  if (file == nullptr || !problems.first.empty()) {
    *error = problems.first.empty() ? path + ": cannot be read: " + std::strerror(errno)
                                    : problems.first;
    return false;
  }
  contents->header = Str(po_file_domain_header(file.get(), nullptr));
  for (const char* const* domain = po_file_domains(file.get()); *domain != nullptr; ++domain) {
    po_message_iterator_t it = po_message_iterator(file.get(), *domain);
    while (po_message_t m = po_next_message(it)) {
      if (po_message_msgctxt(m) == nullptr && Str(po_message_msgid(m)).empty()) continue;
      contents->entries.push_back(EntryOf(m));
    }
    po_message_iterator_free(it);
  }
  return true;
}

bool WritePo(const PoContents& contents, std::string* text, std::string* error) {
  File file(po_file_create());
  po_message_iterator_t it = po_message_iterator(file.get(), nullptr);
  PoEntry header;
  header.msgstr = contents.header;
  po_message_insert(it, MessageOf(header));
  for (const PoEntry& e : contents.entries) po_message_insert(it, MessageOf(e));
  po_message_iterator_free(it);

  pnl_file::TempDir temp;
  if (temp.path().empty()) {
    *error = "cannot make a temporary directory";
    return false;
  }
  const std::string path = temp.path() + "/out.po";
  Problems problems;
  if (!WriteCatalog(file.get(), path.c_str(), &problems) || !problems.first.empty()) {
    *error = problems.first.empty() ? "the PO file cannot be written" : problems.first;
    return false;
  }
  std::string written;
  if (!pnl_file::ReadFile(path, written).ok()) {
    *error = "the PO file cannot be read back";
    return false;
  }
  *text = AddOwnFlags(written, contents);
  return true;
}

}  // namespace fix
