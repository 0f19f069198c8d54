#include "platform/linux/SystemClock.h"

#include <limits.h>
#include <unistd.h>

#include <ctime>
#include <string_view>

namespace velmora {
namespace {

timespec read(clockid_t clock) {
  timespec t{};
  clock_gettime(clock, &t);
  return t;
}

std::string linkText(const char* path) {
  char text[PATH_MAX];
  const ssize_t n = readlink(path, text, sizeof text);
  return n > 0 ? std::string(text, static_cast<size_t>(n)) : "";
}

}  // namespace

std::string zoneNameInPath(const std::string& path) {
  constexpr std::string_view kFolder = "/zoneinfo/";
  const size_t at = path.rfind(kFolder);
  if (at == std::string::npos) return "";
  std::string name = path.substr(at + kFolder.size());
  for (const std::string_view variant : {"posix/", "right/"})
    if (name.starts_with(variant)) name.erase(0, variant.size());
  return name;
}

Date SystemClock::now() const {
  const timespec t = read(CLOCK_REALTIME);
  return Date::sinceUnixEpoch(static_cast<double>(t.tv_sec) +
                              static_cast<double>(t.tv_nsec) * 1e-9);
}

Monotonic SystemClock::monotonic() const {
  const timespec t = read(CLOCK_BOOTTIME);
  return Monotonic(std::chrono::seconds(t.tv_sec) + std::chrono::nanoseconds(t.tv_nsec));
}

Zone SystemClock::zone() const {
  std::string link = linkText("/etc/localtime");
  if (link == known_) return zone_;
  const std::string name = zoneNameInPath(link);
  zone_ = (name.empty() ? std::nullopt : Zone::named(name)).value_or(Zone::utc());
  known_ = std::move(link);
  return zone_;
}

}  // namespace velmora
