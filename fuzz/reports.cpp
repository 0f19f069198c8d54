#include <algorithm>

#include "Require.h"
#include "platform/macos/BrowserScripts.h"

// A browser's report names only browsers that were asked, and no more windows than it has lines.
void velmora::fuzz::examine(std::string_view text) {
  static const std::vector<Browser> browsers{{"Arc", "arc", false, false},
                                             {"Chrome", "chrome", false, true},
                                             {"Safari", "safari", true, true}};
  size_t tabs = 0;
  for (const auto& [id, windows] : parseTabs(text, browsers)) {
    require(std::ranges::find(browsers, id, &Browser::bundleID) != browsers.end());
    tabs += windows.size();
    for (const auto& tab : windows)
      require((tab.id + tab.address).find_first_of("\t\n") == std::string::npos);
  }
  require(tabs <= static_cast<size_t>(std::ranges::count(text, '\n')) + 1);
}
