#include "platform/linux/ScheduleTable.h"

#include <array>
#include <cstdio>

#include "base/Text.h"

namespace velmora {

namespace chrono = std::chrono;
using Recurrence = WatchTable::Entry::Recurrence;

template <>
struct json::Codec<chrono::local_days> {
  static json::Result<chrono::local_days> decode(const json::Value& value) {
    const auto* text = value.asString();
    const auto pieces = text::split(text ? *text : "", '-');
    if (pieces.size() == 3) {
      const auto year = text::digits(pieces[0]);
      const auto month = text::digits(pieces[1]);
      const auto day = text::digits(pieces[2]);
      if (year && month && day && *year <= 9999 && *month <= 12 && *day <= 31) {
        const chrono::year_month_day date{chrono::year(static_cast<int>(*year)),
                                          chrono::month(static_cast<unsigned>(*month)),
                                          chrono::day(static_cast<unsigned>(*day))};
        if (date.ok()) return chrono::local_days(date);
      }
    }
    return std::unexpected(wrong("date"));
  }
  static json::Value encode(const chrono::local_days& day) { return watch::dateText(day); }
};

template <>
struct json::EnumTexts<Recurrence> {
  static constexpr std::array all{std::pair{Recurrence::once, std::string_view("once")},
                                  std::pair{Recurrence::daily, std::string_view("daily")},
                                  std::pair{Recurrence::weekly, std::string_view("weekly")}};
};

template <>
struct json::Fields<WatchTable::Entry> {
  using Entry = WatchTable::Entry;
  static constexpr std::tuple all{json::required("recurrence", &Entry::recurrence),
                                  json::optional("date", &Entry::date),
                                  json::optional("first", &Entry::first),
                                  json::optional("last", &Entry::last),
                                  json::defaulted("excluded", &Entry::excluded),
                                  json::defaulted("weekdays", &Entry::weekdays),
                                  json::required("startMinutes", &Entry::startMinutes),
                                  json::required("endMinutes", &Entry::endMinutes)};
};

template <>
struct json::Fields<WatchTable> {
  static constexpr std::tuple all{json::required("entries", &WatchTable::entries),
                                  json::required("isGuard", &WatchTable::isGuard)};
};

namespace watch {

std::string dateText(chrono::local_days day) {
  const chrono::year_month_day date(day);
  std::array<char, 24> text;
  std::snprintf(text.data(), text.size(), "%04d-%02u-%02u", int(date.year()),
                unsigned(date.month()), unsigned(date.day()));
  return text.data();
}

std::string tableText(const WatchTable& table) {
  return json::encodeText(table) + "\n";
}

json::Result<WatchTable> tableFromText(std::string_view text) {
  return json::decodeText<WatchTable>(text);
}

}  // namespace watch
}  // namespace velmora
