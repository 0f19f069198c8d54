#include <gtest/gtest.h>

#include <cstdlib>

#include "linux/PrivateBus.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/DesktopStatusItem.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

const std::vector<StatusMenuItem> kMenu{
    {"⚡ Running · 24:59", "", ""}, {}, {"Show_Window", "show", ""}, {"Quit", "quit", "q"}};

class StatusItemTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program : {"trayer", "Xvfb", "dbus-daemon", "xdotool"})
      if (!test::hasProgram(program)) GTEST_SKIP() << program;
    bus.start();
  }
  void TearDown() override { unsetenv("DISPLAY"); }
  void startPanel(const std::string& log) {
    const std::string source = std::getenv("VELMORA_SOURCE");
    panel = test::Child({"sh", "-c",
                         "exec /usr/bin/python3 " + source +
                             "/tests/linux/status_panel.py Quit > " + (folder / log)});
  }
  void show(DesktopStatusItem& item) {
    item.onChoice([this](const std::string& action) { chosen.push_back(action); });
    item.setMenu(kMenu);
  }
  bool tells(const std::string& log, const std::string& text) {
    return runUntil(loop, [&] { return contentOf(folder / log).find(text) != std::string::npos; });
  }
  std::string xdo(std::vector<std::string> words) {
    words.insert(words.begin(), "xdotool");
    return CommandProcesses().run(words).value_or(Processes::Outcome{}).output;
  }

  TempFolder folder;
  EventLoop loop;
  test::PrivateBus bus{"DBUS_SESSION_BUS_ADDRESS"};
  test::Child panel;
  std::vector<std::string> chosen;
};

TEST_F(StatusItemTest, IsReadAndClickedByAPanelAndAgainByTheNextOne) {
  unsetenv("DISPLAY");
  DesktopStatusItem item(loop);
  show(item);
  for (const std::string log : {"first", "second"}) {
    startPanel(log);
    EXPECT_TRUE(tells(log, R"("id": "com.velmora.app", "text": "Velmora")"));
    EXPECT_TRUE(tells(log, R"("marks": {"18": 2)")) << "some 240 of 324 pixels are drawn";
    EXPECT_TRUE(
        tells(log, R"(\u00b7 24:59", false], ["separator", true], ["Show__Window", true])"));
    const std::vector<std::string> both{"show", "quit"};
    EXPECT_TRUE(runUntil(loop, [&] { return chosen == both; })) << "a click on the mark, one below";
    chosen.clear();

    auto later = kMenu;
    later[0].title = "now 24:58";
    item.setMenu(later);
    EXPECT_TRUE(tells(log, R"({"titles": ["now 24:58"]})"));
    item.setMenu({{"Open Velmora", "show", ""}});
    EXPECT_TRUE(tells(log, R"({"menu": [["Open Velmora", true]]})"));
    item.setMenu(kMenu);
    panel.kill();
    runFor(loop, Seconds(0.1));
  }
}

TEST_F(StatusItemTest, StandsInATrayOfTheOlderKindWithAMenuOfItsOwn) {
  test::PrivateXServer server;
  server.startWindowManager();
  setenv("DISPLAY", server.display().c_str(), 1);
  DesktopStatusItem item(loop);
  show(item);
  for (int round = 0; round < 2; ++round) {
    test::Child tray({"trayer", "--edge", "top", "--align", "left", "--height", "24"},
                     server.display());
    ASSERT_TRUE(runUntil(loop, [&] {
      return !xdo({"search", "--onlyvisible", "--class", "^Velmora$"}).empty();
    }));
    runFor(loop, Seconds(0.4));  // the tray has found its place
    const std::string mark = xdo({"search", "--onlyvisible", "--class", "^Velmora$"});
    const std::string id = mark.substr(0, mark.find('\n'));
    xdo({"mousemove", "--window", id, "8", "8", "click", "1"});
    EXPECT_TRUE(runUntil(loop, [&] { return chosen == std::vector<std::string>{"show"}; }));
    chosen.clear();

    xdo({"click", "3"});
    runFor(loop, Seconds(0.3));
    xdo({"key", "Up"});
    runFor(loop, Seconds(0.1));
    xdo({"key", "Return"});
    EXPECT_TRUE(runUntil(loop, [&] { return chosen == std::vector<std::string>{"quit"}; }));
    chosen.clear();
  }
}

}  // namespace
}  // namespace velmora
