import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// A mission in a list, with its switch; pressed, it opens.
NeonListRow {
    id: row

    required property var shell
    property string planner: ""
    property var mission: ({})
    readonly property bool held: mission.isActive ?? false  // its time is now
    readonly property bool running: held && (Velmora.state.scheduled?.active ?? false)
    readonly property bool soft: mission.protectionMode !== "brak"
    readonly property var preset: {
        const presets = Velmora.state.presets ?? []
        return presets.find(p => p.id === mission.presetID) ?? presets[0]
    }
    readonly property var on: mission.recurrence === "daily" ? Week.keys
        : mission.recurrence === "once"
            ? mission.scheduledDate ? [Week.keys[Week.weekday(mission.scheduledDate)]] : []
            : mission.days ?? []

    implicitHeight: 62
    opens: true
    dimmed: !mission.isEnabled
    symbol: running ? "bolt" : soft ? "rules" : preset?.iconName ?? "scope"
    tint: running ? NeonTheme.violet : soft ? NeonTheme.quiet
        : Qt.lighter(NeonTheme.fromHex(preset?.colorHex ?? 0x8c5cff), 1.25)
    title: mission.label ?? ""
    subtitle: [mission.startTime + " – " + mission.endTime, mission.duration,
               soft ? "Soft" : preset?.name ?? "Focus protection",
               mission.rhythm === "pomodoro" ? "Pomodoro" : "Nonstop"].join(" · ")
    Accessible.name: title + ", " + Week.when(mission)
    Accessible.description: subtitle + (mission.overlaps ? ". Overlaps another mission." : "")

    NeonIcon {
        visible: row.mission.overlaps ?? false
        Layout.rightMargin: 4
        name: "warning"
        size: 16
        color: NeonTheme.warn
        HoverHandler { id: over }
        NeonTip {
            visible: over.hovered
            text: "This mission overlaps another one. Move it so each mission can chain cleanly."
        }
    }
    NeonText {
        visible: row.mission.recurrence === "once"
        Layout.rightMargin: 8
        level: "small"
        text: row.mission.scheduledDate ? Week.short(row.mission.scheduledDate) : "No day"
        Accessible.ignored: true
    }
    // The days of its week.
    Row {
        visible: row.mission.recurrence !== "once"
        Layout.rightMargin: 8
        spacing: 3
        opacity: row.dimmed ? 0.5 : 1
        Repeater {
            model: 7
            Rectangle {
                id: day
                required property int index
                readonly property bool lit: row.on.includes(Week.keys[index])
                width: 19
                height: 22
                radius: 6
                color: lit ? "#2b1b42" : "transparent"
                NeonText {
                    anchors.centerIn: parent
                    level: "small"
                    font.pixelSize: 11
                    font.weight: day.lit ? Font.DemiBold : Font.Normal
                    color: day.lit ? NeonTheme.ink : NeonTheme.faded(NeonTheme.quiet, 0.55)
                    text: Week.days[day.index][0]
                    Accessible.ignored: true
                }
            }
        }
    }
    NeonSwitch {
        text: "Enable " + row.title
        enabled: !row.held
        on: row.mission.isEnabled ?? false
        onAsked: on => row.shell.ask("missions", [on ? "enable" : "disable", row.mission.id,
                                                  "--planner", row.planner])
    }
}
