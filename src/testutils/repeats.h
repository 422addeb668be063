// The repeated-message audit (full mode, per language): message texts that
// occur more than once among the manager's cached messages, the most
// repeated first, with every place where they occur.
#ifndef TESTUTILS_REPEATS_H_
#define TESTUTILS_REPEATS_H_

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "pnl/xml.h"
#include "testutils/run_context.h"

// One occurrence of a message: the base name of its file and its name.
struct XmlMsg {
  XmlMsg(std::string file, std::string name) : file(std::move(file)), name(std::move(name)) {}
  std::string file;
  std::string name;
};

// Lists the message texts of `lang` that occur more than once, the most
// repeated first, with every place where they occur.
void check_repeats(RunContext& run, const std::string& lang);

// True when the leading decimal number of `a` is greater than that of `b`
// (strtol in base 10, cut to 32 bits).
bool order(const std::string& a, const std::string& b);

// The audit's table: each message text and where it occurs.
using RepeatTable = std::map<std::string, std::vector<XmlMsg>>;
// Adds the messages of `doc` (loaded from `path`, includes not merged).
void AddRepeats(const std::string& path, const pnl_xml::Xml& doc, RepeatTable& table);
// Prints the header of a language's report, and the report of `table`.
void PrintRepeatsHeader(RunContext& run, const std::string& lang);
void PrintRepeats(RunContext& run, const std::string& lang, const RepeatTable& table);

#endif  // TESTUTILS_REPEATS_H_
