// File discovery: getXmlFiles and its predicates, split.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "pnl/file.h"
#include "pnl/xml.h"
#include "support/scratch_dir.h"
#include "testutils/discovery.h"
#include "testutils/run_context.h"

namespace {

using testing_support::ScratchDir;
using Files = std::vector<std::string>;

TEST(FilePredicateTest, LanguageIsFoundAnywhereInThePath) {
  EXPECT_FALSE(fileIsNotForLang("en")("/c/a.en.xml.bak"));
  EXPECT_FALSE(fileIsNotForLang("en")("/c/common.msg.en.xml"));
  EXPECT_TRUE(fileIsNotForLang("en")("/c/forms.ru.xml"));
  EXPECT_FALSE(fileIsNotForLang("en")("/c/forms.en.xmlx"));
  EXPECT_TRUE(fileIsNotForLang("en")("/c/en.xml"));
}

TEST(FilePredicateTest, KernNamesMatchTheWholeBaseName) {
  fileIsForKern kern(Files{"forms.en.xml"});
  EXPECT_TRUE(kern("/w/var/.xmlcache/sab/forms.en.xml"));
  EXPECT_FALSE(kern("/w/var/.xmlcache/sab/xforms.en.xml"));
  EXPECT_FALSE(kern("/w/var/.xmlcache/sab/Forms.en.xml"));
  EXPECT_FALSE(fileIsForKern(Files{})("/w/forms.en.xml"));
}

TEST(FilePredicateTest, SkipFileMatchesTextAnywhere) {
  EXPECT_TRUE(skipFile(".filter")("/w/x.filter.en.xml"));
  EXPECT_TRUE(skipFile(".filter")("/w.filter/x.en.xml"));
  EXPECT_FALSE(skipFile(".filter")("/w/xfilter.en.xml"));
}

TEST(SplitTest, TextWithoutSeparatorIsOnePiece) {
  Files out;
  split("abc", ',', out);
  EXPECT_EQ(out, Files{"abc"});
}

TEST(SplitTest, KeepsEmptyPiecesAndAppends) {
  Files out{"old"};
  split("a,,b,", ',', out);
  EXPECT_EQ(out, (Files{"old", "a", "", "b", ""}));
}

TEST(SplitTest, EmptyTextGivesOneEmptyPiece) {
  Files out;
  split("", ',', out);
  EXPECT_EQ(out, Files{""});
}

class GetXmlFilesTest : public testing::Test {
 protected:
  void Cache(const std::string& manager, const std::string& file) {
    dir_.Write("var/.xmlcache/" + manager + "/" + file, "<messages/>");
  }
  std::string Path(const std::string& manager, const std::string& file) {
    return pnl_file::GetCurrentDir() + "/var/.xmlcache/" + manager + "/" + file;
  }
  Files List(const std::string& lang) {
    Files files;
    getXmlFiles(run_, files, lang);
    return files;
  }

  ScratchDir dir_;
  std::ostringstream out_;
  RunContext run_{"sab", dir_.path(), out_};
};

TEST_F(GetXmlFilesTest, KeepsOnlyTheLanguagesFiles) {
  Cache("sab", "forms.en.xml");
  Cache("sab", "forms.ru.xml");
  Cache("sab", "a.en.xml.bak");
  EXPECT_EQ(List("en"), (Files{Path("sab", "a.en.xml.bak"), Path("sab", "forms.en.xml")}));
  EXPECT_EQ(List("ru"), Files{Path("sab", "forms.ru.xml")});
}

TEST_F(GetXmlFilesTest, ListsDirectoryContentInReaderOrder) {
  Cache("sab", "b.msg.en.xml");
  Cache("sab", "a.msg.en.xml");
  Files out;
  getDirContent(pnl_file::GetCurrentDir() + "/var/.xmlcache/sab", out);
  EXPECT_EQ(out, (Files{Path("sab", "a.msg.en.xml"), Path("sab", "b.msg.en.xml")}));
}

TEST_F(GetXmlFilesTest, ManagerFilterFilesAreLeftOut) {
  Cache("sab", "x.filter.en.xml");
  Cache("sab", "x.msg.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "x.msg.en.xml")});
}

TEST_F(GetXmlFilesTest, BaseManagerKeepsItsFilterFiles) {
  run_.manager = "kern";
  Cache("kern", "kern.filter.en.xml");
  Cache("kern", "forms.en.xml");
  EXPECT_EQ(List("en"), (Files{Path("kern", "forms.en.xml"), Path("kern", "kern.filter.en.xml")}));
}

TEST_F(GetXmlFilesTest, FilesSharedWithTheBaseManagerAreLeftOut) {
  Cache("sab", "forms.en.xml");
  Cache("sab", "user.msg.en.xml");
  Cache("kern", "forms.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "user.msg.en.xml")});
}

TEST_F(GetXmlFilesTest, BaseManagerFileOfAnotherLanguageRemovesNothing) {
  Cache("sab", "forms.en.xml");
  Cache("kern", "forms.ru.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
}

TEST_F(GetXmlFilesTest, EmptyOrMissingBaseManagerCacheRemovesNothing) {
  Cache("sab", "forms.en.xml");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
  dir_.MakeDir("var/.xmlcache/kern");
  EXPECT_EQ(List("en"), Files{Path("sab", "forms.en.xml")});
}

TEST_F(GetXmlFilesTest, PreviousContentNeverSurvives) {
  Files files{"stale"};
  getXmlFiles(run_, files, "en");
  EXPECT_EQ(files, Files{});
  Cache("sab", "forms.en.xml");
  files = {"stale"};
  getXmlFiles(run_, files, "en");
  EXPECT_EQ(files, Files{Path("sab", "forms.en.xml")});
}

}  // namespace
