#include <gtest/gtest.h>

#include "schedule/model/ScheduleEntry.h"

namespace velmora {
namespace {

namespace c = std::chrono;
using namespace std::chrono_literals;

const Calendar berlin(*Zone::named("Europe/Berlin"));

Date at(c::year_month_day day, int minute = 0, const Calendar& calendar = berlin) {
  return calendar.instant(c::local_days(day), minute);
}

ScheduleEntry::Older older() {
  return {ScheduleProtectionMode::brak,
          [] {
            return std::vector<BlockedApp>{{Uuid({1}), "Chess", "chess", true, {}}};
          },
          [] {
            return std::vector<BlockedSite>{{Uuid({2}), "x.com", true}};
          },
          [] { return Uuid({9}); }};
}
json::Result<ScheduleEntry> decoded(const std::string& text) {
  return ScheduleEntry::decode(*json::parse(text), berlin, older());
}
ScheduleEntry of(const std::string& fields) {
  return *decoded("{\"id\":\"00000000-0000-0000-0000-000000000001\"" +
                  (fields.empty() ? "" : "," + fields) + "}");
}

TEST(ScheduleEntryRecord, OfAnOlderVersionTakesWhatTheProgramKnewThen) {
  const auto e = *decoded("{}");
  EXPECT_EQ(e.id, Uuid({9}));
  EXPECT_EQ(e.label + " " + e.startTimeString(true) + " " + e.endTimeString(false),
            "New mission 09:00 5:00 PM");
  EXPECT_TRUE(e.isWeekdays() && e.isEnabled && e.showFloatingProgress);
  EXPECT_EQ(e.protectionMode, ScheduleProtectionMode::brak);
  EXPECT_EQ(e.softBlockedApps.at(0).bundleID + e.softBlockedSites.at(0).domain, "chessx.com");
  for (const char* empty : {"null", "[]"}) {
    const auto bare =
        of(std::string("\"softBlockedApps\":") + empty + ",\"softBlockedSites\":" + empty);
    EXPECT_TRUE(bare.softBlockedApps.empty() && bare.softBlockedSites.empty()) << empty;
  }
  auto broken = older();
  broken.blockedSites = [] { return std::unexpected(json::wrong("array")); };
  EXPECT_FALSE(ScheduleEntry::decode(*json::parse("{}"), berlin, broken));
  EXPECT_TRUE(ScheduleEntry::decode(*json::parse(R"({"softBlockedSites":[]})"), berlin, broken));
}

TEST(ScheduleEntryRecord, ClampsMinutesAndRefusesWhatIsOfTheWrongKind) {
  const struct {
    const char* fields;
    int start, end;
  } rows[] = {{R"("startMinutes":2000)", 1439, 1440},
              {R"("startMinutes":600,"endMinutes":300)", 600, 601},
              {R"("startMinutes":-5)", 0, 1020},
              {R"("endMinutes":99999999999)", 540, 1440},
              {R"("startMinutes":1100)", 1100, 1101}};
  for (const auto& row : rows) {
    EXPECT_EQ(of(row.fields).startMinutes, row.start) << row.fields;
    EXPECT_EQ(of(row.fields).endMinutes, row.end) << row.fields;
  }
  for (const char* bad :
       {R"({"days":[8]})", R"({"days":[0]})", R"({"recurrence":"yearly"})", R"({"label":1})",
        R"({"excludedDates":["x"]})", R"({"presetID":"x"})", R"({"softBlockedApps":{}})", "[]"})
    EXPECT_FALSE(decoded(bad)) << bad;
  EXPECT_FALSE(decodeScheduleEntries(*json::parse(R"([{},{"days":[8]}])"), berlin, older()));
}

TEST(ScheduleEntryRecord, IsWrittenInItsOrderWithWholeDays) {
  const double noon = at(2026y / 3 / 2, 720).secondsSinceReference();
  const auto e = of(R"("days":[7,1],"scheduledDate":)" + std::to_string(noon) +
                    R"(,"excludedDates":[)" + std::to_string(noon) + "]");
  const std::string day = json::dump(json::encode(at(2026y / 3 / 2)));
  EXPECT_EQ(json::dump(e.encode()),
            R"({"id":"00000000-0000-0000-0000-000000000001","label":"New mission","days":[1,7],)"
            R"("startMinutes":540,"endMinutes":1020,"isEnabled":true,"recurrence":"weekly",)"
            R"("scheduledDate":)" +
                day + R"(,"excludedDates":[)" + day +
                R"(],"protectionMode":"brak","softBlockedApps":[{"id":)"
                R"("01000000-0000-0000-0000-000000000000","name":"Chess","bundleID":"chess",)"
                R"("isBlocked":true}],"softBlockedSites":[{"id":)"
                R"("02000000-0000-0000-0000-000000000000","domain":"x.com","isBlocked":true}],)"
                R"("rhythm":"continuous","showFloatingProgress":true})");
  EXPECT_EQ(*decoded(json::dump(e.encode())), e);
  auto traveller = e;
  const Calendar tokyo(*Zone::named("Asia/Tokyo"));
  traveller.moveDates(berlin, tokyo);
  EXPECT_EQ(traveller.scheduledDate, at(2026y / 3 / 2, 0, tokyo));
  traveller.moveDates(tokyo, berlin);
  EXPECT_EQ(traveller, e);
}

TEST(ScheduleEntry, OccursOnItsDaysWithinItsRangeAndNotOnExcludedOnes) {
  const auto days = [](const ScheduleEntry& e) {  // of the week from Monday the 2nd
    std::string out;
    for (unsigned d = 2; d <= 8; ++d) out += e.occurs(at(2026y / 3 / d, 1439), berlin) ? 'x' : '-';
    return out;
  };
  ScheduleEntry e;
  EXPECT_EQ(days(e), "xxxxx--");
  e.excludedDates = {at(2026y / 3 / 3)};
  e.recurrenceEndDate = at(2026y / 3 / 5);
  EXPECT_EQ(days(e), "x-xx---");
  e.recurrence = ScheduleRecurrence::daily;
  e.recurrenceStartDate = at(2026y / 3 / 4);
  EXPECT_EQ(days(e), "--xx---");
  e.recurrence = ScheduleRecurrence::once;
  EXPECT_EQ(days(e), "-------");  // no date: it stays in the list and never occurs
  e.scheduledDate = at(2026y / 3 / 5);
  EXPECT_EQ(days(e), "---x---");
  e.scheduledDate = at(2026y / 3 / 3);  // ranges and exclusions hold for it too
  EXPECT_EQ(days(e), "-------");
  e = {};
  e.days = {};
  EXPECT_FALSE(e.isSchedulable());
}

TEST(ScheduleEntry, DurationReadsInHoursAndMinutes) {
  const std::pair<int, const char*> rows[] = {{45, "45min"}, {60, "1h"},  {65, "1h5"},
                                              {90, "1h30"},  {120, "2h"}, {-5, "0min"}};
  for (const auto& [minutes, text] : rows) {
    ScheduleEntry e;
    e.endMinutes = e.startMinutes + minutes;
    EXPECT_EQ(e.durationString(), text);
  }
}

TEST(ScheduleEntry, OverlapsWhatSharesADateAndMinutesAndDoesNotMerelyTouch) {
  using enum ScheduleRecurrence;
  const auto make = [](ScheduleRecurrence recurrence, int start, int end) {
    ScheduleEntry e;
    e.id = Uuid({static_cast<uint8_t>(start % 251), static_cast<uint8_t>(end % 251)});
    e.recurrence = recurrence;
    e.startMinutes = start;
    e.endMinutes = end;
    e.scheduledDate = at(2026y / 3 / 7);  // a Saturday
    return e;
  };
  const auto meet = [](const ScheduleEntry& a, const ScheduleEntry& b) {
    EXPECT_EQ(overlapsAny(a, {b}, berlin), overlapsAny(b, {a}, berlin));
    return overlapsAny(a, {a, b}, berlin);
  };
  EXPECT_TRUE(meet(make(daily, 0, 60), make(weekly, 59, 100)));
  EXPECT_FALSE(meet(make(daily, 0, 60), make(daily, 60, 100)));
  EXPECT_TRUE(meet(make(once, 0, 60), make(once, 30, 40)));
  EXPECT_TRUE(meet(make(once, 0, 60), make(daily, 30, 40)));
  EXPECT_FALSE(meet(make(once, 0, 60), make(weekly, 30, 40)));
  auto saturdays = make(weekly, 30, 40);
  saturdays.days = {Weekday::sat};
  EXPECT_TRUE(meet(make(once, 0, 60), saturdays));
  EXPECT_FALSE(meet(make(weekly, 0, 60), saturdays));
  auto later = make(weekly, 0, 60), earlier = make(weekly, 30, 40);
  later.recurrenceStartDate = at(2026y / 3 / 9);
  earlier.recurrenceEndDate = at(2026y / 3 / 8);
  EXPECT_FALSE(meet(later, earlier));
  earlier.recurrenceEndDate = at(2026y / 3 / 9);
  EXPECT_TRUE(meet(later, earlier));
  earlier.isEnabled = false;
  EXPECT_FALSE(meet(later, earlier));
}

TEST(ScheduleCalendar, WeeksBeginOnMondayAndHoldTheirOccurrencesInOrder) {
  const Date monday = at(2026y / 3 / 23);  // the clocks change on its Sunday
  EXPECT_EQ(ScheduleCalendarMath::weekStart(at(2026y / 3 / 29, 600), berlin), monday);
  EXPECT_EQ(ScheduleCalendarMath::weekStart(monday, berlin), monday);
  EXPECT_EQ(ScheduleCalendarMath::weekDates(monday, berlin).back(), at(2026y / 3 / 29));
  ScheduleEntry late, early, once;
  late.label = "late", early.label = "early", once.label = "once";
  late.startMinutes = 600;
  once.recurrence = ScheduleRecurrence::once;
  once.scheduledDate = at(2026y / 3 / 29);
  std::string seen;
  for (const auto& o : ScheduleCalendarMath::occurrences({late, once, early}, monday, berlin))
    seen += o.entry.label + std::to_string(c::weekday(berlin.day(o.date)).iso_encoding()) + " ";
  EXPECT_EQ(seen, "early1 late1 early2 late2 early3 late3 early4 late4 early5 late5 once7 ");
  EXPECT_EQ((ScheduleCalendarOccurrence{{}, Date(-0.5)}.id()),
            "00000000-0000-0000-0000-000000000000-0");
  const Calendar apia(*Zone::named("Pacific/Apia"));  // Friday the 30th never was
  const auto week = ScheduleCalendarMath::weekDates(at(2011y / 12 / 26, 0, apia), apia);
  EXPECT_EQ(week.size(), 6u);
  EXPECT_EQ(apia.day(week[4]), c::local_days(2011y / 12 / 31));
}

}  // namespace
}  // namespace velmora
