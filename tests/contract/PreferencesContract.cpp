#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "platform/linux/SqlitePreferences.h"
#include "platform/sim/Fakes.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

using Bytes = PreferenceValue::Bytes;
using TextList = PreferenceValue::TextList;
using Dictionary = PreferenceValue::Dictionary;

struct SimulatedStore {
  sim::FakePreferences store;
  Preferences& preferences() { return store; }
  void restart() {}
};

struct SqliteStore {
  TempFolder folder;
  sim::FakeLog log;
  std::unique_ptr<SqlitePreferences> store =
      SqlitePreferences::open(folder / "preferences.sqlite", log);
  Preferences& preferences() { return *store; }
  void restart() {
    store.reset();
    store = SqlitePreferences::open(folder / "preferences.sqlite", log);
    EXPECT_TRUE(store->isDurable());
    EXPECT_TRUE(log.notices.empty());
  }
};

template <class T>
class PreferencesContract : public testing::Test, public T {};
using Stores = testing::Types<SimulatedStore, SqliteStore>;
TYPED_TEST_SUITE(PreferencesContract, Stores);

TYPED_TEST(PreferencesContract, EveryTypeComesBackAsItWas) {
  const std::map<std::string, PreferenceValue> values{
      {"", PreferenceValue("an empty key")},
      {"yes", PreferenceValue(true)},
      {"one", PreferenceValue(1)},
      {"one as a double", PreferenceValue(1.0)},
      {"least", PreferenceValue(INT64_MIN)},
      {"text", PreferenceValue("füße\n\"'%")},
      {"no text", PreferenceValue("")},
      {"zero within", PreferenceValue(std::string("a\0b", 3))},
      {"not UTF-8", PreferenceValue("\xff\xfe")},
      {"bytes", PreferenceValue(Bytes{0, 255, 10})},
      {"no bytes", PreferenceValue(Bytes{})},
      {"list", PreferenceValue(TextList{"b", "", "a", "\xff"})},
      {"no list", PreferenceValue(TextList{})},
      {"no dictionary", PreferenceValue(Dictionary{})},
      {"dictionary",
       PreferenceValue(Dictionary{{"flag", true},
                                  {"one", 1},
                                  {"one as a double", 1.0},
                                  {"big", int64_t{1} << 60},
                                  {"bytes", Bytes{1, 2}},
                                  {"$bytes", "a key like a mark of ours"},
                                  {"\xff", "a key that is not UTF-8"},
                                  {"list", TextList{"x"}},
                                  {"inner", Dictionary{{"$text", "y"}, {"", false}}}})},
      {"only a mark", PreferenceValue(Dictionary{{"$double", "7ff8000000000000"}})},
  };
  Preferences::Changes changes;
  for (const auto& [key, value] : values) changes.emplace_back(key, value);
  this->preferences().write(changes);
  EXPECT_EQ(this->preferences().all(), values);
  this->restart();
  EXPECT_EQ(this->preferences().all(), values);
}

TYPED_TEST(PreferencesContract, DoublesKeepEveryBit) {
  using Limits = std::numeric_limits<double>;
  const std::vector<double> doubles{0.1,
                                    -0.0,
                                    790000000.123456789,
                                    Limits::denorm_min(),
                                    Limits::max(),
                                    Limits::infinity(),
                                    -Limits::infinity(),
                                    Limits::quiet_NaN(),
                                    std::bit_cast<double>(0xfff8000000000123)};
  for (size_t i = 0; i < doubles.size(); ++i) {
    this->preferences().set("plain" + std::to_string(i), doubles[i]);
    this->preferences().set("nested" + std::to_string(i), Dictionary{{"value", doubles[i]}});
  }
  this->restart();
  const auto bits = [](const PreferenceValue& v) {
    return std::bit_cast<uint64_t>(std::get<double>(v.data));
  };
  for (size_t i = 0; i < doubles.size(); ++i) {
    const auto plain = this->preferences().read("plain" + std::to_string(i));
    const auto nested = this->preferences().read("nested" + std::to_string(i));
    ASSERT_TRUE(plain && nested) << doubles[i];
    EXPECT_EQ(bits(*plain), bits(doubles[i])) << doubles[i];
    EXPECT_EQ(bits(std::get<Dictionary>(nested->data).at("value")), bits(doubles[i])) << doubles[i];
  }
}

TYPED_TEST(PreferencesContract, ABatchAppliesInOrder) {
  auto& preferences = this->preferences();
  preferences.set("gone", 1);
  preferences.write({{"twice", 1},
                     {"gone", std::nullopt},
                     {"twice", "two"},
                     {"brief", 1},
                     {"brief", std::nullopt},
                     {"never there", std::nullopt}});
  preferences.write({});
  const std::map<std::string, PreferenceValue> expected{{"twice", PreferenceValue("two")}};
  EXPECT_EQ(preferences.all(), expected);
  this->restart();
  EXPECT_EQ(this->preferences().all(), expected);
}

TYPED_TEST(PreferencesContract, ForgivingReadersTakeWhatFits) {
  auto& preferences = this->preferences();
  preferences.write({{"int", 3}, {"double", 3.0}, {"text", "3"}});
  EXPECT_EQ(preferences.integer("double"), 3);
  EXPECT_EQ(preferences.number("int"), 3.0);
  EXPECT_EQ(preferences.integer("text"), 0);
  EXPECT_FALSE(preferences.text("int"));
  EXPECT_FALSE(preferences.has("absent"));
  preferences.setBlob("record", "{}");
  EXPECT_EQ(preferences.blob("record"), "{}");
}

}  // namespace
}  // namespace velmora
