import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// A mission whose time has come begins as soon as it is made or put there. Says so, and asks first
// where hard routine would hold it. `dismissed` when it is not to be.
NeonDialog {
    id: starting

    required property var shell
    required property WallClock clock
    readonly property var schedule: Velmora.state.schedule ?? ({})
    property var make: null
    property bool decided: false

    signal dismissed()

    // Calls `next` with whether it begins at once, unless the user decides against it.
    function ask(today: bool, start: int, end: int, next: var) {
        clock.look()
        const begins = today && start <= clock.minutes && clock.minutes < end
            && (schedule.isEnabled ?? false) && !schedule.isCurrentlyInBlock
        if (!begins || !schedule.hardRoutineEnabled) return next(begins)
        text = "It begins now and hard routine holds it until "
            + Week.clock(end, schedule.uses24Hour ?? true) + ". Only the emergency pass ends it."
        make = next
        decided = false
        open()
    }
    function tell() {
        shell.say(schedule.hardRoutineEnabled ? "It has begun."
                                              : "It has begun. Ctrl+Z takes it back.", false)
    }

    implicitWidth: 480
    title: "Begin this mission now?"
    onAboutToShow: safe.focus = true  // not what was pressed the last time
    onClosed: if (!decided) dismissed()

    actions: [
        Item { Layout.fillWidth: true },
        NeonButton { id: safe; text: "Cancel"; onClicked: starting.close() },
        NeonButton {
            text: "Begin"
            kind: NeonButton.Danger
            onClicked: {
                starting.decided = true
                starting.close()
                starting.make(true)
            }
        }
    ]
}
