#include "base/Property.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Values = std::vector<int>;

// Notes every value that it hears.
auto into(Values& heard) {
  return [&heard](int v) { heard.push_back(v); };
}

TEST(Property, TellsOfEveryWriteOrOnlyOfNewsUntilTheSubscriptionIsDropped) {
  Property<int> p(7);
  Values writes, all;
  Subscription a = p.onWrite(into(writes));
  const Subscription b = p.observe(into(all));  // the current value too
  p.set(7);
  EXPECT_FALSE(p.setIfChanged(7));
  EXPECT_TRUE(p.setIfChanged(8));
  Subscription moved = std::move(a);
  p.set(9);
  moved.reset();
  p.set(10);
  EXPECT_EQ(writes, (Values{7, 8, 9}));
  EXPECT_EQ(all, (Values{7, 7, 8, 9, 10}));
}

TEST(Property, EverybodyHearsNestedWritesInOneOrder) {
  Property<int> p;
  Values first, current, last;
  const Subscription a = p.onWrite(into(first));
  const Subscription b = p.onWrite([&](int v) {
    if (v == 1) p.set(2);
    current.push_back(p.get());
  });
  const Subscription c = p.onWrite(into(last));
  p.set(1);
  EXPECT_EQ(first, (Values{1, 2}));
  EXPECT_EQ(last, first);
  EXPECT_EQ(current, (Values{2, 2}));  // get() is never behind
}

TEST(Property, HandlersMayComeAndGoInARound) {
  Property<int> p;
  Values late, once, never;
  std::vector<Subscription> added;
  Subscription self, next;
  const Subscription adds = p.onWrite([&](int) { added.push_back(p.onWrite(into(late))); });
  self = p.onWrite([&](int v) {
    once.push_back(v);
    next.reset();
    self.reset();
  });
  next = p.onWrite(into(never));
  p.set(1);
  p.set(2);
  EXPECT_EQ(late, Values{2});  // hears from the next value on
  EXPECT_EQ(once, Values{1});
  EXPECT_EQ(never, Values{});
}

TEST(Property, AHandlerMayDestroyTheProperty) {
  auto p = std::make_unique<Property<int>>();
  Values heard;
  const Subscription a = p->onWrite([&](int) { p.reset(); });
  const Subscription b = p->onWrite(into(heard));
  p->set(1);
  EXPECT_EQ(heard, Values{1});
}

}  // namespace
}  // namespace velmora
