#include <gtest/gtest.h>

#include "platform/linux/LinuxAppCatalog.h"

namespace velmora {
namespace {

TEST(LinuxAppCatalog, BrowsersAreReadInTheirOrder) {
  const LinuxAppCatalog catalog;
  std::string ids;
  for (const auto& browser : catalog.browsers()) ids += browser.bundleID + " ";
  EXPECT_EQ(ids,
            "com.brave.Browser company.thebrowser.Browser com.google.Chrome com.microsoft.edgemac "
            "com.apple.Safari org.chromium.Chromium com.vivaldi.Vivaldi com.operasoftware.Opera "
            "org.mozilla.firefox ");
  EXPECT_TRUE(catalog.browserBundleIDs().contains("librewolf"));
}

TEST(LinuxAppCatalog, EveryAliasMeansOneApplication) {
  const LinuxAppCatalog catalog;
  for (const auto& [alias, id] : std::map<std::string, std::string>{
           {"Google-chrome", "com.google.Chrome"},
           {"org.chromium.chromium.DESKTOP", "org.chromium.Chromium"},
           {"org.gimp.GIMP.desktop", "org.gimp.GIMP"},
           {"obs", "com.obsproject.obs-studio"},
           {"slack", "com.tinyspeck.slackmacgap"},
           {"", ""}}) {
    EXPECT_EQ(catalog.canonicalID(alias), id) << alias;
  }
}

}  // namespace
}  // namespace velmora
