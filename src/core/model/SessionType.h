#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "base/Json.h"

namespace velmora {

enum class SessionType { focus, shortBreak, longBreak };

// The stored text.
std::string_view rawText(SessionType type);
// Any other text than the three reads as focus.
SessionType sessionTypeFrom(std::string_view rawText);
// What is shown, and, in lower case, what the blockers receive.
std::string_view label(SessionType type);
// The system sound played when a phase of this type finishes.
std::string_view soundName(SessionType type);

template <>
struct json::EnumTexts<SessionType> {
  static constexpr std::array all{std::pair{SessionType::focus, std::string_view("focus")},
                                  std::pair{SessionType::shortBreak, std::string_view("shortBreak")},
                                  std::pair{SessionType::longBreak, std::string_view("longBreak")}};
};

}  // namespace velmora
