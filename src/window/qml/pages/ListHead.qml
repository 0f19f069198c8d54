import QtQuick
import Velmora

// The heading of a list, with a button that adds to it.
Item {
    id: head

    property string text: ""
    property string hint: ""
    signal asked()

    implicitHeight: 36

    NeonText {
        x: 10
        anchors.verticalCenter: parent.verticalCenter
        level: "caps"
        text: head.text
    }
    NeonIconButton {
        anchors { right: parent.right; rightMargin: 4; verticalCenter: parent.verticalCenter }
        symbol: "plus"
        size: 30
        iconSize: 16
        text: head.hint
        onClicked: head.asked()
    }
}
