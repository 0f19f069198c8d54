#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <thread>

#include "platform/linux/EventLoop.h"
#include "platform/linux/SocketListeners.h"
#include "platform/linux/WorkerQueue.h"
#include "support/LoopSlices.h"
#include "support/SocketClient.h"
#include "support/TempFolder.h"

namespace velmora {
namespace {

using Clients = std::vector<std::shared_ptr<SocketClient>>;

// One server of short answers on its own thread, as the wall is.
class WallLike : public testing::Test {
 protected:
  ~WallLike() override {
    queue.post([this] { listener.reset(); });
  }
  void serve(std::string answer) {
    bool isReady = false;
    queue.post([&, answer] {
      std::string error;
      listener = listeners.loopback(port, queue,
                                    {.ready = [&] { loop.post([&] { isReady = true; }); },
                                     .failed = [] { ADD_FAILURE(); },
                                     .accepted = [answer](auto c) { answerOn(c, answer); }},
                                    error);
      EXPECT_TRUE(listener) << error;
    });
    ASSERT_TRUE(runUntil(loop, [&] { return isReady; }));
  }
  static void answerOn(std::shared_ptr<Connection> connection, const std::string& answer) {
    Connection& stream = *connection;
    stream.receive(0x4000, [connection, answer](std::optional<std::string> request) {
      if (!request) return connection->cancel();
      connection->send(answer, [connection] { connection->cancel(); });
    });
  }
  bool until(const std::function<bool()>& holds) { return runUntil(loop, holds); }

  const uint16_t port = freePort();
  TempFolder folder;
  EventLoop loop;
  std::unique_ptr<Listener> listener;  // the queue's own: it lets go of it before it ends
  WorkerQueue queue{"test sockets"};
  SocketListeners listeners{folder.path(), {loop, queue}};
};

void allowDescriptors(rlim_t count) {
  rlimit limit;
  getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min(limit.rlim_max, std::max(limit.rlim_cur, count));
  setrlimit(RLIMIT_NOFILE, &limit);
}

int openDescriptors() {
  int count = 0;
  for (int fd = 0; fd < 4096; ++fd) count += fcntl(fd, F_GETFD) >= 0;
  return count;
}

TEST_F(WallLike, AThousandSilentPeersDontKeepTheNextOneWaiting) {
  allowDescriptors(4096);
  serve("hello");
  Clients silent;
  for (int i = 0; i < 1000; ++i) silent.push_back(SocketClient::toPort(port));
  EXPECT_EQ(std::ranges::count(silent, nullptr), 0);
  const auto start = std::chrono::steady_clock::now();
  const auto client = SocketClient::toPort(port);
  ASSERT_TRUE(client);
  client->send("GET / HTTP/1.1\r\n\r\n");
  EXPECT_TRUE(until([&] { return client->isEnded(); }));
  EXPECT_EQ(client->received(), "hello");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(1));
  // Our side holds no more of them than its bound.
  EXPECT_TRUE(until([&] {
    return openDescriptors() < 1000 + static_cast<int>(SocketLimits::kConnections) + 64;
  }));
}

TEST_F(WallLike, AHugeRequestStillGetsItsWholeAnswer) {
  const std::string answer(300'000, 'a');
  serve(answer);
  const auto client = SocketClient::toPort(port);
  const std::string request = "POST / HTTP/1.1\r\n\r\n" + std::string(10 << 20, 'x');
  size_t sent = 0;
  EXPECT_TRUE(until([&] {
    sent += client->send(std::string_view(request).substr(sent));
    return sent == request.size();
  }));
  EXPECT_TRUE(until([&] { return client->isEnded(); }));
  EXPECT_FALSE(client->wasReset());
  EXPECT_EQ(client->received().size(), answer.size());
}

TEST_F(WallLike, OddPeersHurtNobody) {
  serve("hello");
  {
    const auto leaves = SocketClient::toPort(port);
    const auto resets = SocketClient::toPort(port);
    resets->send("x");
    const linger now{1, 0};
    setsockopt(resets->fd(), SOL_SOCKET, SO_LINGER, &now, sizeof now);
  }
  const auto rubbish = SocketClient::toPort(port);
  rubbish->send(std::string("\0\xff\xfe\r\n", 5));
  EXPECT_TRUE(until([&] { return rubbish->isEnded(); }));
  EXPECT_EQ(rubbish->received(), "hello");
}

// A reader that takes nothing holds its own answer up and nobody else's.
TEST_F(WallLike, AStalledReaderHoldsUpOnlyItself) {
  serve(std::string(32 << 20, 'a'));
  const auto stalled = SocketClient::toPort(port);
  stalled->send("GET /");
  const auto other = SocketClient::toPort(port);
  other->send("GET /");
  EXPECT_TRUE(until([&] { return other->isEnded(); }));
  EXPECT_EQ(other->received().size(), size_t{32 << 20});
}

TEST_F(WallLike, NobodyReachesItFromOutside) {
  serve("hello");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK + 1);
  const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  EXPECT_NE(connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
  close(fd);
}

TEST_F(WallLike, PendingConnectionsEndWithTheirQueue) {
  const auto held = std::make_shared<int>(0);
  Clients clients;
  {
    WorkerQueue shortLived("short lived");
    SocketListeners own(folder.path(), {shortLived});
    std::atomic<int> waiting = 0;
    shortLived.post([&] {
      std::string error;
      const auto accepted = [&, held](std::shared_ptr<Connection> c) {
        Connection& stream = *c;
        stream.receive(10, [c, held](auto) { ADD_FAILURE(); });
        ++waiting;
      };
      // The handle may go with the loop or after it.
      listener = own.loopback(port, shortLived, {nullptr, nullptr, accepted}, error);
    });
    EXPECT_TRUE(until([&] {
      if (clients.empty())
        if (auto client = SocketClient::toPort(port)) clients.push_back(client);
      return waiting == 1;
    }));
  }
  EXPECT_EQ(held.use_count(), 1);
  EXPECT_TRUE(clients.front()->isEnded());
}

class LocalSockets : public testing::Test {
 protected:
  std::unique_ptr<Listener> open() {
    auto made = listeners.local(
        "test", loop,
        SocketListenerHandlers{.ready = [this] { events += "ready "; },
                               .failed = [this] { events += "failed "; },
                               .accepted = [this](auto c) { accepted.push_back(std::move(c)); }},
        error);
    if (made) runUntil(loop, [&] { return events != ""; });
    return made;
  }
  TempFolder folder;
  EventLoop loop;
  SocketListeners listeners{folder.path(), {loop}};
  std::string events;
  std::string error;
  std::vector<std::shared_ptr<SocketConnection>> accepted;
};

TEST_F(LocalSockets, AreForThisUserAndTellThePeersProcess) {
  const auto listener = open();
  ASSERT_EQ(events, "ready ");
  struct stat info;
  ASSERT_EQ(stat(listeners.path("test").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  const auto client = SocketClient::toPath(listeners.path("test"));
  ASSERT_TRUE(runUntil(loop, [&] { return accepted.size() == 1; }));
  EXPECT_EQ(accepted.front()->peerPid(), getpid());
}

TEST_F(LocalSockets, DropOtherUsersBeforeAnybodyHearsOfThem) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can act as another user";
  const auto listener = open();
  chmod(folder.path().c_str(), 0755);
  chmod(listeners.path("test").c_str(), 0666);
  const pid_t child = fork();
  if (child == 0) {
    const bool changed = setgid(65534) == 0 && setuid(65534) == 0;
    const auto client = SocketClient::toPath(listeners.path("test"));
    char byte;
    _exit(changed && client && recv(client->fd(), &byte, 1, 0) <= 0 ? 0 : 1);
  }
  int status = -1;
  EXPECT_TRUE(runUntil(loop, [&] { return waitpid(child, &status, WNOHANG) == child; }));
  EXPECT_EQ(status, 0);
  EXPECT_TRUE(accepted.empty());
}

TEST_F(LocalSockets, AStaleFileIsReplacedAndALiveOneIsNot) {
  // What a killed process leaves: a socket that nobody answers on.
  const std::string path = listeners.path("test");
  {
    const auto dead = open();
    ASSERT_EQ(rename(path.c_str(), (path + ".kept").c_str()), 0);
  }
  ASSERT_EQ(rename((path + ".kept").c_str(), path.c_str()), 0);
  events.clear();
  auto listener = open();
  EXPECT_EQ(events, "ready ");

  events.clear();
  EXPECT_TRUE(open());
  EXPECT_EQ(events, "failed ");
  EXPECT_TRUE(SocketClient::toPath(path));
  listener.reset();
  EXPECT_NE(access(path.c_str(), F_OK), 0);
}

TEST_F(LocalSockets, ImpossiblePlacesAreRefusedAtOnce) {
  EXPECT_FALSE(listeners.local("a/b", loop, SocketListenerHandlers{}, error));
  EXPECT_FALSE(listeners.local(std::string(200, 'x'), loop, SocketListenerHandlers{}, error));
  EXPECT_FALSE(error.empty());
  mkdir(listeners.path("test").c_str(), 0700);
  EXPECT_FALSE(open());
  EventLoop stranger;
  EXPECT_FALSE(listeners.local("other", stranger, SocketListenerHandlers{}, error));
}

TEST_F(LocalSockets, BeyondTheBoundPeersWaitForTheirTurn) {
  const auto listener = open();
  Clients clients;
  for (size_t i = 0; i < SocketLimits::kConnections + 3; ++i)
    clients.push_back(SocketClient::toPath(listeners.path("test")));
  EXPECT_TRUE(runUntil(loop, [&] { return accepted.size() == SocketLimits::kConnections; }));
  runFor(loop, Seconds(0.02));
  EXPECT_EQ(accepted.size(), SocketLimits::kConnections);
  for (int i = 0; i < 3; ++i) {
    accepted[i]->cancel();
    clients[i].reset();
  }
  EXPECT_TRUE(runUntil(loop, [&] { return accepted.size() == SocketLimits::kConnections + 3; }));
}

TEST_F(LocalSockets, WhatIsStillBeingSentSurvivesCancel) {
  const auto listener = open();
  const auto client = SocketClient::toPath(listeners.path("test"));
  ASSERT_TRUE(runUntil(loop, [&] { return accepted.size() == 1; }));
  client->send("unread");
  accepted.front()->send(std::string(4 << 20, 'z'), [] { ADD_FAILURE() << "told after cancel"; });
  accepted.front()->cancel();
  EXPECT_TRUE(runUntil(loop, [&] { return client->isEnded(); }));
  EXPECT_EQ(client->received().size(), size_t{4 << 20});
}

TEST_F(LocalSockets, RunningOutOfDescriptorsNeitherSpinsNorLosesPeers) {
  const auto listener = open();
  rlimit before;
  getrlimit(RLIMIT_NOFILE, &before);
  std::vector<int> all;
  Clients clients;
  clients.push_back(SocketClient::toPath(listeners.path("test")));
  const int next = dup(0);
  close(next);
  const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  const auto cpu = clock();
  runFor(loop, Seconds(0.1));
  EXPECT_LT(clock() - cpu, CLOCKS_PER_SEC / 20);
  EXPECT_TRUE(accepted.empty());
  setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_TRUE(runUntil(loop, [&] { return accepted.size() == 1; }));
}

}  // namespace
}  // namespace velmora
