#include "Require.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "core/model/FocusPreset.h"
#include "core/model/PomodoroSettings.h"

namespace velmora::fuzz {

// What decodes is written as something that decodes to the same.
template <class T>
static void requireRoundTrip(const json::Value& value) {
  const auto record = json::decode<T>(value);
  if (!record) return;
  const auto again = json::decodeText<T>(json::encodeText(*record));
  require(again && *again == *record);
}

void examine(std::string_view text) {
  const auto value = json::parse(text);
  if (!value) return;
  const std::string written = json::dump(*value);
  const auto again = json::parse(written);
  require(again && json::dump(*again) == written);
  requireRoundTrip<PomodoroSettings>(*value);
  requireRoundTrip<std::vector<BlockedSite>>(*value);
  requireRoundTrip<std::vector<BlockedApp>>(*value);
  requireRoundTrip<std::vector<BudgetedSite>>(*value);
  requireRoundTrip<std::vector<FocusPreset>>(*value);
  requireRoundTrip<FocusTaskContext>(*value);
}

}  // namespace velmora::fuzz
