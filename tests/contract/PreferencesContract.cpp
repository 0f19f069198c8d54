#include <gtest/gtest.h>

#include <bit>
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
  Preferences& preferences() { return store; }
  void restart() {}
  sim::FakePreferences store;
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
    EXPECT_TRUE(store->isDurable() && log.notices.empty());
  }
};

template <class T>
struct PreferencesContract : testing::Test, T {};
using Stores = testing::Types<SimulatedStore, SqliteStore>;
TYPED_TEST_SUITE(PreferencesContract, Stores);

TYPED_TEST(PreferencesContract, EveryTypeComesBackAsItWas) {
  // clang-format off
  const Dictionary inner{{"$text", "y"}, {"", false}};
  const std::map<std::string, PreferenceValue> values{
      {"", "an empty key"}, {"yes", true}, {"one", 1}, {"one as a double", 1.0},
      {"least", INT64_MIN}, {"text", "füße\n\"'%"}, {"no text", ""}, {"not UTF-8", "\xff\xfe"},
      {"zero within", std::string("a\0b", 3)}, {"bytes", Bytes{0, 255, 10}}, {"no bytes", Bytes{}},
      {"list", TextList{"b", "", "a", "\xff"}}, {"no list", TextList{}},
      {"no dictionary", Dictionary{}}, {"a mark", Dictionary{{"$double", "7ff8000000000000"}}},
      {"dictionary", Dictionary{{"flag", true}, {"one", 1}, {"one as a double", 1.0},
                                {"big", int64_t{1} << 60}, {"bytes", Bytes{1, 2}},
                                {"$bytes", "like a mark of ours"}, {"\xff", "not UTF-8"},
                                {"list", TextList{"x"}}, {"inner", inner}}}};
  // clang-format on
  this->preferences().write({values.begin(), values.end()});
  this->restart();
  EXPECT_EQ(this->preferences().all(), values);
  EXPECT_EQ(this->preferences().integer("one as a double"), 1) << "readers take what fits";
  EXPECT_FALSE(this->preferences().text("one"));
}

TYPED_TEST(PreferencesContract, DoublesKeepEveryBit) {
  using Limits = std::numeric_limits<double>;
  const auto bits = [](const PreferenceValue& v) {
    return std::bit_cast<uint64_t>(std::get<double>(v.data));
  };
  for (const double value : {0.1, -0.0, 790000000.123456789, Limits::denorm_min(), Limits::max(),
                             -Limits::infinity(), std::bit_cast<double>(0xfff8000000000123)}) {
    this->preferences().write({{"plain", value}, {"nested", Dictionary{{"value", value}}}});
    this->restart();
    auto all = this->preferences().all();
    EXPECT_EQ(bits(all.at("plain")), bits(value)) << value;
    EXPECT_EQ(bits(std::get<Dictionary>(all.at("nested").data).at("value")), bits(value)) << value;
  }
}

TYPED_TEST(PreferencesContract, ABatchAppliesInOrder) {
  auto& preferences = this->preferences();
  preferences.set("gone", 1);
  preferences.write({{"twice", 1}, {"gone", std::nullopt}, {"twice", "two"}, {"brief", 1}});
  preferences.write({{"brief", std::nullopt}, {"never there", std::nullopt}});
  this->restart();
  const std::map<std::string, PreferenceValue> expected{{"twice", PreferenceValue("two")}};
  EXPECT_EQ(this->preferences().all(), expected);
}

}  // namespace
}  // namespace velmora
