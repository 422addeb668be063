// The audit's driver: result code, audit file, exclusion document,
// metadata dispatch, self-included conditions and the lookups in the
// panel's checked cache.
#include "testutils/MissedCheck.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <cstdlib>

#include "findings/paths.h"
#include "pnl/file.h"
#include "testutils/diagnostics.h"
#include "testutils/MissedCheck_fixture.h"
#include "testutils/msglint.h"

namespace {

std::string ExpectedExclusions() {
  std::string text;
  pnl_file::ReadFile(pnl_file::SplitPath(__FILE__).first + "/testdata/ecl.xml", text);
  return text;
}

class MissedCheckTest : public MissedCheckFixture {};

TEST_F(MissedCheckTest, NothingFoundGivesZero) {
  WriteMain(
      "<metadata name='user' type='form'><form><field name='a'><input type='text'/></field>"
      "</form></metadata>");
  Messages("user", "en", "<msg name='title'>User</msg><msg name='hint_a'>H</msg><msg name='a'>A</msg>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
}

TEST_F(MissedCheckTest, SevenHintProblemsAndOneMissingTitleGiveEighteen) {
  std::string fields, labels, expected_out, expected_file;
  for (char c = 'a'; c < 'a' + 7; ++c) {
    const std::string f(1, c);
    fields += "<field name='" + f + "'><input type='text'/></field>";
    labels += "<msg name='" + f + "'>L</msg>";
    expected_out += "There is no hint for field \"" + f + "\" from \"user\" on en language.\n"
                    "Must be: <msg name=\"hint_" + f + "\"></msg>\n";
    expected_file += "HINT user." + f + " en\n";
  }
  WriteMain("<metadata name='user' type='form'><form>" + fields + "</form></metadata>");
  Messages("user", "en", labels);
  EXPECT_EQ(18, RunCheck());
  EXPECT_EQ("Form \"user\" on en have no title.\n" + expected_out, out);
  EXPECT_EQ("TITLE user en\n" + expected_file, audit_file);
  EXPECT_EQ(7, audit.hint_errors);
  EXPECT_EQ(1, audit.title_errors);
  EXPECT_EQ(0, audit.label_errors);
}

TEST_F(MissedCheckTest, AuditFileThatCannotBeOpenedGivesMinusOne) {
  dir.MakeDir("var/test_msgs");
  WriteMain("<metadata name='user' type='form'><form/></metadata>");
  audit.initExludeList();
  EXPECT_EQ(-1, RunCheck());
  EXPECT_EQ("Can't open out file for log.\n", out);
  EXPECT_EQ(ExpectedExclusions(), dir.Read("ecl.xml"));
  EXPECT_EQ(0, audit.title_errors);
}

TEST_F(MissedCheckTest, AuditFileThatIsALinkIsNotFollowed) {
  WriteMain("<metadata name='user' type='form'><form/></metadata>");
  dir.Link(dir.path() + "/" + findings::DescriptionFile(run.manager), "var/test_msgs");
  const std::string description = dir.Read(findings::DescriptionFile(run.manager));
  EXPECT_EQ(-1, RunCheck());
  EXPECT_EQ("Can't open out file for log.\n", out);
  EXPECT_EQ(description, dir.Read(findings::DescriptionFile(run.manager)));
}

// A write that fails (here a file size limit stands in for a full disk) is
// told once on standard error and marks the run as failed; the file it
// would have replaced is left as it was.
void WriteWithTinyFileLimit(MissedCheck& audit) {
  // Room for the line on standard error (a file here), not for ecl.xml.
  struct rlimit limit = {200, 200};
  signal(SIGXFSZ, SIG_IGN);
  if (setrlimit(RLIMIT_FSIZE, &limit) != 0) std::_Exit(3);
  audit.initExludeList();
  audit.initExludeList();
  std::_Exit(write_failed(audit.run) ? kWriteError : 0);
}

TEST_F(MissedCheckTest, FailedWriteOfTheExclusionListIsToldOnceAndGivesItsStatus) {
  GTEST_FLAG_SET(death_test_style, "fast");
  dir.Write("ecl.xml", "old\n");
  EXPECT_EXIT(WriteWithTinyFileLimit(audit), testing::ExitedWithCode(kWriteError),
              "^msglint: cannot write ecl.xml: File too large\n$");
  EXPECT_EQ("old\n", dir.Read("ecl.xml"));
}

TEST_F(MissedCheckTest, ExclusionDocumentHoldsTheWholeTableInOrder) {
  audit.initExludeList();
  const std::string expected = ExpectedExclusions();
  ASSERT_NE("", expected);
  EXPECT_EQ(expected, dir.Read("ecl.xml"));
}

TEST_F(MissedCheckTest, ExcludedPropertiesBelongToTheirManagerOnly) {
  audit.initExludeList();
  SetManager("kelpnl");
  EXPECT_TRUE(audit.isExcludedProp("firewall", "dport"));
  EXPECT_FALSE(audit.isExcludedProp("firewall", "nosuch"));
  SetManager("gorpnl");
  EXPECT_FALSE(audit.isExcludedProp("firewall", "dport"));
  SetManager("kern");
  EXPECT_FALSE(audit.isExcludedProp("firewall", "dport"));
}

TEST_F(MissedCheckTest, WithoutMetadataOnlyTheMenuAndTheConditionWalkRun) {
  WriteMain("<mainmenu if='X'><node name='a' if='X'/></mainmenu>");
  CacheFile("desktop.en.xml", "desktop", "");
  EXPECT_EQ(8, RunCheck());
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.[1].a\" with condition (if) = "
      "\"X\".\n"
      "There is no description for menu item \"a\" for language en.\n",
      out);
  EXPECT_EQ("Message a en\n", audit_file);
}

TEST_F(MissedCheckTest, KernSkipsItsBuilderMetadata) {
  SetManager("kern");
  audit.initExludeList();
  WriteMain("<metadata name='builder' type='form'><form/></metadata>");
  Messages("builder", "en", "");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_EQ("", audit_file);
}

TEST_F(MissedCheckTest, OtherManagersCheckTheirBuilderMetadata) {
  audit.initExludeList();
  WriteMain("<metadata name='builder' type='form'><form/></metadata>");
  Messages("builder", "en", "");
  EXPECT_EQ(16, RunCheck());
  EXPECT_EQ("Form \"builder\" on en have no title.\n", out);
  EXPECT_EQ("TITLE builder en\n", audit_file);
}

TEST_F(MissedCheckTest, SingleFormIsCheckedWithoutItsId) {
  WriteMain(
      "<metadata name='user' type='form'><form><field name='a'><input/></field></form>"
      "</metadata>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='a'>A</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no hint for field \"a\" from \"user\" on en language.\n"
      "Must be: <msg name=\"hint_a\"></msg>\n",
      out);
}

TEST_F(MissedCheckTest, EachFormOfAMultiFormIsCheckedAndWindowsFormsAreSkipped) {
  WriteMain(
      "<metadata name='multi' type='form'>"
      "<form id='a'><field name='x'><input/></field></form>"
      "<form id='windows'><field name='w'><input/></field></form>"
      "<form id='b'><field name='y'><input/></field></form>"
      "</metadata>");
  Messages("multi", "en", "<msg name='x'>X</msg><msg name='y'>Y</msg><msg name='w'>W</msg>");
  EXPECT_EQ(18, RunCheck());
  EXPECT_EQ(
      "Form \"multi\" on en have no title.\n"
      "There is no hint for field \"x\" from \"multi\" on en language.\n"
      "Must be: <msg name=\"hint_x\"></msg>\n"
      "Form \"multi\" on en have no title.\n"
      "There is no hint for field \"y\" from \"multi\" on en language.\n"
      "Must be: <msg name=\"hint_y\"></msg>\n",
      out);
  EXPECT_EQ("TITLE multi en\nHINT multi.x en\nTITLE multi en\nHINT multi.y en\n", audit_file);
}

TEST_F(MissedCheckTest, MultiFormNodeWithoutIdStillGetsItsTitleCheck) {
  WriteMain(
      "<metadata name='multi' type='form'>"
      "<form id='a'/><form><field name='x'><input/></field></form>"
      "</metadata>");
  Messages("multi", "en", "<msg name='x'>X</msg>");
  EXPECT_EQ(16, RunCheck());
  EXPECT_EQ("Form \"multi\" on en have no title.\nForm \"multi\" on en have no title.\n", out);
  EXPECT_EQ(2, audit.title_errors);
}

TEST_F(MissedCheckTest, MetadataOfOtherTypesIsNotChecked) {
  WriteMain("<metadata name='user' type='report'/><metadata name='x'/>");
  Messages("user", "en", "");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
}

TEST_F(MissedCheckTest, ShortModeSkipsTheConditionWalkButLogsIt) {
  pnl_log::Init("msglint", 9);
  audit.report_mode = "-s";
  WriteMain("<metadata name='m' if='X'><field name='f' if='X'/></metadata>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ("", out);
  EXPECT_NE(std::string::npos, Log().find(" Validating xml on self-included conditions.\n"));
  EXPECT_NE(std::string::npos, Log().find(" Resulting Error Code: 0\n"));
  EXPECT_EQ(std::string::npos, Log().find("self-included conditions for xml"));
}

TEST_F(MissedCheckTest, FullModeRunsTheConditionWalk) {
  WriteMain("<metadata name='m' if='X'><field name='f' if='X'/></metadata>");
  EXPECT_EQ(0, RunCheck());
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.m.f\" with condition (if) = "
      "\"X\".\n",
      out);
}

// ---- Self-included conditions -----------------------------------------------

class MissedCheckSelfIncludedTest : public MissedCheckFixture {
 protected:
  std::string Walk(const std::string& body) {
    WriteMain(body);
    LoadMain();
    report.str("");
    audit.ValidateNext(audit.main_xml, "//pnldata", {}, "pnldata");
    return report.str();
  }
};

TEST_F(MissedCheckSelfIncludedTest, ConditionRepeatedByAFieldIsReported) {
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.user.[1].f\" with condition (if) = "
      "\"X\".\n",
      Walk("<metadata name='user' if='X'><form><field name='f' if='X'/></form></metadata>"));
  EXPECT_EQ(
      "3 There are self-included conditions for xml: \"pnldata.user.[1].f\" with condition "
      "(if) = \"X\".\n",
      LogAt(3));
}

TEST_F(MissedCheckSelfIncludedTest, OnlyTheEnclosingChainCounts) {
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.a.b.c\" with condition (if) = "
      "\"X\".\n",
      Walk("<e name='a' if='X'><e name='b' if='Y'><e name='c' if='X'/></e></e>"
           "<e name='d' if='X'><e name='e' if='Y'><e name='f' if='Z'/></e></e>"));
}

TEST_F(MissedCheckSelfIncludedTest, SiblingsSharingAConditionAreNotReported) {
  EXPECT_EQ("", Walk("<e name='a' if='X'/><e name='b' if='X'><e name='c' if='Y'/></e>"));
}

TEST_F(MissedCheckSelfIncludedTest, ReportedConditionStaysForTheSubtree) {
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.a.b\" with condition (if) = "
      "\"X\".\n"
      "There are self-included conditions for xml: \"pnldata.a.b.c\" with condition (if) = "
      "\"X\".\n",
      Walk("<e name='a' if='X'><e name='b' if='X'><e name='c' if='X'/></e></e>"));
}

TEST_F(MissedCheckSelfIncludedTest, UnnamedElementShowsItsPosition) {
  EXPECT_EQ(
      "There are self-included conditions for xml: \"pnldata.m.[3]\" with condition (if) = "
      "\"X\".\n",
      Walk("<metadata name='m' if='X'><a/><b name=''/><c if='X'/></metadata>"));
}

TEST_F(MissedCheckSelfIncludedTest, EmptyPathReturnsWithoutOutput) {
  WriteMain("<e name='a' if='X'><e name='b' if='X'/></e>");
  LoadMain();
  audit.ValidateNext(audit.main_xml, "", {"X"}, "pnldata");
  EXPECT_EQ("", report.str());
}

// ---- The panel's checked cache ----------------------------------------------
//
// These run the reference panel: bin/M is the panel serving M, and
// sbin/pnlctl asks it to write var/.xmlcache/M/checked/F.msg.L.xml.

class MissedCheckPanelTest : public MissedCheckFixture {
 protected:
  MissedCheckPanelTest() {
    dir.InstallPanel();
    dir.AddManagerLink("M");
  }

  // M's own messages in English: a section "user" holding `body`.
  void PanelMessages(const std::string& body) const {
    dir.Write("etc/xml/M_msg_en.xml",
              "<pnldata><lang name='en'><messages name='user'>" + body +
                  "</messages></lang></pnldata>\n");
  }
};

TEST_F(MissedCheckPanelTest, HintOfTheCheckedCacheSuppressesHintAndLabelReports) {
  WriteMain("<metadata name='user' type='form'><form><field name='a'><input/></field>"
            "<field name='b'><input/></field></form></metadata>");
  PanelMessages("<msg name='hint_a'>H</msg>");
  Messages("user", "en", "<msg name='title'>T</msg><msg name='b'>B</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no hint for field \"b\" from \"user\" on en language.\n"
      "Must be: <msg name=\"hint_b\"></msg>\n",
      out);
  EXPECT_EQ("HINT user.b en\n", audit_file);
  EXPECT_TRUE(pnl_file::Exists(dir.path() + "/var/.xmlcache/M/checked/user.msg.en.xml"));
}

TEST_F(MissedCheckPanelTest, CommandAlwaysAsksInRussianAndTheLanguageNamesTheFile) {
  PanelMessages("<msg name='hint_a'>H</msg>");
  EXPECT_TRUE(audit.usedFunctionToCheck("user", "a", "en"));
  EXPECT_FALSE(audit.usedFunctionToCheck("user", "b", "en"));
  // M has no Russian messages, so nothing is written under that name.
  EXPECT_FALSE(audit.usedFunctionToCheck("user", "a", "ru"));
  const std::string panel_log = testing_support::LogRecords(dir.path(), "M");
  EXPECT_NE(std::string::npos, panel_log.find("5 request: func=user&lang=ru\n")) << panel_log;
  EXPECT_EQ(std::string::npos, panel_log.find("lang=en")) << panel_log;
}

TEST_F(MissedCheckPanelTest, FunctionThatThePanelDoesNotKnowIsNotUsed) {
  PanelMessages("<msg name='hint_a'>H</msg>");
  testing::internal::CaptureStderr();
  EXPECT_FALSE(audit.usedFunctionToCheck("nosuch", "a", "en"));
  EXPECT_FALSE(audit.usedFunctionToCheck("other", "a", "en"));
  const std::string err = testing::internal::GetCapturedStderr();
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/var/.xmlcache/M/checked/nosuch.msg.en.xml"));
  // Said once on standard error, each failure in the log.
  const std::string pnlctl = "'" + dir.path() + "/sbin/pnlctl'";
  EXPECT_EQ("msglint: command failed: " + pnlctl +
                " -m M nosuch lang=ru: exit status 1 (later failures of this program are only "
                "logged)\n",
            err);
  EXPECT_EQ("3 Command " + pnlctl + " -m M nosuch lang=ru failed: exit status 1\n" +
                "3 Command " + pnlctl + " -m M other lang=ru failed: exit status 1\n",
            LogAt(3));
}

TEST_F(MissedCheckPanelTest, InstallationPathWithBlanksReachesThePanel) {
  // The scratch directory's name holds a blank.
  ASSERT_NE(std::string::npos, dir.path().find(' '));
  PanelMessages("<msg name='hint_a'>H</msg>");
  testing::internal::CaptureStderr();
  EXPECT_TRUE(audit.usedFunctionToCheck("user", "a", "en"));
  EXPECT_EQ("", testing::internal::GetCapturedStderr());
}

TEST_F(MissedCheckPanelTest, ShellMetacharactersInANameRunNothingElse) {
  PanelMessages("<msg name='hint_a'>H</msg>");
  EXPECT_FALSE(audit.usedFunctionToCheck("x;touch pwned", "a", "en"));
  EXPECT_FALSE(audit.usedFunctionToCheck("$(touch pwned)", "a", "en"));
  EXPECT_FALSE(audit.usedFunctionToCheck("`touch pwned`|touch pwned", "a", "en"));
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/pwned"));
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/pwned)"));
}

TEST_F(MissedCheckPanelTest, FormNamedWithShellMetacharactersRunsNothingElse) {
  WriteMain("<metadata name='x;touch pwned' type='form'><form><field name='a'><input/></field>"
            "</form></metadata>");
  Messages("x;touch pwned", "en", "<msg name='title'>T</msg><msg name='a'>A</msg>");
  EXPECT_EQ(2, RunCheck());
  EXPECT_EQ(
      "There is no hint for field \"a\" from \"x;touch pwned\" on en language.\n"
      "Must be: <msg name=\"hint_a\"></msg>\n",
      out);
  EXPECT_FALSE(pnl_file::Exists(dir.path() + "/pwned"));
}

}  // namespace
