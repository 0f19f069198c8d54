#include "platform/linux/IconFinder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/Text.h"
#include "platform/linux/KeyFile.h"

namespace velmora {
namespace fs = std::filesystem;
namespace {

constexpr int kGoodSize = 64, kLeastSize = 48, kGreatestSize = 128;
constexpr int kOffSize = 10'000, kOffFormat = 100'000;
constexpr int kScalableFlaw = 40;  // as good as 104 pixels: bitmaps are drawn for their size
constexpr const char* kFallback = "hicolor";

int flawOfSize(int pixels) {
  const int distance = std::abs(pixels - kGoodSize);
  return pixels < kLeastSize || pixels > kGreatestSize ? kOffSize + distance : distance;
}

int number(std::string_view text, int otherwise) {
  const auto value = text::digits(text);
  return value && *value <= 4096 ? static_cast<int>(*value) : otherwise;
}

// "gimp.png" and the like, which some desktop files have where a name belongs.
std::string_view withoutImageSuffix(std::string_view name) {
  for (const std::string_view suffix : {".png", ".svg", ".xpm"}) {
    if (name.ends_with(suffix)) return name.substr(0, name.size() - suffix.size());
  }
  return name;
}

}  // namespace

IconFinder::IconFinder(std::vector<std::string> dataFolders, const std::string& home,
                       std::string theme)
    : dataFolders_(std::move(dataFolders)), bases_{home + "/.icons"}, theme_(std::move(theme)) {
  for (const auto& folder : dataFolders_) bases_.push_back(folder + "/icons");
}

std::string IconFinder::themeIn(const std::string& configHome) {
  const KeyFile gtk = readKeyFile(configHome + "/gtk-3.0/settings.ini");
  if (const auto name = keyFileValue(gtk, "Settings", "gtk-icon-theme-name"); !name.empty()) {
    return std::string(name);
  }
  const KeyFile kde = readKeyFile(configHome + "/kdeglobals");
  if (const auto name = keyFileValue(kde, "Icons", "Theme"); !name.empty()) {
    return std::string(name);
  }
  return "Adwaita";
}

std::unordered_map<std::string, std::string> IconFinder::find(
    const std::set<std::string>& names) const {
  std::unordered_map<std::string, std::string> out;
  std::set<std::string> wanted;
  for (const auto& name : names) {
    if (!name.starts_with('/')) {
      wanted.emplace(withoutImageSuffix(name));
    } else if (access(name.c_str(), R_OK) == 0) {
      out.emplace(name, name);
    }
  }
  // What a theme has, in whatever size, goes before what the theme that it inherits has.
  Images images;
  for (const auto& places : placesInOrder()) {
    Images ofTheme;
    for (const auto& place : places) look(place, wanted, ofTheme);
    images.merge(ofTheme);
  }
  for (const auto& name : names) {
    const auto image = images.find(std::string(withoutImageSuffix(name)));
    if (image != images.end()) out.emplace(name, image->second.path);
  }
  return out;
}

IconFinder::Theme IconFinder::readTheme(const std::string& name) const {
  Theme theme;
  KeyFile file;
  for (const auto& base : bases_) {
    file = readKeyFile(base + "/" + name + "/index.theme");
    if (!file.empty()) break;
  }
  const auto value = [&](std::string_view group, std::string_view key) {
    return keyFileValue(file, group, key);
  };
  theme.parents = keyFileList(value("Icon Theme", "Inherits"), ',');
  for (const char* key : {"Directories", "ScaledDirectories"}) {
    for (const auto& folder : keyFileList(value("Icon Theme", key), ',')) {
      const int size = number(value(folder, "Size"), 0) * number(value(folder, "Scale"), 1);
      const bool isScalable = value(folder, "Type") == "Scalable";
      const int flaw = isScalable ? kScalableFlaw : flawOfSize(size);
      for (const auto& base : bases_) {
        theme.places.push_back({base + "/" + name + "/" + folder, flaw});
      }
    }
  }
  return theme;
}

std::vector<std::vector<IconFinder::Place>> IconFinder::placesInOrder() const {
  std::vector<std::vector<Place>> order;
  std::vector<std::string> themes{theme_};
  for (size_t i = 0; i < themes.size(); ++i) {
    Theme theme = readTheme(themes[i]);
    order.push_back(std::move(theme.places));
    for (auto& parent : theme.parents) {
      if (std::ranges::find(themes, parent) == themes.end()) themes.push_back(std::move(parent));
    }
    if (i + 1 == themes.size() && std::ranges::find(themes, kFallback) == themes.end()) {
      themes.emplace_back(kFallback);
    }
  }
  std::vector<Place> loose;
  for (const auto& base : bases_) loose.push_back({base, 0});
  for (const auto& folder : dataFolders_) loose.push_back({folder + "/pixmaps", 0});
  order.push_back(std::move(loose));
  return order;
}

void IconFinder::look(const Place& place, const std::set<std::string>& names, Images& into) {
  std::error_code error;
  for (fs::directory_iterator it(place.path, error), end; !error && it != end;
       it.increment(error)) {
    const std::string extension = it->path().extension().string();
    if (extension != ".png" && extension != ".svg" && extension != ".xpm") continue;
    const std::string name = it->path().stem().string();
    if (!names.contains(name)) continue;
    const int flaw = place.flaw + (extension == ".xpm" ? kOffFormat : 0);
    const auto [known, isFirst] = into.emplace(name, Found{it->path().string(), flaw});
    if (!isFirst && flaw < known->second.flaw) known->second = {it->path().string(), flaw};
  }
}

}  // namespace velmora
