#include <gtest/gtest.h>
#include <stdlib.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LogindSession.h"

namespace velmora {
namespace {

using test::Child;

// A system bus of the test's own, with a login manager that does as it is told.
class LogindSessionTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::hasProgram("dbus-daemon")) GTEST_SKIP() << "needs dbus-daemon";
    if (!std::filesystem::exists("/usr/lib/python3/dist-packages/dbusmock")) {
      GTEST_SKIP() << "needs python3-dbusmock";
    }
    char name[] = "/tmp/velmora-bus-XXXXXX";
    folder = mkdtemp(name);
    std::ofstream(folder / "bus.conf")
        << "<busconfig><type>system</type><listen>unix:path=" << (folder / "bus").string()
        << "</listen><auth>EXTERNAL</auth><policy context='default'><allow send_destination='*'/>"
           "<allow receive_sender='*'/><allow own='*'/><allow user='*'/></policy></busconfig>";
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + (folder / "bus").string()).c_str(), 1);
  }
  void TearDown() override {
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    sd_bus_close_unref(bus);
    logind.kill();
    daemon.kill();
    if (!folder.empty()) std::filesystem::remove_all(folder);
  }

  void startBus() {
    daemon = Child({"dbus-daemon", "--nofork", "--config-file", (folder / "bus.conf").string()});
    bus = sd_bus_close_unref(bus);
    ASSERT_TRUE(test::eventually([&] { return sd_bus_open_system(&bus) >= 0; }));
  }
  void stopBus() {
    daemon.kill();
    std::filesystem::remove(folder / "bus");
  }
  void startLogind() {
    logind = Child({"/usr/bin/python3", "-m", "dbusmock", "--template", "logind"});
    ASSERT_TRUE(test::eventually([&] {
      return sd_bus_call_method(bus, "org.freedesktop.login1", "/org/freedesktop/login1",
                                "org.freedesktop.login1.Manager", "ListSeats", nullptr, nullptr,
                                "") >= 0;
    }));
  }

  void mock(const char* path, const char* method, const char* types, auto... arguments) {
    sd_bus_error error = SD_BUS_ERROR_NULL;
    EXPECT_GE(sd_bus_call_method(bus, "org.freedesktop.login1", path, "org.freedesktop.DBus.Mock",
                                 method, &error, nullptr, types, arguments...),
              0)
        << method << ": " << (error.message ? error.message : "");
    sd_bus_error_free(&error);
  }
  static constexpr const char* kManager = "/org/freedesktop/login1";
  static constexpr const char* kSession = "/org/freedesktop/login1/session/c1";
  void addSession(bool active) {
    mock(kManager, "AddSession", "ssusb", "c1", "seat0", uint32_t(getuid()), "someone",
         int(active));
  }
  // As for a program that was started inside the session.
  void nameSessionOfProcess() {
    mock(kManager, "AddMethod", "sssss", "org.freedesktop.login1.Manager", "GetSessionByPID", "u",
         "o", "ret = '/org/freedesktop/login1/session/c1'");
  }
  // As for a service of the user manager.
  void nameDisplayOfUser() {
    mock(kManager, "AddMethod", "sssss", "org.freedesktop.login1.Manager", "GetUser", "u", "o",
         "ret = '/org/freedesktop/login1/user/%d' % args[0]");
    const std::string path = "/org/freedesktop/login1/user/" + std::to_string(getuid());
    EXPECT_GE(sd_bus_set_property(bus, "org.freedesktop.login1", path.c_str(),
                                  "org.freedesktop.login1.User", "Display", nullptr, "(so)", "c1",
                                  kSession),
              0);
  }
  void set(const char* property, bool value) {
    mock(kSession, "UpdateProperties", "sa{sv}", "org.freedesktop.login1.Session", 1, property, "b",
         int(value));
  }
  void signalManager(const char* name) {
    mock(kManager, "EmitSignal", "sssav", "org.freedesktop.login1.Manager", name, "so", 2, "s",
         "c1", "o", kSession);
  }

  // Runs the loop until the session is as expected, at most three seconds.
  bool becomes(bool onConsole) {
    return runsUntil([&] { return session->onConsoleAndUnlocked() == onConsole; });
  }
  bool staysFor(Seconds time, bool onConsole) {
    bool stayed = true;
    auto look = loop.every(Seconds(0.005), Seconds(0), [&] {
      stayed = stayed && session->onConsoleAndUnlocked() == onConsole;
    });
    auto end = loop.after(time, [&] { loop.quit(); });
    loop.run();
    return stayed;
  }
  bool runsUntil(const std::function<bool()>& holds) {
    auto look = loop.every(Seconds(0.005), Seconds(0), [&] {
      if (holds()) loop.quit();
    });
    auto end = loop.after(Seconds(3), [&] { loop.quit(); });
    loop.run();
    return holds();
  }
  void startSession() { session.emplace(loop, Seconds(0.2)); }

  std::filesystem::path folder;
  Child daemon, logind;
  sd_bus* bus = nullptr;
  EventLoop loop;
  std::optional<LogindSession> session;
};

TEST_F(LogindSessionTest, FollowsTheSessionOfTheProcess) {
  startBus();
  startLogind();
  addSession(true);
  nameSessionOfProcess();
  set("LockedHint", true);
  const auto start = std::chrono::steady_clock::now();
  startSession();
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(50));
  EXPECT_TRUE(session->onConsoleAndUnlocked()) << "not known yet";
  ASSERT_TRUE(becomes(false));
  set("LockedHint", false);
  EXPECT_TRUE(becomes(true));
  set("Active", false);
  EXPECT_TRUE(becomes(false));
  set("Active", true);
  EXPECT_TRUE(becomes(true));
}

TEST_F(LogindSessionTest, FindsTheGraphicalSessionOfTheUser) {
  startBus();
  startLogind();
  addSession(false);
  nameDisplayOfUser();
  startSession();
  EXPECT_TRUE(becomes(false));
}

TEST_F(LogindSessionTest, ASessionMayComeAndGo) {
  startBus();
  startLogind();
  startSession();
  EXPECT_TRUE(staysFor(Seconds(0.2), true));
  addSession(false);
  nameSessionOfProcess();
  signalManager("SessionNew");
  ASSERT_TRUE(becomes(false));
  mock(kManager, "RemoveObject", "s", kSession);
  signalManager("SessionRemoved");
  EXPECT_TRUE(becomes(true));
}

TEST_F(LogindSessionTest, WithoutABusTheSessionCountsAsOurs) {
  startSession();
  EXPECT_TRUE(staysFor(Seconds(0.1), true));
  // And is known as soon as there is one.
  startBus();
  startLogind();
  addSession(false);
  nameSessionOfProcess();
  EXPECT_TRUE(becomes(false));
}

TEST_F(LogindSessionTest, SurvivesALostBusAndALateLoginManager) {
  startBus();
  startLogind();
  addSession(false);
  nameSessionOfProcess();
  startSession();
  ASSERT_TRUE(becomes(false));
  logind.kill();
  EXPECT_TRUE(becomes(true)) << "nobody knows any more";
  stopBus();
  EXPECT_TRUE(staysFor(Seconds(0.5), true));

  startBus();
  EXPECT_TRUE(staysFor(Seconds(0.5), true));
  startLogind();
  addSession(false);
  nameSessionOfProcess();
  signalManager("SessionNew");
  EXPECT_TRUE(becomes(false));
}

TEST_F(LogindSessionTest, EndsWithQuestionsUnderWay) {
  startBus();
  startLogind();
  for (int i = 0; i < 20; ++i) {
    startSession();
    session.reset();
  }
  EXPECT_TRUE(runsUntil([] { return true; }));
}

}  // namespace
}  // namespace velmora
