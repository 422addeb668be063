#include "pnl/str.h"

#include <gtest/gtest.h>

namespace {

TEST(StrTest, GetWordSplitsAtFirstSeparator) {
  std::string text = "a,b,c";
  EXPECT_EQ("a", str::GetWord(text, ','));
  EXPECT_EQ("b,c", text);
  EXPECT_EQ("b", str::GetWord(text, ','));
  EXPECT_EQ("c", text);
  EXPECT_EQ("c", str::GetWord(text, ','));
  EXPECT_EQ("", text);
}

TEST(StrTest, GetWordWithoutSeparatorTakesAll) {
  std::string text = "menu";
  EXPECT_EQ("menu", str::GetWord(text, '_'));
  EXPECT_EQ("", text);
}

TEST(StrTest, GetWordEmptyFieldsAndEmptyText) {
  std::string text = ",x";
  EXPECT_EQ("", str::GetWord(text, ','));
  EXPECT_EQ("x", text);
  text = "x,";
  EXPECT_EQ("x", str::GetWord(text, ','));
  EXPECT_EQ("", text);
  text = "";
  EXPECT_EQ("", str::GetWord(text, ','));
  EXPECT_EQ("", text);
}

TEST(StrTest, RGetWordThreeTimesOnMessageFileName) {
  std::string text = "global.msg.en.xml";
  EXPECT_EQ("xml", str::RGetWord(text, '.'));
  EXPECT_EQ("en", str::RGetWord(text, '.'));
  EXPECT_EQ("msg", str::RGetWord(text, '.'));
  EXPECT_EQ("global", text);
}

TEST(StrTest, RGetWordWithoutSeparatorTakesAll) {
  std::string text = "global";
  EXPECT_EQ("global", str::RGetWord(text, '.'));
  EXPECT_EQ("", text);
}

TEST(StrTest, StartsWith) {
  EXPECT_TRUE(str::StartsWith("hint_name", "hint_"));
  EXPECT_TRUE(str::StartsWith("hint_name", ""));
  EXPECT_TRUE(str::StartsWith("hint_", "hint_"));
  EXPECT_FALSE(str::StartsWith("hint", "hint_"));
  EXPECT_FALSE(str::StartsWith("xhint_", "hint_"));
  EXPECT_FALSE(str::StartsWith("", "a"));
}

TEST(StrTest, StrOfLong) {
  EXPECT_EQ("0", str::Str(0));
  EXPECT_EQ("42", str::Str(42));
  EXPECT_EQ("-7", str::Str(-7));
  EXPECT_EQ("9223372036854775807", str::Str(9223372036854775807L));
}

TEST(StrTest, UrlDecode) {
  EXPECT_EQ("a b", str::UrlDecode("a+b"));
  EXPECT_EQ("a b/c", str::UrlDecode("a%20b%2Fc"));
  EXPECT_EQ("a b/c", str::UrlDecode("a%20b%2fc"));
  EXPECT_EQ("\xd0\xbf", str::UrlDecode("%D0%BF"));
  EXPECT_EQ("100%", str::UrlDecode("100%"));
  EXPECT_EQ("%4", str::UrlDecode("%4"));
  EXPECT_EQ("%zz%4g", str::UrlDecode("%zz%4g"));
  EXPECT_EQ(std::string("a\0b", 3), str::UrlDecode("a%00b"));
}

TEST(StrTest, UrlEncode) {
  EXPECT_EQ("AZaz09-_.~", str::UrlEncode("AZaz09-_.~"));
  EXPECT_EQ("a+b", str::UrlEncode("a b"));
  EXPECT_EQ("func%3Dx%26y%2Bz%25", str::UrlEncode("func=x&y+z%"));
  EXPECT_EQ("%D0%BF%0A", str::UrlEncode("\xd0\xbf\n"));
}

TEST(StrTest, UrlEncodeThenDecodeGivesBack) {
  std::string text;
  for (int c = 0; c < 256; ++c) text += static_cast<char>(c);
  EXPECT_EQ(text, str::UrlDecode(str::UrlEncode(text)));
}

}  // namespace
