#include <gtest/gtest.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "PrivateXServer.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/ThemeSounds.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// A session bus of the test's own; its address is in the environment meanwhile.
class PrivateBus {
 public:
  explicit PrivateBus(const std::string& socket) {
    const std::string address = "unix:path=" + socket;
    setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
    daemon_ = test::Child({"dbus-daemon", "--session", "--nofork", "--address=" + address});
    EXPECT_TRUE(test::eventually([&] { return access(socket.c_str(), F_OK) == 0; }));
  }
  ~PrivateBus() { unsetenv("DBUS_SESSION_BUS_ADDRESS"); }

 private:
  test::Child daemon_;
};

std::string historyOfDunst() {
  const auto outcome = CommandProcesses().run({"dunstctl", "history"});
  return outcome && outcome->status == 0 ? outcome->output : "";
}

bool canRunDunst() {
  return test::hasProgram("dunst") && test::hasProgram("Xvfb") && test::hasProgram("dbus-daemon");
}

class Notices : public testing::Test {
 protected:
  // Dunst keeps a notice in its history once it is closed.
  bool isShown(const std::string& text) {
    return test::eventually([&] {
      runFor(loop, Seconds(0.02));
      CommandProcesses().run({"dunstctl", "close-all"});
      return historyOfDunst().find(text) != std::string::npos;
    });
  }
  TempFolder folder;
  EventLoop loop;
  sim::FakeLog log;
  DesktopNotifications notifications{loop, log};
};

TEST_F(Notices, ReachTheDesktopAgainAfterTheBusWasLost) {
  if (!canRunDunst()) GTEST_SKIP() << "dunst, Xvfb or dbus-daemon is missing";
  test::PrivateXServer server;
  {
    const PrivateBus bus(folder / "first");
    test::Child dunst({"dunst", "-conf", "/dev/null"}, server.display());
    ASSERT_TRUE(test::eventually([] { return !historyOfDunst().empty(); }));
    notifications.post("Session over", "Well done & <rested> \xff");
    EXPECT_TRUE(isShown("Session over"));
    EXPECT_NE(historyOfDunst().find("Well done"), std::string::npos);
    EXPECT_NE(historyOfDunst().find("\"Velmora\""), std::string::npos);
  }
  runFor(loop, Seconds(0.05));
  notifications.post("Lost", "nobody is there");  // and nothing breaks
  const PrivateBus bus(folder / "second");
  test::Child dunst({"dunst", "-conf", "/dev/null"}, server.display());
  ASSERT_TRUE(test::eventually([] { return !historyOfDunst().empty(); }));
  notifications.post("Back again", "");
  EXPECT_TRUE(isShown("Back again"));
}

TEST_F(Notices, WithoutAServiceAreDroppedQuietly) {
  if (!test::hasProgram("dbus-daemon")) GTEST_SKIP() << "dbus-daemon is missing";
  const PrivateBus bus(folder / "bus");
  const auto start = std::chrono::steady_clock::now();
  notifications.post("Hello", "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  runFor(loop, Seconds(0.1));
  EXPECT_TRUE(log.notices.empty());
}

class SoundFiles : public testing::Test {
 protected:
  SoundFiles() { putContent(folder / "Ping.wav", "sound"); }
  // A player that notes what it was given.
  std::vector<std::string> player(const std::string& mark, int status,
                                  const std::string& wait = "") {
    const std::string script = "echo " + mark + " $0 >> " + (folder / "played") + "; " + wait +
                               " exit " + std::to_string(status);
    return {"sh", "-c", script};
  }
  std::string played() const { return contentOf(folder / "played"); }
  TempFolder folder;
  EventLoop loop;
  sim::FakeLog log;
};

TEST_F(SoundFiles, ArePlayedByTheFirstPlayerThatCan) {
  ThemeSounds sounds(
      loop, log, folder.path(),
      {{"/nonexistent/player"}, player("fails", 1), player("plays", 0), player("never", 0)});
  sounds.play("Ping");
  sounds.play("No such sound");
  sounds.play("../Ping");
  const std::string file = folder / "Ping.wav";
  const std::string expected = "fails " + file + "\nplays " + file + "\n";
  EXPECT_TRUE(runUntil(loop, [&] { return played() == expected; }));
  runFor(loop, Seconds(0.05));
  EXPECT_EQ(played(), expected);
}

TEST_F(SoundFiles, AreDroppedWhenTooManyPlayAtOnce) {
  ThemeSounds sounds(loop, log, folder.path(), {player("x", 0, "sleep 0.2;")});
  for (int i = 0; i < 20; ++i) sounds.play("Ping");
  runFor(loop, Seconds(0.1));
  sounds.play("Ping");
  runFor(loop, Seconds(0.5));
  EXPECT_EQ(std::ranges::count(played(), '\n'), 4);
  sounds.play("Ping");
  EXPECT_TRUE(runUntil(loop, [&] { return std::ranges::count(played(), '\n') == 5; }));
}

TEST_F(SoundFiles, OfOursPlayOnARealServerWithoutADevice) {
  if (!test::hasProgram("pulseaudio") || !test::hasProgram("paplay"))
    GTEST_SKIP() << "pulseaudio or paplay is missing";
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  setenv("PULSE_SERVER", ("unix:" + (folder / "pulse.sock")).c_str(), 1);
  const std::string capture = folder / "heard.wav";
  test::Child server(
      {"pulseaudio", "-n", "--exit-idle-time=-1", "--daemonize=no", "--use-pid-file=no", "-L",
       "module-null-sink sink_name=quiet", "-L",
       "module-native-protocol-unix auth-anonymous=1 socket=" + (folder / "pulse.sock")});
  ASSERT_TRUE(test::eventually([&] { return access((folder / "pulse.sock").c_str(), F_OK) == 0; }));
  test::Child recorder(
      {"parec", "-d", "quiet.monitor", "--latency-msec=20", "--file-format=wav", capture});
  ASSERT_TRUE(test::eventually([&] { return access(capture.c_str(), F_OK) == 0; }));
  const auto root = std::filesystem::path(__FILE__).parent_path() / "../..";
  const std::string sounds = (root / "resources/sounds").string();
  ThemeSounds player(loop, log, sounds, {{"paplay"}});
  for (const char* name : {"Glass", "Ping", "Hero"}) player.play(name);
  // What comes out of the server is no silence.
  EXPECT_TRUE(runUntil(loop, [&] {
    const std::string heard = contentOf(capture);
    return heard.size() - std::ranges::count(heard, '\0') > 20'000;
  }));
  EXPECT_TRUE(log.debugLines.empty());
  unsetenv("PULSE_SERVER");
  unsetenv("XDG_RUNTIME_DIR");
}

}  // namespace
}  // namespace velmora
