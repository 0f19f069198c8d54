#include "core/StoredSettings.h"
#include "support/ControlDevice.h"

namespace velmora {
namespace {

using Words = std::vector<std::string>;

struct CommandTableTest : sim::ControlTest {
  TimerService& timer() { return d.app->timer; }
};

TEST_F(CommandTableTest, StartStopsAtTheGateAndNamesTheWayOn) {
  const auto result = d.tell("start");
  EXPECT_EQ(result.status, 1);
  EXPECT_NE(result.hint.find("velmora focus PRESET"), std::string::npos) << result.hint;
  EXPECT_EQ(d.status("focus", {"deep", "work", "--task", "Write", "it"}), 0);
  EXPECT_FALSE(d.app->screens.isGateShowing());
  EXPECT_TRUE(timer().isRunning.get());
  EXPECT_EQ(d.app->presets.activeContext.get()->taskName, "Write it");
  EXPECT_EQ(run("focus Writing"), 1) << "a running focus keeps its choice";
  EXPECT_EQ(d.app->presets.activeContext.get()->presetName, "Deep Work");
}

TEST_F(CommandTableTest, AGateIsAnsweredEvenWhileABreakRuns) {
  EXPECT_EQ(run("start"), 1);
  EXPECT_EQ(run("skip"), 0);
  world.advance(Seconds(1));
  ASSERT_TRUE(timer().isRunning.get() && d.app->screens.isGateShowing());
  EXPECT_EQ(run("focus Writing"), 0);
  EXPECT_FALSE(d.app->screens.isGateShowing());
  EXPECT_EQ(d.app->presets.activeContext.get()->presetName, "Writing");
}

TEST_F(CommandTableTest, AHardSessionRefusesEveryWayOutButThePass) {
  for (const char* line : {"mode soft", "settings set isHardcore true", "sites add reddit.com",
                           "apps add steam", "start"})
    EXPECT_EQ(run(line), 0) << line;
  for (const char* line :
       {"pause", "reset", "skip", "switch shortBreak", "quit", "mode brak", "sites remove reddit.com",
        "sites off reddit.com", "apps remove steam", "apps off steam", "stopwatch pause",
        "stopwatch reset", "settings set isHardcore false", "settings set focusDuration 1",
        "settings set isBrakModeEnabled true", "settings set focusSessionLimit 1"}) {
    const auto result = tell(line);
    EXPECT_EQ(result.status, 1) << line;
    EXPECT_FALSE(result.error.empty()) << line;
    EXPECT_EQ(result.error.find('\n'), std::string::npos) << line;
    EXPECT_EQ(result.error.find("velmora"), std::string::npos) << "a window shows it: " << line;
  }
  EXPECT_TRUE(timer().isRunning.get());
  EXPECT_FALSE(d.hasQuit);
  EXPECT_EQ(d.status("sites", {"add", "x.com"}), 0) << "tightening is welcome";
  EXPECT_EQ(d.status("settings", {"set", "soundEnabled", "off"}), 0);
  timer().pause();
  EXPECT_FALSE(timer().isRunning.get()) << "the service itself never refuses";

  EXPECT_EQ(d.status("start"), 0);
  EXPECT_EQ(d.status("pass"), 0);
  EXPECT_FALSE(timer().isSessionActive.get());
  EXPECT_EQ(d.status("quit"), 0);
  EXPECT_TRUE(d.hasQuit);
  d.tell("start");
  EXPECT_EQ(d.tell("pass").error, "Emergency pass already used this week");
}

TEST_F(CommandTableTest, SettingsKeepTheScreensRangesAndAreSaved) {
  EXPECT_EQ(d.status("settings", {"set", "focusDuration", "120"}), 0);
  EXPECT_EQ(loadPomodoroSettings(d.preferences).focusDuration, 120);
  for (const char* bad : {"focusDuration 0", "focusDuration 121", "focusDuration -5",
                          "focusDuration ten", "autoStart perhaps", "nothing 1"})
    EXPECT_EQ(run(std::string("settings set ") + bad), 1) << bad;
  EXPECT_EQ(d.tell("settings", {"get", "focusDuration"}).output, "120\n");
  EXPECT_EQ(run("settings set"), 2);
}

TEST_F(CommandTableTest, ListsTakeSitesAppsAndPresets) {
  EXPECT_EQ(d.status("sites", {"add", "https://WWW.Reddit.com/r/all", "x.com"}), 0);
  EXPECT_EQ(d.tell("sites").output, "https://WWW.Reddit.com/r/all\nx.com\n");
  EXPECT_EQ(run("sites remove reddit.com"), 0);
  EXPECT_EQ(run("sites remove reddit.com"), 1);
  EXPECT_EQ(d.status("sites", {"add", "\xff.com"}), 2) << "not text";

  EXPECT_EQ(d.status("apps", {"add", "chromium", "My", "browser"}), 0);
  EXPECT_EQ(d.app->lists.blockedApps.get()[0].bundleID, "org.chromium.Chromium");
  d.installed.found = {{"Editor", "org.editor", "", "/editor.png"}};
  for (const char* list :
       {"[]\n", "[{\"id\":\"org.editor\",\"name\":\"Editor\",\"icon\":\"/editor.png\"}]\n"}) {
    EXPECT_EQ(d.tell("applications", {"--json"}).output, list);
    world.settle();
  }

  EXPECT_EQ(d.status("presets", {"add", "Thesis"}), 0);
  EXPECT_EQ(d.status("presets", {"allow-site", "thesis", "arxiv.org"}), 0);
  EXPECT_EQ(d.status("presets", {"move", "Thesis", "Deep Work"}), 0);
  EXPECT_EQ(d.app->presets.presets.get()[0].allowedDomains(), Words{"arxiv.org"});
  EXPECT_EQ(d.status("presets", {"remove", "Nothing"}), 1);
  EXPECT_EQ(d.status("presets", {"note", "Thesis", ""}), 0);
  EXPECT_EQ(d.app->presets.presets.get()[0].note, "");
  EXPECT_EQ(d.status("presets", {"note", "Thesis"}), 2);
  d.tell("presets", {"add", "Thesis"});
  const Uuid second = d.app->presets.presets.get().back().id;
  d.tell("focus", {second.text()});
  EXPECT_EQ(d.app->presets.activeContext.get()->presetID, second) << "two of one name";
}

TEST_F(CommandTableTest, AMissionHasTheClockAndTheMode) {
  d.app->lifecycle.finishLaunching();
  TimerService::ScheduledBlock block;
  block.missionName = "Thesis";
  block.endDate = d.clock.now() + Seconds(3600);
  timer().startScheduledBlock(block);
  for (const char* line : {"screen stopwatch", "screen countdown", "stopwatch start",
                           "countdown start", "mode soft"})
    EXPECT_NE(tell(line).error.find("Thesis"), std::string::npos) << line;
  EXPECT_FALSE(timer().isStopwatchMode.get());
  EXPECT_EQ(run("screen pomodoro"), 0);
}

TEST_F(CommandTableTest, TheStateTellsWhatIsClosedAndWhatARowNeedsBesideItsRecord) {
  const auto state = [&] { return d.state.whole(); };
  const auto dumped = [&](const char* member) { return json::dump(*state().find(member)); };
  d.installed.found = {{"Editor", "org.editor", "", "/editor.png"}};
  const auto before = *state().find("applicationsRevision")->asInteger();
  for (const char* line : {"mode soft", "sites add https://WWW.Reddit.com/r/all",
                           "apps add org.editor", "presets allow-app Editing org.editor",
                           "applications", "start"}) EXPECT_EQ(run(line), 0) << line;
  world.advance(Seconds(1));
  EXPECT_EQ(*state().find("applicationsRevision")->asInteger(), before + 1);
  run("applications");
  world.settle();
  EXPECT_EQ(*state().find("applicationsRevision")->asInteger(), before + 1) << "nothing new";
  EXPECT_NE(dumped("sites").find(R"("cleanDomain":"reddit.com")"), std::string::npos);
  for (const char* list : {"apps", "presets"})
    EXPECT_NE(dumped(list).find(R"("icon":"/editor.png")"), std::string::npos) << list;
  const auto status = d.tell("status").output;
  EXPECT_NE(status.find("Sites: 1 blocked · focus\nApps: blocklist\n"), std::string::npos) << status;
  EXPECT_NE(dumped("enforcement").find(
                R"("sites":{"domains":["reddit.com"],"session":"focus"},"apps":"blocklist")"),
            std::string::npos) << dumped("enforcement");

  const auto tabs = [&] {
    std::string out;
    const json::Value now = state();
    for (const auto& tab : *now.find("tabs")->asArray())
      if (*tab.find("shown")->asBool()) out += *tab.find("name")->asString() + " ";
    return out;
  };
  EXPECT_EQ(tabs(), "focus schedule sounds extensions settings ");
  run("modules on habit");
  run("modules off sounds");
  EXPECT_EQ(tabs(), "focus schedule progress extensions settings ");
}

TEST_F(CommandTableTest, ACountdownIsSetInMinutesAndSecondsAndBringsItsScreen) {
  for (const char* line : {"countdown set 1:30", "countdown start"}) EXPECT_EQ(run(line), 0);
  EXPECT_EQ(timer().countdownRemaining.get(), 90);
  EXPECT_TRUE(timer().isChronoCountdownMode.get() && timer().countdownRunning.get());
}

TEST_F(CommandTableTest, AWindowIsToldAllThatItDraws) {
  for (const char* line : {"window hide", "window show", "hud move -20 40.5", "dock off", "sidebar off",
                           "welcome done", "settings set uses24HourTime off", "alive", "start",
                           "presets color writing #0a0b0c", "presets icon writing film"})
    EXPECT_EQ(run(line), line == std::string("start") ? 1 : 0) << line;
  EXPECT_EQ(d.app->presets.presets.get()[2].colorHex, 0x0a0b0c);
  world.advance(Seconds(1));
  d.app->schedule.stopMonitoring();  // which would take the notices of no mission away
  for (const char* mission : {"A", "B"}) {
    d.app->screens.showScheduledTransition({mission, "Soft", "9 – 10", Seconds(5)});
    world.advance(Seconds(4));
  }
  for (const char* preset : {"Deep Work", "Editing", "Writing"})
    d.tell("presets", {"remove", preset});
  EXPECT_EQ(d.app->presets.presets.get().size(), 3u) << "a gate always has a way through";
  d.app->screens.setScreenLock(ScreenLock::asked);
  EXPECT_EQ(json::dump(*d.state.whole().find("surfaces")),
            R"({"window":{"wanted":true,"request":2},"gate":{"showing":true,"reason":)"
            R"("Choose your next focus","lock":"asked"},"hud":{"showing":false,"x":-20.0,"y":40.5},)"
            R"("notice":{"mission":"B","presetName":"Soft","timeRange":"9 – 10","duration":5.0}})");
  d.relaunch(Seconds(1));
  EXPECT_EQ(json::dump(*StateDocument(*d.app, d.catalog, d.links, "").whole().find("desktop")),
            R"({"showInDock":false,"sidebar":false,"launchAtLogin":false,"guardian":false,"locked":false,)"
            R"("welcomed":true,"uses24HourTime":false})");
}

TEST_F(CommandTableTest, UnknownCommandsAreWrongUsage) {
  for (const char* line : {"dance", "switch nap", "countdown set 0", "window", "hud move 1 1e9",
                           "hud move a b", "notice", "dock perhaps", "sidebar perhaps"}) EXPECT_EQ(run(line), 2) << line;
  for (const auto& command : CommandTable::commands())
    EXPECT_NE(d.tell(command.name, {"\xff"}).status, 0) << command.name;
}

struct ControlServerTest : sim::ControlTest {
  auto connect() { return d.listeners.connect("control"); }
  std::string ask(const auto& client, std::string_view line) {
    client->received.clear();
    client->send(line);
    world.settle();
    return client->received;
  }
};

TEST_F(ControlServerTest, AnswersLinesAndSurvivesNonsense) {
  const auto client = connect();
  EXPECT_EQ(ask(client, "{\"id\":7,\"command\":\"mode\"}\n"),
            "{\"id\":7,\"status\":0,\"output\":\"brak\\n\",\"error\":\"\"}\n");
  for (const std::string& bad :
       Words{"nonsense", "[]", "{}", std::string(5000, '['), std::string("\xff\0", 2),
             R"({"command":5})", R"({"command":"mode","arguments":1})",
             R"({"command":"mode","arguments":[1]})", R"({"id":{"a":[]},"command":"nothing"})",
             R"({"command":"sites","arguments":["add","\u0000"]})"})
    EXPECT_NE(ask(client, bad + "\n").find("\"status\":2"), std::string::npos) << bad;
  ask(client, "{\"command\":\"mo");
  EXPECT_NE(ask(client, "de\"}\n").find("brak"), std::string::npos) << "a line in two pieces";
  EXPECT_FALSE(client->isClosedByServer);
}

TEST_F(ControlServerTest, AnEndlessLineEndsItsOwnConnectionOnly) {
  const auto greedy = connect();
  const auto other = connect();
  for (int i = 0; i < 3; ++i) ask(greedy, std::string(40 * 1024, 'x'));
  EXPECT_TRUE(greedy->isClosedByServer);
  EXPECT_NE(ask(other, "{\"command\":\"mode\"}\n").find("brak"), std::string::npos);
  EXPECT_EQ(d.server.clients(), 1u);
}

TEST_F(ControlServerTest, ASubscriberHearsTheStateAndThenOnlyWhatChanged) {
  world.advance(Seconds(0.2));  // to the end of the launch
  const auto client = connect();
  EXPECT_NE(ask(client, "{\"subscribe\":true}\n").find("{\"state\":{"), std::string::npos);
  client->received.clear();
  d.tell("sites", {"add", "x.com"});
  world.settle();
  const auto news = json::parse(client->received);
  ASSERT_TRUE(news && news->find("changes"));
  EXPECT_EQ(news->find("changes")->asObject()->size(), 1u) << client->received;
  EXPECT_TRUE(news->find("changes")->find("sites"));

  client->received.clear();
  d.tell("modules", {"off", "sounds"});
  d.tell("modules", {"on", "sounds"});
  world.settle();
  EXPECT_EQ(client->received, "") << "nothing has changed after all";
}

TEST_F(ControlServerTest, ASlowSubscriberSkipsWhatItMissedAndPilesNothingUp) {
  const auto slow = connect();
  ask(slow, "{\"subscribe\":true}\n");
  slow->stall(true);
  slow->received.clear();
  d.tell("mode", {"soft"});
  d.tell("start");
  world.advance(Seconds(600));
  const size_t whileStalled = slow->received.size();
  EXPECT_LT(whileStalled, 4000u);
  slow->stall(false);
  world.settle();
  const std::string last = slow->received.substr(whileStalled);
  EXPECT_EQ(std::ranges::count(last, '\n'), 1);
  EXPECT_NE(last.find("\"remaining\":900"), std::string::npos) << last;
}

TEST_F(ControlServerTest, ASubscriberHearsOnMondayThatThePassIsBack) {
  d.tell("mode", {"soft"});
  d.tell("start");
  d.tell("pass");
  d.tell("stopwatch", {"reset"});  // the pass leaves it going
  const Calendar calendar(d.clock.zone());
  const Date monday = calendar.instant(calendar.day(d.clock.now()) + std::chrono::days(7), 0);
  world.jump(monday - d.clock.now() - Seconds(5));
  const auto client = connect();
  ask(client, "{\"subscribe\":true}\n");
  client->received.clear();
  world.advance(Seconds(80));
  EXPECT_NE(client->received.find("\"available\":true"), std::string::npos) << client->received;
}

TEST(MergePatch, TurnsOneDocumentIntoTheOther) {
  const auto parse = [](const char* text) { return *json::parse(text); };
  const auto patch = [&](const char* a, const char* b) {
    const auto p = mergePatch(parse(a), parse(b));
    return p ? json::dump(*p) : "";
  };
  EXPECT_EQ(patch(R"({"a":1,"b":{"c":[1],"d":2}})", R"({"a":1,"b":{"c":[1,2],"d":2}})"),
            R"({"b":{"c":[1,2]}})");
  EXPECT_EQ(patch(R"({"a":1,"b":2})", R"({"b":2,"e":3})"), R"({"e":3,"a":null})");
}

}  // namespace
}  // namespace velmora
