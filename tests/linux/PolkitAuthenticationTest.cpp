#include "linux/PrivateBus.h"
#include "platform/linux/CommandProcesses.h"
#include "platform/linux/PolkitAuthentication.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

TEST(PolkitAuthentication, IsYesWhenPolkitAllowsAndNoInAllOtherCases) {
  if (!test::PrivateBus::canMock()) GTEST_SKIP() << "needs python3-dbusmock";
  test::PrivateBus bus("DBUS_SYSTEM_BUS_ADDRESS");
  EventLoop loop;
  sim::FakeLog log;
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
  bus.start();
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
}

}  // namespace
}  // namespace velmora
