#include <systemd/sd-bus.h>

#include "linux/PrivateXServer.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/PolkitAuthentication.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

TEST(PolkitAuthentication, IsYesWhenPolkitAllowsAndNoInAllOtherCases) {
  const bool hasMock = access("/usr/lib/python3/dist-packages/dbusmock", F_OK) == 0;
  if (!hasMock || !test::hasProgram("dbus-daemon")) GTEST_SKIP() << "needs python3-dbusmock";
  TempFolder folder;
  EventLoop loop;
  sim::FakeLog log;
  const std::string address = "unix:path=" + (folder / "bus");
  putContent(folder / "bus.conf",
             "<busconfig><type>system</type><listen>" + address +
                 "</listen><policy context='default'><allow send_destination='*'/>"
                 "<allow receive_sender='*'/><allow own='*'/></policy></busconfig>");
  setenv("DBUS_SYSTEM_BUS_ADDRESS", address.c_str(), 1);
  PolkitAuthentication owner(loop, log);
  const auto ask = [&] {
    std::vector<bool> answers;
    owner.authenticate("why", [&](bool yes) { answers.push_back(yes); });
    EXPECT_TRUE(answers.empty()) << "never within the call";
    EXPECT_TRUE(runUntil(loop, [&] { return !answers.empty(); }));
    const bool isOwner = answers == std::vector<bool>{true};
    EXPECT_EQ(owner.canAsk(), isOwner) << "nobody is here to be asked";
    return isOwner;
  };
  EXPECT_FALSE(ask()) << "no bus";
  test::Child bus({"dbus-daemon", "--nofork", "--config-file", folder / "bus.conf"});
  ASSERT_TRUE(test::eventually([&] { return access((folder / "bus").c_str(), F_OK) == 0; }));
  EXPECT_FALSE(ask()) << "no polkit";
  test::Child polkit({"/usr/bin/python3", "-m", "dbusmock", "--template", "polkitd"});
  const auto mock = [&](std::vector<std::string> words) {
    words.insert(words.begin(), {"busctl", "--system", "call", "org.freedesktop.PolicyKit1",
                                 "/org/freedesktop/PolicyKit1/Authority"});
    return CommandProcesses().run(words)->status == 0;
  };
  ASSERT_TRUE(test::eventually([&] { return mock({"org.freedesktop.DBus.Peer", "Ping"}); }));
  EXPECT_FALSE(ask()) << "declined";
  ASSERT_TRUE(
      mock({"org.freedesktop.DBus.Mock", "SetAllowed", "as", "1", "com.velmora.app.end-session"}));
  EXPECT_TRUE(ask());
  unsetenv("DBUS_SYSTEM_BUS_ADDRESS");
}

}  // namespace
}  // namespace velmora
