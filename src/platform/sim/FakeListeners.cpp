#include "platform/sim/FakeListeners.h"

namespace velmora::sim {

struct FakeListeners::Endpoint {
  SerialQueue& queue;
  ListenerHandlers handlers;
};

// Shared by both ends.
struct FakeListeners::Client::Stream : Connection, std::enable_shared_from_this<Stream> {
  Stream(SerialQueue& q, std::shared_ptr<Client> c) : queue(q), client(std::move(c)) {}
  ~Stream() override {
    if (client) client->isClosedByServer = true;
  }

  void receive(size_t most, std::function<void(std::optional<std::string>)> done) override {
    wanted = most;
    onReceive = std::move(done);
    pump();
  }
  void send(std::string bytes, std::function<void()> done) override {
    if (client) client->received += bytes;
    onSent = std::move(done);
    if (!isStalled) sentSoon();
  }
  void cancel() override {
    onReceive = nullptr;
    onSent = nullptr;
    if (client) client->isClosedByServer = true;
    client.reset();
  }

  void sentSoon() {
    queue.post([weak = weak_from_this()] {
      const auto self = weak.lock();
      if (!self) return;
      if (const auto done = std::exchange(self->onSent, nullptr)) done();
    });
  }
  void pump() {
    if (!onReceive || (incoming.empty() && !isEnded)) return;
    queue.post([weak = weak_from_this()] {
      const auto self = weak.lock();
      if (!self || !self->onReceive) return;
      if (self->incoming.empty() && !self->isEnded) return;  // an earlier turn took it all
      const auto done = std::exchange(self->onReceive, nullptr);
      if (self->incoming.empty()) return done(std::nullopt);
      std::string bytes = self->incoming.substr(0, self->wanted);
      self->incoming.erase(0, bytes.size());
      done(std::move(bytes));
    });
  }

  SerialQueue& queue;
  std::shared_ptr<Client> client;
  std::string incoming;
  bool isEnded = false;
  bool isStalled = false;
  size_t wanted = 0;
  std::function<void(std::optional<std::string>)> onReceive;
  std::function<void()> onSent;
};

void FakeListeners::Client::send(std::string_view bytes) {
  if (const auto stream = stream_.lock()) {
    stream->incoming.append(bytes);
    stream->pump();
  }
}

void FakeListeners::Client::close() {
  if (const auto stream = stream_.lock()) {
    stream->isEnded = true;
    stream->pump();
  }
}

void FakeListeners::Client::stall(bool on) {
  if (const auto stream = stream_.lock()) {
    stream->isStalled = on;
    if (!on && stream->onSent) stream->sentSoon();
  }
}

class FakeListeners::FakeListener final : public Listener {
 public:
  FakeListener(FakeListeners& owner, std::string name, std::shared_ptr<Endpoint> endpoint)
      : owner_(owner), name_(std::move(name)), endpoint_(std::move(endpoint)) {}
  ~FakeListener() override {
    const auto it = owner_.endpoints_.find(name_);
    if (it != owner_.endpoints_.end() && it->second == endpoint_) owner_.endpoints_.erase(it);
  }

 private:
  FakeListeners& owner_;
  std::string name_;
  std::shared_ptr<Endpoint> endpoint_;
};

FakeListeners::~FakeListeners() {
  for (const auto& weak : streams_)
    if (const auto stream = weak.lock()) stream->cancel();
}

std::unique_ptr<Listener> FakeListeners::listen(const std::string& name, SerialQueue& queue,
                                                ListenerHandlers handlers, std::string& error) {
  ++attempts;
  if (refusesAll) {
    error = "no listener can be made";
    return nullptr;
  }
  auto endpoint = std::make_shared<Endpoint>(Endpoint{queue, std::move(handlers)});
  const bool taken = takenNames.contains(name) || endpoints_.contains(name);
  if (!taken) endpoints_[name] = endpoint;
  queue.post([weak = std::weak_ptr(endpoint), taken] {
    if (const auto e = weak.lock()) (taken ? e->handlers.failed : e->handlers.ready)();
  });
  return std::make_unique<FakeListener>(*this, name, std::move(endpoint));
}

std::unique_ptr<Listener> FakeListeners::loopback(uint16_t port, SerialQueue& queue,
                                                  ListenerHandlers handlers, std::string& error) {
  return listen(std::to_string(port), queue, std::move(handlers), error);
}

std::unique_ptr<Listener> FakeListeners::local(std::string_view name, SerialQueue& queue,
                                               ListenerHandlers handlers, std::string& error) {
  return listen(std::string(name), queue, std::move(handlers), error);
}

std::shared_ptr<FakeListeners::Client> FakeListeners::connect(const std::string& name) {
  const auto it = endpoints_.find(name);
  if (it == endpoints_.end()) return nullptr;
  auto client = std::make_shared<Client>();
  auto stream = std::make_shared<Client::Stream>(it->second->queue, client);
  client->stream_ = stream;
  streams_.push_back(stream);
  it->second->queue.post([endpoint = it->second, stream] { endpoint->handlers.accepted(stream); });
  return client;
}

}  // namespace velmora::sim
