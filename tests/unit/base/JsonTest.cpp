#include "base/Json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velmora {
namespace {

enum class Colour { red, green };

struct Window {
  int start = 0;
  std::optional<Date> until;
  bool operator==(const Window&) const = default;
};
struct Rule {
  Uuid id;
  std::string host;
  bool enabled = true;
  double weight = 0.5;
  Colour colour = Colour::green;
  std::vector<Window> windows;
  bool operator==(const Rule&) const = default;
};

}  // namespace

template <>
struct json::EnumTexts<Colour> {
  static constexpr std::array all{std::pair{Colour::red, std::string_view("red")},
                                  std::pair{Colour::green, std::string_view("green")}};
};
template <>
struct json::Fields<Window> {
  static constexpr std::tuple all{json::required("start", &Window::start),
                                  json::optional("until", &Window::until)};
};
template <>
struct json::Fields<Rule> {
  static constexpr std::tuple all{
      json::required("id", &Rule::id),           json::required("host", &Rule::host),
      json::defaulted("enabled", &Rule::enabled), json::defaulted("weight", &Rule::weight),
      json::defaulted("colour", &Rule::colour),   json::defaulted("windows", &Rule::windows)};
};

namespace {

// A rule with these members besides its identity and host.
json::Result<Rule> rule(const std::string& more) {
  return json::decodeText<Rule>(
      R"({"id":"0f8fad5b-d9cb-469f-a165-70867728950e","host":"a.com")" +
      (more.empty() ? "" : "," + more) + "}");
}

TEST(Json, AbsentAndNullMembersKeepTheirDefaults) {
  const auto expected = rule("");
  EXPECT_TRUE(expected->enabled);
  EXPECT_EQ(expected->colour, Colour::green);
  EXPECT_EQ(rule(R"("enabled":null,"weight":null,"colour":null,"windows":null)"), expected);
  EXPECT_EQ(rule(R"("windows":[{"start":1,"until":null}])")->windows, (std::vector{Window{1, {}}}));
}

TEST(Json, AWholeDoubleIsAnIntegerAndAnIntegerIsANumber) {
  EXPECT_EQ(rule(R"("windows":[{"start":5.0}],"weight":2)")->windows[0].start, 5);
  EXPECT_EQ(rule(R"("weight":2)")->weight, 2.0);
  EXPECT_EQ(json::parse("9007199254740993")->asInteger(), 9007199254740993);
  EXPECT_EQ(json::parse("18446744073709551615")->asInteger(), std::nullopt);
  EXPECT_EQ(json::parse("1e300")->asInteger(), std::nullopt);
}

TEST(Json, UnknownMembersAreIgnoredAndOfDoublesTheLastCounts) {
  EXPECT_EQ(rule(R"("future":{"a":[]},"weight":1,"weight":3)")->weight, 3.0);
}

TEST(Json, TheFirstErrorInTableOrderIsToldWithItsPath) {
  const auto error = [](const json::Result<Rule>& r) {
    return r ? "none" : r.error().path + ": " + r.error().problem;
  };
  EXPECT_EQ(error(rule(R"("weight":"x","enabled":1)")), "enabled: expected boolean");
  EXPECT_EQ(error(rule(R"("windows":[{"start":1},{}])")), "windows[1].start: missing");
  EXPECT_EQ(error(rule(R"("windows":[{"start":5.5}])")), "windows[0].start: expected integer");
  EXPECT_EQ(error(rule(R"("windows":[{"start":4294967296}])")),
            "windows[0].start: expected integer");
  EXPECT_EQ(error(rule(R"("windows":[{"start":1,"until":"now"}])")),
            "windows[0].until: expected date");
  EXPECT_EQ(error(rule(R"("windows":{})")), "windows: expected array");
  EXPECT_EQ(error(rule(R"("colour":"blue")")), "colour: expected one of the known names");
  EXPECT_EQ(error(rule(R"("host":null)")), "host: expected text");
  EXPECT_EQ(error(json::decodeText<Rule>("{}")), "id: missing");
  EXPECT_EQ(error(json::decodeText<Rule>(R"({"id":"0F8FAD5B"})")), "id: expected UUID");
  EXPECT_EQ(error(json::decodeText<Rule>("[]")), ": expected object");
  EXPECT_EQ(error(json::decodeText<Rule>("{")), ": not JSON");
}

TEST(Json, TextThatIsNoJsonOrTooDeepIsRefused) {
  for (const char* text : {"", "nul", "{} {}", "[1,]", "'a'", "\"\xff\"", "1e999", "{\"a\"}"})
    EXPECT_FALSE(json::parse(text)) << text;
  const auto nested = [](size_t n) { return std::string(n, '[') + std::string(n, ']'); };
  EXPECT_TRUE(json::parse(nested(128)));
  EXPECT_EQ(json::parse(nested(129)).error().problem, "nested too deeply");
  EXPECT_EQ(json::parse(std::string(1000000, '[')).error().problem, "nested too deeply");
}

TEST(Json, RecordsAreWrittenCompactInTableOrderWithoutEmptyOptionals) {
  Rule r;
  r.id = *Uuid::parse("0f8fad5b-d9cb-469f-a165-70867728950e");
  r.host = "ä\"\n";
  r.colour = Colour::red;
  r.windows = {{1, {}}, {2, Date(0.1)}};
  const std::string text = json::encodeText(r);
  EXPECT_EQ(text, R"({"id":"0F8FAD5B-D9CB-469F-A165-70867728950E","host":"ä\"\n","enabled":true,)"
                  R"("weight":0.5,"colour":"red","windows":[{"start":1},{"start":2,"until":0.1}]})");
  EXPECT_EQ(json::decodeText<Rule>(text), r);
}

TEST(Json, DoublesAndDatesKeepTheirExactValue) {
  for (const double d : {0.1, 789123456.123456789, 5e-324, 1.7976931348623157e308, -0.0,
                         700000000.0, std::nextafter(1.0, 2.0)}) {
    const auto back = json::decodeText<Date>(json::encodeText(Date(d)));
    EXPECT_EQ(std::bit_cast<uint64_t>(back->secondsSinceReference()), std::bit_cast<uint64_t>(d));
  }
}

TEST(Json, BytesThatAreNotUtf8AreReplacedWhenWritten) {
  EXPECT_EQ(json::dump("a\xffz"), "\"a\xEF\xBF\xBDz\"");
  EXPECT_EQ(json::dump(std::nan("")), "null");
}

TEST(Uuid, IsReadInEitherCaseAndWrittenInUpperCase) {
  const char* text = "0F8FAD5B-D9CB-469F-A165-70867728950E";
  EXPECT_EQ(Uuid::parse("0f8fad5b-d9cb-469f-a165-70867728950e")->text(), text);
  for (const char* bad : {"", "0F8FAD5B-D9CB-469F-A165-70867728950", "0F8FAD5BD9CB469FA16570867728950E",
                          "0F8FAD5B-D9CB-469F-A165-70867728950G",
                          "{0F8FAD5B-D9CB-469F-A165-7086772895}",
                          "0F8FAD5B-D9CB-469F-A165+70867728950E"})
    EXPECT_FALSE(Uuid::parse(bad)) << bad;
}

}  // namespace
}  // namespace velmora
