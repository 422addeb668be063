#include "panel/query.h"

#include <gtest/gtest.h>

namespace panel {
namespace {

TEST(QueryTest, SplitsAndDecodesParts) {
  Query q;
  std::string error;
  ASSERT_TRUE(q.Parse("func=session&lang=en&out=devel", &error));
  EXPECT_EQ("session", q.Function());
  EXPECT_EQ("en", q.Get("lang"));
  EXPECT_EQ("devel", q.Get("out"));
  EXPECT_EQ("", q.Get("absent"));
}

TEST(QueryTest, PercentAndPlusAreDecoded) {
  Query q;
  std::string error;
  ASSERT_TRUE(q.Parse("func=a%2Fb&na%6De=x+y%26z", &error));
  EXPECT_EQ("a/b", q.Function());
  EXPECT_EQ("x y&z", q.Get("name"));
}

TEST(QueryTest, FirstValueOfARepeatedKeyCounts) {
  Query q;
  std::string error;
  ASSERT_TRUE(q.Parse("func=one&lang=ru&func=two&lang=en", &error));
  EXPECT_EQ("one", q.Function());
  EXPECT_EQ("ru", q.Get("lang"));
}

TEST(QueryTest, EmptyPartsArePassedOver) {
  Query q;
  std::string error;
  ASSERT_TRUE(q.Parse("&func=x&&lang=en&", &error));
  EXPECT_EQ("x", q.Function());
}

TEST(QueryTest, QueryWithoutFunctionIsMalformed) {
  Query q;
  std::string error;
  EXPECT_FALSE(q.Parse("lang=en", &error));
  EXPECT_EQ("malformed query: no function", error);
  EXPECT_FALSE(q.Parse("", &error));
  EXPECT_FALSE(q.Parse("func=&lang=en", &error));
}

TEST(QueryTest, PartWithoutEqualsSignIsAKeyWithAnEmptyValue) {
  Query q;
  std::string error;
  ASSERT_TRUE(q.Parse("func=session&lang=a&b&out=devel", &error));
  EXPECT_EQ("session", q.Function());
  EXPECT_EQ("a", q.Get("lang"));
  EXPECT_EQ("devel", q.Get("out"));
  EXPECT_EQ("", q.Get("b"));
}

TEST(QueryTest, KeyWithoutValueDoesNotHideALaterValue) {
  Query q;
  std::string error;
  // The first occurrence counts, valueless or not.
  ASSERT_TRUE(q.Parse("func=x&lang&lang=en", &error));
  EXPECT_EQ("", q.Get("lang"));
}

TEST(QueryTest, FunctionWithoutValueIsStillMalformed) {
  Query q;
  std::string error;
  EXPECT_FALSE(q.Parse("func&lang=en", &error));
  EXPECT_EQ("malformed query: no function", error);
}

}  // namespace
}  // namespace panel
