#include <gtest/gtest.h>

#include <cstdlib>

#include "linux/PrivateBus.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/ThemeSounds.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

class Notices : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program : {"dunst", "Xvfb", "dbus-daemon", "pulseaudio", "paplay"})
      if (!test::hasProgram(program)) GTEST_SKIP() << program;
  }
  bool appears(const std::string& file) {
    return runUntil(loop, [&] { return std::filesystem::exists(file); });
  }
  // Dunst keeps a notice in its history once it is closed.
  bool isShown(const std::string& text) {
    return runUntil(loop, [&] {
      CommandProcesses().run({"dunstctl", "close-all"});
      return CommandProcesses().run({"dunstctl", "history"})->output.find(text) != text.npos;
    });
  }
  TempFolder folder;
  EventLoop loop;
  sim::FakeLog log;
};

TEST_F(Notices, ReachTheDesktopAgainAfterTheBusWasLost) {
  test::PrivateXServer server;
  DesktopNotifications notifications(loop, log);
  for (const std::string title : {"Before", "Again"}) {
    test::PrivateBus bus("DBUS_SESSION_BUS_ADDRESS");
    notifications.post("Lost", "nobody is there");
    bus.start();
    test::Child dunst({"dunst", "-conf", "/dev/null"}, server.display());
    ASSERT_TRUE(isShown("data"));  // its history answers
    notifications.post(title, "Well done & <rested> \xff");
    EXPECT_TRUE(isShown(title));
  }
}

TEST_F(Notices, SoundsAreHeardFromTheFirstPlayerThatCanAndAFewAtOnce) {
  const std::string socket = folder / "pulse.sock", heard = folder / "heard.wav";
  setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
  setenv("PULSE_RUNTIME_PATH", folder.path().c_str(), 1);
  test::Child server({"pulseaudio", "-n", "--use-pid-file=no", "-L", "module-null-sink", "-L",
                      "module-native-protocol-unix auth-anonymous=1 socket=" + socket});
  ASSERT_TRUE(appears(socket));
  test::Child parec({"parec", "-d", "null.monitor", "--latency-msec=20", "--file-format", heard});
  ASSERT_TRUE(appears(heard));
  const char* source = std::getenv("VELMORA_SOURCE");  // set by ctest
  ASSERT_TRUE(source) << "VELMORA_SOURCE names the folder that holds resources/";
  const std::string player = "echo >> " + (folder / "runs") + "; exec paplay $0";
  ThemeSounds sounds(loop, log, std::string(source) + "/resources/sounds",
                     {{"/nonexistent"}, {"false"}, {"sh", "-c", player}});
  for (int i = 0; i < 20; ++i) sounds.play("Glass");
  const auto isLoud = [&] { return contentOf(heard).find_last_not_of('\0') > 20'000; };
  EXPECT_TRUE(runUntil(loop, isLoud));
  EXPECT_TRUE(runUntil(loop, [&] { return contentOf(folder / "runs") == "\n\n\n\n"; }));
}

}  // namespace
}  // namespace velmora
