#include "platform/linux/PolkitAuthentication.h"

#include <systemd/sd-bus.h>

#include <cstring>
#include <utility>

#include "platform/linux/EventLoop.h"

namespace velmora {
namespace {

constexpr char kService[] = "org.freedesktop.PolicyKit1";
constexpr char kPath[] = "/org/freedesktop/PolicyKit1/Authority";
constexpr char kAuthority[] = "org.freedesktop.PolicyKit1.Authority";
constexpr char kAction[] = "com.velmora.app.end-session";
constexpr uint32_t kAskNobody = 0;
constexpr uint32_t kAskThePerson = 1;
constexpr uint64_t kAsLongAsItTakes = UINT64_MAX;
constexpr uint64_t kSecond = 1'000'000;

struct Verdict {
  bool isAuthorized = false;
  bool needsProof = false;
};

// What polkit is asked about whoever is `bus`. `out` is to be unreferenced, and null on failure.
int makeQuery(sd_bus* bus, uint32_t flags, sd_bus_message** out) {
  const char* name = nullptr;
  int r = sd_bus_get_unique_name(bus, &name);
  if (r >= 0)
    r = sd_bus_message_new_method_call(bus, out, kService, kPath, kAuthority, "CheckAuthorization");
  if (r >= 0)
    r = sd_bus_message_append(*out, "(sa{sv})sa{ss}us", "system-bus-name", 1, "name", "s", name,
                              kAction, 0, flags, "");
  return r;
}

// No and no for an answer that is none.
Verdict readVerdict(sd_bus_message* reply) {
  int isAuthorized = 0, needsProof = 0;
  if (sd_bus_message_enter_container(reply, 'r', "bba{ss}") < 0 ||
      sd_bus_message_read(reply, "bb", &isAuthorized, &needsProof) < 0)
    return {};
  return {isAuthorized != 0, needsProof != 0};
}

}  // namespace

// One call on a connection of its own, which goes with it: to be open for years is not needed.
class PolkitAuthentication::Question {
 public:
  Question(EventLoop& loop, Log& log, std::function<void(bool)> completion)
      : loop_(loop), log_(log), completion_(std::move(completion)) {}
  ~Question() {
    sd_bus_detach_event(bus_);
    sd_bus_close_unref(bus_);
  }

  void ask() {
    const int r = call();
    if (r >= 0) return;
    log_.debug("authentication", std::strerror(-r));
    answer(false);
  }
  bool isAnswered() const { return !completion_; }

 private:
  int call() {
    int r = sd_bus_open_system(&bus_);
    if (r >= 0) r = sd_bus_set_exit_on_disconnect(bus_, 0);
    if (r >= 0) r = sd_bus_attach_event(bus_, loop_.native(), SD_EVENT_PRIORITY_NORMAL);
    // Asked when the bus has given us the name by which polkit finds this user's session.
    if (r >= 0)
      r = sd_bus_call_method_async(
          bus_, nullptr, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
          "GetId",
          [](sd_bus_message*, void* self, sd_bus_error*) {
            auto* question = static_cast<Question*>(self);
            if (question->check() < 0) question->answer(false);
            return 0;
          },
          this, "");
    return r;
  }

  int check() {
    sd_bus_message* m = nullptr;
    int r = makeQuery(bus_, kAskThePerson, &m);
    if (r >= 0)
      r = sd_bus_call_async(
          bus_, nullptr, m,
          [](sd_bus_message* reply, void* self, sd_bus_error*) {
            static_cast<Question*>(self)->read(reply);
            return 0;
          },
          this, kAsLongAsItTakes);
    sd_bus_message_unref(m);
    return r;
  }

  void read(sd_bus_message* reply) {
    constexpr const char* kCant = "The owner of this computer can't be asked: ";
    Verdict verdict;
    if (const auto* error = sd_bus_message_get_error(reply))
      log_.notice(std::string(kCant) + (error->message ? error->message : error->name));
    else if (verdict = readVerdict(reply); verdict.needsProof && !verdict.isAuthorized)
      log_.notice(std::string(kCant) + "this desktop runs no authentication agent");
    answer(verdict.isAuthorized);
  }

  // Once, from the loop.
  void answer(bool isOwner) {
    if (!completion_) return;
    loop_.post([told = std::exchange(completion_, nullptr), isOwner] { told(isOwner); });
  }

  EventLoop& loop_;
  Log& log_;
  std::function<void(bool)> completion_;
  sd_bus* bus_ = nullptr;
};

PolkitAuthentication::PolkitAuthentication(EventLoop& loop, Log& log) : loop_(loop), log_(log) {}
PolkitAuthentication::~PolkitAuthentication() = default;

bool PolkitAuthentication::canAsk() {
  sd_bus* bus = nullptr;
  sd_bus_message* query = nullptr;
  sd_bus_message* reply = nullptr;
  Verdict verdict;
  if (sd_bus_open_system(&bus) >= 0 && makeQuery(bus, kAskNobody, &query) >= 0 &&
      sd_bus_call(bus, query, kSecond, nullptr, &reply) >= 0)
    verdict = readVerdict(reply);
  sd_bus_message_unref(reply);
  sd_bus_message_unref(query);
  sd_bus_close_unref(bus);
  return verdict.isAuthorized || verdict.needsProof;
}

// The question itself carries the text: polkit lets only trusted programs hand over another.
void PolkitAuthentication::authenticate(const std::string&, std::function<void(bool)> completion) {
  if (question_ && !question_->isAnswered()) {
    loop_.post([completion = std::move(completion)] { completion(false); });
    return;
  }
  question_ = std::make_unique<Question>(loop_, log_, std::move(completion));
  question_->ask();
}

}  // namespace velmora
