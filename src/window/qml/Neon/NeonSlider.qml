import QtQuick
import QtQuick.Templates as T
import Velmora

// A number on a rail. `text` is its accessible name; `unit` is said and shown with the value.
T.Slider {
    id: control

    property string text: ""

    implicitWidth: 200
    implicitHeight: 28
    snapMode: T.Slider.SnapAlways
    stepSize: 1
    opacity: enabled ? 1 : 0.4
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    padding: 9

    background: Item {
        x: control.leftPadding
        y: control.height / 2 - 2
        width: control.availableWidth
        height: 4

        Rectangle {
            anchors.fill: parent
            radius: 2
            color: "#2a2138"
        }
        NeonPlate {
            width: Math.max(4, control.visualPosition * parent.width)
            height: 4
            radius: 2
            across: true
            from: NeonTheme.deep
            to: NeonTheme.core
        }
    }
    handle: Item {
        x: control.leftPadding + control.visualPosition * control.availableWidth - width / 2
        y: (control.height - height) / 2
        width: 18
        height: 18

        Repeater {
            model: control.enabled ? 3 : 0
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -(index + 1) * (control.pressed ? 3 : 2)
                radius: width / 2
                color: NeonTheme.faded(NeonTheme.glow,
                                       control.hovered || control.pressed ? 0.13 : 0.09)
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: 9
            color: control.pressed || control.hovered ? "#ffffff" : NeonTheme.hot
            border { width: 3; color: NeonTheme.edge }
        }
        NeonFocusRing { visible: control.visualFocus; around: 9 }
    }
}
