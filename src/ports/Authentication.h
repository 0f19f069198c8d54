#pragma once

#include <functional>
#include <string>

namespace velmora {

// Proof that whoever asks is the owner of this computer.
class Authentication {
 public:
  virtual ~Authentication() = default;
  // Whether this computer has a way to ask. Takes up to a second.
  virtual bool canAsk() = 0;
  // `completion` is posted to the main thread, once: false when the owner declined, and also when
  // this computer can't ask. `reason` is shown with the question.
  virtual void authenticate(const std::string& reason, std::function<void(bool)> completion) = 0;
};

}  // namespace velmora
