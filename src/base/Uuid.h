#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// 16 bytes in the canonical order; the text form is upper case.
class Uuid {
 public:
  constexpr Uuid() = default;
  constexpr explicit Uuid(std::array<uint8_t, 16> bytes) : bytes_(bytes) {}

  // Accepts the 36 character form in either case, nothing else.
  static std::optional<Uuid> parse(std::string_view text);
  std::string text() const;
  const std::array<uint8_t, 16>& bytes() const { return bytes_; }

  friend auto operator<=>(const Uuid&, const Uuid&) = default;

 private:
  std::array<uint8_t, 16> bytes_{};
};

}  // namespace velmora
