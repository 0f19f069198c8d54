#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "platform/linux/EventLoop.h"
#include "platform/linux/SocketListeners.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/World.h"
#include "support/LoopSlices.h"
#include "support/SocketClient.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// Each side offers: listen, connect to what was listened on (null when nobody does), and until.
struct SimulatedNetwork {
  using Client = sim::FakeListeners::Client;
  std::unique_ptr<Listener> listen(ListenerHandlers handlers) {
    return network.local("test", lane, std::move(handlers), error);
  }
  std::shared_ptr<Client> connect() { return network.connect(std::string("test")); }
  bool until(const std::function<bool()>& holds) {
    world.advance(Seconds(1.0));
    return holds();
  }
  static void end(Client& client) { client.close(); }
  static std::string received(Client& client) { return client.received; }
  static bool isEnded(Client& client) { return client.isClosedByServer; }

  std::string error;
  sim::World world;
  sim::Lane lane{world};
  sim::FakeListeners network;
};

struct LinuxNetwork {
  using Client = SocketClient;
  bool until(const std::function<bool()>& holds) { return runUntil(loop, holds); }
  static void end(Client& client) { client.endSending(); }
  static std::string received(Client& client) { return client.received(); }
  static bool isEnded(Client& client) { return client.isEnded(); }

  std::string error;
  TempFolder folder;
  EventLoop loop;
  SocketListeners network{folder.path(), {loop}};
};

struct LinuxLoopback : LinuxNetwork {
  std::unique_ptr<Listener> listen(ListenerHandlers handlers) {
    return network.loopback(port, loop, std::move(handlers), error);
  }
  std::shared_ptr<Client> connect() { return SocketClient::toPort(port); }
  const uint16_t port = freePort();
};

struct LinuxLocal : LinuxNetwork {
  std::unique_ptr<Listener> listen(ListenerHandlers handlers) {
    return network.local("test", loop, std::move(handlers), error);
  }
  std::shared_ptr<Client> connect() { return SocketClient::toPath(network.path("test")); }
};

template <class T>
class ListenersContract : public testing::Test, public T {
 protected:
  // Listens, and keeps what comes.
  std::unique_ptr<Listener> open() {
    auto listener = this->listen({.ready = [this] { events += "ready "; },
                                  .failed = [this] { events += "failed "; },
                                  .accepted = [this](auto c) { accepted.push_back(c); }});
    EXPECT_TRUE(listener) << this->error;
    EXPECT_EQ(events, "");
    EXPECT_TRUE(this->until([&] { return events != ""; }));
    return listener;
  }
  // Both ends of a new connection.
  std::shared_ptr<typename T::Client> join() {
    auto client = this->connect();
    EXPECT_TRUE(client);
    EXPECT_TRUE(this->until([&] { return accepted.size() == 1; }));
    return client;
  }
  Connection& server() { return *accepted.front(); }
  std::string receiveAll(size_t most) {
    std::string out;
    bool ended = false;
    std::function<void()> next = [&] {
      server().receive(most, [&](std::optional<std::string> bytes) {
        EXPECT_TRUE(!bytes || (!bytes->empty() && bytes->size() <= most));
        if (bytes) out += *bytes;
        ended = !bytes;
        if (!ended) next();
      });
    };
    next();
    EXPECT_TRUE(this->until([&] { return ended; }));
    return out;
  }

  std::string events;
  std::vector<std::shared_ptr<Connection>> accepted;
};
using Networks = testing::Types<SimulatedNetwork, LinuxLoopback, LinuxLocal>;
TYPED_TEST_SUITE(ListenersContract, Networks);

TYPED_TEST(ListenersContract, APlaceThatIsTakenFailsLater) {
  const auto first = this->open();
  EXPECT_EQ(this->events, "ready ");
  this->events.clear();
  const auto second = this->open();
  EXPECT_EQ(this->events, "failed ");
}

TYPED_TEST(ListenersContract, ADroppedListenerLetsNobodyInAndFreesItsPlace) {
  auto listener = this->open();
  const auto client = this->join();
  listener.reset();
  EXPECT_FALSE(this->connect());

  client->send("still here");
  TypeParam::end(*client);
  EXPECT_EQ(this->receiveAll(100), "still here");
  this->events.clear();
  listener = this->open();
  EXPECT_EQ(this->events, "ready ");
}

TYPED_TEST(ListenersContract, BytesArriveInPortionsUntilThePeerEnds) {
  const auto listener = this->open();
  const auto client = this->join();
  client->send("one two ");
  client->send("three");
  TypeParam::end(*client);
  EXPECT_EQ(this->receiveAll(4), "one two three");
}

TYPED_TEST(ListenersContract, AnAnswerIsSentAfterThePeerEndedItsSide) {
  const auto listener = this->open();
  const auto client = this->join();
  TypeParam::end(*client);
  EXPECT_EQ(this->receiveAll(4), "");
  bool sent = false;
  this->server().send("answer", [&] { sent = true; });
  EXPECT_FALSE(sent);
  EXPECT_TRUE(this->until([&] { return sent; }));
  this->server().cancel();
  EXPECT_TRUE(this->until([&] { return TypeParam::isEnded(*client); }));
  EXPECT_EQ(TypeParam::received(*client), "answer");
}

TYPED_TEST(ListenersContract, CancelDropsWhatIsPendingAndEndsTheStream) {
  const auto listener = this->open();
  const auto client = this->join();
  auto held = std::make_shared<int>(0);
  this->server().receive(10, [held](auto) { ADD_FAILURE() << "told after cancel"; });
  this->server().cancel();
  EXPECT_EQ(held.use_count(), 1);
  client->send("too late");
  EXPECT_TRUE(this->until([&] { return TypeParam::isEnded(*client); }));
}

TYPED_TEST(ListenersContract, DroppingTheLastReferenceCancels) {
  const auto listener = this->open();
  const auto client = this->join();
  this->accepted.clear();
  EXPECT_TRUE(this->until([&] { return TypeParam::isEnded(*client); }));
}

// The usual way to serve one request: the connection is held by its own callbacks alone.
TYPED_TEST(ListenersContract, AConnectionMayLiveInItsOwnCallbacks) {
  const auto listener = this->open();
  const auto client = this->join();
  auto connection = std::move(this->accepted.front());
  this->accepted.clear();
  Connection& stream = *connection;
  stream.receive(100, [connection](std::optional<std::string> request) {
    ASSERT_TRUE(request);
    connection->send("you said " + *request, [connection] { connection->cancel(); });
  });
  connection.reset();
  client->send("hello");
  EXPECT_TRUE(this->until([&] { return TypeParam::isEnded(*client); }));
  EXPECT_EQ(TypeParam::received(*client), "you said hello");
}

}  // namespace
}  // namespace velmora
