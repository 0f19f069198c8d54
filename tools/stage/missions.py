"""Missions for the window's states, and the week that a program would make of them."""

import datetime
import json

from window import changed, idle

MONDAY = datetime.date(2026, 11, 23)
TODAY = MONDAY + datetime.timedelta(days=2)
DAYS = ("mon", "tue", "wed", "thu", "fri", "sat", "sun")
WEEKDAYS = DAYS[:5]
CLOCK = "10:20"  # of TODAY, for a window's `clock`


def time(minutes):
    return "%02d:%02d" % divmod(minutes, 60)


def mission(label, start, end, days=WEEKDAYS, **fields):
    """Weekly on `days`, from `start` to `end` in hours; soft or, with `preset`, Brak."""
    start, end, preset = round(start * 60), round(end * 60), fields.pop("preset", None)
    length = end - start
    out = {"id": "mission-" + label.lower().replace(" ", "-"), "label": label, "days": list(days), "startMinutes": start,
           "endMinutes": end, "isEnabled": True, "recurrence": "weekly", "excludedDates": [],
           "protectionMode": "soft" if preset is None else "brak", "softBlockedApps": [],
           "softBlockedSites": ["x.com", "reddit.com", "youtube.com"] if preset is None else [], "rhythm": "continuous",
           "showFloatingProgress": True, "startTime": time(start), "endTime": time(end),
           "duration": "%dmin" % length if length < 60 else "%dh%s" % (length // 60, length % 60 or ""),
           "isSchedulable": True, "overlaps": False, "isActive": False}
    if preset is not None:
        out["presetID"] = "preset-%d" % preset
    return {**out, **fields}


def once(label, day, start, end, **fields):
    """On one day of the week, 0 to 6."""
    date = (MONDAY + datetime.timedelta(days=day)).isoformat()
    return mission(label, start, end, (DAYS[day],), recurrence="once", scheduledDate=date, **fields)


ONE = [mission("Deep Work", 9, 12, preset=0)]
# A full life: forty missions, some of which overlap and two of which are off.
FORTY = [
    mission("Morning pages", 6.5, 7.25, preset=2),
    mission("Deep Work", 8, 10, preset=0, rhythm="pomodoro", isActive=False),
    mission("Code review", 10, 11, ("mon", "wed", "fri")),
    mission("Reading", 10, 11, ("tue", "thu")),
    mission("Thesis", 11, 12.5, preset=2),
    mission("Mail", 13.5, 14),
    mission("Editing", 14, 16, ("mon", "tue", "thu"), preset=1, rhythm="pomodoro"),
    mission("Planning", 14, 15, ("wed",)),
    mission("Retrospective", 14.5, 15.5, ("fri",), overlaps=True),
    mission("Accounts", 15, 16.5, ("fri",), overlaps=True),
    mission("Violin", 17, 17.75, ("mon", "wed", "fri")),
    mission("Running", 17, 18, ("tue", "thu")),
    mission("Evening study", 19, 21, ("mon", "tue", "wed", "thu"), preset=0),
    mission("Wind down", 21.5, 22, DAYS),
    mission("Chess", 9, 10.5, ("sat",)),
    mission("Side project", 10.5, 13, ("sat", "sun"), preset=0),
    mission("Market", 8, 9, ("sat",)),
    mission("Letters", 15, 16, ("sun",), preset=2),
    mission("Portrait drawing", 16, 18, ("sat",)),
    mission("Language", 7.5, 8, ("mon", "wed")),
    mission("Vocabulary", 12.75, 13.25, ("tue", "thu")),
    *(once(label, day, start, end) for label, day, start, end in [
        ("Tax form", 0, 16.5, 17), ("Dentist forms", 1, 16.25, 16.75), ("Grant proposal", 2, 15.25, 16.75),
        ("Slides", 3, 16.25, 17), ("Lab notes", 4, 11, 12.5), ("Call prep", 0, 12.75, 13.25), ("Interview prep", 2, 12.75, 13.25),
        ("Journal club", 3, 18.25, 19), ("Photo archive", 5, 14, 15.5), ("Garden plan", 6, 13.5, 14.5),
        ("Budget", 6, 18, 19), ("Chapter two", 5, 19, 20.5), ("Backup", 4, 18, 18.25), ("Patch", 4, 19, 20),
        ("Packing", 6, 20, 20.5), ("Invoices", 1, 18.25, 18.75), ("Survey", 0, 18, 18.5)]),
    mission("Summer course", 9, 11, isEnabled=False, isSchedulable=False),
    mission("Night shift", 22.5, 24, ("fri",), isEnabled=False, isSchedulable=False),
]


def week(entries):
    """What `missions week` answers of these, in the week of MONDAY."""
    out = []
    for at, key in enumerate(DAYS):
        day = (MONDAY + datetime.timedelta(days=at)).isoformat()
        on = [e for e in entries if e["isSchedulable"] and day not in e["excludedDates"] and
              (e["scheduledDate"] == day if e["recurrence"] == "once" else e["recurrence"] == "daily" or key in e["days"])]
        out += [{"id": e["id"] + day, "entryID": e["id"], "day": day, "startMinutes": e["startMinutes"],
                 "endMinutes": e["endMinutes"]} for e in sorted(on, key=lambda e: (e["startMinutes"], e["endMinutes"]))]
    return out


def plan(start, end, focus=25, rest=5, long=15):
    """What `missions plan` answers, in minutes."""
    out, at, done = [], start, 0
    while at < end:
        out.append(("focus", at, min(at + focus, end)))
        at += focus
        if at < end:
            done += 1
            kind, length = ("longBreak", long) if done % 4 == 0 else ("shortBreak", rest)
            out.append((kind, at, min(at + length, end)))
            at += length
    return [{"type": kind, "start": (a - start) * 60, "end": (b - start) * 60} for kind, a, b in out]


def planned(entries, planner="calendar", **schedule):
    """An idle program with these missions in that planner. `schedule` goes over its members."""
    state = idle()
    active = next((e["id"] for e in entries if e["isActive"]), None)
    opened = next((e for e in entries if e["label"] == "Deep Work"), {"startMinutes": 540, "endMinutes": 720})
    lists = {"entries": entries if planner == "calendar" else [], "simpleEntries": entries if planner == "simple" else []}
    answers = {**state["answers"], "missions week": json.dumps(week(lists["entries"])),
               "missions plan": json.dumps(plan(opened["startMinutes"], opened["endMinutes"]))}
    return changed(state, answers=answers, schedule={
        "isEnabled": True, "operatingMode": planner, "hardRoutineEnabled": False, "isHardRoutineActive": False,
        "isCurrentlyInBlock": active is not None, "activeEntryID": active, "hasPass": False, "uses24Hour": True,
        "today": TODAY.isoformat(), "undo": None, "redo": None,
        "next": "Deep Work · Today 14:00 · in 3 hr." if entries else "", **lists, **schedule})


def in_mission(state, entry_id, hard=False):
    """The same while one of its missions runs."""
    schedule = state["schedule"]
    lists = {name: [{**e, "isActive": e["id"] == entry_id} for e in schedule[name]] for name in ("entries", "simpleEntries")}
    entry = next(e for e in lists["entries"] + lists["simpleEntries"] if e["isActive"])
    return changed(state, schedule={**lists, "isCurrentlyInBlock": True, "activeEntryID": entry_id,
                                    "hardRoutineEnabled": hard, "isHardRoutineActive": hard},
                   session={"running": True, "active": True, "hardcore": hard, "locked": hard,
                            "controls": {**state["session"]["controls"], "emergencyPass": hard}},
                   scheduled={"active": True, "hard": hard, "id": entry_id, "mission": entry["label"],
                              "remaining": 6000, "endMinutes": entry["endMinutes"], "rhythm": entry["rhythm"],
                              "protection": entry["protectionMode"], "protectionName": "Deep Work"})
