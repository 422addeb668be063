// How an audit begins the record of one of its findings: which audit, what
// it found, where (object, element and its kind) and in which language. The
// audit adds the message at fault, the file and line and its report lines.
#ifndef TESTUTILS_AUDIT_FINDING_H_
#define TESTUTILS_AUDIT_FINDING_H_

#include <string>

#include "testutils/findings.h"

inline Finding AuditFinding(const std::string& audit, const std::string& kind,
                            const std::string& object, const std::string& element_type,
                            const std::string& element, const std::string& language) {
  Finding finding;
  finding.audit = audit;
  finding.kind = kind;
  finding.object = object;
  finding.element_type = element_type;
  finding.element = element;
  finding.language = language;
  return finding;
}

#endif  // TESTUTILS_AUDIT_FINDING_H_
