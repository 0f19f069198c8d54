#pragma once

#include <string>

#include "ports/Log.h"

namespace velmora {

// Lines on standard error, each written whole. Where that is the journal, lines carry their
// priority. Debug lines are on with VELMORA_DEBUG=1.
class SystemLog : public Log {
 public:
  SystemLog();
  bool debugEnabled() const override { return debug_; }
  void debug(std::string_view category, std::string_view message) override;
  void notice(std::string_view message) override;

 private:
  void line(char priority, std::string text) const;

  bool debug_;
  bool toJournal_;
};

}  // namespace velmora
