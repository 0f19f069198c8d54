import QtQuick
import QtQuick.Templates as T
import Velmora

// A colour to choose; `value` is 0xRRGGBB.
T.RadioButton {
    id: swatch

    property int value: 0
    property bool chosen: false

    implicitWidth: 26
    implicitHeight: 26
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    autoExclusive: false
    checked: chosen
    onToggled: checked = Qt.binding(() => chosen)
    Accessible.name: text
    Keys.onReturnPressed: clicked()

    background: Item {
        Rectangle {
            anchors.fill: parent
            radius: 13
            color: "transparent"
            border.width: swatch.chosen || swatch.hovered ? 2 : 0
            border.color: swatch.chosen ? NeonTheme.ink : NeonTheme.quiet
        }
        Rectangle {
            anchors.fill: parent
            anchors.margins: 5
            radius: 8
            color: NeonTheme.fromHex(swatch.value)
        }
        NeonFocusRing { visible: swatch.visualFocus; around: 13 }
    }
}
