#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "base/Date.h"

namespace velmora {

// The clock on the wall of some place, without a place: std::chrono civil time.
using CivilSeconds = std::chrono::local_seconds;

// What a civil time stands for in a zone.
struct CivilInstant {
  enum class Kind { unique, skipped, repeated };
  Kind kind = Kind::unique;
  // skipped: the first instant after the gap. repeated: the earlier of the two.
  Date instant;
};

// A time zone of the IANA database, as a value. All operations are total.
class Zone {
 public:
  // Nothing when the system's database has no such zone.
  static std::optional<Zone> named(std::string_view name);
  static Zone utc();

  const std::string& name() const { return name_; }
  // The civil time at an instant, fractions of a second cut off downwards. Instants outside the
  // years 1 to 9999 give the nearest of their ends.
  CivilSeconds civil(Date instant) const;
  CivilInstant instant(CivilSeconds civil) const;

  bool operator==(const Zone& other) const { return name_ == other.name_; }

 private:
  struct Rules;
  explicit Zone(std::string name, std::shared_ptr<const Rules> rules)
      : name_(std::move(name)), rules_(std::move(rules)) {}

  std::string name_;
  std::shared_ptr<const Rules> rules_;  // absent for UTC
};

}  // namespace velmora
