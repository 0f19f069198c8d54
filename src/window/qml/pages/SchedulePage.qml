import QtQuick
import Velmora

// The missions of the planner that is in force.
FocusScope {
    id: page

    required property var shell
    readonly property string planner: Velmora.state.schedule?.operatingMode ?? "calendar"

    // Takes the last step back, or does it again.
    function undo(verb: string) { shell.ask("missions", [verb]) }

    // What has come out of step while nobody looked, the watchdog say, is put right.
    Component.onCompleted: Velmora.run("schedule", ["refresh"], null)

    Keys.onPressed: event => {
        const shift = event.modifiers & Qt.ShiftModifier
        if (!(event.modifiers & Qt.ControlModifier)) return
        if (event.key === Qt.Key_Z) undo(shift ? "redo" : "undo")
        else if (event.key === Qt.Key_Y) undo("redo")
        else return
        event.accepted = true
    }

    readonly property real foot: planners.item?.foot ?? 0

    Loader {
        id: planners
        anchors.fill: parent
        focus: true
        sourceComponent: page.planner === "simple" ? simple : calendar
        onLoaded: item.focus = true
    }
    Component { id: simple; ScheduleList { shell: page.shell } }
    Component { id: calendar; ScheduleWeek { shell: page.shell } }
}
