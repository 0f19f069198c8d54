import QtQuick
import QtQuick.Templates as T
import Velmora

// A small choice among many.
T.Button {
    id: chip

    property string symbol: ""
    property bool chosen: false

    implicitWidth: row.implicitWidth + 20
    implicitHeight: 30
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    opacity: enabled ? 1 : 0.4
    Accessible.name: text
    Accessible.checked: chosen
    Keys.onReturnPressed: clicked()

    contentItem: Item {
        Row {
            id: row
            anchors.centerIn: parent
            spacing: 6
            NeonIcon {
                anchors.verticalCenter: parent.verticalCenter
                visible: name !== ""
                name: chip.symbol
                size: 14
                color: label.color
            }
            NeonText {
                id: label
                anchors.verticalCenter: parent.verticalCenter
                level: "small"
                font.weight: Font.Medium
                wrapMode: Text.NoWrap
                text: chip.text
                color: chip.chosen || chip.hovered ? NeonTheme.ink : NeonTheme.soft
                Accessible.ignored: true
            }
        }
    }
    background: Rectangle {
        radius: 8
        color: chip.chosen ? "#2b1b42" : chip.down ? "#2a1f3b" : chip.hovered ? "#20182e"
                                                                          : NeonTheme.surface
        border {
            width: 1
            color: chip.chosen ? NeonTheme.faded(NeonTheme.edge, 0.5)
                 : chip.hovered ? NeonTheme.lineStrong : NeonTheme.line
        }
        NeonFocusRing { visible: chip.visualFocus; around: 8 }
    }
}
