#include "panel/query.h"

#include <gtest/gtest.h>

namespace panel {
namespace {

// Each test parses into a query of its own.
class QueryTest : public testing::Test {
 protected:
  Query q_;
  std::string error_;
};

TEST_F(QueryTest, SplitsAndDecodesParts) {
  ASSERT_TRUE(q_.Parse("func=session&lang=en&out=devel", &error_));
  EXPECT_EQ("session", q_.Function());
  EXPECT_EQ("en", q_.Get("lang"));
  EXPECT_EQ("devel", q_.Get("out"));
  EXPECT_EQ("", q_.Get("absent"));
}

TEST_F(QueryTest, PercentAndPlusAreDecoded) {
  ASSERT_TRUE(q_.Parse("func=a%2Fb&na%6De=x+y%26z", &error_));
  EXPECT_EQ("a/b", q_.Function());
  EXPECT_EQ("x y&z", q_.Get("name"));
}

TEST_F(QueryTest, FirstValueOfARepeatedKeyCounts) {
  ASSERT_TRUE(q_.Parse("func=one&lang=ru&func=two&lang=en", &error_));
  EXPECT_EQ("one", q_.Function());
  EXPECT_EQ("ru", q_.Get("lang"));
}

TEST_F(QueryTest, EmptyPartsArePassedOver) {
  ASSERT_TRUE(q_.Parse("&func=x&&lang=en&", &error_));
  EXPECT_EQ("x", q_.Function());
}

TEST_F(QueryTest, QueryWithoutFunctionIsMalformed) {
  EXPECT_FALSE(q_.Parse("lang=en", &error_));
  EXPECT_EQ("malformed query: no function", error_);
  EXPECT_FALSE(q_.Parse("", &error_));
  EXPECT_FALSE(q_.Parse("func=&lang=en", &error_));
}

TEST_F(QueryTest, PartWithoutEqualsSignIsAKeyWithAnEmptyValue) {
  ASSERT_TRUE(q_.Parse("func=session&lang=a&b&out=devel", &error_));
  EXPECT_EQ("session", q_.Function());
  EXPECT_EQ("a", q_.Get("lang"));
  EXPECT_EQ("devel", q_.Get("out"));
  EXPECT_EQ("", q_.Get("b"));
}

TEST_F(QueryTest, KeyWithoutValueDoesNotHideALaterValue) {
  // The first occurrence counts, valueless or not.
  ASSERT_TRUE(q_.Parse("func=x&lang&lang=en", &error_));
  EXPECT_EQ("", q_.Get("lang"));
}

TEST_F(QueryTest, FunctionWithoutValueIsStillMalformed) {
  EXPECT_FALSE(q_.Parse("func&lang=en", &error_));
  EXPECT_EQ("malformed query: no function", error_);
}

}  // namespace
}  // namespace panel
