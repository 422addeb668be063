#include "findings/json.h"

#include <gtest/gtest.h>

namespace {

using findings::At;
using findings::Json;
using findings::Num;
using findings::Str;

TEST(JsonTest, MembersThatAreThere) {
  const Json doc = Json::parse(R"({"kind": "missing-hint", "line": 7, "element": {"name": "x"}})");
  EXPECT_EQ("missing-hint", Str(At(doc, "kind")));
  EXPECT_EQ(7, Num(At(doc, "line")));
  EXPECT_EQ("x", Str(At(At(doc, "element"), "name")));
}

TEST(JsonTest, AbsentOrOfAnotherTypeReadsAsNothing) {
  const Json doc = Json::parse(R"({"kind": 3, "line": "7", "element": null})");
  EXPECT_TRUE(At(doc, "nothing").is_null());
  EXPECT_EQ("", Str(At(doc, "kind")));
  EXPECT_EQ(0, Num(At(doc, "line")));
  EXPECT_TRUE(At(At(doc, "element"), "name").is_null());
  EXPECT_TRUE(At(Json::parse("[1]"), "kind").is_null());
}

}  // namespace
