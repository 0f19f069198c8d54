import QtQuick
import QtQuick.Templates as T
import Velmora

// A button with a word on it. `symbol` puts a drawing before the word.
T.Button {
    id: control

    enum Kind { Primary, Quiet, Danger }
    property int kind: NeonButton.Quiet
    property string symbol: ""
    readonly property bool primary: kind === NeonButton.Primary
    readonly property color ink: primary ? NeonTheme.onLight
                               : kind === NeonButton.Danger ? NeonTheme.danger : NeonTheme.ink

    implicitWidth: Math.max(implicitContentWidth + leftPadding + rightPadding, 72)
    implicitHeight: NeonTheme.controlHeight
    leftPadding: symbol && text ? 13 : 16
    rightPadding: 16
    opacity: enabled ? 1 : 0.4
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    Keys.onReturnPressed: clicked()
    Keys.onEnterPressed: clicked()

    contentItem: Item {
        implicitWidth: row.implicitWidth
        implicitHeight: row.implicitHeight

        Row {
            id: row
            anchors.centerIn: parent
            spacing: 7

            NeonIcon {
                anchors.verticalCenter: parent.verticalCenter
                visible: control.symbol !== ""
                name: control.symbol
                size: 16
                color: control.ink
            }
            NeonText {
                anchors.verticalCenter: parent.verticalCenter
                visible: text !== ""
                level: "strong"
                font.pixelSize: 14
                color: control.ink
                text: control.text
                wrapMode: Text.NoWrap
                Accessible.ignored: true
            }
        }
    }

    background: Item {
        // Light on the ground around the primary button: rings that thin out.
        Repeater {
            model: control.primary && control.enabled ? 5 : 0
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -(index + 1) * (control.hovered ? 2.6 : 2)
                radius: NeonTheme.radiusSmall - anchors.margins
                color: NeonTheme.faded(NeonTheme.glow,
                                       (control.hovered ? 0.075 : 0.05) - index * 0.008)
            }
        }
        Rectangle {
            anchors.fill: parent
            visible: !control.primary
            radius: NeonTheme.radiusSmall
            border.width: 1
            border.color: control.kind === NeonButton.Danger
                ? NeonTheme.faded(NeonTheme.danger, control.hovered ? 0.5 : 0.3)
                : control.hovered ? NeonTheme.lineStrong : NeonTheme.line
            color: control.kind === NeonButton.Danger
                ? NeonTheme.faded(NeonTheme.danger,
                                  control.down ? 0.2 : control.hovered ? 0.13 : 0.07)
                : control.down ? "#2a1f3b" : control.hovered ? "#20182e" : NeonTheme.raised
        }
        NeonPlate {
            anchors.fill: parent
            visible: control.primary
            from: control.down ? "#cf97f2" : control.hovered ? "#eccbff" : "#e2b8fb"
            to: control.down ? "#b970e6" : control.hovered ? "#d597fa" : "#c986f3"
        }
        NeonFocusRing { visible: control.visualFocus }
    }
}
