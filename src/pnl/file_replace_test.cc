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
  EXPECT_TRUE(pnl_file::ReplaceFile("f.xml", std::string("new\0\r\n", 6)).ok());
  EXPECT_EQ(std::string("new\0\r\n", 6), dir.Read("f.xml"));
  EXPECT_EQ(0640u, Mode("f.xml"));
  EXPECT_EQ("f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, CreatesAMissingFile) {
  ScratchDir dir;
  dir.MakeDir("etc");
  EXPECT_TRUE(pnl_file::ReplaceFile(dir.path() + "/etc/f.orig", "x").ok());
  EXPECT_EQ("x", dir.Read("etc/f.orig"));
}

TEST(ReplaceFileTest, NeverWritesThroughASymbolicLink) {
  ScratchDir dir;
  dir.Write("target", "kept");
  dir.Link("target", "f.xml");
  EXPECT_EQ("is a symbolic link", pnl_file::ReplaceFile("f.xml", "new").message());
  EXPECT_EQ("kept", dir.Read("target"));
  dir.Link("missing", "dangling");
  EXPECT_EQ("is a symbolic link", pnl_file::ReplaceFile("dangling", "new").message());
  EXPECT_EQ("dangling f.xml target", Entries(dir.path()));
}

TEST(ReplaceFileTest, RefusesAReadOnlyFileAndADirectory) {
  ScratchDir dir;
  dir.Write("f.xml", "kept");
  ASSERT_EQ(0, chmod("f.xml", 0444));
  EXPECT_EQ("is read-only", pnl_file::ReplaceFile("f.xml", "new").message());
  EXPECT_EQ("kept", dir.Read("f.xml"));
  dir.MakeDir("d");
  EXPECT_EQ("is not a regular file", pnl_file::ReplaceFile("d", "new").message());
  EXPECT_EQ("d f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, CanReplaceTellsBeforehand) {
  ScratchDir dir;
  dir.Write("f.xml", "x");
  dir.Write("ro.xml", "x");
  ASSERT_EQ(0, chmod("ro.xml", 0444));
  dir.Link("f.xml", "link.xml");
  EXPECT_TRUE(pnl_file::CanReplace("f.xml").ok());
  EXPECT_TRUE(pnl_file::CanReplace("new.xml").ok());
  EXPECT_EQ("is read-only", pnl_file::CanReplace("ro.xml").message());
  EXPECT_EQ("is a symbolic link", pnl_file::CanReplace("link.xml").message());
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
  const pnl::Status written = pnl_file::ReplaceFile("f.xml", "longer than four bytes");
  setrlimit(RLIMIT_FSIZE, &old_limit);
  signal(SIGXFSZ, old_handler);
  EXPECT_EQ("File too large", written.message());
  EXPECT_EQ("kept", dir.Read("f.xml"));
  EXPECT_EQ("f.xml", Entries(dir.path()));
}

TEST(ReplaceFileTest, AMissingDirectoryIsAnError) {
  ScratchDir dir;
  EXPECT_EQ("No such file or directory", pnl_file::ReplaceFile("no/f.xml", "x").message());
}

TEST(TempDirTest, IsCreatedAndRemovedWithItsFiles) {
  std::string path;
  {
    pnl_file::TempDir temp;
    path = temp.path();
    ASSERT_NE("", path);
    ASSERT_TRUE(pnl_file::ReplaceFile(path + "/a", "x").ok());
    EXPECT_TRUE(pnl_file::Exists(path + "/a"));
  }
  EXPECT_FALSE(pnl_file::Exists(path));
}

}  // namespace
