.pragma library

// Civil days as "2026-11-23", and minutes of the day as whole numbers, 0 to 1440.

const days = ["Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"]
const months = ["January", "February", "March", "April", "May", "June", "July", "August",
                "September", "October", "November", "December"]
// The days of a series, as missions name them.
const keys = ["mon", "tue", "wed", "thu", "fri", "sat", "sun"]

function number(day) { return Date.parse(day + "T00:00:00Z") / 86400000 }
function plus(day, count) {
    return new Date((number(day) + count) * 86400000).toISOString().slice(0, 10)
}
// 0 for Monday to 6 for Sunday.
function weekday(day) { return (number(day) + 3) % 7 }
function monday(day) { return plus(day, -weekday(day)) }
// The same day of the next month, or the last that it has; of the month before with -1.
function monthOn(day, by) {
    const { year, date } = parts(day), month = Number(day.slice(5, 7)) - 1 + by
    const last = new Date(Date.UTC(year, month + 1, 0)).getUTCDate()
    return new Date(Date.UTC(year, month, Math.min(date, last))).toISOString().slice(0, 10)
}
function parts(day) {
    const [year, month, date] = day.split("-").map(Number)
    return { year, month: months[month - 1], date }
}
// "Monday 23 November", "Mon 23 Nov 2026", "Mon 23 Nov".
function full(day) { return `${days[weekday(day)]} ${parts(day).date} ${parts(day).month}` }
function short(day) {
    const { year, month, date } = parts(day)
    return `${days[weekday(day)].slice(0, 3)} ${date} ${month.slice(0, 3)} ${year}`
}
function brief(day) { return short(day).slice(0, -5) }
// The month or months of the week that begins there; `isBrief` where there is little room.
function title(monday, isBrief) {
    const a = parts(monday), b = parts(plus(monday, 6))
    if (isBrief && a.month !== b.month) return `${a.month.slice(0, 3)} – ${b.month.slice(0, 3)}`
    if (a.month === b.month) return `${isBrief ? a.month.slice(0, 3) : a.month} ${a.year}`
    const end = `${b.month.slice(0, 3)} ${b.year}`
    return a.year === b.year ? `${a.month.slice(0, 3)} – ${end}`
                             : `${a.month.slice(0, 3)} ${a.year} – ${end}`
}

function clock(minutes, uses24Hour) {
    const two = n => String(n).padStart(2, "0")
    if (uses24Hour) return two(Math.floor(minutes / 60)) + ":" + two(minutes % 60)
    const m = minutes % 1440
    return `${Math.floor(m / 60) % 12 || 12}:${two(m % 60)} ${m < 720 ? "AM" : "PM"}`
}
function range(start, end, uses24Hour) {
    return clock(start, uses24Hour) + " – " + clock(end, uses24Hour)
}
// What somebody typed, "9", "930", "9:30", "9:30 pm"; -1 when it is no time.
function minutes(text) {
    const match = /^\s*(\d{1,2})\s*[:.h]?\s*(\d{2})?\s*([ap])?\.?m?\.?\s*$/i.exec(text)
    if (!match) return -1
    let hour = Number(match[1])
    const minute = Number(match[2] || 0), half = (match[3] || "").toLowerCase()
    if (half && (hour < 1 || hour > 12)) return -1
    if (half) hour = hour % 12 + (half === "p" ? 12 : 0)
    return minute > 59 || hour * 60 + minute > 1440 ? -1 : hour * 60 + minute
}
function length(minutes) {
    const hours = Math.floor(minutes / 60), rest = minutes % 60
    return hours === 0 ? rest + " min" : rest === 0 ? hours + " h" : `${hours} h ${rest} min`
}

// When a mission takes place: "Weekdays", "Mon, Wed", "Mon 23 Nov 2026".
function when(mission) {
    if (mission.recurrence === "once")
        return mission.scheduledDate ? short(mission.scheduledDate) : "No day chosen"
    const on = keys.filter(key => (mission.days || []).includes(key))
    const named = mission.recurrence === "daily" || on.length === 7 ? "Every day"
        : on.join() === "mon,tue,wed,thu,fri" ? "Weekdays"
        : on.join() === "sat,sun" ? "Weekends"
        : on.length === 0 ? "No day chosen"
        : on.map(key => days[keys.indexOf(key)].slice(0, 3)).join(", ")
    const date = day => short(day).slice(4)
    return named + (mission.recurrenceStartDate ? " from " + date(mission.recurrenceStartDate) : "")
                 + (mission.recurrenceEndDate ? " until " + date(mission.recurrenceEndDate) : "")
}

// Whether one that is on takes place on that day.
function takesPlace(mission, day) {
    if (mission.recurrence === "once") return mission.scheduledDate === day
    return (mission.recurrence === "daily" || (mission.days || []).includes(keys[weekday(day)]))
        && day >= (mission.recurrenceStartDate || "") && !(mission.recurrenceEndDate < day)
        && !(mission.excludedDates || []).includes(day)
}
// Why the mission whose time is now can't be changed; it may have been stopped.
function held(label, runs) {
    return runs ? `“${label}” is running. It can be changed once it is over.`
                : `“${label}” was stopped. It can be changed once its time is over.`
}

// Overlapping occurrences of one day lie side by side: gives each `lane` and, for all that touch
// one another, the same `lanes`. They come in the order of their starts.
function abreast(occurrences) {
    const out = []
    let group = [], ends = [], day = "", until = 0
    const close = () => group.forEach(o => out.push(Object.assign(o, { lanes: ends.length })))
    for (const occurrence of occurrences) {
        if (occurrence.day !== day || occurrence.startMinutes >= until) {
            close()
            group = []
            ends = []
            until = 0
        }
        day = occurrence.day
        until = Math.max(until, occurrence.endMinutes)
        const free = ends.findIndex(end => end <= occurrence.startMinutes)
        const lane = free < 0 ? ends.length : free
        ends[lane] = occurrence.endMinutes
        group.push(Object.assign({}, occurrence, { lane }))
    }
    close()
    return out
}

const shortest = 15
function snap(minute, step) { return Math.round(minute / step) * step }
function within(low, value, high) { return Math.max(low, Math.min(high, value)) }

// What dragging makes of {day, start, end}. `minute` is where the pointer is, `step` what it snaps
// to. Drawing goes both ways from where it began.
function drawn(day, from, minute, step) {
    const anchor = within(0, Math.floor(from / step) * step, 1440 - shortest)
    const other = within(0, snap(minute, step), 1440)
    if (other < anchor && anchor >= shortest)
        return { day, start: Math.min(other, anchor - shortest), end: anchor }
    return { day, start: anchor, end: Math.max(other, anchor + shortest) }
}
function clicked(day, minute, step) {
    const start = within(0, Math.floor(minute / step) * step, 1440 - 60)
    return { day, start, end: start + 60 }
}
function moved(span, day, start, step) {
    const length = span.end - span.start
    const at = within(0, snap(start, step), 1440 - length)
    return { day, start: at, end: at + length }
}
function resized(span, edge, minute, step) {
    const at = snap(minute, step)
    return edge === "start"
        ? { day: span.day, start: within(0, at, Math.max(0, span.end - shortest)), end: span.end }
        : { day: span.day, start: span.start,
            end: within(Math.min(1440, span.start + shortest), at, 1440) }
}
