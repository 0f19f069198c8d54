#pragma once

#include <optional>
#include <string>
#include <unordered_map>

#include "ports/AppCatalog.h"

namespace velmora {

class DesktopEntries;

// Applications as Linux desktops name them: desktop file names, window classes and executables.
// Safe from every thread.
class LinuxAppCatalog final : public AppCatalog {
 public:
  // `installed` must outlive this object; without it only the applications of our own tables are
  // known.
  explicit LinuxAppCatalog(const DesktopEntries* installed = nullptr);

  const std::vector<Browser>& browsers() const override { return browsers_; }
  const std::set<std::string>& browserBundleIDs() const override { return browserBundleIDs_; }
  const std::set<std::string>& protectedBundleIDs() const override { return protectedBundleIDs_; }
  // Letter case is ignored where the identity or its alias is known; a ".desktop" suffix is
  // dropped.
  std::string canonicalID(std::string_view id) const override;

  // The identity that canonicalID gives to the name of a known or installed application; nothing
  // for other names.
  std::optional<std::string> known(std::string_view id) const;
  // The identity of the known or installed application that this program, by its base name, can't
  // but be.
  std::optional<std::string> ofProgram(std::string_view program) const;
  // The browsers that are recognised but whose tabs can't be read here, as shown to the user.
  std::vector<std::string> browsersWithoutLink() const;

 private:
  const std::string* find(std::string_view id) const;
  std::optional<std::string> folded(std::optional<std::string> desktopID) const;

  const DesktopEntries* installed_;
  std::vector<Browser> browsers_;
  std::set<std::string> browserBundleIDs_;
  std::set<std::string> protectedBundleIDs_{std::begin(kProtectedEverywhere),
                                            std::end(kProtectedEverywhere)};
  std::unordered_map<std::string, std::string> canonical_;  // by lower case name
};

}  // namespace velmora
