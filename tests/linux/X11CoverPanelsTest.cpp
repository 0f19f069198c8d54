#include "platform/linux/EventLoop.h"
#include "platform/linux/SystemClock.h"
#include "platform/linux/X11CoverPanels.h"
#include "linux/PrivateXServer.h"
#include "platform/sim/Fakes.h"
#include "support/LoopSlices.h"

namespace velmora {
namespace {

class X11CoverPanelsTest : public test::XTest {
 protected:
  uint32_t pixel(int x, int y) {
    const auto question = xcb_get_image(client->raw(), XCB_IMAGE_FORMAT_Z_PIXMAP, client->root(),
                                        int16_t(x), int16_t(y), 1, 1, 0xFFFFFF);
    const auto image = test::owned(xcb_get_image_reply(client->raw(), question, nullptr));
    return *reinterpret_cast<uint32_t*>(xcb_get_image_data(image.get())) & 0xFFFFFF;
  }
  std::optional<uint32_t> opacity(xcb_window_t window) {
    const auto name = client->atom("_NET_WM_WINDOW_OPACITY");
    const auto question =
        xcb_get_property(client->raw(), false, window, name, XCB_ATOM_CARDINAL, 0, 1);
    const auto value = test::owned(xcb_get_property_reply(client->raw(), question, nullptr));
    if (value->value_len == 0) return {};
    return *static_cast<uint32_t*>(xcb_get_property_value(value.get()));
  }
  xcb_window_t front() { return client->viewable().back(); }
  bool shows(size_t count) {
    return test::eventually([&] { return client->viewable().size() == count; });
  }

  EventLoop loop;
  SystemClock clock;
};

TEST_F(X11CoverPanelsTest, StandsInFrontOfWhatTheManagerRaisesAndTakesNeitherFocusNorInput) {
  startWindowManager();
  const auto window = client->open({.frame = {80, 80, 400, 300}});
  client->activate(window);
  client->movePointer(200, 200);
  const auto under = [&] {
    const auto pointer = xcb_query_pointer(client->raw(), client->root());
    return test::owned(xcb_query_pointer_reply(client->raw(), pointer, nullptr))->child;
  };
  const auto focus = [&] {
    const auto question = xcb_get_input_focus(client->raw());
    return test::owned(xcb_get_input_focus_reply(client->raw(), question, nullptr))->focus;
  };
  const auto isReached = [&] { return focus() == window && under() == client->frameOf(window); };
  ASSERT_TRUE(test::eventually(isReached));

  X11CoverPanels panels{loop, clock, server->display()};
  const size_t before = client->viewable().size();
  panels.show({50, 50, 500.4, 400});
  ASSERT_TRUE(shows(before + 1));
  const auto panel = front();
  EXPECT_EQ(client->outerFrame(panel), (Rect{50, 50, 501, 400}));
  EXPECT_EQ(pixel(60, 60), 0u);
  EXPECT_EQ(pixel(549, 440), 0u);
  EXPECT_GT(pixel(300 + 18, 250), pixel(300 - 20, 250)) << "the head of the mark and its tail";
  EXPECT_NE(pixel(300 - 20, 250), 0u);
  EXPECT_TRUE(isReached());

  client->activate(client->open({.frame = {100, 100, 300, 300}}));
  EXPECT_TRUE(runUntil(loop, [&] { return front() == panel; })) << "before a new window";
  const auto menu = client->open({.frame = {120, 120, 50, 50}, .isOverride = true});
  client->activate(window);
  runFor(loop, Seconds(0.3));
  const auto order = client->viewable();
  ASSERT_GT(order.size(), 2u);
  EXPECT_TRUE(order.back() == menu && order[order.size() - 2] == panel);
}

TEST_F(X11CoverPanelsTest, DrawsItsMarkAsLargeAsTheUserWantsThings) {
  const std::string twice = "Xcursor.size:\t24\nXft.dpi:\t192\n";
  client->done(xcb_change_property(client->raw(), XCB_PROP_MODE_REPLACE, client->root(),
                                   XCB_ATOM_RESOURCE_MANAGER, XCB_ATOM_STRING, 8,
                                   uint32_t(twice.size()), twice.data()));
  X11CoverPanels panels{loop, clock, server->display()};
  panels.show({0, 0, 400, 400});
  ASSERT_TRUE(shows(1));
  EXPECT_NE(pixel(200 + 2 * 19, 200), 0u);
  EXPECT_EQ(pixel(200 + 19, 200), 0u);
}

TEST_F(X11CoverPanelsTest, FadesWhereSomethingBlends) {
  const auto manager = client->make({});
  client->done(xcb_set_selection_owner(client->raw(), manager, client->atom("_NET_WM_CM_S0"), 0));
  X11CoverPanels panels{loop, clock, server->display()};
  const auto panel = panels.show({0, 0, 100, 100});
  ASSERT_TRUE(shows(1));
  const auto window = front();
  panels.fadeOut(panel, Seconds(0.25));
  EXPECT_TRUE(runUntil(loop, [&] { return opacity(window).value_or(~0u) < 1u << 31; }));
  EXPECT_TRUE(runUntil(loop, [&] { return client->viewable().empty(); }));
  EXPECT_EQ(opacity(window), std::nullopt) << "opaque when it is needed next";
}

TEST_F(X11CoverPanelsTest, DoesNothingWithoutAServerAndComesBackWithIt) {
  sim::World world;
  const sim::FakeClock still{world};
  X11CoverPanels panels{loop, still, server->display()};
  const auto lost = panels.show({0, 0, 100, 100});
  client.reset();
  server->kill();
  panels.fadeOut(lost, Seconds(0.1));
  panels.show({0, 0, 100, 100});
  world.advance(Seconds(3));
  panels.show({0, 0, 100, 100});
  server->start();
  connect();
  world.advance(Seconds(3));
  panels.showAgain(lost);
  EXPECT_TRUE(shows(0));
  panels.show({0, 0, 100, 100});
  EXPECT_TRUE(shows(1));
}

}  // namespace
}  // namespace velmora
