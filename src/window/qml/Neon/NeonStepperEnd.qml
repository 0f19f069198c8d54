import QtQuick
import Velmora

// One end of a stepper.
Item {
    id: end

    property string symbol: ""
    property bool active: false
    property bool pushed: false

    width: 34
    height: parent ? parent.height : 36
    implicitWidth: 34

    Rectangle {
        anchors.fill: parent
        anchors.margins: 4
        radius: 6
        color: !end.enabled ? "transparent" : end.pushed ? NeonTheme.pressed
             : end.active ? NeonTheme.hover : "transparent"
    }
    NeonIcon {
        anchors.centerIn: parent
        name: end.symbol
        size: 14
        color: end.enabled ? NeonTheme.violet : NeonTheme.faded(NeonTheme.quiet, 0.45)
    }
}
