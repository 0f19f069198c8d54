import QtQuick
import QtQuick.Templates as T
import Velmora

// On or off. `text` is its accessible name. It shows `on`, which somebody else decides: pressing it
// only asks, and a wish that is refused leaves it as it was.
T.Switch {
    id: control

    property bool on: false

    signal asked(bool on)

    implicitWidth: 42
    implicitHeight: 24
    opacity: enabled ? 1 : 0.4
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    checked: on
    Keys.onReturnPressed: { toggle(); toggled() }
    onToggled: {
        const wish = checked
        checked = Qt.binding(() => on)
        asked(wish)
    }

    indicator: Item {
        width: control.width
        height: control.height

        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            visible: control.checked && control.enabled
            radius: height / 2
            color: NeonTheme.faded(NeonTheme.glow, control.hovered ? 0.2 : 0.12)
        }
        Rectangle {
            anchors.fill: parent
            visible: !control.checked
            radius: height / 2
            color: control.hovered ? "#2a2138" : "#211930"
            border { width: 1; color: NeonTheme.lineStrong }
        }
        NeonPlate {
            anchors.fill: parent
            visible: control.checked
            radius: height / 2
            across: true
            from: "#7b34c9"
            to: NeonTheme.edge
        }
        Rectangle {
            x: control.visualPosition * (parent.width - width - 6) + 3
            y: 3
            width: control.down ? 20 : 18
            height: 18
            radius: 9
            color: control.checked ? NeonTheme.hot : "#b4a5c6"
            Behavior on x {
                NumberAnimation { duration: NeonTheme.quick; easing.type: Easing.OutCubic }
            }
        }
        NeonFocusRing { visible: control.visualFocus; around: 12 }
    }
}
