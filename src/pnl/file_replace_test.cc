#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "pnl/file.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::ScratchDir;

// The names in the scratch directory, blank-separated, in byte order.
std::string Entries(const std::string& dir) {
  std::string names;
  pnl_file::Dir d(dir);
  while (d.Read()) names += (names.empty() ? "" : " ") + d.Name();
  return names;
}

mode_t Mode(const std::string& path) {
  struct stat st;
  return lstat(path.c_str(), &st) == 0 ? (st.st_mode & 07777) : 0;
}

TEST(ReplaceFileTest, ReplacesTheBytesAndKeepsTheMode) {
  ScratchDir dir;
  dir.Write("f.xml", "old");
  ASSERT_EQ(0, chmod("f.xml", 0640));
  std::string error;
  EXPECT_TRUE(pnl_file::ReplaceFile("f.xml", std::string("new\0\r\n", 6), &error));
  EXPECT_EQ("", error);
  EXPECT_EQ(std::string("new\0\r\n", 6), dir.Read("f.xml"));
  EXPECT_EQ(0640u, Mode("f.xml"));
  EXPECT_EQ("f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, CreatesAMissingFile) {
  ScratchDir dir;
  dir.MakeDir("etc");
  std::string error;
  EXPECT_TRUE(pnl_file::ReplaceFile(dir.path() + "/etc/f.orig", "x", &error));
  EXPECT_EQ("x", dir.Read("etc/f.orig"));
}

TEST(ReplaceFileTest, NeverWritesThroughASymbolicLink) {
  ScratchDir dir;
  dir.Write("target", "kept");
  dir.Link("target", "f.xml");
  std::string error;
  EXPECT_FALSE(pnl_file::ReplaceFile("f.xml", "new", &error));
  EXPECT_EQ("is a symbolic link", error);
  EXPECT_EQ("kept", dir.Read("target"));
  dir.Link("missing", "dangling");
  EXPECT_FALSE(pnl_file::ReplaceFile("dangling", "new", &error));
  EXPECT_EQ("is a symbolic link", error);
  EXPECT_EQ("dangling f.xml target", Entries(dir.path()));
}

TEST(ReplaceFileTest, RefusesAReadOnlyFileAndADirectory) {
  ScratchDir dir;
  dir.Write("f.xml", "kept");
  ASSERT_EQ(0, chmod("f.xml", 0444));
  std::string error;
  EXPECT_FALSE(pnl_file::ReplaceFile("f.xml", "new", &error));
  EXPECT_EQ("is read-only", error);
  EXPECT_EQ("kept", dir.Read("f.xml"));
  dir.MakeDir("d");
  EXPECT_FALSE(pnl_file::ReplaceFile("d", "new", &error));
  EXPECT_EQ("is not a regular file", error);
  EXPECT_EQ("d f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, CanReplaceTellsBeforehand) {
  ScratchDir dir;
  dir.Write("f.xml", "x");
  dir.Write("ro.xml", "x");
  ASSERT_EQ(0, chmod("ro.xml", 0444));
  dir.Link("f.xml", "link.xml");
  std::string error;
  EXPECT_TRUE(pnl_file::CanReplace("f.xml", &error));
  EXPECT_TRUE(pnl_file::CanReplace("new.xml", &error));
  EXPECT_FALSE(pnl_file::CanReplace("ro.xml", &error));
  EXPECT_EQ("is read-only", error);
  EXPECT_FALSE(pnl_file::CanReplace("link.xml", &error));
  EXPECT_EQ("is a symbolic link", error);
}

TEST(ReplaceFileTest, AFailedWriteLeavesTheFileAndNoTemporaryFile) {
  ScratchDir dir;
  dir.Write("f.xml", "kept");
  // A file size limit makes write() fail as a full disk does.
  struct rlimit old_limit;
  ASSERT_EQ(0, getrlimit(RLIMIT_FSIZE, &old_limit));
  struct rlimit limit = old_limit;
  limit.rlim_cur = 4;
  sighandler_t old_handler = signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(0, setrlimit(RLIMIT_FSIZE, &limit));
  std::string error;
  bool ok = pnl_file::ReplaceFile("f.xml", "longer than four bytes", &error);
  setrlimit(RLIMIT_FSIZE, &old_limit);
  signal(SIGXFSZ, old_handler);
  EXPECT_FALSE(ok);
  EXPECT_EQ("File too large", error);
  EXPECT_EQ("kept", dir.Read("f.xml"));
  EXPECT_EQ("f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, AMissingDirectoryIsAnError) {
  ScratchDir dir;
  std::string error;
  EXPECT_FALSE(pnl_file::ReplaceFile("no/f.xml", "x", &error));
  EXPECT_EQ("No such file or directory", error);
}

TEST(TempDirTest, IsCreatedAndRemovedWithItsFiles) {
  std::string path;
  {
    pnl_file::TempDir temp;
    path = temp.path();
    ASSERT_NE("", path);
    std::string error;
    ASSERT_TRUE(pnl_file::ReplaceFile(path + "/a", "x", &error));
    EXPECT_TRUE(pnl_file::Exists(path + "/a"));
  }
  EXPECT_FALSE(pnl_file::Exists(path));
}

}  // namespace
