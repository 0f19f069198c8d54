#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ports/Listeners.h"

namespace velmora::sim {

// A network of one machine in memory. Tests are the clients.
class FakeListeners final : public Listeners {
 public:
  // One client's end. Bytes go at once; the server hears of them on its queue.
  class Client {
   public:
    void send(std::string_view bytes);
    void close();  // ends the client's side
    // While stalled, the server's sends do not complete.
    void stall(bool on);
    std::string received;
    bool isClosedByServer = false;

   private:
    friend class FakeListeners;
    struct Stream;
    std::weak_ptr<Stream> stream_;
  };

  // Ends all streams, as the end of a process does: one that waits lives in its own callback.
  ~FakeListeners() override;

  std::unique_ptr<Listener> loopback(uint16_t port, SerialQueue& queue, ListenerHandlers handlers,
                                     std::string& error) override;
  std::unique_ptr<Listener> local(std::string_view name, SerialQueue& queue,
                                  ListenerHandlers handlers, std::string& error) override;

  // Null when nobody listens there.
  std::shared_ptr<Client> connect(uint16_t port) { return connect(std::to_string(port)); }
  std::shared_ptr<Client> connect(const std::string& name);
  bool isListening(const std::string& name) const { return endpoints_.contains(name); }

  std::set<std::string> takenNames;  // listening there fails
  bool refusesAll = false;           // no listener can be made at all
  int attempts = 0;

 private:
  struct Endpoint;
  class FakeListener;
  std::unique_ptr<Listener> listen(const std::string& name, SerialQueue& queue,
                                   ListenerHandlers handlers, std::string& error);
  std::map<std::string, std::shared_ptr<Endpoint>> endpoints_;
  std::vector<std::weak_ptr<Connection>> streams_;
};

}  // namespace velmora::sim
