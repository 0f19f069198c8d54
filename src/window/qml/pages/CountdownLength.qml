import QtQuick
import Velmora

// How long the countdown is; fixed while it runs.
Row {
    id: length

    required property var shell
    readonly property var countdown: Velmora.state.countdown

    spacing: 6
    enabled: !countdown.running

    Repeater {
        model: [30, 60, 90]
        NeonChip {
            required property int modelData
            anchors.verticalCenter: parent.verticalCenter
            text: modelData + " min"
            chosen: length.countdown.duration === modelData * 60
            onClicked: length.shell.ask("countdown", ["set", modelData])
        }
    }
    NeonStepper {
        anchors.verticalCenter: parent.verticalCenter
        implicitHeight: 32
        implicitWidth: 118
        text: "Length"
        from: 1
        to: 600
        stepSize: 5
        unit: "min"
        number: Math.round(length.countdown.duration / 60)
        onAsked: minutes => length.shell.ask("countdown", ["set", minutes])
    }
}
