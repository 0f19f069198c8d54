#pragma once

#include <string>
#include <unordered_map>

#include "ports/AppCatalog.h"

namespace velmora {

// Applications as Linux desktops name them: desktop file names, window classes and executables.
class LinuxAppCatalog final : public AppCatalog {
 public:
  LinuxAppCatalog();

  const std::vector<Browser>& browsers() const override { return browsers_; }
  const std::set<std::string>& browserBundleIDs() const override { return browserBundleIDs_; }
  const std::set<std::string>& protectedBundleIDs() const override { return protectedBundleIDs_; }
  // Letter case is ignored where the identity or its alias is known; a ".desktop" suffix is
  // dropped.
  std::string canonicalID(std::string_view id) const override;

  // Whether canonicalID folds this name into an identity that the catalog lists.
  bool knows(std::string_view id) const;
  // The browsers that are recognised but whose tabs can't be read here, as shown to the user.
  std::vector<std::string> browsersWithoutLink() const;

 private:
  const std::string* find(std::string_view id) const;

  std::vector<Browser> browsers_;
  std::set<std::string> browserBundleIDs_;
  std::set<std::string> protectedBundleIDs_{std::begin(kProtectedEverywhere),
                                            std::end(kProtectedEverywhere)};
  std::unordered_map<std::string, std::string> canonical_;  // by lower case name
};

}  // namespace velmora
