// The name and version of the findings document, var/msglint/findings.json:
// the module writes them at its head, and the report tool and the fixer
// read only a document that carries both.
#ifndef FINDINGS_SCHEMA_H_
#define FINDINGS_SCHEMA_H_

namespace findings {

inline constexpr char kSchemaName[] = "msglint-findings";
// Raised when a field changes meaning or goes away (new fields keep it).
inline constexpr int kSchemaVersion = 1;

}  // namespace findings

#endif  // FINDINGS_SCHEMA_H_
