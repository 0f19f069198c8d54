import QtQuick
import Velmora

// Takes back the last change of the missions, and does it again.
Row {
    id: steps

    required property var shell
    readonly property var schedule: Velmora.state.schedule ?? ({})

    NeonIconButton {
        symbol: "undo"
        text: steps.schedule.undo ? "Undo " + steps.schedule.undo : "Undo"
        enabled: !!steps.schedule.undo
        onClicked: steps.shell.ask("missions", ["undo"])
    }
    NeonIconButton {
        symbol: "redo"
        text: steps.schedule.redo ? "Redo " + steps.schedule.redo : "Redo"
        enabled: !!steps.schedule.redo
        onClicked: steps.shell.ask("missions", ["redo"])
    }
}
