#include "report/fingerprint.h"

#include <gtest/gtest.h>

namespace {

using report::Json;

// A findings document of manager "m" with the given findings.
Json Doc(const char* findings) {
  Json doc = Json::parse(R"({"schema": "msglint-findings", "version": 1,
    "run": {"manager": "m", "mode": "full", "arguments": [], "languages": ["en"]},
    "statistics": [], "input_problems": []})");
  doc["findings"] = Json::parse(findings);
  return doc;
}

const char kHint[] = R"({"kind": "missing-hint", "object": "user.edit",
  "element": {"type": "field", "name": "name"}, "language": "en",
  "message": {"name": "hint_name", "section": "user.edit"},
  "location": {"file": "etc/xml/m.xml", "line": 7}, "report": "no hint\n"})";

std::string Color(const char* colour, int line) {
  return R"({"kind": "wrong-text-color", "object": "user",
    "element": {"type": "column", "name": "state"}, "language": null, "message": null,
    "location": {"file": "etc/xml/m.xml", "line": )" + std::to_string(line) +
         R"(}, "report": "Text setcolor has wrong color: )" + colour + R"(\n"})";
}

TEST(FingerprintTest, IsTheSixPartsAndTheOccurrence) {
  const auto ids = report::IdentitiesOf(Doc((std::string("[") + kHint + "]").c_str()));
  ASSERT_EQ(1u, ids.size());
  EXPECT_EQ("missing-hint|m|user.edit|field:name|hint_name|en|1", ids[0].Fingerprint("m"));
}

TEST(FingerprintTest, AbsentPartsAreEmptyAndSeparatorsEscaped) {
  const auto ids = report::IdentitiesOf(Doc(R"([{"kind": "self-included-condition",
    "object": null, "element": {"type": "element", "name": "a|b\\c"}, "language": null,
    "message": null, "report": "x\n"}])"));
  EXPECT_EQ("self-included-condition|m||element:a\\|b\\\\c|||1", ids[0].Fingerprint("m"));
}

TEST(FingerprintTest, EqualFindingsAreRankedByTextNotByLineOrOrder) {
  const std::string a = Color("Red", 10), b = Color("Pink", 12);
  const auto ids = report::IdentitiesOf(Doc(("[" + a + "," + std::string(kHint) + "," + b + "]").c_str()));
  EXPECT_EQ(2, ids[0].occurrence);  // "Red" after "Pink"
  EXPECT_EQ(1, ids[1].occurrence);
  EXPECT_EQ(1, ids[2].occurrence);
  EXPECT_NE(ids[0].Fingerprint("m"), ids[2].Fingerprint("m"));

  // The rules the other way round, on other lines, the hint gone: the same
  // identities.
  const auto moved = report::IdentitiesOf(Doc(("[" + Color("Pink", 40) + "," + Color("Red", 41) + "]").c_str()));
  EXPECT_EQ(ids[2], moved[0]);
  EXPECT_EQ(ids[0], moved[1]);
}

TEST(FingerprintTest, IdenticalFindingsGetOccurrencesInReportOrder) {
  const std::string a = Color("Red", 10);
  const auto ids = report::IdentitiesOf(Doc(("[" + a + "," + a + "," + a + "]").c_str()));
  EXPECT_EQ(1, ids[0].occurrence);
  EXPECT_EQ(2, ids[1].occurrence);
  EXPECT_EQ(3, ids[2].occurrence);
  EXPECT_EQ("wrong-text-color|m|user|column:state|||3", ids[2].Fingerprint("m"));
}

TEST(FingerprintTest, ChangesWithEachPart) {
  const Json base = Json::parse(kHint);
  const std::string fingerprint = report::IdentitiesOf(Doc(("[" + base.dump() + "]").c_str()))[0].Fingerprint("m");
  for (const char* pointer : {"/kind", "/object", "/element/type", "/element/name", "/message/name", "/language"}) {
    Json changed = base;
    changed[Json::json_pointer(pointer)] = "other";
    EXPECT_NE(fingerprint, report::IdentitiesOf(Doc(("[" + changed.dump() + "]").c_str()))[0].Fingerprint("m"))
        << pointer;
  }
  EXPECT_NE(fingerprint, report::IdentitiesOf(Doc(("[" + base.dump() + "]").c_str()))[0].Fingerprint("n"));
  Json moved = base;
  moved["location"]["line"] = 700;
  moved["report"] = "no hint, elsewhere\n";
  EXPECT_EQ(fingerprint, report::IdentitiesOf(Doc(("[" + moved.dump() + "]").c_str()))[0].Fingerprint("m"));
}

}  // namespace
