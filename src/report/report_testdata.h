// The findings document that the report tool's tests start from: a run of
// manager m in English with a missing hint and an unused message.
#ifndef REPORT_REPORT_TESTDATA_H_
#define REPORT_REPORT_TESTDATA_H_

#include "report/report.h"

namespace report_testdata {

inline const char kDoc[] = R"({
  "schema": "msglint-findings", "version": 1,
  "run": {"manager": "m", "mode": "short", "arguments": ["-s", "en"], "languages": ["en"]},
  "statistics": [{"language": "en", "required": 4, "present": 3, "missing": 1, "empty": 0,
                  "percent": 75.0, "objects": []}],
  "findings": [
    {"id": 1, "kind": "missing-hint", "level": "error", "audit": "missing-messages",
     "manager": "m", "object": "user.edit", "element": {"type": "field", "name": "name"},
     "language": "en", "result_bit": 2,
     "message": {"name": "hint_name", "section": "user.edit", "file": "etc/xml/m_msg_en.xml",
                 "add": "<msg name=\"hint_name\"></msg>"},
     "location": {"file": "etc/xml/m.xml", "line": 7},
     "report": "There is no hint for field \"name\" from \"user.edit\" on en language.\n",
     "audit_line": "HINT user.edit.name en", "input_problem": false},
    {"id": 2, "kind": "unused-message", "level": "note", "audit": "unused",
     "manager": "m", "object": "user", "element": {"type": "message", "name": "x"},
     "language": "en", "result_bit": null,
     "message": {"name": "x", "section": "user", "file": "etc/xml/m_msg_en.xml", "add": null},
     "location": {"file": "etc/xml/m_msg_en.xml", "line": 12},
     "report": "\tx - column is not found. \t\t msgtext: X\n", "audit_line": null,
     "input_problem": false}],
  "input_problems": []
})";

inline report::Json Doc() { return report::Json::parse(kDoc); }

}  // namespace report_testdata

#endif  // REPORT_REPORT_TESTDATA_H_
