#include "platform/linux/KeyFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/Text.h"

namespace velmora {
namespace {

constexpr off_t kMaxBytes = 1 << 20;

std::string_view stripped(std::string_view text) {
  constexpr std::string_view blanks = " \t\r";
  const size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::string fileText(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
  if (fd < 0) return {};
  std::string text;
  struct stat status{};
  if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size <= kMaxBytes) {
    text.resize(static_cast<size_t>(status.st_size));
    const ssize_t size = read(fd, text.data(), text.size());
    text.resize(size > 0 ? static_cast<size_t>(size) : 0);
  }
  close(fd);
  return text;
}

}  // namespace

KeyFile parseKeyFile(std::string_view text) {
  KeyFile file;
  KeyFile::mapped_type* group = nullptr;
  for (std::string_view line : text::split(text, '\n')) {
    line = stripped(line);
    if (line.empty() || line.front() == '#') continue;
    if (line.front() == '[' && line.back() == ']') {
      group = &file[std::string(line.substr(1, line.size() - 2))];
    } else if (const size_t equals = line.find('=');
               group && equals != std::string_view::npos && equals > 0) {
      group->emplace(stripped(line.substr(0, equals)), stripped(line.substr(equals + 1)));
    }
  }
  return file;
}

KeyFile readKeyFile(const std::string& path) {
  return parseKeyFile(fileText(path));
}

std::string_view keyFileValue(const KeyFile& file, std::string_view group, std::string_view key) {
  const auto keys = file.find(group);
  if (keys == file.end()) return {};
  const auto value = keys->second.find(key);
  return value == keys->second.end() ? std::string_view() : value->second;
}

std::vector<std::string> keyFileList(std::string_view value, char separator) {
  std::vector<std::string> list;
  for (const std::string_view element : text::split(value, separator)) {
    if (!stripped(element).empty()) list.emplace_back(stripped(element));
  }
  return list;
}

}  // namespace velmora
