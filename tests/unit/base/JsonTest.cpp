#include "base/Json.h"

#include <gtest/gtest.h>

#include <cmath>

namespace velmora {
namespace {

enum class Colour { red, green };
struct Rule {
  int start = 0;
  Colour colour = Colour::green;
  std::optional<Date> until;
  std::vector<Rule> rules;
};

}  // namespace

template <>
struct json::EnumTexts<Colour> {
  static constexpr std::array all{std::pair{Colour::red, std::string_view("red")},
                                  std::pair{Colour::green, std::string_view("green")}};
};
template <>
struct json::Fields<Rule> {
  static constexpr std::tuple all{
      json::required("start", &Rule::start), json::defaulted("colour", &Rule::colour),
      json::optional("until", &Rule::until), json::defaulted("rules", &Rule::rules)};
};

namespace {

// What is read, written again; or what was wrong, and where.
std::string reread(const std::string& text) {
  const auto rule = json::decodeText<Rule>(text);
  return rule ? json::encodeText(*rule) : rule.error().path + ": " + rule.error().problem;
}

TEST(Json, RecordsComeBackInTableOrderOrTheFirstErrorIsToldWithItsPath) {
  const std::pair<const char*, const char*> rows[] = {
      {R"({"start":1})", R"({"start":1,"colour":"green","rules":[]})"},
      {R"({"colour":null,"until":null,"rules":null,"future":{},"start":2,"start":1})",
       R"({"start":1,"colour":"green","rules":[]})"},
      {R"({"rules":[{"start":5.0,"until":1}],"colour":"red","start":1})",
       R"({"start":1,"colour":"red","rules":[{"start":5,"colour":"green","until":1.0,"rules":[]}]})"},
      {R"({"colour":1,"start":"x"})", "start: expected integer"},
      {R"({"start":5.5})", "start: expected integer"},
      {R"({"start":4294967296})", "start: expected integer"},
      {R"({"start":1,"colour":"blue"})", "colour: expected one of the known names"},
      {R"({"start":1,"until":"now"})", "until: expected date"},
      {R"({"start":1,"rules":{}})", "rules: expected array"},
      {R"({"start":1,"rules":[{"start":1},{}]})", "rules[1].start: missing"},
      {"[]", ": expected object"},
      {"{", ": not JSON"}};
  for (const auto& [text, expected] : rows) EXPECT_EQ(reread(text), expected) << text;
  EXPECT_EQ(json::decodeText<Uuid>(R"("0f8fad5b-d9cb-469f-a165-70867728950e")")->text(),
            "0F8FAD5B-D9CB-469F-A165-70867728950E");
  EXPECT_FALSE(json::decodeText<Uuid>(R"("0F8FAD5BD9CB469FA16570867728950E")"));
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
