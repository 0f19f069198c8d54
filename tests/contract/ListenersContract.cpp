#include <gtest/gtest.h>

#include "platform/linux/SocketListeners.h"
#include "platform/sim/FakeListeners.h"
#include "platform/sim/World.h"
#include "support/LoopSlices.h"
#include "support/SocketClient.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

// Each side offers: a network, connect (null when nobody listens), until, and the client's end.
struct Simulated {
  using Client = sim::FakeListeners::Client;
  std::shared_ptr<Client> connect() { return network.connect(std::string("test")); }
  bool until(const std::function<bool()>& holds) { return world.advance(Seconds(1.0)), holds(); }
  static void end(Client& client) { client.close(); }
  static std::string received(Client& client) { return client.received; }
  static bool isEnded(Client& client) { return client.isClosedByServer; }

  sim::World world;
  sim::Lane lane{world};
  sim::FakeListeners network;
};

struct Linux {
  using Client = SocketClient;
  std::shared_ptr<Client> connect() { return SocketClient::toPath(network.path("test")); }
  bool until(const std::function<bool()>& holds) { return runUntil(lane, holds); }
  static void end(Client& client) { client.endSending(); }
  static std::string received(Client& client) { return client.received(); }
  static bool isEnded(Client& client) { return client.isEnded(); }

  TempFolder folder;
  EventLoop lane;
  SocketListeners network{folder.path(), {lane}};
};

template <class T>
struct ListenersContract : testing::Test, T {
  // Listens, and tells how that went.
  std::string open() {
    outcome.clear();
    const auto accept = [this](std::shared_ptr<Connection> c) { server = server ? server : c; };
    ListenerHandlers handlers{[&] { outcome += "ready"; }, [&] { outcome += "failed"; }, accept};
    listeners.push_back(this->network.local("test", this->lane, handlers, error));
    EXPECT_EQ(outcome, "") << "told inside the call";
    EXPECT_TRUE(this->until([&] { return outcome != ""; })) << error;
    return outcome;
  }
  std::shared_ptr<typename T::Client> join() {
    auto client = this->connect();
    EXPECT_TRUE(client && this->until([&] { return server != nullptr; }));
    return client;
  }
  // All that the server hears until the peer ends, in portions of four bytes at most.
  std::string heard() {
    std::string all;
    for (bool isOpen = true; isOpen;) {
      std::optional<std::optional<std::string>> told;
      server->receive(4, [&](std::optional<std::string> bytes) { told = bytes; });
      isOpen = this->until([&] { return told.has_value(); }) && *told;
      if (isOpen) all += told->value().substr(0, 4);
    }
    return all;
  }

  std::string outcome, error;
  std::vector<std::unique_ptr<Listener>> listeners;
  std::shared_ptr<Connection> server;
};
using Networks = testing::Types<Simulated, Linux>;
TYPED_TEST_SUITE(ListenersContract, Networks);

TYPED_TEST(ListenersContract, ADroppedListenerLetsNobodyInAndFreesItsPlace) {
  EXPECT_EQ(this->open(), "ready");
  const auto client = this->join();
  EXPECT_EQ(this->open(), "failed");
  this->listeners.clear();
  EXPECT_FALSE(this->connect());
  client->send("still here");
  TypeParam::end(*client);
  EXPECT_EQ(this->heard(), "still here");
  this->server->receive(4, [](auto) { ADD_FAILURE() << "told after cancel"; });
  this->server->cancel();
  EXPECT_EQ(this->open(), "ready");
}

// The usual way to serve one request: the connection is held by its own callbacks alone.
TYPED_TEST(ListenersContract, AConnectionMayLiveInItsOwnCallbacksAndAnswersAClosedPeer) {
  this->open();
  const auto client = this->join();
  Connection& stream = *this->server;
  stream.receive(100, [connection = std::move(this->server)](std::optional<std::string> request) {
    connection->send("you said " + request.value(), [connection] { connection->cancel(); });
  });
  client->send("hello");
  TypeParam::end(*client);
  EXPECT_TRUE(this->until([&] { return TypeParam::isEnded(*client); }));
  EXPECT_EQ(TypeParam::received(*client), "you said hello");
}

}  // namespace
}  // namespace velmora
