// The unsafe-path check: what stands at the paths a run writes or removes.
#include "testutils/unsafe_paths.h"

#include <unistd.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/scratch_dir.h"

namespace {

using testing_support::ScratchDir;

TEST(UnsafePathsTest, NothingThereIsSafe) {
  ScratchDir dir;
  EXPECT_TRUE(unsafe_paths("sab").empty());
  dir.Write("var/.xmlcache/sab/a.xml", "");
  dir.Write("var/.xmlcache/sab.hash", "");
  dir.Write("var/log/msglint.log", "");
  dir.MakeDir("var/test_msgs");  // the audit's own failure, not a refusal
  EXPECT_TRUE(unsafe_paths("sab").empty());
}

TEST(UnsafePathsTest, EachLinkAndWrongKindIsNamedOnce) {
  ScratchDir dir;
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir.path().c_str()));
  dir.MakeDir("var/.xmlcache");
  dir.Link(outside.path(), "var/.xmlcache/sab");
  dir.MakeDir("var/.xmlcache/sab.hash");
  dir.Link(outside.path() + "/none", "var/log/msglint.log");
  dir.Write("var/run", "");
  dir.Link(outside.path() + "/none", "ecl.xml");
  EXPECT_EQ((std::vector<std::string>{
                "var/.xmlcache/sab is a symbolic link",
                "var/.xmlcache/sab.hash is a directory",
                "var/log/msglint.log is a symbolic link",
                "var/run is a regular file",
                "ecl.xml is a symbolic link",
            }),
            unsafe_paths("sab"));
}

TEST(UnsafePathsTest, LinkAboveIsNamedOnceForEverythingBelow) {
  ScratchDir dir;
  ScratchDir outside;
  ASSERT_EQ(0, chdir(dir.path().c_str()));
  dir.Link(outside.path(), "var");
  EXPECT_EQ((std::vector<std::string>{"var is a symbolic link"}), unsafe_paths("sab"));
}

}  // namespace
