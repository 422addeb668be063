#include "fix/po_export.h"

#include <gtest/gtest.h>

#include <string>

#include "fix/po_testdata.h"
#include "pnl/file.h"
#include "support/run_program.h"
#include "version/version.h"

namespace {

using po_testdata::Shop;
using testing_support::RunProgram;
using testing_support::RunResult;

const std::string kExported =
    "msgid \"\"\n"
    "msgstr \"\"\n"
    "\"Project-Id-Version: shop\\n\"\n"
    "\"Language: ru\\n\"\n"
    "\"MIME-Version: 1.0\\n\"\n"
    "\"Content-Type: text/plain; charset=UTF-8\\n\"\n"
    "\"Content-Transfer-Encoding: 8bit\\n\"\n"
    "\"X-Generator: msglint " MSGLINT_VERSION "\\n\"\n"
    "\"X-Msglint-Manager: shop\\n\"\n"
    "\n"
    "#. hint of field \"sum\" in form \"order\"\n"
    "#: etc/xml/shop.xml:7\n"
    "msgctxt \"order/hint_sum\"\n"
    "msgid \"The sum, with tax\"\n"
    "msgstr \"\"\n"
    "\n"
    "#. label of field \"sum\" in form \"order\"\n"
    "#: etc/xml/shop.xml:7\n"
    "msgctxt \"order/sum\"\n"
    "msgid \"Sum\"\n"
    "msgstr \"\"\n"
    "\n"
    "#. label of field \"note\" in form \"order\"\n"
    "#: etc/xml/shop.xml:9\n"
    "msgctxt \"order/note\"\n"
    "msgid \"Note\"\n"
    "msgstr \"\"\n"
    "\n"
    "#. description of check box \"gift\" in form \"order\"\n"
    "#: etc/xml/shop.xml:11\n"
    "#, msglint-no-source\n"
    "msgctxt \"order/gift_desc\"\n"
    "msgid \"gift_desc\"\n"
    "msgstr \"\"\n"
    "\n"
    "#. message \"menu_stock\" of section \"desktop\"\n"
    "#: etc/xml/shop_msg_ru.xml:6\n"
    "msgctxt \"desktop/menu_stock\"\n"
    "msgid \"Stock\"\n"
    "msgstr \"\"\n";

TEST(PoExportTest, WritesEveryMessageTheLanguageNeedsInReportOrder) {
  Shop shop;
  EXPECT_EQ(0, shop.Fix({"shop", "ru", "--export", "ru.po"}));
  EXPECT_EQ("ru.po: 5 messages of language ru to translate\n", shop.out());
  EXPECT_EQ("", shop.err());
  EXPECT_EQ(kExported, shop.dir().Read("ru.po"));
  // The message file is only read.
  EXPECT_EQ(po_testdata::kRu, shop.dir().Read("etc/xml/shop_msg_ru.xml"));
}

TEST(PoExportTest, TheSameStateGivesTheSameBytesThatMsgfmtAccepts) {
  Shop shop;
  ASSERT_EQ(0, shop.Fix({"shop", "ru", "--export", "a.po"}));
  ASSERT_EQ(0, shop.Fix({"shop", "ru", "--export", "b.po"}));
  EXPECT_EQ(shop.dir().Read("a.po"), shop.dir().Read("b.po"));
  RunResult check = RunProgram({"msgfmt", "--check", "-o", "/dev/null", "a.po"});
  EXPECT_EQ(0, check.status) << check.err;
}

TEST(PoExportTest, MsgidsComeFromTheSourceThenTheRunsOtherLanguages) {
  Shop shop;
  // No German file: the English texts, the run's other language.
  ASSERT_EQ(0, shop.Fix({"shop", "ru", "--export", "de.po", "--source", "de"}));
  EXPECT_EQ(kExported, shop.dir().Read("de.po"));
  // The Russian texts for the English file: ru has no text for them
  // either, so the names stand in.
  ASSERT_EQ(0, shop.Fix({"shop", "en", "--export", "en.po", "--source", "ru"}));
  EXPECT_NE(std::string::npos,
            shop.dir().Read("en.po").find("#, msglint-no-source\n"
                                          "msgctxt \"order/hint_gift\"\n"
                                          "msgid \"hint_gift\"\n"))
      << shop.dir().Read("en.po");
}

TEST(PoExportTest, NeverWritesThroughASymbolicLink) {
  Shop shop;
  shop.dir().Write("precious", "keep");
  shop.dir().Link(shop.dir().path() + "/precious", "ru.po");
  EXPECT_EQ(1, shop.Fix({"shop", "ru", "--export", "ru.po"}));
  EXPECT_EQ("msglint-fix: ru.po: cannot be written: is a symbolic link\n", shop.err());
  EXPECT_EQ("keep", shop.dir().Read("precious"));
}

TEST(PoExportTest, ALanguageTheRunDidNotAuditIsRefused) {
  Shop shop;
  EXPECT_EQ(2, shop.Fix({"shop", "de", "--export", "de.po"}));
  EXPECT_EQ("msglint-fix: the last run did not audit language de; run sbin/msglint shop "
            "with it first\n",
            shop.err());
  EXPECT_FALSE(pnl_file::Exists("de.po"));
}

}  // namespace
