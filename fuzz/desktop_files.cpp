#include "Require.h"
#include "base/Text.h"
#include "platform/linux/DesktopEntries.h"

// Any program may install a desktop file, and a damaged one must not take the others with it.
void velmora::fuzz::examine(std::string_view text) {
  DesktopEntries::Environment environment;
  environment.languages = {"de_AT", "de"};
  environment.desktops = {"GNOME"};
  const auto entry = DesktopEntries(environment).entryOf(parseKeyFile(text));
  if (!entry) return;
  require(text::isValidUtf8(entry->name));
  require(!entry->isForPeople || !entry->name.empty());
  require(entry->program.find('/') == std::string::npos);
}
