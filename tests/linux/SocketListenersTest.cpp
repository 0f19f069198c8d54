#include <gtest/gtest.h>
#include <sys/resource.h>

#include <atomic>

#include "platform/linux/SocketListeners.h"
#include "platform/linux/WorkerQueue.h"
#include "support/LoopSlices.h"
#include "support/SocketClient.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

class Sockets : public testing::Test {
 protected:
  ~Sockets() override {
    queue.post([this] { wall.reset(); });
  }
  // A server of short answers on its own thread.
  void serve(const std::string& answer) {
    const auto reply = [answer](std::shared_ptr<Connection> c) {
      Connection& stream = *c;
      stream.receive(0x4000, [c, answer](std::optional<std::string> request) {
        request ? c->send(answer, [c] { c->cancel(); }) : c->cancel();
      });
    };
    queue.post([this, reply] {
      wall = listeners.loopback(port, queue, {[this] { isReady = true; }, nullptr, reply}, error);
    });
    ASSERT_TRUE(until([&] { return isReady.load(); })) << error;
  }
  // A local server on the main loop that keeps whom it accepts.
  std::unique_ptr<Listener> open() {
    events.clear();
    auto made = listeners.local(
        "test", loop,
        SocketListenerHandlers{[this] { events += "ready"; }, [this] { events += "failed"; },
                               [this](auto c) { accepted.push_back(c); }},
        error);
    EXPECT_TRUE(until([&] { return !made || events != ""; }));
    return made;
  }
  std::string answerTo(SocketClient& client) {
    EXPECT_TRUE(until([&] { return client.isEnded(); }));
    EXPECT_FALSE(client.wasReset());
    return client.received();
  }
  bool until(const std::function<bool()>& holds) { return runUntil(loop, holds); }

  const uint16_t port = freePort();
  TempFolder folder;
  EventLoop loop;
  std::atomic<bool> isReady = false;
  std::string error, events;
  std::vector<std::shared_ptr<SocketConnection>> accepted;
  std::unique_ptr<Listener> wall;  // the queue's own: it lets go of it before it ends
  WorkerQueue queue{"test sockets"};
  SocketListeners listeners{folder.path(), {loop, queue}};
  const std::string path = listeners.path("test");
};

void allowDescriptors(rlim_t count) {
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(limit.rlim_max, count);
  setrlimit(RLIMIT_NOFILE, &limit);
}

TEST_F(Sockets, AThousandSilentPeersDontKeepTheNextOneWaiting) {
  allowDescriptors(4096);
  serve("hello");
  std::vector<std::shared_ptr<SocketClient>> peers;
  for (int i = 0; i <= 1000; ++i) peers.push_back(SocketClient::toPort(port));
  peers.back()->send("GET / HTTP/1.1\r\n\r\n");
  EXPECT_EQ(answerTo(*peers.back()), "hello");
  const auto held = std::erase_if(peers, [](auto& peer) { return !peer->isEnded(); });
  EXPECT_LE(held, SocketLimits::kConnections);
}

TEST_F(Sockets, AHugeRequestStillGetsItsWholeAnswer) {
  serve(std::string(300'000, 'a'));
  const auto client = SocketClient::toPort(port);
  const std::string request(10 << 20, 'x');
  size_t sent = 0;
  EXPECT_TRUE(until([&] {
    sent += client->send(std::string_view(request).substr(sent));
    return sent == request.size();
  }));
  EXPECT_EQ(answerTo(*client).size(), 300'000u);
}

TEST_F(Sockets, OddPeersAndStalledReadersHoldUpOnlyThemselves) {
  serve(std::string(32 << 20, 'a'));
  const auto stalled = SocketClient::toPort(port);
  stalled->send("GET /");
  SocketClient::toPort(port)->send("leaves");
  const linger reset{1, 0};
  setsockopt(SocketClient::toPort(port)->fd(), SOL_SOCKET, SO_LINGER, &reset, sizeof reset);
  const auto rubbish = SocketClient::toPort(port);
  rubbish->send(std::string("\0\xff\xfe\r\n", 5));
  EXPECT_EQ(answerTo(*rubbish).size(), size_t{32 << 20});
}

TEST_F(Sockets, DropOtherUsersBeforeAnybodyHearsOfThem) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  const auto listener = open();
  std::filesystem::permissions(folder.path(), std::filesystem::perms(0755));
  std::filesystem::permissions(path, std::filesystem::perms(0666));
  ASSERT_EQ(seteuid(65534), 0);
  const auto stranger = SocketClient::toPath(path);
  ASSERT_EQ(seteuid(0), 0);
  EXPECT_TRUE(until([&] { return stranger->isEnded(); }));
  EXPECT_TRUE(accepted.empty());
}

TEST_F(Sockets, AStaleFileIsReplacedAndALiveOneIsNot) {
  auto listener = open();
  std::filesystem::create_hard_link(path, folder / "left");
  listener.reset();
  std::filesystem::rename(folder / "left", path);  // as a killed process leaves it
  listener = open();
  EXPECT_EQ(events, "ready");
  EXPECT_TRUE(open());
  EXPECT_EQ(events, "failed");
  EXPECT_TRUE(SocketClient::toPath(path));
}

}  // namespace
}  // namespace velmora
