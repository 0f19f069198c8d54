#include <systemd/sd-bus.h>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LogindSession.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

constexpr const char* kLogind = "org.freedesktop.login1";
constexpr const char* kManager = "/org/freedesktop/login1";
constexpr const char* kManagerInterface = "org.freedesktop.login1.Manager";
constexpr const char* kSession = "/org/freedesktop/login1/session/c1";

// A system bus of the test's own, with a login manager that does as it is told.
class LogindSessionTest : public testing::Test {
 protected:
  void SetUp() override {
    const bool hasMock = access("/usr/lib/python3/dist-packages/dbusmock", F_OK) == 0;
    if (!hasMock || !test::hasProgram("dbus-daemon")) GTEST_SKIP() << "needs python3-dbusmock";
    const std::string address = "unix:path=" + (folder / "bus");
    putContent(folder / "bus.conf",
               "<busconfig><type>system</type><listen>" + address +
                   "</listen><policy context='default'><allow send_destination='*'/>"
                   "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
  }
  void TearDown() override {
    unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
    sd_bus_close_unref(bus);
  }

  void startBus() {
    unlink((folder / "bus").c_str());
    daemon = test::Child({"dbus-daemon", "--nofork", "--config-file", folder / "bus.conf"});
    bus = sd_bus_close_unref(bus);
    ASSERT_TRUE(test::eventually([&] { return sd_bus_open_system(&bus) >= 0; }));
  }
  void startLogind() {
    logind = test::Child({"/usr/bin/python3", "-m", "dbusmock", "--template", "logind"});
    ASSERT_TRUE(test::eventually([&] {
      return sd_bus_call_method(bus, kLogind, kManager, kManagerInterface, "ListSeats", nullptr,
                                nullptr, "") >= 0;
    }));
  }
  void mock(const char* path, const char* method, const char* types, auto... arguments) {
    const int result = sd_bus_call_method(bus, kLogind, path, "org.freedesktop.DBus.Mock", method,
                                          nullptr, nullptr, types, arguments...);
    EXPECT_GE(result, 0) << method;
  }
  void addSession(bool active) {
    mock(kManager, "AddSession", "ssusb", "c1", "seat0", uint32_t(getuid()), "someone", active);
    mock(kManager, "AddMethod", "sssss", kManagerInterface, "GetSessionByPID", "u", "o",
         "ret = '/org/freedesktop/login1/session/c1'");
  }
  void set(const char* property, bool value) {
    mock(kSession, "UpdateProperties", "sa{sv}", "org.freedesktop.login1.Session", 1, property, "b",
         int(value));
  }
  bool becomes(bool onConsole) {
    return runUntil(loop, [&] { return session->onConsoleAndUnlocked() == onConsole; });
  }
  bool locks(ScreenLock lock) {
    return runUntil(loop, [&] { return session->screenLock().get() == lock; });
  }
  void signal(const char* path, const char* interface, const char* name) {
    mock(path, "EmitSignal", "sssav", interface, name, "", 0);
  }
  bool staysOurs() {
    runFor(loop, Seconds(0.4));
    return session->onConsoleAndUnlocked();
  }
  void follow() { session.emplace(loop, Seconds(0.2)); }

  TempFolder folder;
  test::Child daemon, logind;
  sd_bus* bus = nullptr;
  EventLoop loop;
  std::optional<LogindSession> session;
};

TEST_F(LogindSessionTest, FollowsTheSessionOfTheProcess) {
  startBus();
  startLogind();
  addSession(true);
  set("LockedHint", true);
  follow();
  EXPECT_TRUE(session->onConsoleAndUnlocked()) << "not known yet";
  ASSERT_TRUE(becomes(false));
  set("LockedHint", false);
  EXPECT_TRUE(becomes(true));
  set("Active", false);
  EXPECT_TRUE(becomes(false));
}

TEST_F(LogindSessionTest, MakesRoomForALockerFromTheRequestOn) {
  constexpr const char* kInterface = "org.freedesktop.login1.Session";
  startBus();
  startLogind();
  addSession(true);
  set("LockedHint", true);
  follow();
  ASSERT_TRUE(locks(ScreenLock::locked));
  set("LockedHint", false);
  EXPECT_TRUE(locks(ScreenLock::none));
  signal(kSession, kInterface, "Lock");
  EXPECT_TRUE(locks(ScreenLock::asked));
  set("LockedHint", true);
  EXPECT_TRUE(locks(ScreenLock::locked));
  set("LockedHint", false);
  EXPECT_TRUE(locks(ScreenLock::none)) << "at once, however short it was";
  signal(kSession, kInterface, "Lock");
  ASSERT_TRUE(locks(ScreenLock::asked));
  signal(kSession, kInterface, "Unlock");
  EXPECT_TRUE(locks(ScreenLock::none));
  mock(kManager, "EmitSignal", "sssav", kManagerInterface, "PrepareForSleep", "b", 1, "b", 1);
  ASSERT_TRUE(locks(ScreenLock::asked));
  mock(kManager, "EmitSignal", "sssav", kManagerInterface, "PrepareForSleep", "b", 1, "b", 0);
  EXPECT_TRUE(locks(ScreenLock::none)) << "nobody came to lock";
  EXPECT_EQ(session->awakenings().get(), 1);
}

TEST_F(LogindSessionTest, OutlivesALostBusAndALateLoginManager) {
  follow();
  EXPECT_TRUE(staysOurs()) << "there is no bus";
  startBus();
  startLogind();
  addSession(false);
  ASSERT_TRUE(becomes(false));
  logind.kill();
  EXPECT_TRUE(becomes(true)) << "nobody knows any more";
  daemon.kill();
  EXPECT_TRUE(staysOurs());

  startBus();
  startLogind();
  EXPECT_TRUE(staysOurs());
  addSession(false);
  mock(kManager, "EmitSignal", "sssav", kManagerInterface, "SessionNew", "so", 2, "s", "c1", "o",
       kSession);
  EXPECT_TRUE(becomes(false));
}

}  // namespace
}  // namespace velmora
