import QtQuick
import QtQuick.Templates as T
import Velmora

// A button with a drawing on it; `text` is its name and its tip.
T.Button {
    id: control

    property string symbol: ""
    property real size: 32
    property real iconSize: Math.round(size * 0.5)
    // A round, lit button: the one thing to press on its screen.
    property bool luminous: false
    property bool round: luminous
    property bool bordered: luminous || round
    property color ink: luminous ? NeonTheme.onLight
                      : hovered && enabled ? NeonTheme.ink : NeonTheme.soft
    // Says more than the name, where more is to be said.
    property string hint: text

    implicitWidth: size
    implicitHeight: size
    opacity: enabled ? 1 : 0.35
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Accessible.description: hint === text ? "" : hint
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        NeonIcon {
            anchors.centerIn: parent
            // A triangle looks centred when its weight is.
            anchors.horizontalCenterOffset: control.symbol === "play" ? control.iconSize / 18 : 0
            name: control.symbol
            size: control.iconSize
            color: control.ink
        }
    }

    background: Item {
        Repeater {
            model: control.luminous && control.enabled ? 7 : 0
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -(index + 1) * (control.hovered ? 3.4 : 2.8)
                radius: width / 2
                color: NeonTheme.faded(NeonTheme.glow,
                                       (control.hovered ? 0.085 : 0.06) - index * 0.007)
            }
        }
        Rectangle {
            anchors.fill: parent
            visible: !control.luminous
            radius: control.round ? width / 2 : 8
            color: control.down ? NeonTheme.pressed : control.hovered ? NeonTheme.hover
                 : control.bordered ? NeonTheme.faded(NeonTheme.raised, 0.8) : "transparent"
            border.width: control.bordered ? 1 : 0
            border.color: control.hovered ? NeonTheme.lineStrong : NeonTheme.line
        }
        NeonPlate {
            anchors.fill: parent
            visible: control.luminous
            radius: width / 2
            from: control.down ? "#cf97f2" : control.hovered ? "#f0d5ff" : "#e6c0fc"
            to: control.down ? "#b970e6" : control.hovered ? "#d597fa" : "#c580f2"
        }
        NeonFocusRing {
            visible: control.visualFocus
            around: control.round ? control.size / 2 : 8
        }
    }

    Loader {
        active: control.hovered && control.hint !== "" && control.Window.active
        sourceComponent: NeonTip { parent: control; text: control.hint; visible: true }
    }
}
