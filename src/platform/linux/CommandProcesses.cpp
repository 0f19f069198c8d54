#include "platform/linux/CommandProcesses.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "platform/linux/Spawn.h"

namespace velmora {
namespace {

std::string readToEnd(int fd) {
  std::string out;
  std::array<char, 4096> buffer;
  for (;;) {
    const ssize_t n = read(fd, buffer.data(), buffer.size());
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return out;
    out.append(buffer.data(), static_cast<size_t>(n));
  }
}

int waitFor(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

}  // namespace

std::optional<Processes::Outcome> CommandProcesses::run(const std::vector<std::string>& arguments) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const auto pid = spawn(arguments, ends[1]);
  close(ends[1]);
  std::string output = pid ? readToEnd(ends[0]) : "";
  close(ends[0]);
  if (!pid) return std::nullopt;
  return Outcome{waitFor(*pid), std::move(output)};
}

}  // namespace velmora
