// A test fixture for the missing-message audit: a scratch installation
// directory with the module's log in it, one MissedCheck for the checked
// manager, and helpers that write the manager's description and cached
// message files and run the audit with its report kept in a string.
#ifndef TESTUTILS_MISSEDCHECK_FIXTURE_H_
#define TESTUTILS_MISSEDCHECK_FIXTURE_H_

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "pnl/log.h"
#include "support/scratch_dir.h"
#include "testutils/MissedCheck.h"
#include "testutils/run_context.h"

class MissedCheckFixture : public testing::Test {
 protected:
  MissedCheckFixture() {
    pnl_log::Init("msglint", 5);
    SetManager("M");
    audit.langs = {"en"};
    audit.report_mode = "-f";
  }

  // Makes `name` the checked manager, as the run sequence does.
  void SetManager(const std::string& name) {
    run.manager = name;
    audit.cache_dir = dir.path() + "/var/.xmlcache/" + name;
  }

  // The manager's main description: `body` inside the pnldata root.
  void WriteMain(const std::string& body) const {
    dir.Write("etc/xml/" + run.manager + ".xml", "<pnldata>" + body + "</pnldata>\n");
  }

  // A cached message file of the checked manager, e.g. Messages("user",
  // "en", ...) for var/.xmlcache/M/user.msg.en.xml.
  void Messages(const std::string& object, const std::string& lang,
                const std::string& body) const {
    CacheFile(object + ".msg." + lang + ".xml", object, body);
  }

  // Any file of the cache directory: a messages root named `root` around `body`.
  void CacheFile(const std::string& file, const std::string& root,
                 const std::string& body) const {
    dir.Write("var/.xmlcache/" + run.manager + "/" + file,
              "<messages name=\"" + root + "\">" + body + "</messages>\n");
  }

  // Loads the main description into the audit, as check() does.
  void LoadMain() {
    audit.main_xml.LoadFromFile(dir.path() + "/etc/xml/" + run.manager + ".xml");
  }

  // Runs check(); keeps its result, its report and the audit file.
  int RunCheck() {
    report.str("");
    result = audit.check();
    out = report.str();
    audit_file = dir.Read("var/test_msgs");
    return result;
  }

  // The module's log records, each reduced to "LEVEL text".
  std::string Log() const { return testing_support::LogRecords(dir.path(), "msglint"); }

  // Only the records of the given level.
  std::string LogAt(int level) const {
    const std::string prefix = std::to_string(level) + " ";
    std::string all = Log(), picked;
    for (std::string::size_type pos = 0; pos < all.size();) {
      std::string::size_type end = all.find('\n', pos);
      if (end == std::string::npos) end = all.size();
      const std::string line = all.substr(pos, end - pos);
      if (line.compare(0, prefix.size(), prefix) == 0) picked += line + "\n";
      pos = end + 1;
    }
    return picked;
  }

  testing_support::ScratchDir dir;
  // The run's report.
  std::ostringstream report;
  RunContext run{"M", dir.path(), report};
  MissedCheck audit{run};
  int result = 0;
  std::string out;
  std::string audit_file;
};

#endif  // TESTUTILS_MISSEDCHECK_FIXTURE_H_
