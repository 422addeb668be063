// The export half of the translators' round trip: the PO file of what one
// language of a manager still needs (see po_catalog.h), one entry per
// message: msgctxt "SECTION/NAME", msgid its text in the source language,
// msgstr its text in the language (empty when missing or empty), what it is
// for as extracted comments and where its element stands as references.
#ifndef FIX_PO_EXPORT_H_
#define FIX_PO_EXPORT_H_

#include <ostream>
#include <string>
#include <vector>

#include "findings/reader.h"
#include "fix/po_file.h"

namespace fix {

// The flag of an entry whose msgid is the message's name, for want of a
// text in any language.
extern const char kNoSourceFlag[];

// The header of the PO file of `lang` of `manager`: no date, so that the
// same state gives the same bytes.
std::string PoHeader(const std::string& manager, const std::string& lang);

// The PO contents for `lang` of `manager`, from the findings of the last
// run (`doc`) and the message files; msgids in `source`, else in the first
// other language of the run that has the message. `doubtful` counts the
// findings left out (see NeededMessages).
PoContents ExportContents(const findings::Document& doc, const std::string& manager,
                          const std::string& lang, const std::string& source,
                          std::size_t* doubtful);

// Writes the PO file `path` (atomically, never through a symbolic link).
// Returns a FixStatus; one line on `out` when done.
int RunExport(const findings::Document& doc, const std::string& manager,
              const std::string& lang, const std::string& source,
              const std::string& path, std::ostream& out, std::ostream& err);

}  // namespace fix

#endif  // FIX_PO_EXPORT_H_
