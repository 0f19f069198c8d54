#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "base/Json.h"
#include "control/CommandTable.h"
#include "control/StateDocument.h"
#include "ports/Listeners.h"
#include "ports/Log.h"
#include "ports/RunLoop.h"

namespace velmora {

// The control channel: JSON lines over a local socket that only this user can reach.
//
//   {"id":1,"command":"sites","arguments":["add","reddit.com"]}
//     -> {"id":1,"status":0,"output":"","error":""}
//   {"id":2,"subscribe":true}
//     -> {"id":2,"status":0}, {"state":{...}}, and then {"changes":{...}} with what changed since,
//        as a JSON merge patch (RFC 7386)
//
// A line that is no request is answered with status 2 and the stream goes on; one longer than
// kLongestLine ends the connection. A client that does not read keeps at most one answer and one
// set of changes waiting, and is not read from meanwhile: it costs the others nothing. Main lane.
class ControlServer {
 public:
  static constexpr std::string_view socketName = "control";
  static constexpr size_t kLongestLine = 64 * 1024;

  ControlServer(Listeners& listeners, RunLoop& loop, Log& log, const CommandTable& commands,
                const StateDocument& state);
  ~ControlServer();
  ControlServer(const ControlServer&) = delete;
  ControlServer& operator=(const ControlServer&) = delete;

  void start();
  size_t clients() const { return clients_.size(); }
  // One request's answer, as the line that is sent. Never fails.
  std::string answer(std::string_view line, bool& wantsState) const;

 private:
  struct Client;
  void accept(std::shared_ptr<Connection> connection);
  void receive(const std::shared_ptr<Client>& client);
  void serveLines(const std::shared_ptr<Client>& client);
  void flush(const std::shared_ptr<Client>& client);
  void drop(const std::shared_ptr<Client>& client);
  void subscribe(Client& client);
  void publishSoon();
  void publish();
  void queueChanges(Client& client);

  Listeners& listeners_;
  RunLoop& loop_;
  Log& log_;
  const CommandTable& commands_;
  const StateDocument& state_;
  std::list<std::shared_ptr<Client>> clients_;
  json::Value latest_;
  bool isPublishDue_ = false;
  std::vector<Subscription> observations_;  // while somebody subscribes
  Subscription publication_;
  std::unique_ptr<Listener> listener_;
};

}  // namespace velmora
