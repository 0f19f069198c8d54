#include "control/MissionJson.h"
#include "support/ControlDevice.h"

namespace velmora {
namespace {

using Words = std::vector<std::string>;

// Monday 5 January 2026, 09:00 UTC.
struct ScheduleCommandsTest : sim::ControlTest {
  ScheduleService& service = d.app->schedule;

  std::string error(const std::string& line) { return tell(line).error; }
  CommandResult edit(const std::string& mission, const std::string& object, Words more = {}) {
    Words words{"edit", mission, "--json", object};
    words.insert(words.end(), more.begin(), more.end());
    return d.tell("missions", words);
  }
  const std::vector<ScheduleEntry>& all() { return service.entries.get(); }
  json::Value state(std::string_view key) {
    const auto whole = d.state.whole();
    return *whole.find("schedule")->find(key);
  }
};

TEST_F(ScheduleCommandsTest, AMissionIsMadeByHandAndReadBack) {
  const auto added = d.tell("missions", {"add", "--label", "Deep work", "--days", "tue,thu", "--from",
                                         "9:30", "--until", "24:00", "--mode", "soft", "--sites",
                                         "x.com, reddit.com", "--apps", "chromium", "--rhythm",
                                         "pomodoro", "--hud", "off", "--starts", "2026-01-06"});
  ASSERT_EQ(added.status, 0) << added.error;
  EXPECT_EQ(added.output, all()[0].id.text() + "\n");
  EXPECT_EQ(tell("missions").output, "Deep work · Tue, Thu · 09:30 – 24:00 · Soft · Pomodoro\n");
  const std::string shown = tell("missions list --json").output;
  EXPECT_NE(shown.find(R"("label":"Deep work","days":["tue","thu"],"startMinutes":570,)"
                       R"("endMinutes":1440,"isEnabled":true,"recurrence":"weekly",)"
                       R"("recurrenceStartDate":"2026-01-06","excludedDates":[],)"
                       R"("protectionMode":"soft","presetID":)"),
            std::string::npos)
      << shown;
  EXPECT_NE(shown.find(R"("softBlockedApps":[{"bundleID":"org.chromium.Chromium","name":)"
                       R"("org.chromium.Chromium"}],"softBlockedSites":["x.com","reddit.com"],)"
                       R"("rhythm":"pomodoro","showFloatingProgress":false,"startTime":"09:30",)"
                       R"("endTime":"24:00","duration":"14h30","isSchedulable":true,)"
                       R"("overlaps":false,"isActive":false})"),
            std::string::npos)
      << shown;
  const auto before = all();
  EXPECT_EQ(edit("deep work", json::dump((*json::parse(shown)->asArray())[0])).status, 0);
  EXPECT_EQ(all(), before) << "what was shown can be sent back";
  EXPECT_EQ(edit("Deep work", R"({"softBlockedSites":["x.com"],"presetID":null})").status, 0);
  EXPECT_EQ(all()[0].softBlockedSites, std::vector{before[0].softBlockedSites[0]});
  EXPECT_EQ(all()[0].presetID, std::nullopt);

  EXPECT_EQ(run("missions add --planner simple"), 0);
  EXPECT_EQ(run("schedule mode simple"), 0);
  EXPECT_EQ(tell("missions").output, "New mission · Mon to Fri · 09:00 – 17:00 · Brak · Nonstop\n");
}

TEST_F(ScheduleCommandsTest, WhatIsNoMissionIsRefusedWithItsReason) {
  ASSERT_EQ(run("missions add --label One"), 0);
  const auto before = all();
  for (const auto& [object, problem] : std::vector<std::pair<std::string, std::string>>{
           {R"({"startMinutes":"9"})", "startMinutes: expected integer"},
           {R"({"endMinutes":540})", "A mission starts from 00:00 on and ends later on the same "
                                     "day, at 24:00 at the latest"},
           {R"({"endMinutes":1441})", "A mission starts from 00:00 on and ends later on the same "
                                      "day, at 24:00 at the latest"},
           {R"({"days":["monday"]})", "days: expected days from mon to sun"},
           {R"({"days":[]})", "A weekly mission has a day of the week"},
           {R"({"recurrence":"once"})", "A mission that takes place once has a date"},
           {R"({"recurrence":"yearly"})", "recurrence: expected one of the known names"},
           {R"({"scheduledDate":"2026-02-30"})", "scheduledDate: expected a day such as 2026-11-23"},
           {R"({"recurrenceStartDate":"2026-02-02","recurrenceEndDate":"2026-02-01"})",
            "A series ends no earlier than it starts"},
           {R"({"softBlockedSites":["not a site"]})", "softBlockedSites: expected sites such as x.com"},
           {R"({"softBlockedApps":[{"name":"x"}]})",
            "softBlockedApps: expected ids of applications, or objects with bundleID and name"},
           {R"({"label":" "})", "A mission has a name"},
           {R"({"colour":1})", "a mission has no “colour”"}})
    EXPECT_EQ(edit("One", object).error, problem) << object;
  for (const char* line :
       {"missions dance", "missions add --colour red", "missions add --label", "missions week today",
        "missions create 2026-01-06 10:00 9:00", "missions edit", "missions list --planner both",
        "missions edit One --label A --scope one", "schedule mode", "schedule perhaps", "next 1"})
    EXPECT_EQ(run(line), 2) << line;
  for (const char* line : {"missions remove Two", "missions add --preset None", "missions undo now",
                           "missions add --from noon", "missions paste 2026-01-06",
                           "missions edit One --label A --scope one --day 2026-01-10",
                           "missions edit One --label A --to 2026-01-10",
                           "missions create 2026-01-06 10:00 11:00 --planner simple"})
    EXPECT_NE(run(line), 0) << line;
  EXPECT_EQ(all(), before);
  ASSERT_EQ(run("missions add --label one"), 0);
  EXPECT_EQ(run("missions remove ONE"), 1) << "two have this name";
  EXPECT_EQ(run("missions remove " + all()[1].id.text()), 0);
}

TEST_F(ScheduleCommandsTest, OccurrencesMoveAloneOrWithThoseThatFollow) {
  ASSERT_EQ(run("missions add --label Series --days mon,wed --from 10:00 --until 11:00"), 0);
  const std::string series = all()[0].id.text();
  const auto one = edit(series, R"({"startMinutes":660,"endMinutes":720})",
                        {"--scope", "one", "--day", "2026-01-07", "--to", "2026-01-08", "--action", "Move"});
  EXPECT_EQ(one.output, "{\"id\":\"" + all()[1].id.text() + "\",\"day\":\"2026-01-08\"}\n");
  EXPECT_EQ(tell("missions week 2026-01-11").output,
            "[{\"id\":\"" + series + "-789264000\",\"entryID\":\"" + series +
                R"(","day":"2026-01-05","startMinutes":600,"endMinutes":660},{"id":")" +
                all()[1].id.text() + "-789523200\",\"entryID\":\"" + all()[1].id.text() +
                R"(","day":"2026-01-08","startMinutes":660,"endMinutes":720}])" + "\n");
  EXPECT_EQ(run("missions edit Series --until 12:00 --scope future --day 2026-01-14"), 1)
      << "two are called so now";
  EXPECT_EQ(run("missions edit " + series + " --until 12:00 --scope future --day 2026-01-14"), 0);
  EXPECT_EQ(all()[1].endMinutes, 720);
  EXPECT_EQ(run("missions remove " + series + " --scope one --day 2026-01-05"), 0);
  EXPECT_EQ(tell("missions undo").output, "Delete Occurrence\n");
  EXPECT_EQ(tell("missions undo").output, "Edit Future Occurrences\n");
  EXPECT_EQ(tell("missions edit " + all()[1].id.text() + " --to 2026-01-09 --action Move").output,
            "{\"id\":\"" + all()[1].id.text() + "\",\"day\":\"2026-01-09\"}\n");
  EXPECT_EQ(all()[1].days, Weekdays{Weekday::fri});
  EXPECT_EQ(state("undo"), json::Value("Move Mission"));
  EXPECT_EQ(run("missions cut " + series + " --scope future --day 2026-01-12"), 0);
  EXPECT_EQ(run("missions paste 2026-01-10"), 0);
  EXPECT_EQ(run("missions duplicate " + all()[2].id.text() + " 2026-01-11"), 0);
  EXPECT_EQ(tell("missions create 2026-01-06 540 9:30").output.substr(0, 7), "{\"id\":\"");
  EXPECT_EQ(all().size(), 5u);
  EXPECT_EQ(tell("missions plan 9:00 10:00").output,
            R"([{"type":"focus","start":0,"end":1500},{"type":"shortBreak","start":1500,"end":1800},)"
            R"({"type":"focus","start":1800,"end":3300},{"type":"shortBreak","start":3300,)"
            R"("end":3600}])" "\n");
}

TEST_F(ScheduleCommandsTest, HardRoutineHoldsUntilThePassAndThePassIsNotLostUnasked) {
  ASSERT_EQ(run("missions add --label Mission --from 8:00 --until 12:00"), 0);
  ASSERT_EQ(run("missions add --label Later --from 13:00 --until 14:00"), 0);
  EXPECT_EQ(tell("next").output, "The schedule is off\n");
  EXPECT_EQ(run("schedule on"), 0);
  EXPECT_EQ(tell("next").output.substr(0, 23), "Later · Today 13:00 ·");
  EXPECT_EQ(error("missions disable Mission"),
            "This mission is running: change it when it has ended");
  EXPECT_EQ(error("schedule mode simple"), "A mission is running");
  EXPECT_EQ(run("schedule hard-routine on"), 0);
  EXPECT_EQ(tell("schedule").output, "on · calendar · hard routine on\n");
  const auto before = all();
  for (const char* line :
       {"schedule off --yes", "schedule hard-routine off", "schedule mode simple --interrupt",
        "missions disable Mission", "missions remove Mission", "missions cut Mission",
        "missions edit Mission --until 13:00", "missions remove Mission --scope one --day 2026-01-05",
        "missions create 2026-01-05 7:00 9:01", "missions add --from 7:00 --until 9:30 --mode soft",
        "missions edit Later --from 7:00 --until 9:05"})
    EXPECT_EQ(run(line), 1) << line;
  EXPECT_EQ(run("missions undo"), 0) << "Later takes nothing from what runs";
  EXPECT_EQ(run("missions undo"), 1) << "Mission itself";
  EXPECT_EQ(run("missions redo"), 0);
  EXPECT_EQ(all(), before);
  EXPECT_EQ(state("isHardRoutineActive"), json::Value(true));
  EXPECT_EQ(*(*state("entries").asArray())[0].find("isActive"), json::Value(true));

  ASSERT_EQ(run("pass"), 0);
  world.advance(Seconds(2));
  EXPECT_EQ(state("hasPass"), json::Value(true));
  EXPECT_EQ(error("schedule mode simple --interrupt"),
            "Hard routine keeps the planner until the mission's time is over");
  EXPECT_EQ(run("schedule hard-routine off"), 0);
  for (const char* line : {"schedule off", "schedule mode simple --interrupt"})
    EXPECT_EQ(error(line), "This would forfeit the emergency pass that is in force") << line;
  EXPECT_EQ(state("hasPass"), json::Value(true));
  EXPECT_EQ(run("schedule on"), 0) << "nothing changes";
  EXPECT_EQ(run("schedule off --yes"), 0);
  EXPECT_EQ(state("hasPass"), json::Value(false));
}

TEST_F(ScheduleCommandsTest, AHardMissionHoldsItsPreset) {
  const auto changed = [&](const Words& words) { return d.tell("presets", words).status == 0; };
  ASSERT_EQ(run("missions add --label Mission --from 8:00 --until 12:00"), 0);
  ASSERT_EQ(edit("Mission", R"({"presetID":null})").status, 0);
  ASSERT_EQ(run("schedule on"), 0);
  EXPECT_TRUE(changed({"allow-site", "Deep Work", "news.org"}));
  ASSERT_EQ(run("schedule hard-routine on"), 0);
  const auto before = d.app->presets.presets.get();
  for (const auto& words : std::vector<Words>{{"allow-site", "Deep Work", "reddit.com"},
                                              {"allow-app", "Deep Work", "chromium"},
                                              {"remove", "Deep Work"},
                                              {"move", "Deep Work", "Writing"},
                                              {"move", "Writing", "Deep Work"}})
    EXPECT_FALSE(changed(words)) << words[0];
  EXPECT_EQ(d.app->presets.presets.get(), before);
  for (const auto& words : std::vector<Words>{{"disallow-site", "Deep Work", "github.com"},
                                              {"allow-site", "Writing", "reddit.com"},
                                              {"move", "Writing", "Editing"},
                                              {"remove", "Writing"}})
    EXPECT_TRUE(changed(words)) << words[0];
  EXPECT_EQ(run("missions add --from 7:00 --until 13:00 --preset Editing"), 1);
  EXPECT_EQ(run("missions add --from 7:00 --until 13:00"), 0) << "by the preset of the other";
  EXPECT_EQ(d.app->timer.scheduledBlockID.get(), all()[1].id);
  EXPECT_EQ(d.app->presets.activeContext.get()->allowedDomains,
            (std::vector<std::string>{"openai.com", "chatgpt.com", "news.org"}));
  EXPECT_TRUE(changed({"move", "Editing", "Deep Work"})) << "this one names its preset";
  EXPECT_FALSE(changed({"remove", "Deep Work"}));
  ASSERT_EQ(run("pass"), 0);
  world.advance(Seconds(2));
  EXPECT_TRUE(changed({"remove", "Deep Work"}));
}

TEST_F(ScheduleCommandsTest, AHardSessionHoldsItsPreset) {
  ASSERT_EQ(run("settings set isHardcore true"), 0);
  ASSERT_EQ(run("focus Writing"), 0);
  EXPECT_EQ(run("presets allow-site Writing reddit.com"), 1);
  EXPECT_EQ(run("presets remove Writing"), 1);
  EXPECT_EQ(run("presets allow-site Editing reddit.com"), 0);
}

TEST_F(ScheduleCommandsTest, ADayAndItsMidnights) {
  const auto added = d.tell("missions", {"add", "--date", "2026-01-07", "--from", "12 AM", "--until",
                                         "12 AM"});
  ASSERT_EQ(added.status, 0) << added.error;
  EXPECT_EQ(tell("missions").output, "New mission · 2026-01-07 · 00:00 – 24:00 · Brak · Nonstop\n");
  EXPECT_EQ(all()[0].days, Weekdays{Weekday::wed});
  EXPECT_EQ(run("missions add --from 24:00 --until 24:00"), 1);
  EXPECT_EQ(run("missions add --recurrence weekly --date 2026-01-07"), 0);
  EXPECT_EQ(all()[1].recurrence, ScheduleRecurrence::weekly);

  const std::string series = all()[1].id.text();
  ASSERT_EQ(edit(series, R"({"excludedDates":["2026-01-08"],"recurrenceEndDate":"2026-01-06"})").status,
            0);
  ASSERT_EQ(edit(series, R"({"recurrence":"once","scheduledDate":"2026-01-08"})").status, 0);
  const Calendar& calendar = service.calendar();
  EXPECT_TRUE(all()[1].occurs(calendar.instant(*missions::parseDay("2026-01-08"), 0), calendar))
      << "what was cut out of the series";
}

TEST_F(ScheduleCommandsTest, AllThatAMissionListsIsShownAndKeepsItsRecord) {
  ASSERT_EQ(run("missions add --mode soft --sites x.com,reddit.com"), 0);
  auto entries = all();
  entries[0].softBlockedSites[0].isBlocked = false;  // it is blocked all the same
  entries[0].softBlockedSites[1].domain = "reddit.com:80@evil.org";
  service.replaceEntries(entries, nullptr, "");
  const auto shown = *json::parse(tell("missions list --json").output);
  EXPECT_EQ(json::dump(*(*shown.asArray())[0].find("softBlockedSites")),
            R"(["x.com","reddit.com:80@evil.org"])");
  EXPECT_EQ(edit(all()[0].id.text(), json::dump((*shown.asArray())[0])).status, 0);
  EXPECT_EQ(all(), entries);
  EXPECT_EQ(edit(all()[0].id.text(), R"({"softBlockedSites":["reddit.com"]})").status, 0);
  ASSERT_EQ(all()[0].softBlockedSites.size(), 1u);
  EXPECT_NE(all()[0].softBlockedSites[0].id, entries[0].softBlockedSites[1].id) << "another site";
}

}  // namespace
}  // namespace velmora
