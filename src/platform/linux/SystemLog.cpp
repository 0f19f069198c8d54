#include "platform/linux/SystemLog.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace velmora {
namespace {

constexpr char kNotice = '5';
constexpr char kDebug = '7';

// The service manager names the device and inode of the journal's stream; another standard error
// may have taken its place since.
bool errorIsJournal() {
  const char* stream = std::getenv("JOURNAL_STREAM");
  struct stat info;
  if (!stream || fstat(STDERR_FILENO, &info) != 0) return false;
  return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) == stream;
}

bool asked(const char* variable) {
  const char* value = std::getenv(variable);
  return value && std::string_view(value) == "1";
}

}  // namespace

SystemLog::SystemLog() : debug_(asked("VELMORA_DEBUG")), toJournal_(errorIsJournal()) {}

void SystemLog::debug(std::string_view category, std::string_view message) {
  if (debug_) line(kDebug, std::string(category) + ": " + std::string(message));
}

void SystemLog::notice(std::string_view message) {
  line(kNotice, std::string(message));
}

// A text with line ends would look like several messages, some of them forged.
void SystemLog::line(char priority, std::string text) const {
  std::ranges::replace(text, '\n', ' ');
  if (toJournal_) text.insert(0, {'<', priority, '>'});
  text += '\n';
  [[maybe_unused]] const auto written = write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace velmora
