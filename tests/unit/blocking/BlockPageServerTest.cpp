#include "blocking/BlockPageServer.h"

#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

using State = BlockPageServer::State;

const std::string kPage = "<html>\0żółw</html>";
const std::string kAnswer =
    "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: " +
    std::to_string(kPage.size()) +
    "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n" + kPage;
const std::string kNoIcon =
    "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";

struct Wall {
  Wall() { server.emplace(listeners, lane, *mainLoop, log, kPage); }
  BlockPageServer* operator->() { return &*server; }
  Wall& started() {
    server->start();
    world.settle();
    return *this;
  }
  std::shared_ptr<sim::FakeListeners::Client> connect() {
    auto client = listeners.connect(BlockPageServer::port);
    world.settle();
    return client;
  }
  std::string ask(std::string_view request) {
    const auto client = connect();
    client->send(request);
    world.settle();
    EXPECT_TRUE(client->isClosedByServer) << request.substr(0, 40);
    return client->received;
  }

  sim::World world;
  sim::FakeListeners listeners;
  sim::FakeLog log;
  std::unique_ptr<sim::Lane> mainLoop = std::make_unique<sim::Lane>(world);
  sim::Lane lane{world};
  std::optional<BlockPageServer> server;
};

TEST(BlockPageServer, GivesTheSameBytesForEveryPathAndMethodButNoIcon) {
  Wall wall;
  wall.started();
  for (const std::string request :
       {"GET /?r=budget&d=a.b&m=7 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", "GET /nonsense HTTP/1.1",
        "POST / HTTP/1.0\r\nContent-Length: 5\r\n\r\nhello", "GET", "GET ", "\r\n\r\n",
        "GET /Favicon.ico HTTP/1.1", "GET /a/favicon.ico HTTP/1.1", "GET http://x/favicon HTTP/1.1",
        "\x16\x03\x01 /favicon.ico \xff", "GET /favicon\xc3 HTTP/1.1"})
    EXPECT_EQ(wall.ask(request), kAnswer) << request;
  EXPECT_EQ(wall.ask(std::string("\0 \0 \0", 5)), kAnswer);
  EXPECT_EQ(wall.ask("GET /favicon.ico HTTP/1.1\r\n\r\n"), kNoIcon);
  EXPECT_EQ(wall.ask("HEAD /favicon"), kNoIcon);
}

TEST(BlockPageServer, AnswersTheFirstBytesHoweverManyThereAre) {
  Wall wall;
  wall.started();
  EXPECT_EQ(wall.ask("G"), kAnswer);
  EXPECT_EQ(wall.ask("GET /" + std::string(10 << 20, 'a') + " HTTP/1.1"), kAnswer);
  const auto slow = wall.connect();
  for (const char byte : std::string("GET /favicon.ico")) {
    slow->send(std::string(1, byte));
    wall.world.advance(Seconds(1));
  }
  EXPECT_EQ(slow->received, kAnswer);  // by its first byte, once
  const auto empty = wall.connect();
  empty->close();
  wall.world.settle();
  EXPECT_EQ(empty->received, kAnswer);
}

TEST(BlockPageServer, ASilentOrSlowClientHoldsNobodyUp) {
  Wall wall;
  wall.started();
  const auto silent = wall.connect();
  const auto slow = wall.connect();
  slow->stall(true);
  slow->send("GET / HTTP/1.1\r\n\r\n");
  wall.world.advance(Seconds(3600));
  EXPECT_FALSE(slow->isClosedByServer);  // the bytes are still on their way
  EXPECT_EQ(wall.ask("GET /"), kAnswer);
  slow->stall(false);
  silent->close();
  wall.world.settle();
  EXPECT_TRUE(slow->isClosedByServer && silent->isClosedByServer);
}

TEST(BlockPageServer, TriesFiveTimesMoreTwoSecondsApartAndThenFallsSilent) {
  Wall wall;
  wall.listeners.takenNames.insert("52700");
  wall.started();
  EXPECT_EQ(wall->state().get(), State::retrying);
  for (int retry = 1; retry <= 5; ++retry) {
    wall.world.advance(Seconds(1.9));
    EXPECT_EQ(wall.listeners.attempts, retry);
    wall.world.advance(Seconds(0.1));
    EXPECT_EQ(wall.listeners.attempts, retry + 1);
  }
  wall.world.advance(Seconds(3600));
  EXPECT_EQ(wall.listeners.attempts, 6);
  EXPECT_EQ(wall->state().get(), State::failed);
  EXPECT_TRUE(wall.log.notices.empty());

  wall.started();  // whoever needs the wall later tries again
  EXPECT_EQ(wall.listeners.attempts, 7);
  EXPECT_EQ(wall->state().get(), State::failed);
  wall.listeners.takenNames.clear();
  for (int i = 0; i < 3; ++i) wall.started();  // and while it listens, a start does nothing
  EXPECT_EQ(wall.listeners.attempts, 8);
  EXPECT_EQ(wall->state().get(), State::serving);
  EXPECT_EQ(wall.ask("GET /"), kAnswer);
}

TEST(BlockPageServer, SaysWhyNoListenerCanBeMadeAndDoesNotRetry) {
  Wall wall;
  wall.listeners.refusesAll = true;
  wall.started();
  wall.world.advance(Seconds(60));
  EXPECT_EQ(wall.log.notices, std::vector<std::string>{"Velmora: block page server could not "
                                                       "start: no listener can be made"});
  EXPECT_EQ(wall.listeners.attempts, 1);
  EXPECT_EQ(wall->state().get(), State::failed);
}

TEST(BlockPageServer, AServerThatGoesFreesItsPort) {
  Wall wall;
  wall.started();
  const auto client = wall.connect();
  wall.server.reset();
  wall.world.settle();
  EXPECT_FALSE(wall.listeners.isListening("52700"));
  client->send("GET /");
  wall.world.settle();
  EXPECT_EQ(client->received, kAnswer);  // whoever was let in is still answered
  wall.server.emplace(wall.listeners, wall.lane, *wall.mainLoop, wall.log, kPage);
  EXPECT_EQ(wall.started().ask("GET /"), kAnswer);
}

// The queue may still run what was posted when the process's main loop is gone.
TEST(BlockPageServer, NewsOnItsWayWhenTheServerGoesIsDropped) {
  for (const int fault : {0, 1, 2}) {
    Wall wall;
    if (fault == 1) wall.listeners.takenNames.insert("52700");
    wall.listeners.refusesAll = fault == 2;
    wall->start();
    wall.server.reset();
    wall.mainLoop.reset();
    wall.world.advance(Seconds(10));
    EXPECT_LE(wall.listeners.attempts, 1);
    EXPECT_FALSE(wall.listeners.isListening("52700"));
  }
}

}  // namespace
}  // namespace velmora
