#include <gtest/gtest.h>

#include "core/StoredSettings.h"
#include "core/model/AppTimeFormat.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

TEST(Settings, AreOneRecordWithTheseKeysAndDefaults) {
  sim::FakePreferences preferences;
  const auto load = [&](const char* json) {
    preferences.setBlob("vm_pomodoroSettings", json);
    return loadPomodoroSettings(preferences);
  };
  for (const char* text : {"{}", "", "[", "[]", "null", R"({"focusDuration":"x"})",
                           R"({"focusDuration":50.5,"autoStart":true})", R"({"autoStart":1})"}) {
    EXPECT_EQ(load(text), PomodoroSettings()) << text;
    EXPECT_EQ(preferences.blob("vm_pomodoroSettings"), text);  // stays
  }
  EXPECT_EQ(load(R"({"longBreakDuration":-3})").fullLength(SessionType::longBreak), -180);
  savePomodoroSettings(preferences, {});
  EXPECT_EQ(preferences.blob("vm_pomodoroSettings"),
            R"({"focusDuration":25,"shortBreakDuration":5,"longBreakDuration":15,)"
            R"("sessionsBeforeLongBreak":4,"focusSessionLimit":0,"isBrakModeEnabled":true,)"
            R"("isSoftBlocklistEnabled":false,"showFloatingProgress":true,"autoStart":false,)"
            R"("soundEnabled":true,"isHardcore":false})");
}

TEST(TimeText, ReadsWhatPeopleTypeAndNothingElse) {
  struct Row {
    const char* text;
    std::optional<int> with24, without;
  };
  const std::optional<int> none;
  const Row rows[] = {{"7", 420, 420},           {"7:3", 423, 423},
                      {" 07:30\n", 450, 450},    {"0:00", 0, 0},
                      {"23:59", 1439, 1439},     {"24:00", 1440, none},
                      {"24", 1440, none},        {"12:00 AM", 1440, 0},
                      {"12am", 1440, 0},         {"12:30 a.m.", 30, 30},
                      {"12 PM", 720, 720},       {"7:05 pm", 1145, 1145},
                      {"11:59P.M.", 1439, 1439}, {"00012:00", 720, 720}};
  EXPECT_EQ(AppTimeFormat::string(1440, true), "24:00");
  EXPECT_EQ(AppTimeFormat::string(INT_MIN, false), "9:52 PM");
  for (const Row& row : rows) {
    EXPECT_EQ(AppTimeFormat::parse(row.text, true), row.with24) << row.text;
    EXPECT_EQ(AppTimeFormat::parse(row.text, false), row.without) << row.text;
  }
  for (const char* text :
       {"",      " ",    "AM",     ":",         "7:",         ":30",   "7:30:15",
        "-1:30", "+7",   "7:-3",   "24:01",     "7:60",       "13 PM", "0 AM",
        "7:3x",  "7 30", "7 : 30", "7.30 p.m.", "7:30 AM PM", "٧:30",  "18446744073709551623",
        "\xff"})
    for (const bool permits24 : {true, false})
      EXPECT_EQ(AppTimeFormat::parse(text, permits24), none) << text;
}

}  // namespace
}  // namespace velmora
