#include <gtest/gtest.h>

#include "platform/linux/LinuxAppCatalog.h"

namespace velmora {
namespace {

TEST(LinuxAppCatalog, BrowsersAreReadInTheirOrder) {
  const LinuxAppCatalog catalog;
  std::vector<std::string> ids;
  for (const auto& browser : catalog.browsers()) {
    ids.push_back(browser.bundleID);
    EXPECT_EQ(browser.isSafari, browser.name == "Safari");
    EXPECT_EQ(browser.reportsBounds, browser.name != "Arc");
    EXPECT_TRUE(catalog.browserBundleIDs().contains(browser.bundleID));
  }
  const std::vector<std::string> expected{
      "com.brave.Browser",     "company.thebrowser.Browser", "com.google.Chrome",
      "com.microsoft.edgemac", "com.apple.Safari",           "org.chromium.Chromium",
      "com.vivaldi.Vivaldi",   "com.operasoftware.Opera",    "org.mozilla.firefox"};
  EXPECT_EQ(ids, expected);
}

TEST(LinuxAppCatalog, EveryAliasMeansOneApplication) {
  const LinuxAppCatalog catalog;
  for (const auto& [alias, id] : std::map<std::string, std::string>{
           {"brave-browser", "com.brave.Browser"},
           {"Google-chrome", "com.google.Chrome"},
           {"google-chrome-unstable.desktop", "com.google.Chrome"},
           {"com.microsoft.Edge", "com.microsoft.edgemac"},
           {"msedge", "com.microsoft.edgemac"},
           {"chromium_chromium", "org.chromium.Chromium"},
           {"org.chromium.chromium.DESKTOP", "org.chromium.Chromium"},
           {"Vivaldi-stable", "com.vivaldi.Vivaldi"},
           {"Opera", "com.operasoftware.Opera"},
           {"firefox-esr", "org.mozilla.firefox"},
           {"discord", "com.hnc.Discord"},
           {"obs", "com.obsproject.obs-studio"},
           {"epiphany-browser", "org.gnome.Epiphany"}}) {
    EXPECT_EQ(catalog.canonicalID(alias), id) << alias;
    EXPECT_TRUE(catalog.knows(alias)) << alias;
    EXPECT_EQ(catalog.canonicalID(id), id);
  }
}

TEST(LinuxAppCatalog, UnknownNamesStayAsTheyAre) {
  const LinuxAppCatalog catalog;
  EXPECT_EQ(catalog.canonicalID("org.gimp.GIMP"), "org.gimp.GIMP");
  EXPECT_EQ(catalog.canonicalID("org.gimp.GIMP.desktop"), "org.gimp.GIMP");
  EXPECT_EQ(catalog.canonicalID(".desktop"), ".desktop");
  EXPECT_EQ(catalog.canonicalID(""), "");
  EXPECT_FALSE(catalog.knows(""));
  // The instance of every browser that stems from Firefox.
  EXPECT_FALSE(catalog.knows("Navigator"));
}

TEST(LinuxAppCatalog, BrowsersWithoutALinkAreKnownButNotRead) {
  const LinuxAppCatalog catalog;
  for (const char* id :
       {"librewolf", "org.gnome.Epiphany", "org.kde.falkon", "org.kde.konqueror",
        "org.qutebrowser.qutebrowser", "com.google.Chrome.canary", "com.kagi.kagimacOS"}) {
    EXPECT_TRUE(catalog.browserBundleIDs().contains(id)) << id;
  }
  EXPECT_EQ(catalog.browserBundleIDs().size(), catalog.browsers().size() + 7);
  EXPECT_EQ(catalog.browsersWithoutLink().size(), 5u);
}

}  // namespace
}  // namespace velmora
