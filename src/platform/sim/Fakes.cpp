#include "platform/sim/Fakes.h"

namespace velmora::sim {

std::optional<PreferenceValue> FakePreferences::read(std::string_view key) const {
  const auto it = values_.find(key);
  if (it == values_.end()) return {};
  return it->second;
}

void FakePreferences::write(const Changes& changes) {
  bool isChanged = false;
  for (const auto& [key, value] : changes) {
    const auto it = values_.find(key);
    if (value ? it != values_.end() && it->second == *value : it == values_.end()) continue;
    isChanged = true;
    if (value)
      values_.insert_or_assign(key, *value);
    else
      values_.erase(it);
  }
  if (!isChanged) return;
  ++writes_;
  if (journal) journal->push_back(changes);
}

Uuid FakeRandom::uuid() {
  const uint32_t n = ++next_;
  std::array<uint8_t, 16> bytes{};
  bytes[0] = device_;
  bytes[6] = 0x40;
  bytes[8] = 0x80;
  for (size_t i = 0; i < 4; ++i) bytes[15 - i] = static_cast<uint8_t>(n >> (8 * i));
  return Uuid(bytes);
}

std::optional<Processes::Outcome> FakeProcesses::run(const std::vector<std::string>& arguments) {
  const size_t n = runs.size();
  runs.push_back(arguments);
  return n < answers.size() ? answers[n] : std::nullopt;
}

}  // namespace velmora::sim
