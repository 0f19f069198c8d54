#include "blocking/BlockPageServer.h"

#include "platform/sim/FakeListeners.h"
#include "platform/sim/Fakes.h"

namespace velmora {
namespace {

const std::string kPage = "<html>żółw</html>";
const std::string kAnswer =
    "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\nContent-Length: 20\r\n"
    "Cache-Control: no-store\r\nConnection: close\r\n\r\n" + kPage;

struct Wall : testing::Test {
  Wall() { server.emplace(listeners, lane, *mainLoop, log, kPage); }
  void start() {
    server->start();
    world.settle();
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

TEST_F(Wall, GivesTheSameBytesForEveryRequestButTheIcons) {
  start();
  for (const std::string& request : std::vector<std::string>{
           "GET /?r=budget&d=a.b&m=7 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n", "G", "GET ", "\r\n\r\n",
           "POST / HTTP/1.0\r\nContent-Length: 5\r\n\r\nhello", "GET /a/favicon.ico HTTP/1.1",
           "\x16\x03\x01 /favicon.ico \xff", {'\0', ' ', '\0'},
           "GET /" + std::string(10 << 20, 'a') + " HTTP/1.1"})
    EXPECT_EQ(ask(request), kAnswer) << request.substr(0, 40);
  for (const char* icon : {"GET /favicon.ico HTTP/1.1\r\n\r\n", "HEAD /favicon"})
    EXPECT_TRUE(ask(icon).starts_with("HTTP/1.1 204 No Content\r\nContent-Length: 0\r\n"));
}

TEST_F(Wall, ASilentOrSlowClientHoldsNobodyUp) {
  start();
  const auto silent = connect();  // to the end
  const auto slow = connect();
  slow->stall(true);
  for (const char byte : std::string("GET /favicon.ico")) {
    slow->send(std::string(1, byte));
    world.advance(Seconds(60));
  }
  EXPECT_FALSE(slow->isClosedByServer);  // the bytes are still on their way
  EXPECT_EQ(ask("GET /"), kAnswer);
  slow->stall(false);
  world.settle();
  EXPECT_TRUE(slow->isClosedByServer);
  EXPECT_EQ(slow->received, kAnswer);  // by its first byte, once
}

TEST_F(Wall, TriesFiveTimesMoreTwoSecondsApartAndThenFallsSilent) {
  listeners.takenNames.insert("52700");
  start();
  EXPECT_EQ(server->state().get(), BlockPageServer::State::retrying);
  world.advance(Seconds(9.9));
  EXPECT_EQ(listeners.attempts, 5);
  world.advance(Seconds(3600));
  EXPECT_EQ(listeners.attempts, 6);
  EXPECT_EQ(server->state().get(), BlockPageServer::State::failed);

  listeners.takenNames.clear();  // whoever needs the wall later tries again
  for (int i = 0; i < 3; ++i) start();  // and while it listens, a start does nothing
  EXPECT_EQ(listeners.attempts, 7);
  EXPECT_EQ(ask("GET /"), kAnswer);
}

// The queue may still run what was posted when the process's main loop is gone.
TEST_F(Wall, NewsOnItsWayWhenTheServerGoesIsDropped) {
  listeners.takenNames.insert("52700");
  server->start();
  server.reset();
  mainLoop.reset();
  world.advance(Seconds(10));
  EXPECT_LE(listeners.attempts, 2);
}

}  // namespace
}  // namespace velmora
