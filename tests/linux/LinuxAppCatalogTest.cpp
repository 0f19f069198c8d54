#include <gtest/gtest.h>

#include "platform/linux/LinuxAppCatalog.h"

namespace velmora {
namespace {

TEST(LinuxAppCatalog, BrowsersAreReadInTheirOrderAndThoseWithoutALinkAreKnown) {
  const LinuxAppCatalog catalog;
  std::string ids;
  for (const auto& browser : catalog.browsers()) {
    ids += browser.bundleID + " ";
    EXPECT_EQ(browser.isSafari, browser.name == "Safari");
    EXPECT_EQ(browser.reportsBounds, browser.name != "Arc");
  }
  EXPECT_EQ(ids,
            "com.brave.Browser company.thebrowser.Browser com.google.Chrome com.microsoft.edgemac "
            "com.apple.Safari org.chromium.Chromium com.vivaldi.Vivaldi com.operasoftware.Opera "
            "org.mozilla.firefox ");
  EXPECT_TRUE(catalog.browserBundleIDs().contains("librewolf"));
  EXPECT_EQ(catalog.browsersWithoutLink().size(), 5u);
}

TEST(LinuxAppCatalog, EveryAliasMeansOneApplication) {
  const LinuxAppCatalog catalog;
  for (const auto& [alias, id] : std::map<std::string, std::string>{
           {"Google-chrome", "com.google.Chrome"},
           {"google-chrome-unstable.desktop", "com.google.Chrome"},
           {"com.microsoft.Edge", "com.microsoft.edgemac"},
           {"org.chromium.chromium.DESKTOP", "org.chromium.Chromium"},
           {"firefox-esr", "org.mozilla.firefox"},
           {"org.gimp.GIMP.desktop", "org.gimp.GIMP"},
           {".desktop", ".desktop"},
           {"", ""}}) {
    EXPECT_EQ(catalog.canonicalID(alias), id) << alias;
  }
  // The instance of every browser that stems from Firefox.
  EXPECT_FALSE(catalog.knows("Navigator"));
}

}  // namespace
}  // namespace velmora
