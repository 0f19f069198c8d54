import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// How a mission's time would be spent with the present settings.
ColumnLayout {
    id: rhythm

    property bool pomodoro: false
    property int start: 0
    property int end: 0
    property var phases: []
    readonly property int total: (end - start) * 60
    readonly property var counts: {
        const of = type => phases.filter(p => p.type === type).length
        return { focus: of("focus"), breaks: phases.length - of("focus") }
    }

    function counted(n: int, one: string): string { return n + " " + one + (n === 1 ? "" : "s") }
    function look() {
        if (!pomodoro || total <= 0) return
        const asked = [start, end].join()
        Velmora.run("missions", ["plan", String(start), String(end)], result => {
            if (result.status !== 0 || asked !== [start, end].join()) return
            try {
                phases = JSON.parse(result.output || "[]")
            } catch (error) {
                phases = []
            }
        })
    }

    spacing: 8
    onPomodoroChanged: look()
    onStartChanged: soon.restart()
    onEndChanged: soon.restart()
    Component.onCompleted: look()

    Timer { id: soon; interval: 120; onTriggered: rhythm.look() }
    Item {
        id: bar
        Layout.fillWidth: true
        implicitHeight: 14
        clip: true  // the phases are of other times for a moment
        Accessible.role: Accessible.Graphic
        Accessible.name: sum.text

        Rectangle {
            visible: !rhythm.pomodoro
            anchors.fill: parent
            radius: 4
            color: NeonTheme.edge
        }
        Repeater {
            model: rhythm.pomodoro ? rhythm.phases : []
            Rectangle {
                required property var modelData
                readonly property real second: bar.width / rhythm.total
                readonly property real begins: Math.round(modelData.start * second)
                readonly property real ends: Math.round(modelData.end * second)
                x: begins
                width: Math.max(1, ends - begins - 2)
                height: bar.height
                radius: Math.min(4, width / 2)
                color: modelData.type === "focus" ? NeonTheme.edge
                     : modelData.type === "longBreak" ? "#5c4a78" : "#392d4e"
            }
        }
    }
    NeonText {
        id: sum
        Layout.fillWidth: true
        level: "small"
        color: NeonTheme.quiet
        text: rhythm.total <= 0 ? " " : !rhythm.pomodoro
            ? `One focus of ${Week.length(rhythm.end - rhythm.start)}, without a break.`
            : `${rhythm.counted(rhythm.counts.focus, "focus phase")}, `
            + `${rhythm.counted(rhythm.counts.breaks, "break")}. `
            + "The calendar end time always wins; the final phase is shortened when needed."
    }
}
