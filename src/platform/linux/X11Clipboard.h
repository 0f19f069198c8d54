#pragma once

#include <memory>
#include <string>

#include "ports/Clipboard.h"

namespace velmora {

class EventLoop;

// The X server's CLIPBOARD selection, on a connection of its own that is made at the first use and
// made anew when the server has been away. Large data are read piece by piece (INCR); others are
// served in one piece, as large as the server takes, and larger data stay our own. The loop's
// thread only.
class X11Clipboard final : public Clipboard {
 public:
  // `loop` outlives this object. `display` as in DISPLAY; empty takes that variable.
  explicit X11Clipboard(EventLoop& loop, std::string display = {});
  ~X11Clipboard() override;

  void write(std::string_view type, std::string data) override;
  std::optional<std::string> read(std::string_view type) override;

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace velmora
