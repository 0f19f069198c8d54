#include "shell/ControlClient.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "base/Json.h"

namespace velmora {
namespace {

constexpr int kAnswerSeconds = 10;

CommandResult noAnswer() {
  return CommandResult::refused("Velmora does not answer");
}

}  // namespace

std::optional<ControlClient> ControlClient::connect(const std::string& socketPath) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  if (socketPath.size() >= sizeof address.sun_path) return {};
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  ControlClient client(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (client.fd_ < 0) return {};
  if (::connect(client.fd_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
    return {};
  return client;
}

ControlClient::ControlClient(ControlClient&& other) noexcept
    : fd_(std::exchange(other.fd_, -1)), buffer_(std::move(other.buffer_)) {}

ControlClient::~ControlClient() {
  if (fd_ >= 0) close(fd_);
}

bool ControlClient::sendAll(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t n = ::send(fd_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    bytes.remove_prefix(static_cast<size_t>(n));
  }
  return true;
}

std::optional<std::string> ControlClient::readLine(int seconds) {
  while (true) {
    if (const size_t end = buffer_.find('\n'); end != std::string::npos) {
      std::string line = buffer_.substr(0, end);
      buffer_.erase(0, end + 1);
      return line;
    }
    pollfd ready{fd_, POLLIN, 0};
    const int count = poll(&ready, 1, seconds > 0 ? seconds * 1000 : -1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return {};
    char bytes[16384];
    const ssize_t n = recv(fd_, bytes, sizeof bytes, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return {};
    buffer_.append(bytes, static_cast<size_t>(n));
  }
}

CommandResult ControlClient::run(std::string_view command,
                                 const std::vector<std::string>& arguments) {
  const json::Value request =
      json::Value::Object{{"id", 1}, {"command", command}, {"arguments", json::encode(arguments)}};
  if (!sendAll(json::dump(request) + "\n")) return noAnswer();
  const auto line = readLine(kAnswerSeconds);
  if (!line) return noAnswer();
  const auto answer = json::parse(*line);
  const auto member = [&](const char* key) { return answer ? answer->find(key) : nullptr; };
  const auto *status = member("status"), *output = member("output"), *error = member("error");
  if (!status || !output || !error || !status->asInteger() || !output->asString() ||
      !error->asString())
    return noAnswer();
  CommandResult result{static_cast<int>(*status->asInteger()), *output->asString(),
                       *error->asString(), {}};
  if (const auto* hint = member("hint"); hint && hint->asString()) result.hint = *hint->asString();
  return result;
}

CommandResult ControlClient::follow(const std::function<bool(std::string_view)>& line) {
  if (!sendAll("{\"id\":1,\"subscribe\":true}\n")) return noAnswer();
  if (!readLine(kAnswerSeconds)) return noAnswer();
  while (const auto news = readLine(0))
    if (!line(*news)) return CommandResult::done();
  return CommandResult::refused("Velmora has ended");
}

}  // namespace velmora
