#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace velmora {

// Finds the images of applications by the rules for icon themes: the user's theme, those that it
// inherits, hicolor, and at last the loose pictures. Reads the disk; safe from every thread.
class IconFinder {
 public:
  // `dataFolders` as for desktop files, `theme` by its folder's name.
  IconFinder(std::vector<std::string> dataFolders, const std::string& home, std::string theme);

  // The user's theme as the settings of the desktop's toolkits have it.
  static std::string themeIn(const std::string& configHome);

  // Name -> path of a PNG, SVG or, where there is no other, XPM image, best for about 64 pixels. A
  // name that is a path stands for itself. Names without an image are left out.
  std::unordered_map<std::string, std::string> find(const std::set<std::string>& names) const;

 private:
  struct Found {
    std::string path;
    int flaw = 0;  // the less, the better
  };
  using Images = std::unordered_map<std::string, Found>;
  // One folder of a theme.
  struct Place {
    std::string path;
    int flaw = 0;
  };
  struct Theme {
    std::vector<Place> places;
    std::vector<std::string> parents;
  };
  Theme readTheme(const std::string& name) const;
  std::vector<std::vector<Place>> placesInOrder() const;
  static void look(const Place& place, const std::set<std::string>& names, Images& into);

  std::vector<std::string> dataFolders_;
  std::vector<std::string> bases_;  // of themes
  std::string theme_;
};

}  // namespace velmora
