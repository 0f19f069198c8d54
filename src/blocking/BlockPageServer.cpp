#include "blocking/BlockPageServer.h"

#include "base/Text.h"

namespace velmora {
namespace {

constexpr size_t kRequestBytes = 0x4000;
constexpr int kMostRetries = 5;
constexpr Seconds kRetryDelay(2.0);

// The target of the request line; what can't be read counts as the page itself.
std::string_view pathOf(std::string_view request) {
  if (!text::isValidUtf8(request)) return "/";
  const size_t begin = request.find(' ');
  if (begin == std::string_view::npos) return "/";
  const std::string_view rest = request.substr(begin + 1);
  return rest.substr(0, rest.find(' '));
}

}  // namespace

// Lives on the queue, except for its construction.
struct BlockPageServer::Core : std::enable_shared_from_this<Core> {
  Core(Listeners& l, SerialQueue& q, RunLoop& m, Log& lg, std::string p,
       std::weak_ptr<Property<State>> s)
      : listeners(l), queue(q), mainLoop(m), log(lg), page(std::move(p)), state(std::move(s)) {}

  void listen() {
    if (listener) return;
    std::string error;
    const std::weak_ptr<Core> weak = weak_from_this();
    listener = listeners.loopback(
        port, queue,
        {.ready = [weak] { if (const auto self = weak.lock()) self->ready(); },
         .failed = [weak] { if (const auto self = weak.lock()) self->failed(); },
         .accepted = [weak](std::shared_ptr<Connection> connection) {
           if (const auto self = weak.lock()) self->serve(std::move(connection));
         }},
        error);
    if (listener) return;
    log.notice("Velmora: block page server could not start: " + error);
    publish(State::failed);
  }

  void ready() {
    retries = 0;
    publish(State::serving);
  }

  void failed() {
    listener.reset();
    if (retries >= kMostRetries) return publish(State::failed);
    ++retries;
    publish(State::retrying);
    retry = queue.after(kRetryDelay, [weak = weak_from_this()] {
      if (const auto self = weak.lock()) self->listen();
    });
  }

  // One request per connection, and an answer even to none. The connection lives in its own
  // callbacks.
  void serve(std::shared_ptr<Connection> connection) {
    Connection& stream = *connection;
    stream.receive(kRequestBytes, [self = shared_from_this(), connection = std::move(connection)](
                                      std::optional<std::string> request) {
      connection->send(BlockPageServer::response(request.value_or(""), self->page),
                       [connection] { connection->cancel(); });
    });
  }

  // The main loop may be gone together with the server.
  void publish(State value) {
    if (state.expired()) return;
    mainLoop.post([weak = state, value] {
      if (const auto property = weak.lock()) property->setIfChanged(value);
    });
  }

  Listeners& listeners;
  SerialQueue& queue;
  RunLoop& mainLoop;
  Log& log;
  const std::string page;
  const std::weak_ptr<Property<State>> state;
  int retries = 0;  // failed starts in a row
  std::unique_ptr<Listener> listener;
  Subscription retry;
};

BlockPageServer::BlockPageServer(Listeners& listeners, SerialQueue& queue, RunLoop& mainLoop,
                                 Log& log, std::string page)
    : queue_(queue),
      state_(std::make_shared<Property<State>>(State::idle)),
      core_(std::make_shared<Core>(listeners, queue, mainLoop, log, std::move(page), state_)) {}

// The listener belongs to the queue, so it is the queue that closes it.
BlockPageServer::~BlockPageServer() {
  queue_.post([core = std::move(core_)] {
    core->listener.reset();
    core->retry.reset();
  });
}

void BlockPageServer::start() {
  queue_.post([weak = std::weak_ptr(core_)] {
    if (const auto core = weak.lock()) core->listen();
  });
}

std::string BlockPageServer::response(std::string_view request, std::string_view page) {
  if (pathOf(request).starts_with("/favicon"))
    return "HTTP/1.1 204 No Content\r\nContent-Length: 0\r\nConnection: close\r\n\r\n";
  std::string out =
      "HTTP/1.1 200 OK\r\nContent-Type: text/html; charset=utf-8\r\n"
      "Content-Length: " + std::to_string(page.size()) + "\r\n"
      "Cache-Control: no-store\r\nConnection: close\r\n\r\n";
  out.append(page);
  return out;
}

std::string_view rawText(BlockPageServer::State state) {
  static constexpr std::string_view kTexts[] = {"idle", "serving", "retrying", "failed"};
  return kTexts[static_cast<size_t>(state)];
}

}  // namespace velmora
