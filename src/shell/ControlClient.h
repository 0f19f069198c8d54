#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "control/CommandTable.h"

namespace velmora {

// The command line's end of the control channel. Blocks, within bounded time.
class ControlClient {
 public:
  // Nothing when no Velmora of this user answers at `socketPath`.
  static std::optional<ControlClient> connect(const std::string& socketPath);
  ControlClient(ControlClient&& other) noexcept;
  ControlClient& operator=(ControlClient&&) = delete;
  ~ControlClient();

  CommandResult run(std::string_view command, const std::vector<std::string>& arguments);
  // Hands over each line of the state document's news until the program ends or `line` is false.
  CommandResult follow(const std::function<bool(std::string_view line)>& line);

 private:
  explicit ControlClient(int fd) : fd_(fd) {}
  bool sendAll(std::string_view bytes);
  // Nothing at the end of the stream, or after `seconds` of silence; 0 waits for ever.
  std::optional<std::string> readLine(int seconds);

  int fd_;
  std::string buffer_;
};

}  // namespace velmora
