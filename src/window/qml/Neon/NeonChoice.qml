import QtQuick
import QtQuick.Templates as T
import Velmora

// One of a few large choices: a drawing, a word and a line.
T.RadioButton {
    id: choice

    property string symbol: ""
    property string detail: ""
    property bool chosen: false

    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    autoExclusive: false
    checked: chosen
    onToggled: checked = Qt.binding(() => chosen)
    Accessible.name: text
    Accessible.description: detail
    Keys.onReturnPressed: clicked()

    contentItem: Item {
        Column {
            anchors.centerIn: parent
            width: parent.width - 36
            spacing: 8

            NeonIcon {
                anchors.horizontalCenter: parent.horizontalCenter
                name: choice.symbol
                size: 28
                stroke: 1.5
                color: choice.chosen ? NeonTheme.violet : NeonTheme.quiet
            }
            NeonText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                level: "strong"
                text: choice.text
                Accessible.ignored: true
            }
            NeonText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                visible: text !== ""
                level: "small"
                color: NeonTheme.quiet
                text: choice.detail
                Accessible.ignored: true
            }
        }
    }
    background: Item {
        Repeater {
            model: choice.chosen ? 4 : 0
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -(index + 1) * 3
                radius: NeonTheme.radius - anchors.margins
                color: NeonTheme.faded(NeonTheme.glow, 0.035)
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: NeonTheme.radius
            color: choice.chosen ? "#1d122d" : choice.down ? "#1f172c"
                 : choice.hovered ? NeonTheme.raised : NeonTheme.surface
            border.width: 1
            border.color: choice.chosen ? NeonTheme.edge
                        : choice.hovered ? NeonTheme.lineStrong : NeonTheme.line
        }
        NeonFocusRing { visible: choice.visualFocus; around: NeonTheme.radius }
    }
}
