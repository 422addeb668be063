#include "report/baseline.h"

#include <gtest/gtest.h>

namespace {

using report::Baseline;
using report::BaselineState;
using report::Json;

Json Finding(const char* kind, const char* object, const char* field, const char* message,
             const char* lang) {
  Json f;
  f["kind"] = kind;
  f["object"] = object ? Json(object) : Json(nullptr);
  if (field) {
    f["element"]["type"] = "field";
    f["element"]["name"] = field;
  } else {
    f["element"] = nullptr;
  }
  if (message)
    f["message"]["name"] = message;
  else
    f["message"] = nullptr;
  f["language"] = lang ? Json(lang) : Json(nullptr);
  f["report"] = std::string(kind) + "\n";
  return f;
}

Json Doc(const std::string& manager, std::vector<Json> findings) {
  Json doc;
  doc["schema"] = "msglint-findings";
  doc["version"] = 1;
  doc["run"]["manager"] = manager;
  doc["statistics"] = Json::array();
  doc["findings"] = Json(findings);
  doc["input_problems"] = Json::array();
  return doc;
}

Json TwoHints() {
  return Doc("m", {Finding("missing-hint", "user.edit", "name", "hint_name", "ru"),
                   Finding("missing-label", "a.edit", "x", "x", "en"),
                   Finding("input-without-validator", "user.edit", "name", nullptr, nullptr)});
}

TEST(BaselineTest, FileIsSortedWithOneFindingPerLine) {
  EXPECT_EQ(
      "{\n"
      "  \"format\": \"msglint-baseline\",\n"
      "  \"version\": 1,\n"
      "  \"manager\": \"m\",\n"
      "  \"findings\": [\n"
      "    {\"kind\":\"missing-label\",\"object\":\"a.edit\",\"element\":{\"type\":\"field\",\"name\":\"x\"},"
      "\"message\":\"x\",\"language\":\"en\",\"occurrence\":1},\n"
      "    {\"kind\":\"input-without-validator\",\"object\":\"user.edit\",\"element\":{\"type\":\"field\","
      "\"name\":\"name\"},\"message\":null,\"language\":null,\"occurrence\":1},\n"
      "    {\"kind\":\"missing-hint\",\"object\":\"user.edit\",\"element\":{\"type\":\"field\",\"name\":\"name\"},"
      "\"message\":\"hint_name\",\"language\":\"ru\",\"occurrence\":1}\n"
      "  ]\n"
      "}\n",
      Baseline::Of(TwoHints()).ToText());
  EXPECT_EQ(
      "{\n  \"format\": \"msglint-baseline\",\n  \"version\": 1,\n  \"manager\": \"m\",\n"
      "  \"findings\": []\n}\n",
      Baseline::Of(Doc("m", {})).ToText());
}

TEST(BaselineTest, ReadsWhatItWrites) {
  const Baseline written = Baseline::Of(TwoHints());
  Baseline read;
  std::string why;
  ASSERT_EQ(Baseline::Fault::kNone, Baseline::Parse(written.ToText(), read, why)) << why;
  EXPECT_EQ("m", read.manager());
  EXPECT_EQ(written.findings(), read.findings());
  EXPECT_EQ(written.ToText(), read.ToText());
}

TEST(BaselineTest, RefusesWhatIsNoBaselineItKnows) {
  Baseline out;
  std::string why;
  EXPECT_EQ(Baseline::Fault::kMalformed, Baseline::Parse("{\"format\": \"msglint-baseline\",", out, why));
  EXPECT_EQ("not JSON", why);
  EXPECT_EQ(Baseline::Fault::kForeign, Baseline::Parse("{\"name\": \"package\"}", out, why));
  EXPECT_EQ("JSON without \"format\": \"msglint-baseline\"", why);
  EXPECT_EQ(Baseline::Fault::kForeign, Baseline::Parse("[1, 2]", out, why));
  EXPECT_EQ(Baseline::Fault::kForeign, Baseline::Parse(TwoHints().dump(), out, why));
  EXPECT_EQ("a findings file, not a baseline (msglint-report --write-baseline makes one)", why);
  EXPECT_EQ(Baseline::Fault::kNewerVersion,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 2, "manager": "m",
                                "findings": [{"fingerprint": "x"}]})",
                            out, why));
  EXPECT_EQ("format version 2, written by a newer msglint; this one reads version 1", why);
  // Versions too large for any integer are still versions, and newer ones.
  EXPECT_EQ(Baseline::Fault::kNewerVersion,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 18446744073709551615,
                                "manager": "m", "findings": []})",
                            out, why));
  EXPECT_EQ("format version 18446744073709551615, written by a newer msglint; this one reads version 1", why);
  EXPECT_EQ(Baseline::Fault::kNewerVersion,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 100000000000000000000000,
                                "manager": "m", "findings": []})",
                            out, why));
  EXPECT_EQ("format version too large for an integer, written by a newer msglint; this one reads version 1", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 1.5, "manager": "m", "findings": []})",
                            out, why));
  EXPECT_EQ("no format version", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": -100000000000000000000000,
                                "manager": "m", "findings": []})",
                            out, why));
  EXPECT_EQ("no format version", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": "1", "manager": "m", "findings": []})",
                            out, why));
  EXPECT_EQ("no format version", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 1, "findings": []})", out, why));
  EXPECT_EQ("no manager", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 1, "manager": "m"})", out, why));
  EXPECT_EQ("no list of findings", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 1, "manager": "m", "findings": [
                {"kind": "missing-hint", "object": "a", "element": null, "message": null,
                 "language": "en", "occurrence": 1},
                {"kind": "missing-hint", "object": "a", "element": null, "message": null,
                 "language": "en"}]})",
                            out, why));
  EXPECT_EQ("finding 2 lacks a part of its identity or has one of the wrong type", why);
  EXPECT_EQ(Baseline::Fault::kMalformed,
            Baseline::Parse(R"({"format": "msglint-baseline", "version": 1, "manager": "m", "findings": [
                {"kind": "missing-hint", "object": "a", "element": null, "message": null,
                 "language": "en", "occurrence": 1},
                {"kind": "missing-hint", "object": "a", "element": null, "message": null,
                 "language": "en", "occurrence": 1}]})",
                            out, why));
  EXPECT_EQ("finding 2 is recorded twice", why);
}

TEST(BaselineTest, ComparesFindingsAsMultisets) {
  // Three equal findings recorded, two left, and a new one.
  const Json color = Finding("wrong-text-color", "user", "state", nullptr, nullptr);
  const Baseline baseline = Baseline::Of(Doc("m", {color, color, color}));
  const Json now = Doc("m", {Finding("missing-hint", "user.edit", "name", "hint_name", "ru"), color, color});
  const report::Comparison comparison = report::Compare(now, baseline);
  EXPECT_EQ((std::vector<BaselineState>{BaselineState::kNew, BaselineState::kUnchanged,
                                        BaselineState::kUnchanged}),
            comparison.states);
  ASSERT_EQ(1u, comparison.absent.size());
  EXPECT_EQ("wrong-text-color|m|user|field:state|||3", comparison.absent[0].Fingerprint("m"));
  EXPECT_STREQ("absent", report::StateName(BaselineState::kAbsent));
}

TEST(BaselineTest, SameRunIsAllUnchanged) {
  const report::Comparison comparison = report::Compare(TwoHints(), Baseline::Of(TwoHints()));
  EXPECT_EQ(std::vector<BaselineState>(3, BaselineState::kUnchanged), comparison.states);
  EXPECT_TRUE(comparison.absent.empty());
}

}  // namespace
