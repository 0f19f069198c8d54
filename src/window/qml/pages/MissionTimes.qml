import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// On which days a mission takes place, and from when to when. Only asks: `picked` gets what
// changes.
ColumnLayout {
    id: times

    property var draft: ({})
    property string today: ""
    property bool uses24Hour: true
    readonly property var days: draft.days ?? []

    signal picked(var fields)

    function recur(how: string) {
        const day = draft.scheduledDate || today
        const its = [Week.keys[Week.weekday(day)]]
        if (how === "once") picked({ recurrence: how, scheduledDate: day, days: its })
        else picked({ recurrence: how, days: days.length > 0 ? days : its })
    }
    function toggle(key: string) {
        picked({ days: Week.keys.filter(k => days.includes(k) !== (k === key)) })
    }

    spacing: 12

    NeonSegmented {
        Layout.fillWidth: true
        compact: true
        text: "Repeats"
        value: times.draft.recurrence
        options: [{ value: "once", text: "Once" }, { value: "daily", text: "Daily" },
                  { value: "weekly", text: "Weekly" }]
        onChosen: value => times.recur(value)
    }
    RowLayout {
        visible: times.draft.recurrence === "weekly"
        spacing: 4
        Repeater {
            model: 7
            NeonChip {
                required property int index
                Layout.fillWidth: true
                Layout.preferredWidth: 30
                text: Week.days[index][0]
                chosen: times.days.includes(Week.keys[index])
                Accessible.name: Week.days[index]
                Accessible.role: Accessible.CheckBox
                onClicked: times.toggle(Week.keys[index])
            }
        }
    }
    MissionDate {
        Layout.fillWidth: true
        visible: times.draft.recurrence === "once"
        label: "Day"
        day: times.draft.scheduledDate ?? ""
        today: times.today
        onPicked: day => times.picked({ scheduledDate: day, days: [Week.keys[Week.weekday(day)]] })
    }
    RowLayout {
        spacing: 8
        MissionTime {
            Layout.fillWidth: true
            text: "Starts at"
            to: 1439
            uses24Hour: times.uses24Hour
            number: times.draft.startMinutes ?? 540
            onPicked: start => times.picked({ startMinutes: start, endMinutes:
                times.draft.endMinutes > start ? times.draft.endMinutes
                                               : Math.min(1440, start + 60) })
        }
        NeonText { text: "–"; color: NeonTheme.quiet; Accessible.ignored: true }
        MissionTime {
            Layout.fillWidth: true
            text: "Ends at"
            ends: true
            from: 1
            uses24Hour: times.uses24Hour
            number: times.draft.endMinutes ?? 1020
            onPicked: end => times.picked({ endMinutes: end })
        }
    }
    RowLayout {
        visible: times.draft.recurrence !== "once"
        spacing: 8
        MissionDate {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            label: "First day"
            none: "From any day"
            word: "From"
            day: times.draft.recurrenceStartDate ?? ""
            today: times.today
            onPicked: day => times.picked({ recurrenceStartDate: day || null })
        }
        MissionDate {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            label: "Last day"
            none: "Without end"
            word: "Until"
            day: times.draft.recurrenceEndDate ?? ""
            today: times.today
            onPicked: day => times.picked({ recurrenceEndDate: day || null })
        }
    }
    Flow {
        Layout.fillWidth: true
        visible: times.draft.recurrence !== "once" && (times.draft.excludedDates ?? []).length > 0
        spacing: 6
        NeonText {
            height: 30
            verticalAlignment: Text.AlignVCenter
            level: "small"
            color: NeonTheme.quiet
            text: "Not on"
        }
        Repeater {
            model: (times.draft.excludedDates ?? []).slice(-6)
            NeonChip {
                required property string modelData
                symbol: "close"
                text: Week.brief(modelData)
                Accessible.name: "Let it take place again on " + Week.full(modelData)
                onClicked: times.picked({ excludedDates:
                    times.draft.excludedDates.filter(day => day !== modelData) })
            }
        }
    }
}
