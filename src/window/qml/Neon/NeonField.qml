import QtQuick
import QtQuick.Templates as T
import Velmora

// A line of text. `label` is its accessible name, and stands in it while it is empty unless a
// placeholder says more.
T.TextField {
    id: control

    property string label: ""
    property string symbol: ""

    implicitWidth: 220
    implicitHeight: NeonTheme.controlHeight
    leftPadding: symbol ? 36 : 12
    rightPadding: 12
    color: NeonTheme.ink
    selectionColor: NeonTheme.deep
    selectedTextColor: NeonTheme.hot
    font { family: NeonTheme.family; pixelSize: 14 }
    verticalAlignment: TextInput.AlignVCenter
    selectByMouse: true
    opacity: enabled ? 1 : 0.4
    Accessible.name: label

    NeonIcon {
        x: 11
        anchors.verticalCenter: parent.verticalCenter
        visible: control.symbol !== ""
        name: control.symbol
        size: 16
        color: NeonTheme.quiet
    }
    NeonText {
        x: control.leftPadding
        width: control.availableWidth
        anchors.verticalCenter: parent.verticalCenter
        visible: control.length === 0 && control.preeditText === ""
        text: control.placeholderText || control.label
        color: NeonTheme.quiet
        elide: Text.ElideRight
        wrapMode: Text.NoWrap
        Accessible.ignored: true
    }

    background: Rectangle {
        radius: NeonTheme.radiusSmall
        color: NeonTheme.sunken
        border { width: 1; color: control.hovered ? NeonTheme.lineStrong : NeonTheme.line }
        NeonFocusRing { visible: control.activeFocus }
    }
}
