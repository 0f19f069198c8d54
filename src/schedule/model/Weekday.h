#pragma once

#include <array>
#include <bit>
#include <chrono>
#include <cstdint>
#include <initializer_list>
#include <string_view>
#include <vector>

namespace velmora {

// The raw values are the calendar's weekday numbers, as stored.
enum class Weekday : uint8_t { sun = 1, mon, tue, wed, thu, fri, sat };

namespace weekdays {
inline constexpr std::array allCases{Weekday::sun, Weekday::mon, Weekday::tue, Weekday::wed,
                                     Weekday::thu, Weekday::fri, Weekday::sat};
// For display: weeks begin on Monday.
inline constexpr std::array ordered{Weekday::mon, Weekday::tue, Weekday::wed, Weekday::thu,
                                    Weekday::fri, Weekday::sat, Weekday::sun};
}  // namespace weekdays

// "Monday".
std::string_view fullName(Weekday day);
Weekday weekdayOf(std::chrono::local_days day);

// A set of days; it goes through them from Sunday to Saturday.
class Weekdays {
 public:
  constexpr Weekdays() = default;
  constexpr Weekdays(std::initializer_list<Weekday> days) {
    for (const Weekday day : days) insert(day);
  }
  constexpr bool contains(Weekday day) const { return (bits_ & bit(day)) != 0; }
  constexpr void insert(Weekday day) { bits_ = static_cast<uint8_t>(bits_ | bit(day)); }
  constexpr void erase(Weekday day) { bits_ = static_cast<uint8_t>(bits_ & ~bit(day)); }
  constexpr bool empty() const { return bits_ == 0; }
  constexpr int size() const { return std::popcount(bits_); }
  constexpr bool intersects(Weekdays other) const { return (bits_ & other.bits_) != 0; }
  std::vector<Weekday> list() const;
  bool operator==(const Weekdays&) const = default;

 private:
  static constexpr uint8_t bit(Weekday day) {
    return static_cast<uint8_t>(1U << static_cast<unsigned>(day));
  }
  uint8_t bits_ = 0;
};

}  // namespace velmora
