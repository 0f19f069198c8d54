#include "control/ControlServer.h"

#include <algorithm>

#include "base/Text.h"

namespace velmora {

using json::Value;
using Object = Value::Object;

// What the calendar alone changes, such as the pass that is back on Monday, no write tells of.
static constexpr Seconds kCalendarLook(60);
static constexpr Seconds kCalendarTolerance(10);

struct ControlServer::Client {
  std::shared_ptr<Connection> connection;
  std::string incoming;
  std::string outgoing;
  bool isSending = false;
  bool isReceiving = false;
  bool isSubscribed = false;
  Value sent;  // the document as the subscriber knows it
};

ControlServer::ControlServer(Listeners& listeners, RunLoop& loop, Log& log,
                             const CommandTable& commands, const StateDocument& state)
    : listeners_(listeners), loop_(loop), log_(log), commands_(commands), state_(state) {}

ControlServer::~ControlServer() {
  for (const auto& client : clients_) client->connection->cancel();
}

void ControlServer::start() {
  std::string error;
  listener_ = listeners_.local(
      socketName, loop_,
      {.ready = [] {},
       .failed = [this] { log_.notice("The control socket could not be opened."); },
       .accepted = [this](std::shared_ptr<Connection> c) { accept(std::move(c)); }},
      error);
  if (!listener_) log_.notice("The control socket could not be opened: " + error);
}

void ControlServer::accept(std::shared_ptr<Connection> connection) {
  auto client = std::make_shared<Client>();
  client->connection = std::move(connection);
  clients_.push_back(client);
  receive(client);
}

void ControlServer::receive(const std::shared_ptr<Client>& client) {
  if (client->isReceiving) return;
  client->isReceiving = true;
  client->connection->receive(
      kLongestLine, [this, weak = std::weak_ptr(client)](std::optional<std::string> bytes) {
        const auto self = weak.lock();
        if (!self) return;
        self->isReceiving = false;
        if (!bytes) return drop(self);
        self->incoming += *bytes;
        serveLines(self);
      });
}

// One answer at a time: the next line waits until the last answer is with the system.
void ControlServer::serveLines(const std::shared_ptr<Client>& client) {
  while (!client->isSending) {
    const size_t end = client->incoming.find('\n');
    if (end == std::string::npos) break;
    if (end > kLongestLine) return drop(client);
    const std::string line = client->incoming.substr(0, end);
    client->incoming.erase(0, end + 1);
    if (text::trim(line).empty()) continue;
    bool wantsState = false;
    client->outgoing += answer(line, wantsState);
    if (wantsState) subscribe(*client);
    flush(client);
  }
  if (client->isSending) return;
  if (client->incoming.size() > kLongestLine) return drop(client);
  receive(client);
}

std::string ControlServer::answer(std::string_view line, bool& wantsState) const {
  const auto reply = [](const Value* id, const CommandResult& result) {
    Object out;
    if (id) out.emplace_back("id", *id);
    out.emplace_back("status", result.status);
    out.emplace_back("output", result.output);
    out.emplace_back("error", result.error);
    if (!result.hint.empty()) out.emplace_back("hint", result.hint);
    return json::dump(out) + "\n";
  };
  const auto request = json::parse(line);
  if (!request || !request->asObject())
    return reply(nullptr, CommandResult::misused("not a request"));
  const Value* id = request->find("id");
  if (const Value* subscribes = request->find("subscribe"); subscribes && subscribes->asBool()) {
    wantsState = *subscribes->asBool();
    return reply(id, CommandResult::done());
  }
  const Value* name = request->find("command");
  if (!name || !name->asString()) return reply(id, CommandResult::misused("no command named"));
  CommandTable::Arguments arguments;
  if (const Value* list = request->find("arguments")) {
    auto decoded = json::decode<CommandTable::Arguments>(*list);
    if (!decoded) return reply(id, CommandResult::misused("arguments are a list of texts"));
    arguments = std::move(*decoded);
  }
  return reply(id, commands_.run(*name->asString(), arguments));
}

void ControlServer::flush(const std::shared_ptr<Client>& client) {
  if (client->isSending || client->outgoing.empty()) return;
  client->isSending = true;
  client->connection->send(std::exchange(client->outgoing, {}),
                           [this, weak = std::weak_ptr(client)] {
                             const auto self = weak.lock();
                             if (!self) return;
                             self->isSending = false;
                             if (self->isSubscribed) queueChanges(*self);
                             flush(self);
                             serveLines(self);
                           });
}

void ControlServer::drop(const std::shared_ptr<Client>& client) {
  client->connection->cancel();
  std::erase(clients_, client);
  if (std::ranges::none_of(clients_, [](const auto& c) { return c->isSubscribed; })) {
    observations_.clear();
    publication_.reset();
    isPublishDue_ = false;
  }
}

// --- the state document --------------------------------------------------------------------------

void ControlServer::subscribe(Client& client) {
  latest_ = state_.whole();
  client.isSubscribed = true;
  client.sent = latest_;
  client.outgoing += json::dump(Object{{"state", latest_}}) + "\n";
  if (!observations_.empty()) return;
  observations_ = state_.observe([this] { publishSoon(); });
  observations_.push_back(loop_.every(kCalendarLook, kCalendarTolerance, [this] { publish(); }));
}

void ControlServer::publishSoon() {
  if (isPublishDue_) return;
  isPublishDue_ = true;
  publication_ = loop_.after(Seconds(0), [this] {
    isPublishDue_ = false;
    publish();
  });
}

void ControlServer::publish() {
  latest_ = state_.whole();
  const auto clients = clients_;
  for (const auto& client : clients) {
    if (!client->isSubscribed || client->isSending) continue;
    queueChanges(*client);
    flush(client);
  }
}

// Changes since what was last sent, however many writes ago that was: a slow reader skips what lies
// between and never piles anything up.
void ControlServer::queueChanges(Client& client) {
  if (const auto patch = mergePatch(client.sent, latest_)) {
    client.outgoing += json::dump(Object{{"changes", *patch}}) + "\n";
    client.sent = latest_;
  }
}

}  // namespace velmora
