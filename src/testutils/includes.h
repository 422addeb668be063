// Include merging: the messages of the cached files that a cached message
// file includes, copied into it, as the unused-message and missing-message
// audits read it.
#ifndef TESTUTILS_INCLUDES_H_
#define TESTUTILS_INCLUDES_H_

#include <sstream>
#include <string>

#include "pnl/xml.h"
#include "testutils/run_context.h"

// Appends "\t" object " - " problem ". \t\t msgtext: " text "\n" to `out`:
// a line of the unused-message report, which a missing include gets too.
void print_msg(const std::string& object, const std::string& text,
               const std::string& problem, std::ostringstream& out);

// Copies the msg elements of every file of the run's cache that `includes` (the "//include"
// selection of `doc`) names under the root of `doc`, then deletes the
// include elements; a missing file adds a report line to `out`.
void MergeIncludes(const RunContext& run, pnl_xml::Xml& doc, const pnl_xml::XPath& includes,
                   const std::string& lang, std::ostringstream& out);

#endif  // TESTUTILS_INCLUDES_H_
