#include "base/Property.h"

#include <gtest/gtest.h>

#include "base/LateRef.h"

namespace velmora {
namespace {

using Values = std::vector<int>;

struct Listener {
  auto hears() {
    return [this](int v) { heard.push_back(v); };
  }
  Values heard;
};

TEST(Property, SetTellsOfEveryWriteAndSetIfChangedOnlyOfNews) {
  Property<int> p(1);
  Listener l;
  const Subscription s = p.onWrite(l.hears());
  p.set(1);
  EXPECT_FALSE(p.setIfChanged(1));
  EXPECT_TRUE(p.setIfChanged(2));
  EXPECT_EQ(l.heard, (Values{1, 2}));
}

TEST(Property, ObserveHearsTheCurrentValueFirst) {
  Property<int> p(7);
  Listener l;
  const Subscription s = p.observe(l.hears());
  p.set(8);
  EXPECT_EQ(l.heard, (Values{7, 8}));
}

TEST(Property, ADroppedOrReplacedSubscriptionHearsNoMore) {
  Property<int> p;
  Listener l;
  Subscription s = p.onWrite(l.hears());
  Subscription moved = std::move(s);
  p.set(1);
  moved.reset();
  moved.reset();
  p.set(2);
  EXPECT_EQ(l.heard, Values{1});
}

TEST(Property, EverybodyHearsNestedWritesInOneOrder) {
  Property<int> p;
  Listener first, last;
  Values current;
  const Subscription a = p.onWrite(first.hears());
  const Subscription b = p.onWrite([&](int v) {
    if (v == 1) {
      p.set(2);
      p.set(3);
    }
    current.push_back(p.get());
  });
  const Subscription c = p.onWrite(last.hears());
  p.set(1);
  EXPECT_EQ(first.heard, (Values{1, 2, 3}));
  EXPECT_EQ(last.heard, (Values{1, 2, 3}));
  EXPECT_EQ(current, (Values{3, 3, 3}));  // get() is never behind
}

TEST(Property, TheOwnersEffectPrecedesEveryObserverAlsoWhenNested) {
  Property<int> p;
  std::vector<std::string> order;
  const auto write = [&](int v) {
    p.set(v, [&, v] { order.push_back("effect " + std::to_string(v) + std::to_string(p.get())); });
  };
  const Subscription s = p.onWrite([&](int v) {
    order.push_back("heard " + std::to_string(v));
    if (v == 1) write(2);
  });
  write(1);
  EXPECT_EQ(order, (std::vector<std::string>{"effect 11", "heard 1", "effect 22", "heard 2"}));
}

TEST(Property, OneAddedInARoundHearsFromTheNextValueOn) {
  Property<int> p;
  Listener late;
  std::vector<Subscription> added;
  const Subscription s = p.onWrite([&](int) { added.push_back(p.onWrite(late.hears())); });
  p.set(1);
  EXPECT_TRUE(late.heard.empty());
  p.set(2);
  EXPECT_EQ(late.heard, Values{2});
}

TEST(Property, AHandlerMayUnsubscribeItselfOrTheNext) {
  Property<int> p;
  Listener l, other;
  Subscription self, next;
  self = p.onWrite([&](int v) {
    l.heard.push_back(v);
    next.reset();
    self.reset();
  });
  next = p.onWrite(other.hears());
  p.set(1);
  p.set(2);
  EXPECT_EQ(l.heard, Values{1});
  EXPECT_TRUE(other.heard.empty());
}

TEST(Property, AHandlerMayDestroyTheProperty) {
  auto p = std::make_unique<Property<int>>();
  Listener l;
  const Subscription a = p->onWrite([&](int) { p.reset(); });
  const Subscription b = p->onWrite(l.hears());
  p->set(1);
  EXPECT_EQ(p, nullptr);
  EXPECT_EQ(l.heard, Values{1});
}

TEST(LateRef, IsFalseUntilBoundAndEndsTheProgramWhenMisused) {
  LateRef<int> ref;
  EXPECT_FALSE(ref);
  EXPECT_DEATH(*ref = 1, "used before it was bound");
  int target = 3;
  ref.bind(target);
  EXPECT_EQ(*ref, 3);
  EXPECT_DEATH(ref.bind(target), "bound twice");
}

}  // namespace
}  // namespace velmora
