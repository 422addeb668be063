// Every audit gives the same report whether the platform layer evaluates
// anchored queries from their anchor or exactly as written.
#include <filesystem>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "findings/paths.h"
#include "pnl/client.h"
#include "pnl/log.h"
#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/msglint.h"
#include "testutils/run_context.h"

namespace {

using testing_support::ScratchDir;

class EvaluationTest : public testing::Test {
 protected:
  void SetUp() override {
    std::filesystem::copy(std::string(MSGLINT_SOURCE_DIR) + "/examples/install", dir_.path(),
                          std::filesystem::copy_options::recursive);
    dir_.InstallPanel();
    dir_.AddManagerLink("mailpnl");
    pnl_log::Init("msglint", 5);
    for (const char* lang : {"en", "ru"}) {
      const std::string query = std::string("func=session&lang=") + lang + "&out=devel";
      pnl_client::Local("mailpnl", "checkXml").Query(query);
      pnl_client::Local("kern", "checkXml").Query(query);
    }
  }
  void TearDown() override { pnl_xml::SetLiteralEvaluation(false); }

  // The report of every audit of a full run, then the audit file and the
  // findings file (where the texts audit says what it found).
  std::string Report(bool literal) {
    pnl_xml::SetLiteralEvaluation(literal);
    std::ostringstream report;
    RunContext run("mailpnl", dir_.path(), report);
    run.langs = {"en", "ru"};
    const int result = RunAudits(run, CacheIsReady);
    return report.str() + "result " + std::to_string(result) + "\n" +
           dir_.Read("var/test_msgs") + dir_.Read(findings::FindingsFile());
  }

  ScratchDir dir_;
};

TEST_F(EvaluationTest, ExampleInstallationGivesTheSameReportEitherWay) {
  const std::string literal = Report(true);
  const std::string fast = Report(false);
  EXPECT_EQ(fast, literal);
  // The example carries a defect of every kind: the report is far from empty.
  EXPECT_GT(literal.size(), 2000u);
  EXPECT_NE(literal.find("result 31\n"), std::string::npos);
}

}  // namespace
