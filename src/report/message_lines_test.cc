#include "report/message_lines.h"

#include <gtest/gtest.h>

namespace {

using report::MessageLines;

TEST(MessageLinesTest, FindsEachMessageInItsSection) {
  const MessageLines::Index index = MessageLines::IndexOf(
      "<?xml version=\"1.0\"?>\n"
      "<pnldata>\n"
      "  <lang name=\"en\">\n"
      "    <messages name=\"user\">\n"
      "      <msg name=\"name\">Name</msg>\n"
      "    </messages>\n"
      "    <messages name=\"user.edit\">\n"
      "      <msg name=\"name\">Name</msg>\n"
      "      <msg name=\"a&amp;b\">Name</msg>\n"
      "      <msg name=\"name\">Again</msg>\n"
      "    </messages>\n");
  EXPECT_EQ(5, index.at({"user", "name"}));
  // The first of two messages of one name.
  EXPECT_EQ(8, index.at({"user.edit", "name"}));
  EXPECT_EQ(9, index.at({"user.edit", "a&b"}));
  EXPECT_EQ(3u, index.size());
}

TEST(MessageLinesTest, AFileThatCannotBeReadHasNoLines) {
  MessageLines lines("/nonexistent");
  EXPECT_EQ(0, lines.Line("etc/xml/m_msg_en.xml", "user", "name"));
}

}  // namespace
