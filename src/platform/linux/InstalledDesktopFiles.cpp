#include "platform/linux/InstalledDesktopFiles.h"

#include <set>

#include "platform/linux/IconFinder.h"

namespace velmora {
namespace {

std::string fileUrl(std::string_view path) {
  constexpr std::string_view plain = "-._~/";
  constexpr std::string_view digits = "0123456789ABCDEF";
  std::string url = "file://";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    if (isLetter || (c >= '0' && c <= '9') || plain.contains(c)) {
      url += c;
    } else {
      url += {'%', digits[byte >> 4], digits[byte & 15]};
    }
  }
  return url;
}

}  // namespace

std::vector<InstalledApp> InstalledDesktopFiles::scan() const {
  auto entries = entries_.read();
  std::erase_if(entries, [](const auto& entry) { return !entry.isForPeople; });

  const auto& environment = entries_.environment();
  const IconFinder finder(environment.dataFolders, environment.home,
                          IconFinder::themeIn(environment.configHome));
  std::set<std::string> names;
  for (const auto& entry : entries) names.insert(entry.icon);
  const auto icons = finder.find(names);

  std::vector<InstalledApp> apps;
  for (auto& entry : entries) {
    const auto icon = icons.find(entry.icon);
    apps.push_back({std::move(entry.name), catalog_.canonicalID(entry.id), fileUrl(entry.path),
                    icon == icons.end() ? "" : icon->second});
  }
  return apps;
}

}  // namespace velmora
