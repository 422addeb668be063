#include "pnl/client.h"

#include <signal.h>
#include <stdlib.h>

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "pnl/file.h"
#include "pnl/log.h"
#include "support/scratch_dir.h"

namespace pnl_client {
namespace {

using Clock = std::chrono::steady_clock;
using testing_support::ScratchDir;

const char kEmptyDoc[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<doc/>\n";

TEST(ClientTest, PathsAreRelativeToTheInstallation) {
  EXPECT_EQ("var/run/shop.socket", SocketPath("shop"));
  EXPECT_EQ("var/run/shop.pid", PidPath("shop"));
}

TEST(ClientTest, StartsThePanelAndReturnsItsReply) {
  ScratchDir dir;
  dir.InstallPanel();
  testing::internal::CaptureStdout();
  pnl_xml::Xml reply = Local("kern", "checkXml").Query("func=actionlist&out=xml");
  // Nothing of the started panel reaches the caller's output.
  EXPECT_EQ("", testing::internal::GetCapturedStdout());
  EXPECT_EQ(kEmptyDoc, reply.ToString(true));
  EXPECT_TRUE(pnl_file::Exists("var/log/kern.log"));
}

TEST(ClientTest, ManagerLinkIsStartedUnderItsOwnName) {
  ScratchDir dir;
  dir.InstallPanel();
  dir.AddManagerLink("shop");
  Local("shop", "checkXml").Query("func=actionlist");
  EXPECT_TRUE(pnl_file::Exists("var/run/shop.pid"));
  EXPECT_NE(std::string::npos,
            testing_support::LogRecords(dir.path(), "shop")
                .find("5 request: func=actionlist\n"));
}

TEST(ClientTest, ManagerNameWithBlanksAndSemicolonStaysOneArgument) {
  ScratchDir dir;
  dir.InstallPanel();
  const std::string manager = "a b;touch x";
  EXPECT_EQ(kEmptyDoc,
            Local(manager, "checkXml").Query("func=actionlist").ToString(true));
  EXPECT_TRUE(pnl_file::Exists("var/log/a b;touch x.log"));
  EXPECT_FALSE(pnl_file::Exists("x"));
  EXPECT_FALSE(pnl_file::Exists("var/log/a.log"));
}

TEST(ClientTest, SecondQueryIsAnsweredAfterThePanelWasStopped) {
  ScratchDir dir;
  dir.InstallPanel();
  Local client("kern", "checkXml");
  EXPECT_EQ(kEmptyDoc, client.Query("func=actionlist").ToString(true));
  pid_t pid = static_cast<pid_t>(atol(dir.Read(PidPath("kern")).c_str()));
  ASSERT_EQ(0, kill(pid, SIGTERM));
  EXPECT_EQ(kEmptyDoc, client.Query("func=actionlist").ToString(true));
}

TEST(ClientTest, NoPanelProgramGivesAnEmptyDocumentAndOneLine) {
  ScratchDir dir;
  pnl_log::Init("client", 5);
  auto start = Clock::now();
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  Local client("shop", "checkXml");
  pnl_xml::Xml reply = client.Query("func=session&lang=en");
  std::string err = testing::internal::GetCapturedStderr();
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_LT(Clock::now() - start, std::chrono::seconds(12));
  EXPECT_FALSE(reply.GetRoot());
  EXPECT_EQ("", out);
  EXPECT_EQ("", err);  // the caller decides what to tell
  EXPECT_EQ("no answer from manager \"shop\" to query \"func=session&lang=en\"",
            client.status().message());
  EXPECT_NE(std::string::npos,
            testing_support::LogRecords(dir.path(), "client")
                .find("3 checkXml: no answer from manager \"shop\" to query "
                      "\"func=session&lang=en\"\n"));
}

TEST(ClientTest, UnsafeManagerNameIsNotStarted) {
  ScratchDir dir;
  dir.InstallPanel();
  testing::internal::CaptureStderr();
  pnl_xml::Xml reply = Local("../kern", "checkXml").Query("func=actionlist");
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_FALSE(reply.GetRoot());
  EXPECT_EQ("", err);
  EXPECT_FALSE(pnl_file::Exists("var/run"));
}

}  // namespace
}  // namespace pnl_client
