// The import half of the translators' round trip: the texts of a PO file
// that po_export.h wrote (and a translator filled) go into the language's
// message file, each where the audits look for it. An entry with a text
// fills the message when the file has it (dropping its todo="translate"
// mark) and adds it, marked added="msglint-fix", when the file has none.
// Entries without a text, obsolete entries and, unless asked for, fuzzy
// entries are left out. Every other byte of the file stays as it was.
#ifndef FIX_PO_IMPORT_H_
#define FIX_PO_IMPORT_H_

#include <ostream>
#include <string>

#include "findings/reader.h"

namespace fix {

struct FixOptions;

// Imports options.import_path into the message file of the one language
// of `options`, or shows the change with options.dry_run. Returns a
// FixStatus: a PO file of another manager or language, or one that cannot
// be read, changes nothing; entries for messages that the run does not ask
// for are named on `err` and skipped, the others imported.
int RunImport(const findings::Document& doc, const FixOptions& options,
              std::ostream& out, std::ostream& err);

}  // namespace fix

#endif  // FIX_PO_IMPORT_H_
