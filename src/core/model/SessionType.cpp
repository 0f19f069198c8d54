#include "core/model/SessionType.h"

namespace velmora {
namespace {

struct Row {
  SessionType type;
  std::string_view raw, label, sound;
};
constexpr Row kRows[] = {{SessionType::focus, "focus", "Focus", "Glass"},
                         {SessionType::shortBreak, "shortBreak", "Short Break", "Ping"},
                         {SessionType::longBreak, "longBreak", "Long Break", "Hero"}};

constexpr const Row& row(SessionType type) { return kRows[static_cast<size_t>(type)]; }

}  // namespace

std::string_view rawText(SessionType type) { return row(type).raw; }
std::string_view label(SessionType type) { return row(type).label; }
std::string_view soundName(SessionType type) { return row(type).sound; }

SessionType sessionTypeFrom(std::string_view rawText) {
  for (const Row& r : kRows)
    if (r.raw == rawText) return r.type;
  return SessionType::focus;
}

}  // namespace velmora
