// The action list check, against the reference panel's own action list.
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "pnl/client.h"
#include "support/scratch_dir.h"
#include "testutils/actionlist.h"
#include "testutils/run_context.h"

namespace {

using testing_support::ScratchDir;

const char kHeader[] = "\nActionlist check for lang en\n";

class ActionlistTest : public testing::Test {
 protected:
  void SetUp() override {
    dir_.InstallPanel();
    dir_.AddManagerLink("sab");
  }
  // The actions of "sab" are the names of its metadata elements.
  void Description(const std::string& names) {
    std::string metadata;
    std::string rest = names;
    while (!rest.empty()) {
      const auto space = rest.find(' ');
      metadata += "<metadata name=\"" + rest.substr(0, space) + "\" type=\"form\"/>";
      rest = space == std::string::npos ? "" : rest.substr(space + 1);
    }
    dir_.Write("etc/xml/sab.xml", "<pnldata>" + metadata + "</pnldata>");
  }
  void Messages(const std::string& sections) {
    dir_.Write("etc/xml/sab_msg_en.xml",
               "<pnldata><lang name=\"en\">" + sections + "</lang></pnldata>");
  }
  // Has the panels of "sab" and of the base manager build their caches of
  // "en", as a run does.
  void BuildCaches() {
    pnl_client::Local("sab", "checkXml").Query("func=session&lang=en&out=devel");
    pnl_client::Local("kern", "checkXml").Query("func=session&lang=en&out=devel");
  }
  void Cache(const std::string& file) {
    dir_.Write("var/.xmlcache/sab/" + file, "<messages name=\"x\"/>");
  }
  std::string Run() {
    out_.str("");
    check_actionlist(run_, "en");
    return out_.str();
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(ActionlistTest, EveryFileNamedAfterAnActionIsOk) {
  Description("user group");
  Messages("<messages name=\"user\"><msg name=\"title\">User</msg></messages>");
  BuildCaches();
  EXPECT_EQ(dir_.Read("var/.xmlcache/sab/user.msg.en.xml").empty(), false);
  EXPECT_EQ(Run(), std::string(kHeader) + "\tEverything is ok\n");
}

TEST_F(ActionlistTest, SectionWithoutMetadataIsNoAction) {
  Description("user");
  Messages("<messages name=\"user\"/><messages name=\"orphan\"/>");
  BuildCaches();
  EXPECT_EQ(Run(), std::string(kHeader) + "\torphan - no such action\n");
}

TEST_F(ActionlistTest, SharedFileNamesAreSkippedWhetherActionsOrNot) {
  Description("user global");
  Messages("<messages name=\"user\"/><messages name=\"global\"/><messages name=\"common\"/>"
           "<messages name=\"msgerror\"/>");
  BuildCaches();
  Cache("global.x.en.xml");
  Cache("msgerror.y.en.xml");
  EXPECT_EQ(Run(), std::string(kHeader) + "\tEverything is ok\n");
}

TEST_F(ActionlistTest, FilesReducingToTheSameNameAreReportedEach) {
  Description("user");
  Messages("<messages name=\"user\"/><messages name=\"orphan\"/>");
  BuildCaches();
  Cache("orphan.x.en.xml");
  Cache("user.x.en.xml");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "\torphan - no such action\n"
                       "\torphan - no such action\n");
}

TEST_F(ActionlistTest, ShortNamesLeaveAnEmptyRemainder) {
  // Without the base manager's cache, the panel's common.en.xml and
  // desktop.en.xml stay in the list and reduce to nothing.
  Description("user");
  Messages("<messages name=\"user\"/>");
  pnl_client::Local("sab", "checkXml").Query("func=session&lang=en&out=devel");
  Cache("user.en.xml");
  EXPECT_EQ(Run(), std::string(kHeader) +
                       "\t - no such action\n"
                       "\t - no such action\n"
                       "\t - no such action\n");
}

TEST_F(ActionlistTest, ActionNameMustMatchExactly) {
  Description("User");
  Messages("");
  BuildCaches();
  Cache("user.msg.en.xml");
  Cache("User.msg.en.xml");
  EXPECT_EQ(Run(), std::string(kHeader) + "\tuser - no such action\n");
}

TEST_F(ActionlistTest, BlanksAroundTheActionMakeAnotherName) {
  dir_.Write("etc/xml/sab.xml", "<pnldata><metadata name=\" user \" type=\"form\"/></pnldata>");
  Messages("");
  BuildCaches();
  Cache("user.msg.en.xml");
  // The panel's own " user .msg.en.xml" reduces to " user ", which is known.
  EXPECT_EQ(Run(), std::string(kHeader) + "\tuser - no such action\n");
}

TEST_F(ActionlistTest, FilesOfOtherLanguagesAreNotLookedAt) {
  Description("user");
  Messages("<messages name=\"user\"/>");
  BuildCaches();
  Cache("orphan.msg.ru.xml");
  EXPECT_EQ(Run(), std::string(kHeader) + "\tEverything is ok\n");
}

}  // namespace
