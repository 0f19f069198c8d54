#include "Require.h"
#include "blocking/model/BlockedApp.h"
#include "blocking/model/BlockedSite.h"
#include "core/model/FocusPreset.h"
#include "core/model/PomodoroSettings.h"

using namespace velmora;

namespace {

// What decodes is written as something that decodes to the same.
template <class T>
void roundTrip(const json::Value& value) {
  const auto record = json::decode<T>(value);
  if (!record) return;
  const auto again = json::decodeText<T>(json::encodeText(*record));
  fuzz::require(again && *again == *record);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto value = json::parse(fuzz::text(data, size));
  if (!value) return 0;
  const std::string written = json::dump(*value);
  const auto again = json::parse(written);
  fuzz::require(again && json::dump(*again) == written);
  roundTrip<PomodoroSettings>(*value);
  roundTrip<std::vector<BlockedSite>>(*value);
  roundTrip<std::vector<BlockedApp>>(*value);
  roundTrip<std::vector<BudgetedSite>>(*value);
  roundTrip<std::vector<FocusPreset>>(*value);
  roundTrip<FocusTaskContext>(*value);
  return 0;
}
