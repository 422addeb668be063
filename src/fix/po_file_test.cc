#include "fix/po_file.h"

#include <gtest/gtest.h>

#include <string>

#include "support/scratch_dir.h"

namespace {

using fix::PoContents;
using fix::PoEntry;
using testing_support::ScratchDir;

TEST(PoFileTest, WritesHeaderEntriesCommentsReferencesAndOwnFlags) {
  PoContents po;
  po.header = "Language: ru\nContent-Type: text/plain; charset=UTF-8\n";
  PoEntry a;
  a.context = "order/hint_sum";
  a.msgid = "The sum \"with\" tax\nand more";
  a.comments = {"hint of field \"sum\" in form \"order\""};
  a.references = {{"etc/xml/shop.xml", 12}};
  PoEntry b;
  b.context = "desktop/menu_stock";
  b.msgid = "menu_stock";
  b.msgstr = "\xd0\xa1\xd0\xba\xd0\xbb\xd0\xb0\xd0\xb4";
  b.own_flag = "msglint-no-source";
  po.entries = {a, b};
  std::string text, error;
  ASSERT_TRUE(fix::WritePo(po, &text, &error)) << error;
  EXPECT_EQ(
      "msgid \"\"\n"
      "msgstr \"\"\n"
      "\"Language: ru\\n\"\n"
      "\"Content-Type: text/plain; charset=UTF-8\\n\"\n"
      "\n"
      "#. hint of field \"sum\" in form \"order\"\n"
      "#: etc/xml/shop.xml:12\n"
      "msgctxt \"order/hint_sum\"\n"
      "msgid \"\"\n"
      "\"The sum \\\"with\\\" tax\\n\"\n"
      "\"and more\"\n"
      "msgstr \"\"\n"
      "\n"
      "#, msglint-no-source\n"
      "msgctxt \"desktop/menu_stock\"\n"
      "msgid \"menu_stock\"\n"
      "msgstr \"\xd0\xa1\xd0\xba\xd0\xbb\xd0\xb0\xd0\xb4\"\n",
      text);
}

TEST(PoFileTest, ReadsWhatItWrote) {
  ScratchDir dir;
  PoContents po;
  po.header = "Language: en\nX-Msglint-Manager: shop\n";
  PoEntry a;
  a.context = "order/title";
  a.msgid = "Order";
  a.msgstr = "Line one\nline \"two\"";
  a.comments = {"title of form \"order\"", "second line"};
  a.references = {{"etc/xml/shop.xml", 3}, {"etc/xml/shop.xml", 9}};
  po.entries = {a};
  std::string text, error;
  ASSERT_TRUE(fix::WritePo(po, &text, &error)) << error;
  dir.Write("a.po", text);
  PoContents read;
  ASSERT_TRUE(fix::ReadPo("a.po", &read, &error)) << error;
  EXPECT_EQ("shop", fix::HeaderField(read.header, "X-Msglint-Manager"));
  EXPECT_EQ("en", fix::HeaderField(read.header, "Language"));
  EXPECT_EQ("", fix::HeaderField(read.header, "Plural-Forms"));
  ASSERT_EQ(1u, read.entries.size());
  EXPECT_EQ("order/title", read.entries[0].context);
  EXPECT_EQ("Order", read.entries[0].msgid);
  EXPECT_EQ("Line one\nline \"two\"", read.entries[0].msgstr);
  EXPECT_EQ(a.comments, read.entries[0].comments);
  EXPECT_EQ(a.references, read.entries[0].references);
  EXPECT_FALSE(read.entries[0].fuzzy);
  EXPECT_FALSE(read.entries[0].obsolete);
}

TEST(PoFileTest, ReadsAFileAsEditorsWriteIt) {
  ScratchDir dir;
  dir.Write("ed.po",
            "# Translation of shop.\n"
            "msgid \"\"\n"
            "msgstr \"\"\n"
            "\"Language: ru\\n\"\n"
            "\"Content-Type: text/plain; charset=UTF-8\\n\"\n"
            "\n"
            "#. hint\n"
            "#, fuzzy\n"
            "msgctxt \"order/a\"\n"
            "msgid \"A\"\n"
            "msgstr \"\"\n"
            "\"First part, \"\n"
            "\"second \\\"quoted\\\" part.\\n\"\n"
            "\"Next line\"\n"
            "\n"
            "#~ msgctxt \"order/old\"\n"
            "#~ msgid \"Old\"\n"
            "#~ msgstr \"Gone\"\n");
  PoContents po;
  std::string error;
  ASSERT_TRUE(fix::ReadPo("ed.po", &po, &error)) << error;
  ASSERT_EQ(2u, po.entries.size());
  EXPECT_EQ("First part, second \"quoted\" part.\nNext line", po.entries[0].msgstr);
  EXPECT_TRUE(po.entries[0].fuzzy);
  EXPECT_EQ("order/old", po.entries[1].context);
  EXPECT_TRUE(po.entries[1].obsolete);
}

TEST(PoFileTest, AMissingFileIsNamed) {
  ScratchDir dir;
  PoContents po;
  std::string error;
  EXPECT_FALSE(fix::ReadPo("none.po", &po, &error));
  EXPECT_NE(std::string::npos, error.find("none.po")) << error;
}

}  // namespace
