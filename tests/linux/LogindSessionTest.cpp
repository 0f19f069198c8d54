#include <systemd/sd-bus.h>

#include "linux/PrivateBus.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/LogindSession.h"
#include "support/LoopSlices.h"

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
    if (!test::PrivateBus::canMock()) GTEST_SKIP() << "needs python3-dbusmock";
  }
  void TearDown() override { sd_bus_close_unref(bus); }

  void startBus() {
    daemon.start();
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

  test::PrivateBus daemon{"DBUS_SYSTEM_BUS_ADDRESS"};
  test::Child logind;
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
