#include "findings/paths.h"

#include <gtest/gtest.h>

namespace {

TEST(PathsTest, FindingsFile) {
  EXPECT_EQ("var/msglint", findings::FindingsDir());
  EXPECT_EQ("var/msglint/findings.json", findings::FindingsFile());
}

TEST(PathsTest, DescriptionAndMessageFiles) {
  EXPECT_EQ("mailpnl.xml", findings::DescriptionFileName("mailpnl"));
  EXPECT_EQ("etc/xml/mailpnl.xml", findings::DescriptionFile("mailpnl"));
  EXPECT_EQ("mailpnl_msg_en.xml", findings::MessageFileName("mailpnl", "en"));
  EXPECT_EQ("etc/xml/mailpnl_msg_ru.xml", findings::MessageFile("mailpnl", "ru"));
}

}  // namespace
