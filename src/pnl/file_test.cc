#include "pnl/file.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "pnl/log.h"
#include "support/scratch_dir.h"

namespace {

using testing_support::LogRecords;
using testing_support::ScratchDir;

// Each test runs in its own scratch directory with the library's log open
// there at level 9.
class FileTest : public testing::Test {
 protected:
  FileTest() { pnl_log::Init("test", 9); }
  ~FileTest() override { pnl_log::Close(); }

  std::string Records() const { return LogRecords(dir_.path(), "test"); }

  // Every entry under the directory, without following links, with its
  // type and a file's content, one line each, the log left out.
  std::string Tree() const {
    std::string tree;
    for (const auto& entry :
         std::filesystem::recursive_directory_iterator(dir_.path())) {
      const std::string rel =
          std::filesystem::relative(entry.path(), dir_.path()).string();
      if (rel.rfind("var/log", 0) == 0) continue;
      tree += rel;
      if (entry.is_symlink()) tree += " -> " + std::filesystem::read_symlink(entry).string();
      else if (entry.is_regular_file()) tree += " = " + dir_.Read(rel);
      else if (entry.is_directory()) tree += "/";
      tree += "\n";
    }
    return tree;
  }

  ScratchDir dir_;
};

TEST_F(FileTest, GetCurrentDirIsAbsoluteWithoutTrailingSlash) {
  EXPECT_EQ(dir_.path(), pnl_file::GetCurrentDir());
  dir_.MakeDir("sub");
  ASSERT_EQ(0, chdir("sub"));
  EXPECT_EQ(dir_.path() + "/sub", pnl_file::GetCurrentDir());
}

TEST_F(FileTest, ExistsForFilesDirectoriesAndLinks) {
  dir_.Write("f", "x");
  dir_.MakeDir("d");
  dir_.Link("f", "good");
  dir_.Link("missing", "dangling");
  EXPECT_TRUE(pnl_file::Exists("f"));
  EXPECT_TRUE(pnl_file::Exists(dir_.path() + "/d"));
  EXPECT_TRUE(pnl_file::Exists("good"));
  EXPECT_FALSE(pnl_file::Exists("dangling"));
  EXPECT_FALSE(pnl_file::Exists("nothing"));
  EXPECT_FALSE(pnl_file::Exists(""));
}

TEST_F(FileTest, RemoveFile) {
  dir_.Write("f", "x");
  pnl_file::Remove(dir_.path() + "/f");
  EXPECT_FALSE(pnl_file::Exists("f"));
}

TEST_F(FileTest, RemoveDirectoryWithEverythingInIt) {
  dir_.Write("var/.xmlcache/m/a.xml", "x");
  dir_.Write("var/.xmlcache/m/checked/b.xml", "x");
  pnl_file::Remove(dir_.path() + "/var/.xmlcache/m");
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/m"));
  EXPECT_TRUE(pnl_file::Exists("var/.xmlcache"));
}

TEST_F(FileTest, RemoveOfMissingPathIsSilent) {
  dir_.Write("a/f", "x");
  dir_.Write("nothing.hash", "y");
  dir_.Link("a", "nothing-link");
  const std::string before = Tree();
  pnl_file::Remove(dir_.path() + "/nothing");
  pnl_file::Remove("nothing/below");
  pnl_file::Remove("a/nothing");
  EXPECT_EQ(before, Tree());
  EXPECT_EQ("", Records());
}

TEST_F(FileTest, RemoveOfLinkToDirectoryLeavesTheTarget) {
  dir_.Write("target/keep", "x");
  dir_.Link(dir_.path() + "/target", "link");
  pnl_file::Remove("link");
  struct stat st;
  EXPECT_NE(0, lstat("link", &st));
  EXPECT_EQ("x", dir_.Read("target/keep"));
}

TEST_F(FileTest, RemoveDoesNotFollowLinksInsideTheDirectory) {
  dir_.Write("outside/keep", "x");
  dir_.Write("doomed/file", "x");
  dir_.Link(dir_.path() + "/outside", "doomed/to_outside");
  dir_.Link(dir_.path() + "/outside/keep", "doomed/to_file");
  pnl_file::Remove("doomed");
  EXPECT_FALSE(pnl_file::Exists("doomed"));
  EXPECT_EQ("x", dir_.Read("outside/keep"));
}

TEST_F(FileTest, RemoveRefusesDotDot) {
  dir_.Write("a/f", "x");
  dir_.MakeDir("b");
  pnl_file::Remove("b/../a");
  pnl_file::Remove(dir_.path() + "/b/../a");
  EXPECT_TRUE(pnl_file::Exists("a/f"));
  EXPECT_EQ(
      "3 Refusing to remove \"b/../a\": \".\" or \"..\" in the path\n"
      "3 Refusing to remove \"" + dir_.path() +
          "/b/../a\": \".\" or \"..\" in the path\n",
      Records());
}

TEST_F(FileTest, RemoveRefusesDotAndEmptyComponents) {
  dir_.Write("a/f", "x");
  pnl_file::Remove(".");
  pnl_file::Remove("./a");
  pnl_file::Remove("a//f");
  pnl_file::Remove("a/");
  pnl_file::Remove("");
  pnl_file::Remove("/");
  EXPECT_TRUE(pnl_file::Exists("a/f"));
  EXPECT_EQ(
      "3 Refusing to remove \".\": \".\" or \"..\" in the path\n"
      "3 Refusing to remove \"./a\": \".\" or \"..\" in the path\n"
      "3 Refusing to remove \"a//f\": empty path component\n"
      "3 Refusing to remove \"a/\": empty path component\n"
      "3 Refusing to remove \"\": empty path\n"
      "3 Refusing to remove \"/\": root directory\n",
      Records());
}

TEST_F(FileTest, RemoveRefusesTheCurrentDirectoryAndItsAncestors) {
  dir_.Write("sub/f", "x");
  ASSERT_EQ(0, chdir("sub"));
  std::string parent = dir_.path();
  pnl_file::Remove(parent + "/sub");
  pnl_file::Remove(parent);
  pnl_file::Remove(pnl_file::SplitPath(parent).first);
  EXPECT_TRUE(pnl_file::Exists(parent + "/sub/f"));
  std::string reason = "the current directory or one of its ancestors\n";
  EXPECT_EQ("3 Refusing to remove \"" + parent + "/sub\": " + reason +
                "3 Refusing to remove \"" + parent + "\": " + reason +
                "3 Refusing to remove \"" + pnl_file::SplitPath(parent).first +
                "\": " + reason,
            Records());
}

TEST_F(FileTest, RemoveRefusesTheCurrentDirectoryReachedThroughALink) {
  std::string parent = pnl_file::SplitPath(dir_.path()).first;
  std::string name = pnl_file::SplitPath(dir_.path()).second;
  dir_.Link(parent, "up");
  pnl_file::Remove("up/" + name);  // the current directory, through a link
  EXPECT_TRUE(pnl_file::Exists("var/log/test.log"));
  EXPECT_TRUE(pnl_file::Exists("up"));
  dir_.Write("x/f", "x");
  dir_.Link(dir_.path() + "/x", "to_x");
  pnl_file::Remove("to_x");  // only the link goes
  EXPECT_TRUE(pnl_file::Exists("x/f"));
  EXPECT_FALSE(pnl_file::Exists("to_x"));
}

TEST_F(FileTest, SplitPath) {
  EXPECT_EQ(std::make_pair(std::string("/a/b"), std::string("c.xml")),
            pnl_file::SplitPath("/a/b/c.xml"));
  EXPECT_EQ(std::make_pair(std::string(""), std::string("c.xml")),
            pnl_file::SplitPath("c.xml"));
  EXPECT_EQ(std::make_pair(std::string("a"), std::string("")),
            pnl_file::SplitPath("a/"));
  EXPECT_EQ(std::make_pair(std::string(""), std::string("a")),
            pnl_file::SplitPath("/a"));
}

TEST_F(FileTest, ConcatPathUsesExactlyOneSlash) {
  EXPECT_EQ("a/b", pnl_file::ConcatPath("a", "b"));
  EXPECT_EQ("a/b", pnl_file::ConcatPath("a/", "b"));
  EXPECT_EQ("a/b", pnl_file::ConcatPath("a", "/b"));
  EXPECT_EQ("a/b", pnl_file::ConcatPath("a//", "//b"));
  EXPECT_EQ("/w/b/c", pnl_file::ConcatPath("/w", "b/c"));
}

TEST_F(FileTest, ConcatNPathWithFourPieces) {
  EXPECT_EQ("/work/dir/etc/xml/m_msg_en.xml",
            pnl_file::ConcatNPath(4, "/work/dir", "etc", "xml",
                                  "m_msg_en.xml"));
  EXPECT_EQ("a", pnl_file::ConcatNPath(1, "a"));
  EXPECT_EQ("", pnl_file::ConcatNPath(0));
}

TEST_F(FileTest, GoodPathNormalises) {
  EXPECT_EQ("/a/b/c", pnl_file::GoodPath("//a///b/c"));
  EXPECT_EQ("/a/b", pnl_file::GoodPath("/a/./b"));
  EXPECT_EQ("/a/b", pnl_file::GoodPath("/a/././b/"));
  EXPECT_EQ("/a/b", pnl_file::GoodPath("/a/b/."));
  EXPECT_EQ("/", pnl_file::GoodPath("/"));
  EXPECT_EQ("/", pnl_file::GoodPath("//"));
  EXPECT_EQ("/", pnl_file::GoodPath("/."));
  EXPECT_EQ("a/../b", pnl_file::GoodPath("a/../b"));
  EXPECT_EQ("./a", pnl_file::GoodPath("./a"));
  EXPECT_EQ("a/.b", pnl_file::GoodPath("a/.b"));
  EXPECT_EQ("a  b", pnl_file::GoodPath("a  b"));
}

TEST_F(FileTest, GoodPathLeavesACommandLineUnchanged) {
  EXPECT_EQ("/a/sbin/pnlctl -m x f lang=ru",
            pnl_file::GoodPath("/a/sbin/pnlctl -m x f lang=ru"));
  EXPECT_EQ("/a/sbin/pnlctl -m x f lang=ru",
            pnl_file::GoodPath("/a//sbin/./pnlctl -m x f lang=ru"));
}

TEST_F(FileTest, DirListsInByteOrderWithoutDots) {
  dir_.Write("d/b", "");
  dir_.Write("d/a", "");
  dir_.Write("d/B", "");
  dir_.Write("d/\xd0\xb0", "");
  dir_.Write("d/a.xml", "");
  dir_.MakeDir("d/c");
  pnl_file::Dir reader(dir_.path() + "/d");
  std::string names;
  while (reader.Read()) names += reader.FullName() + "\n";
  std::string d = dir_.path() + "/d/";
  EXPECT_EQ(d + "B\n" + d + "a\n" + d + "a.xml\n" + d + "b\n" + d + "c\n" +
                d + "\xd0\xb0\n",
            names);
  EXPECT_FALSE(reader.Read());
}

TEST_F(FileTest, DirNameIsTheEntryName) {
  dir_.Write("d/one", "");
  pnl_file::Dir reader("d");
  ASSERT_TRUE(reader.Read());
  EXPECT_EQ("one", reader.Name());
  EXPECT_EQ("d/one", reader.FullName());
  EXPECT_FALSE(reader.Read());
}

TEST_F(FileTest, DirOfMissingDirectoryHasNoEntries) {
  pnl_file::Dir reader("missing");
  EXPECT_FALSE(reader.Read());
}

TEST_F(FileTest, WriteFileReplacesAndReadFileReads) {
  EXPECT_TRUE(pnl_file::WriteFile("f", "one").ok());
  EXPECT_TRUE(pnl_file::WriteFile(dir_.path() + "/f", "two").ok());
  std::string text;
  EXPECT_TRUE(pnl_file::ReadFile("f", text).ok());
  EXPECT_EQ("two", text);
  // No temporary file stays behind.
  pnl_file::Dir reader(".");
  std::string names;
  while (reader.Read()) names += reader.Name() + " ";
  EXPECT_EQ("f var ", names);
}

TEST_F(FileTest, WriteFileFailureKeepsNothingAndReportsFalse) {
  EXPECT_FALSE(pnl_file::WriteFile("missing/f", "x").ok());
  std::string text = "old";
  EXPECT_FALSE(pnl_file::ReadFile("missing/f", text).ok());
  EXPECT_EQ("", text);
}

// Pieces made one at a time; fails with EIO after `fail_after` pieces
// when that is set.
class CountingSource : public pnl_file::PieceSource {
 public:
  explicit CountingSource(int count, int fail_after = -1)
      : count_(count), fail_after_(fail_after) {}
  bool Next(std::string_view* piece) override {
    if (given_ == fail_after_ || given_ == count_) return false;
    text_ = std::to_string(given_++) + ";";
    *piece = text_;
    return true;
  }
  pnl::Status status() const override {
    return given_ == fail_after_ ? pnl::Status::FromErrno(EIO, "source: cannot read")
                                 : pnl::Status();
  }

 private:
  int count_;
  int fail_after_;
  int given_ = 0;
  std::string text_;
};

TEST_F(FileTest, WriteFileFromASourceWritesEveryPieceInOrder) {
  CountingSource source(12);
  EXPECT_TRUE(pnl_file::WriteFile("f", source).ok());
  EXPECT_EQ("0;1;2;3;4;5;6;7;8;9;10;11;", dir_.Read("f"));
}

// Many short pieces around pieces larger than a whole write block, and
// pieces that end exactly where a block would.
class MixedSource : public pnl_file::PieceSource {
 public:
  bool Next(std::string_view* piece) override {
    if (given_ == 40000) return false;
    const int n = given_++;
    if (n % 9000 == 4000)
      text_ = std::string(200000 + n, static_cast<char>('a' + n % 26));
    else if (n % 7000 == 10)
      text_ = std::string(65536, 'B');
    else
      text_ = std::to_string(n) + ";";
    *piece = text_;
    expected_ += text_;
    return true;
  }
  const std::string& expected() const { return expected_; }

 private:
  int given_ = 0;
  std::string text_;
  std::string expected_;
};

TEST_F(FileTest, WriteFileFromASourceOfShortAndLongPiecesKeepsEveryByte) {
  MixedSource source;
  EXPECT_TRUE(pnl_file::WriteFile("f", source).ok());
  EXPECT_EQ(source.expected(), dir_.Read("f"));
}

TEST_F(FileTest, WriteFileFromASourceThatFailsKeepsTheOldFile) {
  dir_.Write("f", "old");
  CountingSource source(12, 5);
  EXPECT_EQ("f: " + std::string(strerror(EIO)), pnl_file::WriteFile("f", source).message());
  EXPECT_EQ("old", dir_.Read("f"));
  pnl_file::Dir reader(".");
  std::string names;
  while (reader.Read()) names += reader.Name() + " ";
  EXPECT_EQ("f var ", names);
}

TEST(ScratchFileTest, KeepsWhatIsAppendedWhereNobodyElseSeesIt) {
  testing_support::ScratchDir tmp;
  const char* old = getenv("TMPDIR");
  const std::string old_tmpdir = old != nullptr ? old : "";
  setenv("TMPDIR", tmp.path().c_str(), 1);
  {
    pnl_file::ScratchFile scratch;
    ASSERT_TRUE(scratch.ok());
    long long at = -1;
    ASSERT_TRUE(scratch.Append("first ", &at).ok());
    EXPECT_EQ(0, at);
    ASSERT_TRUE(scratch.Append(std::string(100000, 'x'), &at).ok());
    EXPECT_EQ(6, at);
    ASSERT_TRUE(scratch.Append("last", &at).ok());
    EXPECT_EQ(100006, at);
    std::string text;
    ASSERT_TRUE(scratch.Read(100006, 4, &text).ok());
    EXPECT_EQ("last", text);
    ASSERT_TRUE(scratch.Read(0, 7, &text).ok());
    EXPECT_EQ("first x", text);
    EXPECT_FALSE(scratch.Read(100006, 5, &text).ok());  // past the end
    pnl_file::Dir listing(tmp.path());
    EXPECT_FALSE(listing.Read()) << "a name in the temporary directory";
  }
  if (old != nullptr)
    setenv("TMPDIR", old_tmpdir.c_str(), 1);
  else
    unsetenv("TMPDIR");
}

TEST_F(FileTest, MakeDirsCreatesParents) {
  EXPECT_TRUE(pnl_file::MakeDirs("a/b/c").ok());
  EXPECT_TRUE(pnl_file::Exists("a/b/c"));
  EXPECT_TRUE(pnl_file::MakeDirs("a/b/c").ok());
}

TEST(PlainNameTest, PlainNamesAreOnePathComponent) {
  EXPECT_TRUE(pnl_file::IsPlainName("mailpnl"));
  EXPECT_TRUE(pnl_file::IsPlainName("my panel"));
  EXPECT_TRUE(pnl_file::IsPlainName("..."));
  EXPECT_TRUE(pnl_file::IsPlainName(".hidden"));
  EXPECT_FALSE(pnl_file::IsPlainName(""));
  EXPECT_FALSE(pnl_file::IsPlainName("."));
  EXPECT_FALSE(pnl_file::IsPlainName(".."));
  EXPECT_FALSE(pnl_file::IsPlainName("a/b"));
  EXPECT_FALSE(pnl_file::IsPlainName("/"));
  EXPECT_FALSE(pnl_file::IsPlainName(std::string("a\0b", 3)));
}

// ---- Walking without following links ----------------------------------

class DirHandleTest : public testing::Test {
 protected:
  ScratchDir dir_;
  ScratchDir outside_;  // made second: the current directory is outside_
  void SetUp() override { ASSERT_EQ(0, chdir(dir_.path().c_str())); }
};

TEST_F(DirHandleTest, OpensAndCreatesDirectoriesOneComponentAtATime) {
  pnl_file::DirHandle dir;
  EXPECT_EQ("var: No such file or directory", dir.Open("var/log", false).message());
  ASSERT_TRUE(dir.Open("var/log", true).ok());
  EXPECT_TRUE(pnl_file::Exists("var/log"));
  EXPECT_TRUE(dir.Open(dir_.path() + "/var/log", false).ok());
}

TEST_F(DirHandleTest, LinkAtAnyComponentIsRefusedAndNothingIsCreatedBehindIt) {
  dir_.Link(outside_.path(), "var");
  pnl_file::DirHandle dir;
  EXPECT_EQ("var is a symbolic link", dir.Open("var/log", true).message());
  EXPECT_FALSE(pnl_file::Exists(outside_.path() + "/log"));
  EXPECT_FALSE(pnl_file::MakeDirs("var/log").ok());
  EXPECT_FALSE(pnl_file::WriteFile("var/f", "x").ok());
  pnl_file::OutputFile out;
  EXPECT_FALSE(out.Open(dir_.path() + "/var/f").ok());
  EXPECT_FALSE(pnl_file::Exists(outside_.path() + "/f"));
}

TEST_F(DirHandleTest, FileInTheWayOfADirectoryIsNamed) {
  dir_.Write("var", "");
  pnl_file::DirHandle dir;
  EXPECT_EQ("var is a regular file", dir.Open("var/log", true).message());
}

TEST_F(DirHandleTest, WriteFileRefusesALinkAndLeavesItsTargetAlone) {
  outside_.Write("target", "theirs");
  dir_.Link(outside_.path() + "/target", "f");
  EXPECT_EQ("f is a symbolic link", pnl_file::WriteFile("f", "ours").message());
  EXPECT_EQ("theirs", outside_.Read("target"));
  dir_.Link(outside_.path() + "/none", "dangling");
  EXPECT_FALSE(pnl_file::WriteFile("dangling", "ours").ok());
  EXPECT_FALSE(pnl_file::Exists(outside_.path() + "/none"));
}

TEST_F(DirHandleTest, AppendingRefusesALinkEvenADanglingOne) {
  pnl_file::DirHandle dir;
  ASSERT_TRUE(dir.Open("", false).ok());
  dir_.Link(outside_.path() + "/none", "log");
  int fd = 0;
  EXPECT_EQ("log is a symbolic link", dir.OpenFile("log", false, 0644, &fd).message());
  EXPECT_EQ(-1, fd);
  EXPECT_FALSE(pnl_file::Exists(outside_.path() + "/none"));
  ASSERT_EQ(0, mkfifo((dir_.path() + "/fifo").c_str(), 0600));
  EXPECT_EQ("fifo is a FIFO", dir.OpenFile("fifo", false, 0644, &fd).message());
  EXPECT_EQ(-1, fd);
}

TEST(FileNameTest, FitsFileNameLeavesRoomForTheTemporaryName) {
  EXPECT_TRUE(pnl_file::FitsFileName(std::string(239, 'n')));
  EXPECT_FALSE(pnl_file::FitsFileName(std::string(240, 'n')));
  EXPECT_TRUE(pnl_file::FitsFileName("a.msg.en.xml"));
}

TEST_F(DirHandleTest, RemovalNeverFollowsALinkOnThePath) {
  outside_.Write("M/theirs", "x");
  outside_.Write("M.hash", "x");
  dir_.MakeDir("var");
  dir_.Link(outside_.path(), "var/.xmlcache");
  pnl_file::Remove(dir_.path() + "/var/.xmlcache/M");
  pnl_file::Remove("var/.xmlcache/M.hash");
  EXPECT_EQ("x", outside_.Read("M/theirs"));
  EXPECT_EQ("x", outside_.Read("M.hash"));
}

TEST_F(DirHandleTest, RemovalByDescriptorEmptiesTheTreeAndLeavesLinkTargets) {
  outside_.Write("keep", "x");
  dir_.Write("var/.xmlcache/M/a.xml", "a");
  dir_.Write("var/.xmlcache/M/checked/b.xml", "b");
  dir_.Link(outside_.path(), "var/.xmlcache/M/checked/to_dir");
  dir_.Link(outside_.path() + "/keep", "var/.xmlcache/M/to_file");
  pnl_file::DirHandle cache;
  ASSERT_TRUE(cache.Open("var/.xmlcache", false).ok());
  EXPECT_TRUE(cache.Remove("M").ok());
  EXPECT_FALSE(pnl_file::Exists("var/.xmlcache/M"));
  EXPECT_EQ("x", outside_.Read("keep"));
}

TEST_F(DirHandleTest, DescribeSaysWhatStandsWithoutFollowing) {
  dir_.MakeDir("d");
  dir_.Write("f", "");
  dir_.Link("f", "l");
  dir_.Link("d", "ld");
  EXPECT_EQ("", pnl_file::Describe("none"));
  EXPECT_EQ("", pnl_file::Describe("none/deeper"));
  EXPECT_EQ("a directory", pnl_file::Describe("d"));
  EXPECT_EQ("a regular file", pnl_file::Describe(dir_.path() + "/f"));
  EXPECT_EQ("a symbolic link", pnl_file::Describe("l"));
  EXPECT_EQ("ld is a symbolic link", pnl_file::Describe("ld/x"));
}

TEST_F(DirHandleTest, BelowCurrentDir) {
  EXPECT_EQ("var/log", pnl_file::BelowCurrentDir(dir_.path() + "/var/log"));
  EXPECT_EQ("var/log", pnl_file::BelowCurrentDir("var/log"));
  EXPECT_EQ(".", pnl_file::BelowCurrentDir(dir_.path()));
  EXPECT_EQ(dir_.path() + "x/y", pnl_file::BelowCurrentDir(dir_.path() + "x/y"));
}

TEST_F(DirHandleTest, LockIsExclusiveAndNeverTakenThroughALink) {
  pnl_file::DirHandle run;
  ASSERT_TRUE(run.Open("var/run", true).ok());
  pnl_file::LockFile first, second;
  EXPECT_TRUE(first.Lock(run, "m.lock").ok());
  EXPECT_TRUE(second.Lock(run, "m.lock").IsBusy());
  dir_.Link(outside_.path() + "/none", "var/run/n.lock");
  const pnl::Status refused = second.Lock(run, "n.lock");
  EXPECT_FALSE(refused.IsBusy());
  EXPECT_EQ("var/run/n.lock is a symbolic link", refused.message());
  EXPECT_FALSE(pnl_file::Exists(outside_.path() + "/none"));
}

TEST_F(DirHandleTest, ShortWriteKeepsTheOldFileAndLeavesNoTemporaryFile) {
  dir_.Write("f", "old");
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // A file size limit stands in for a full disk.
    struct rlimit limit = {8, 8};
    signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(3);
    const pnl::Status written = pnl_file::WriteFile("f", std::string(100, 'x'));
    _exit(written.message() == "f: File too large" ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, WEXITSTATUS(status));
  EXPECT_EQ("old", dir_.Read("f"));
  std::vector<std::string> names;
  pnl_file::Dir listing(".");
  while (listing.Read()) names.push_back(listing.Name());
  EXPECT_EQ((std::vector<std::string>{"f"}), names);
}

// What a BlockOutput writes to a file, read back at each point.
class BlockOutputTest : public testing::Test {
 protected:
  void SetUp() override {
    fd_ = open((dir_.path() + "/out").c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ASSERT_GE(fd_, 0);
  }
  void TearDown() override { close(fd_); }
  std::string Written() { return dir_.Read("out"); }

  ScratchDir dir_;
  int fd_ = -1;
};

TEST_F(BlockOutputTest, KeepsLinesUntilFlushed) {
  pnl_file::BlockOutput buffer(fd_);
  std::ostream out(&buffer);
  out << "one\n" << 'x' << "two\n";
  EXPECT_EQ("", Written());
  out.flush();
  EXPECT_EQ("one\nxtwo\n", Written());
  out << "three\n";
  EXPECT_EQ("one\nxtwo\n", Written());
  EXPECT_TRUE(buffer.ok());
}

TEST_F(BlockOutputTest, WritesWholeBlocksAndTheRestAtTheEnd) {
  std::string expected;
  {
    pnl_file::BlockOutput buffer(fd_);
    std::ostream out(&buffer);
    for (int i = 0; i < 20000; ++i) {
      const std::string line = "line " + std::to_string(i) + "\n";
      out << line;
      expected += line;
    }
    const std::string early = Written();
    EXPECT_GE(early.size(), 64u * 1024);
    EXPECT_LT(early.size(), expected.size());
    EXPECT_EQ(expected.substr(0, early.size()), early);
    // A piece larger than a block goes out whole.
    const std::string large(200 * 1024, 'z');
    out << large;
    expected += large;
  }
  EXPECT_EQ(expected, Written());
}

TEST_F(BlockOutputTest, AFailedWriteIsKept) {
  pnl_file::BlockOutput buffer(-1);
  std::ostream out(&buffer);
  out << "lost\n";
  EXPECT_TRUE(buffer.ok());
  out.flush();
  EXPECT_FALSE(buffer.ok());
  EXPECT_TRUE(out.bad());
  // Later output is dropped, and the stream stays bad.
  out.clear();
  out << "more\n";
  out.flush();
  EXPECT_FALSE(buffer.ok());
  EXPECT_TRUE(out.bad());
}

TEST_F(FileTest, ReadFileRefusesAFifoWithoutWaitingForAWriter) {
  ASSERT_EQ(mkfifo((dir_.path() + "/pipe.xml").c_str(), 0600), 0);
  std::string text = "left over";
  const pnl::Status read = pnl_file::ReadFile(dir_.path() + "/pipe.xml", text);
  EXPECT_EQ(dir_.path() + "/pipe.xml is a FIFO, not a regular file", read.message());
  EXPECT_EQ(strerror(EINVAL), read.cause());
  EXPECT_EQ(text, "");
  EXPECT_EQ(pnl_file::Stamp(dir_.path() + "/pipe.xml"), "");
}

TEST_F(FileTest, StampChangesWithTheFile) {
  dir_.Write("a.xml", "one");
  const std::string before = pnl_file::Stamp(dir_.path() + "/a.xml");
  EXPECT_NE(before, "");
  EXPECT_EQ(pnl_file::Stamp(dir_.path() + "/a.xml"), before);
  dir_.Write("a.xml", "three");
  EXPECT_NE(pnl_file::Stamp(dir_.path() + "/a.xml"), before);
  EXPECT_EQ(pnl_file::Stamp(dir_.path() + "/missing.xml"), "");
}

TEST_F(FileTest, OutputFileCreatesOrEmptiesARegularFile) {
  dir_.Write("audit", "old contents\n");
  pnl_file::OutputFile out;
  ASSERT_TRUE(out.Open(dir_.path() + "/audit").ok());
  EXPECT_TRUE(out.Append("new\n").ok());
  EXPECT_TRUE(out.Close().ok());
  EXPECT_EQ(dir_.Read("audit"), "new\n");
  ASSERT_TRUE(out.Open(dir_.path() + "/created").ok());
  EXPECT_TRUE(out.Close().ok());
  EXPECT_TRUE(pnl_file::Exists(dir_.path() + "/created"));
}

TEST_F(FileTest, OutputFileWritesABlockOnlyWhenATextNoLongerFits) {
  pnl_file::OutputFile out;
  ASSERT_TRUE(out.Open(dir_.path() + "/audit").ok());
  const std::string line(1000, 'x');
  for (int i = 0; i < 65; ++i) ASSERT_TRUE(out.Append(line).ok());
  EXPECT_EQ("", dir_.Read("audit"));  // 65000 bytes: all kept
  ASSERT_TRUE(out.Append(std::string(536, 'y')).ok());
  EXPECT_EQ("", dir_.Read("audit"));  // exactly 64 kB: still kept
  ASSERT_TRUE(out.Append("z").ok());
  EXPECT_EQ(65536u, dir_.Read("audit").size());
  ASSERT_TRUE(out.Append(std::string(200000, 'w')).ok());
  EXPECT_TRUE(out.Close().ok());
  EXPECT_EQ(65536u + 1 + 200000, dir_.Read("audit").size());
}

TEST_F(FileTest, OutputFileTellsAFailedWriteWithTheSystemsWords) {
  pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // A file size limit stands in for a full disk.
    struct rlimit limit = {8, 8};
    signal(SIGXFSZ, SIG_IGN);
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) _exit(3);
    pnl_file::OutputFile out;
    if (!out.Open("audit").ok()) _exit(4);
    if (!out.Append(std::string(100, 'x')).ok()) _exit(5);  // kept
    const pnl::Status closed = out.Close();
    const bool told = closed.message() == "audit: File too large" &&
                      closed.cause() == "File too large";
    _exit(told ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(child, waitpid(child, &status, 0));
  EXPECT_EQ(0, WEXITSTATUS(status));
}

TEST_F(FileTest, OutputFileRefusesALinkAndLeavesItsTargetAlone) {
  dir_.Write("etc/xml/m.xml", "<pnldata/>\n");
  dir_.Link(dir_.path() + "/etc/xml/m.xml", "audit");
  pnl_file::OutputFile out;
  EXPECT_FALSE(out.Open(dir_.path() + "/audit").ok());
  EXPECT_EQ(dir_.Read("etc/xml/m.xml"), "<pnldata/>\n");
}

TEST_F(FileTest, OutputFileRefusesAFifoAndADirectoryWithoutWaiting) {
  ASSERT_EQ(mkfifo((dir_.path() + "/fifo").c_str(), 0600), 0);
  pnl_file::OutputFile out;
  EXPECT_FALSE(out.Open(dir_.path() + "/fifo").ok());
  dir_.MakeDir("dir");
  EXPECT_FALSE(out.Open(dir_.path() + "/dir").ok());
}

TEST_F(FileTest, RealPathResolvesLinks) {
  dir_.Write("file", "x");
  dir_.Link(dir_.path() + "/file", "link");
  std::string real;
  ASSERT_TRUE(pnl_file::RealPath(dir_.path() + "/link", &real).ok());
  EXPECT_EQ(pnl_file::GetCurrentDir() + "/file", real);
  const pnl::Status missing = pnl_file::RealPath(dir_.path() + "/missing", &real);
  EXPECT_TRUE(missing.IsNotFound());
  EXPECT_EQ(strerror(ENOENT), missing.cause());
  EXPECT_EQ("", real);
}

TEST_F(FileTest, IsLinkSeesTheLinkItselfOnly) {
  dir_.Write("file", "x");
  dir_.Link(dir_.path() + "/file", "link");
  dir_.Link(dir_.path() + "/nowhere", "dangling");
  EXPECT_TRUE(pnl_file::IsLink(dir_.path() + "/link"));
  EXPECT_TRUE(pnl_file::IsLink(dir_.path() + "/dangling"));
  EXPECT_FALSE(pnl_file::IsLink(dir_.path() + "/file"));
  EXPECT_FALSE(pnl_file::IsLink(dir_.path() + "/missing"));
}

}  // namespace
