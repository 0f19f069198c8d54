#include "control/MissionJson.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

#include "base/Domain.h"
#include "base/Text.h"

namespace velmora::missions {
namespace {

using json::Value;
using Object = Value::Object;
using std::chrono::local_days;

constexpr std::array<std::pair<Weekday, std::string_view>, 7> kDays{{{Weekday::mon, "mon"},
                                                                     {Weekday::tue, "tue"},
                                                                     {Weekday::wed, "wed"},
                                                                     {Weekday::thu, "thu"},
                                                                     {Weekday::fri, "fri"},
                                                                     {Weekday::sat, "sat"},
                                                                     {Weekday::sun, "sun"}}};

constexpr std::array<std::string_view, 7> kDerived{
    "id", "startTime", "endTime", "duration", "isSchedulable", "overlaps", "isActive"};

// --- what is wrong with a value ---

struct Reader {
  ScheduleEntry& entry;
  const Sources& sources;
  std::string problem;

  void fail(std::string_view key, std::string_view expected) {
    problem = std::string(key) + ": expected " + std::string(expected);
  }

  template <class T>
  void scalar(std::string_view key, const Value& value, T& into) {
    if (auto read = json::decode<T>(value))
      into = std::move(*read);
    else
      problem = std::string(key) + ": " + read.error().problem;
  }

  std::optional<Date> day(const Value& value) {
    const auto* text = value.asString();
    const auto day = text ? parseDay(*text) : std::nullopt;
    if (!day) return {};
    return sources.calendar.instant(*day, 0);
  }
  void date(std::string_view key, const Value& value, std::optional<Date>& into) {
    into = day(value);
    if (!into && !value.isNull()) fail(key, "a day such as 2026-11-23");
  }

  template <class T, class Read>
  void list(std::string_view key, const Value& value, std::vector<T>& into, Read read,
            std::string_view expected) {
    std::vector<T> all;
    const auto* items = value.asArray();
    if (!items && !value.isNull()) return fail(key, expected);
    if (items)
      for (const auto& item : *items) {
        auto one = read(item);
        if (!one) return fail(key, expected);
        all.push_back(std::move(*one));
      }
    into = std::move(all);
  }

  void days(std::string_view key, const Value& value) {
    std::vector<Weekday> all;
    list(
        key, value, all,
        [](const Value& item) -> std::optional<Weekday> {
          for (const auto& [day, name] : kDays)
            if (item.asString() && text::lowercased(*item.asString()) == name) return day;
          return {};
        },
        "days from mon to sun");
    entry.days = {};
    for (const Weekday day : all) entry.days.insert(day);
  }

  void preset(std::string_view key, const Value& value) {
    entry.presetID.reset();
    if (value.isNull()) return;
    const auto* text = value.asString();
    entry.presetID = text ? Uuid::parse(*text) : std::nullopt;
    if (!entry.presetID) fail(key, "a preset's id");
  }

  // An application that is on the list already keeps its record.
  std::optional<BlockedApp> app(const Value& item) {
    const Value* id = item.asObject() ? item.find("bundleID") : &item;
    const Value* name = item.find("name");
    if (!id || !id->asString() || (name && !name->asString())) return {};
    const std::string bundleID = sources.catalog.canonicalID(text::trim(*id->asString()));
    if (bundleID.empty()) return {};
    const auto& old = entry.softBlockedApps;
    const auto known = std::ranges::find(old, bundleID, &BlockedApp::bundleID);
    BlockedApp app =
        known == old.end() ? BlockedApp{sources.newID(), bundleID, bundleID, true, {}} : *known;
    if (name) app.name = *name->asString();
    return app;
  }
  std::optional<BlockedSite> site(const Value& item) {
    const auto* text = item.asString();
    const auto domain = text ? normalizedDomain(*text) : std::nullopt;
    if (!domain) return {};
    const auto& old = entry.softBlockedSites;
    auto known = std::ranges::find(old, *text, &BlockedSite::domain);
    if (known == old.end())
      known = std::ranges::find(old, domain,
                                [](const auto& site) { return normalizedDomain(site.domain); });
    return known == old.end() ? BlockedSite{sources.newID(), *text} : *known;
  }

  void member(std::string_view key, const Value& value) {
    if (key == "label") return scalar(key, value, entry.label);
    if (key == "days") return days(key, value);
    if (key == "startMinutes") return scalar(key, value, entry.startMinutes);
    if (key == "endMinutes") return scalar(key, value, entry.endMinutes);
    if (key == "isEnabled") return scalar(key, value, entry.isEnabled);
    if (key == "recurrence") return scalar(key, value, entry.recurrence);
    if (key == "scheduledDate") return date(key, value, entry.scheduledDate);
    if (key == "recurrenceStartDate") return date(key, value, entry.recurrenceStartDate);
    if (key == "recurrenceEndDate") return date(key, value, entry.recurrenceEndDate);
    if (key == "excludedDates")
      return list(
          key, value, entry.excludedDates, [this](const Value& item) { return day(item); },
          "days such as 2026-11-23");
    if (key == "protectionMode") return scalar(key, value, entry.protectionMode);
    if (key == "presetID") return preset(key, value);
    if (key == "softBlockedApps")
      return list(
          key, value, entry.softBlockedApps, [this](const Value& item) { return app(item); },
          "ids of applications, or objects with bundleID and name");
    if (key == "softBlockedSites")
      return list(
          key, value, entry.softBlockedSites, [this](const Value& item) { return site(item); },
          "sites such as x.com");
    if (key == "rhythm") return scalar(key, value, entry.rhythm);
    if (key == "showFloatingProgress") return scalar(key, value, entry.showFloatingProgress);
    if (std::ranges::find(kDerived, key) == kDerived.end())
      problem = "a mission has no “" + std::string(key) + "”";
  }
};

// What the record must be to take place as it reads.
std::string contradiction(const ScheduleEntry& entry) {
  if (text::trim(entry.label).empty()) return "A mission has a name";
  if (entry.startMinutes < 0 || entry.startMinutes > 1439 || entry.endMinutes > 1440 ||
      entry.endMinutes <= entry.startMinutes)
    return "A mission starts from 00:00 on and ends later on the same day, at 24:00 at the latest";
  if (entry.recurrence == ScheduleRecurrence::once && !entry.scheduledDate)
    return "A mission that takes place once has a date";
  if (entry.recurrence == ScheduleRecurrence::weekly && entry.days.empty())
    return "A weekly mission has a day of the week";
  if (entry.recurrenceStartDate && entry.recurrenceEndDate &&
      *entry.recurrenceEndDate < *entry.recurrenceStartDate)
    return "A series ends no earlier than it starts";
  return {};
}

}  // namespace

std::string dayText(local_days day) {
  const std::chrono::year_month_day date(day);
  char out[32];
  std::snprintf(out, sizeof out, "%04d-%02u-%02u", int(date.year()), unsigned(date.month()),
                unsigned(date.day()));
  return out;
}

std::optional<local_days> parseDay(std::string_view text) {
  if (text.size() != 10 || text[4] != '-' || text[7] != '-') return {};
  const auto year = text::digits(text.substr(0, 4));
  const auto month = text::digits(text.substr(5, 2));
  const auto day = text::digits(text.substr(8, 2));
  if (!year || !month || !day || *year < 1) return {};
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(*year)),
                                         std::chrono::month(static_cast<unsigned>(*month)),
                                         std::chrono::day(static_cast<unsigned>(*day))};
  if (!date.ok()) return {};
  return local_days(date);
}

Value encode(const ScheduleEntry& entry, const View& view) {
  const auto day = [&](Date at) { return dayText(ScheduleCalendarMath::day(at, view.calendar)); };
  Object out{{"id", entry.id.text()}, {"label", entry.label}};
  Value::Array days, excluded, apps, sites;
  for (const auto& [weekday, name] : kDays)
    if (entry.days.contains(weekday)) days.emplace_back(name);
  for (const Date date : entry.excludedDates) excluded.emplace_back(day(date));
  for (const auto& app : entry.softBlockedApps)
    apps.push_back(Object{{"bundleID", app.bundleID}, {"name", app.name}});
  for (const auto& site : entry.softBlockedSites) sites.emplace_back(site.domain);
  out.emplace_back("days", std::move(days));
  out.emplace_back("startMinutes", entry.startMinutes);
  out.emplace_back("endMinutes", entry.endMinutes);
  out.emplace_back("isEnabled", entry.isEnabled);
  out.emplace_back("recurrence", json::encode(entry.recurrence));
  const auto optional = [&](const char* key, const std::optional<Date>& date) {
    if (date) out.emplace_back(key, day(*date));
  };
  optional("scheduledDate", entry.scheduledDate);
  optional("recurrenceStartDate", entry.recurrenceStartDate);
  optional("recurrenceEndDate", entry.recurrenceEndDate);
  out.emplace_back("excludedDates", std::move(excluded));
  out.emplace_back("protectionMode", json::encode(entry.protectionMode));
  if (entry.presetID) out.emplace_back("presetID", entry.presetID->text());
  out.emplace_back("softBlockedApps", std::move(apps));
  out.emplace_back("softBlockedSites", std::move(sites));
  out.emplace_back("rhythm", json::encode(entry.rhythm));
  out.emplace_back("showFloatingProgress", entry.showFloatingProgress);
  out.emplace_back("startTime", entry.startTimeString(view.uses24Hour));
  out.emplace_back("endTime", entry.endTimeString(view.uses24Hour));
  out.emplace_back("duration", entry.durationString());
  out.emplace_back("isSchedulable", entry.isSchedulable());
  out.emplace_back("overlaps", view.overlaps);
  out.emplace_back("isActive", view.isActive);
  return out;
}

std::string apply(ScheduleEntry& entry, const Value& object, const Sources& sources) {
  if (!object.asObject()) return "A mission is a JSON object";
  const auto dateBefore = entry.scheduledDate;
  const auto recurrenceBefore = entry.recurrence;
  Reader reader{entry, sources, {}};
  for (const auto& [key, value] : *object.asObject()) {
    reader.member(key, value);
    if (!reader.problem.empty()) return reader.problem;
  }
  // What was cut out of a series, or lay outside its range, must not swallow the one day.
  const bool isOnce = entry.recurrence == ScheduleRecurrence::once;
  if (isOnce) {
    entry.recurrenceStartDate.reset();
    entry.recurrenceEndDate.reset();
    entry.excludedDates.clear();
  }
  if (std::string problem = contradiction(entry); !problem.empty()) return problem;
  // Where it takes place once, its day of the week is that of its date.
  if (isOnce && (entry.scheduledDate != dateBefore || entry.recurrence != recurrenceBefore))
    entry.days = {weekdayOf(ScheduleCalendarMath::day(*entry.scheduledDate, sources.calendar))};
  return {};
}

}  // namespace velmora::missions
