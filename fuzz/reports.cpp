#include <algorithm>

#include "Require.h"
#include "platform/macos/BrowserScripts.h"

using namespace velmora;

// A browser's report names only browsers that were asked, and no more windows than it has lines.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const std::vector<Browser> browsers{{"Arc", "arc", false, false},
                                             {"Chrome", "chrome", false, true},
                                             {"Safari", "safari", true, true}};
  const auto text = fuzz::text(data, size);
  size_t tabs = 0;
  for (const auto& [id, windows] : parseTabs(text, browsers)) {
    fuzz::require(std::ranges::find(browsers, id, &Browser::bundleID) != browsers.end());
    tabs += windows.size();
    for (const auto& tab : windows)
      fuzz::require((tab.id + tab.address).find_first_of("\t\n") == std::string::npos);
  }
  fuzz::require(tabs <= static_cast<size_t>(std::ranges::count(text, '\n')) + 1);
  return 0;
}
