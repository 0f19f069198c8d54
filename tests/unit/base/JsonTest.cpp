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
      json::required("id", &Rule::id), json::defaulted("weight", &Rule::weight),
      json::defaulted("colour", &Rule::colour), json::defaulted("windows", &Rule::windows)};
};

namespace {

// A rule with these members besides its identity, written again; or what was wrong, and where.
std::string rule(const std::string& more) {
  const auto r = json::decodeText<Rule>(R"({"id":"0f8fad5b-d9cb-469f-a165-70867728950e")" +
                                        (more.empty() ? "" : "," + more) + "}");
  if (!r) return r.error().path + ": " + r.error().problem;
  return json::encodeText(*r).substr(45);
}

TEST(Json, RecordsComeBackInTableOrderOrTheFirstErrorIsToldWithItsPath) {
  const std::string defaults = R"("weight":0.5,"colour":"green","windows":[]})";
  const std::pair<const char*, std::string> rows[] = {
      {"", defaults},
      {R"("weight":null,"colour":null,"windows":null)", defaults},
      {R"("future":{},"weight":1,"weight":0.5)", defaults},  // of doubles the last
      {R"("colour":"red","weight":2,"windows":[{"start":5.0,"until":null},{"start":2,"until":0.1}])",
       R"("weight":2.0,"colour":"red","windows":[{"start":5},{"start":2,"until":0.1}]})"},
      {R"("colour":1,"weight":"x")", "weight: expected number"},
      {R"("colour":"blue")", "colour: expected one of the known names"},
      {R"("windows":{})", "windows: expected array"},
      {R"("windows":[{"start":1},{}])", "windows[1].start: missing"},
      {R"("windows":[{"start":4294967296}])", "windows[0].start: expected integer"},
      {R"("windows":[{"start":1,"until":"now"}])", "windows[0].until: expected date"},
      {R"("id":"0F8FAD5BD9CB469FA16570867728950E")", "id: expected UUID"},
      {"]", ": not JSON"}};
  for (const auto& [more, expected] : rows) EXPECT_EQ(rule(more), expected) << more;
}

TEST(Json, TextThatIsNoJsonOrTooDeepIsRefused) {
  for (const char* text : {"", "nul", "{} {}", "[1,]", "'a'", "\"\xff\"", "1e999", "{\"a\"}"})
    EXPECT_FALSE(json::parse(text)) << text;
  EXPECT_TRUE(json::parse(std::string(128, '[') + std::string(128, ']')));
  EXPECT_EQ(json::parse(std::string(1000000, '[')).error().problem, "nested too deeply");
}

TEST(Json, NumbersKeepTheirExactValueAndOtherBytesAreReplaced) {
  for (const double d : {0.1, 789123456.123456789, 5e-324, 1.7976931348623157e308, -0.0}) {
    const auto back = json::decodeText<Date>(json::encodeText(Date(d)));
    EXPECT_EQ(std::bit_cast<uint64_t>(back->secondsSinceReference()), std::bit_cast<uint64_t>(d));
  }
  EXPECT_EQ(json::parse("9007199254740993")->asInteger(), 9007199254740993);
  EXPECT_EQ(json::parse("18446744073709551615")->asInteger(), std::nullopt);
  EXPECT_EQ(json::dump(std::nan("")), "null");
  EXPECT_EQ(json::dump("a\xffz\"\n"), "\"a\xEF\xBF\xBDz\\\"\\n\"");
}

}  // namespace
}  // namespace velmora
