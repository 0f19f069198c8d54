#include <cstdio>

#include "linux/PrivateXServer.h"
#include "platform/linux/EventLoop.h"
#include "platform/linux/X11Clipboard.h"
#include "platform/sim/FakeClipboard.h"
#include "support/LoopSlices.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

constexpr const char* kMission = "com.velmora.schedule-entry";

// `copy` is another program that copies something of a type.
void expectContract(Clipboard& clipboard,
                    const std::function<void(const std::string&, const std::string&)>& copy) {
  EXPECT_EQ(clipboard.read(kMission), std::nullopt);
  clipboard.write(kMission, "one");
  clipboard.write(kMission, std::string("two\0\xff", 5));
  EXPECT_EQ(clipboard.read(kMission), std::string("two\0\xff", 5));
  EXPECT_EQ(clipboard.read("other"), std::nullopt);
  copy("other", "text");
  EXPECT_EQ(clipboard.read("other"), "text");
  const std::string large(300'000, 'x');
  copy(kMission, large);
  EXPECT_TRUE(clipboard.read(kMission) == large);
  copy(kMission, std::string(Clipboard::kLongest + 1, 'y'));
  EXPECT_EQ(clipboard.read(kMission), std::nullopt);
  clipboard.write(kMission, "three");
  EXPECT_EQ(clipboard.read(kMission), "three");
}

TEST(ClipboardContract, HoldsForTheSimulatedOne) {
  sim::FakeClipboard clipboard;
  expectContract(clipboard, [&](const auto& type, const auto& data) { clipboard.write(type, data); });
}

class X11ClipboardContract : public testing::Test {
 protected:
  void SetUp() override {
    if (!test::hasProgram("Xvfb") || !test::hasProgram("xclip")) GTEST_SKIP() << "needs xclip";
    signal(SIGPIPE, SIG_IGN);
    // Requests so small that larger data must come in pieces.
    server.emplace(std::vector<std::string>{"-maxbigreqsize", "1"});
  }
  std::string xclip(const std::string& type) const {
    return "DISPLAY=" + server->display() + " timeout 10 xclip -selection clipboard -t " + type;
  }
  // xclip goes to the background and becomes the owner; with the next owner it ends.
  void copy(const std::string& type, const std::string& data) {
    test::XClient client(server->display());
    const auto owner = [&] {
      const auto question = xcb_get_selection_owner(client.raw(), client.atom("CLIPBOARD"));
      return test::owned(xcb_get_selection_owner_reply(client.raw(), question, nullptr))->owner;
    };
    const auto before = owner();
    FILE* in = popen((xclip(type) + " -i >/dev/null 2>&1").c_str(), "w");
    fwrite(data.data(), 1, data.size(), in);
    EXPECT_EQ(pclose(in), 0);
    EXPECT_TRUE(test::eventually([&] { return owner() != 0 && owner() != before; }));
  }
  std::string paste(const std::string& type) {
    std::string out;
    FILE* answer = popen((xclip(type) + " -o 2>/dev/null").c_str(), "r");
    for (int byte; (byte = fgetc(answer)) != EOF;) out += char(byte);
    pclose(answer);
    return out;
  }

  std::optional<test::PrivateXServer> server;
  EventLoop loop;
};

TEST_F(X11ClipboardContract, Holds) {
  X11Clipboard clipboard{loop, server->display()};
  expectContract(clipboard, [&](const auto& type, const auto& data) { copy(type, data); });
}

TEST_F(X11ClipboardContract, ServesOtherPrograms) {
  X11Clipboard clipboard{loop, server->display()};
  clipboard.write(kMission, "{\"label\":\"Write\"}");
  std::string targets, mission, text;
  std::thread other([&] {
    targets = paste("TARGETS");
    mission = paste(kMission);
    text = paste("UTF8_STRING");
    loop.quit();
  });
  loop.run();
  other.join();
  EXPECT_EQ(targets, "TARGETS\nTIMESTAMP\ncom.velmora.schedule-entry\n");
  EXPECT_EQ(mission, "{\"label\":\"Write\"}");
  EXPECT_EQ(text, "") << "a mission is no text";
}

TEST_F(X11ClipboardContract, IsItsOwnWithoutAServerAndWaitsForNoOwnerThatIsSilent) {
  X11Clipboard clipboard{loop, server->display()};
  test::XClient silent(server->display());
  const auto window = silent.open();
  silent.done(xcb_set_selection_owner(silent.raw(), window, silent.atom("CLIPBOARD"), 0));
  EXPECT_EQ(clipboard.read(kMission), std::nullopt);
  clipboard.write(kMission, "kept");
  server->kill();
  EXPECT_EQ(clipboard.read(kMission), "kept");
  server->start();
  EXPECT_EQ(clipboard.read(kMission), std::nullopt) << "nobody has copied anything there";
  clipboard.write(kMission, "anew");
  EXPECT_EQ(clipboard.read(kMission), "anew");
}

}  // namespace
}  // namespace velmora
