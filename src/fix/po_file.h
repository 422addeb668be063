// Reads and writes gettext PO files through libgettextpo, the library that
// the gettext tools themselves use: what is read and written is what
// Poedit, Lokalize, OmegaT and Weblate read and write. Nothing the library
// reports is printed, and no error of the library ends the process: every
// problem comes back as "FILE:LINE: message" text.
#ifndef FIX_PO_FILE_H_
#define FIX_PO_FILE_H_

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace fix {

// One entry of a PO file.
struct PoEntry {
  std::string context;  // msgctxt
  std::string msgid;
  std::string msgstr;
  // Extracted comments ("#."), one line each.
  std::vector<std::string> comments;
  // References ("#:"): file and line.
  std::vector<std::pair<std::string, std::size_t>> references;
  // A flag of our own ("#, msglint-no-source"); libgettextpo keeps only
  // the flags that it knows, so a reader never sees it.
  std::string own_flag;
  bool fuzzy = false;
  bool obsolete = false;  // a "#~" entry
};

// What a PO file holds: its header (the msgstr of the entry with an empty
// msgid) and its other entries, in the file's order.
struct PoContents {
  std::string header;
  std::vector<PoEntry> entries;
};

// The value of header field `field` ("Language", ...); "" when the header
// has none.
std::string HeaderField(const std::string& header, const std::string& field);

// Reads the PO file at `path`. False with `error` set to the library's
// "FILE:LINE: message" (the first problem it reported) when the file cannot
// be read or is not a well-formed PO file.
bool ReadPo(const std::string& path, PoContents* contents, std::string* error);

// The text of a PO file with `contents` (in their order), as libgettextpo
// writes it. False with `error` set when the library reports a problem.
bool WritePo(const PoContents& contents, std::string* text, std::string* error);

}  // namespace fix

#endif  // FIX_PO_FILE_H_
