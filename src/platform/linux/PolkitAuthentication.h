#pragma once

#include <memory>

#include "ports/Authentication.h"
#include "ports/Log.h"

namespace velmora {

class EventLoop;

// Asks polkit, which asks the person by the desktop's own dialog. The action is
// com.velmora.app.end-session, whose file carries the text of the question; on a computer where it
// is not installed, or without polkit or a dialog, the answer is no. The loop's thread only.
class PolkitAuthentication final : public Authentication {
 public:
  PolkitAuthentication(EventLoop& loop, Log& log);
  ~PolkitAuthentication() override;
  PolkitAuthentication(const PolkitAuthentication&) = delete;
  PolkitAuthentication& operator=(const PolkitAuthentication&) = delete;

  // As polkit says: it knows the action and lets this user's session prove what it wants. Whether a
  // dialog stands ready shows only when one is asked for.
  bool canAsk() override;
  // One question at a time: while one is open, the next is declined.
  void authenticate(const std::string& reason, std::function<void(bool)> completion) override;

 private:
  class Question;
  EventLoop& loop_;
  Log& log_;
  std::unique_ptr<Question> question_;
};

}  // namespace velmora
