// The native messaging host. The browser starts one, it carries frames between the extension and
// the application, and it ends with the browser.

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <csignal>
#include <span>
#include <string>
#include <string_view>

#include "AppSocket.h"
#include "Frames.h"
#include "Relay.h"

namespace velmora::browserhost {
namespace {

// The caller among the arguments. Chromium's come as "origin"; Firefox's as "path of the host's
// manifest", "extension id".
std::string_view originAmong(std::span<char*> arguments) {
  for (const std::string_view argument : arguments)
    if (argument.starts_with("chrome-extension://")) return argument;
  if (arguments.empty()) return {};
  return arguments.size() > 1 ? arguments[1] : arguments[0];
}

// The inside of a JSON string, of at most 256 characters of `text`. Origins and ids are plain
// ASCII; any other byte could break the text's encoding and becomes a question mark.
std::string quotable(std::string_view text) {
  std::string quoted;
  for (const char c : text.substr(0, 256)) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c >= ' ' && c <= '~' ? c : '?';
  }
  return quoted;
}

std::string greeting(std::string_view origin) {
  return frameOf(R"({"type":"host","protocol":1,"pid":)" + std::to_string(getpid()) +
                 R"(,"browserPid":)" + std::to_string(getppid()) + R"(,"origin":")" +
                 quotable(origin) + R"("})");
}

}  // namespace
}  // namespace velmora::browserhost

int main(int argc, char** argv) {
  using namespace velmora::browserhost;
  std::signal(SIGPIPE, SIG_IGN);
  // A write may fill the pipe; a read is only tried when there is something to read.
  fcntl(STDOUT_FILENO, F_SETFL, fcntl(STDOUT_FILENO, F_GETFL) | O_NONBLOCK);

  // One swollen buffer must not swell the heap for good: large blocks go straight back.
  mallopt(M_MMAP_THRESHOLD, 64 * 1024);

  const std::span<char*> arguments(argv + 1, argc > 0 ? argc - 1 : 0);
  Relay relay(STDIN_FILENO, STDOUT_FILENO, appSocketPath(), greeting(originAmong(arguments)));
  relay.run();
}
