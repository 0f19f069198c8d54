#include "base/Zone.h"

#include <date/tz.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace velmora {

struct Zone::Rules {
  const date::time_zone* zone;  // owned by the library's database for the life of the process
};

namespace {

constexpr double kUnixOffset = 978307200.0;
constexpr double kYear1 = -62135596800.0;     // 0001-01-01, seconds since 1970
constexpr double kYear9999 = 253402300799.0;  // 9999-12-31 23:59:59

date::sys_seconds systemTime(Date instant) {
  const double unix = std::floor(instant.secondsSinceReference() + kUnixOffset);
  const double bounded = std::isnan(unix) ? 0.0 : std::clamp(unix, kYear1, kYear9999);
  return date::sys_seconds(std::chrono::seconds(static_cast<int64_t>(bounded)));
}

Date fromUnixSeconds(std::chrono::seconds seconds) {
  return Date::sinceUnixEpoch(static_cast<double>(seconds.count()));
}

}  // namespace

std::optional<Zone> Zone::named(std::string_view name) {
  try {
    const date::time_zone* zone = date::locate_zone(std::string(name));
    return Zone(std::string(name), std::make_shared<const Rules>(Rules{zone}));
  } catch (const std::runtime_error&) {  // the library's only way to say "no such zone"
    return std::nullopt;
  }
}

Zone Zone::utc() { return Zone("UTC", nullptr); }

CivilSeconds Zone::civil(Date instant) const {
  const auto system = systemTime(instant);
  const auto offset = rules_ ? rules_->zone->get_info(system).offset : std::chrono::seconds(0);
  return CivilSeconds(system.time_since_epoch() + offset);
}

CivilInstant Zone::instant(CivilSeconds civil) const {
  using Kind = CivilInstant::Kind;
  if (!rules_) return {Kind::unique, fromUnixSeconds(civil.time_since_epoch())};
  const date::local_seconds local(civil.time_since_epoch());
  const date::local_info info = rules_->zone->get_info(local);
  if (info.result == date::local_info::nonexistent)
    return {Kind::skipped, fromUnixSeconds(info.first.end.time_since_epoch())};
  const auto kind = info.result == date::local_info::ambiguous ? Kind::repeated : Kind::unique;
  return {kind, fromUnixSeconds(civil.time_since_epoch() - info.first.offset)};
}

}  // namespace velmora
