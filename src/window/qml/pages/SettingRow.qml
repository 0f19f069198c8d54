import QtQuick
import Velmora

// A setting: what it is at the left, its control at the right.
Item {
    id: row

    property string title: ""
    property string text: ""
    default property alias control: place.data

    implicitHeight: Math.max(52, words.height + 20)

    Column {
        id: words
        anchors.verticalCenter: parent.verticalCenter
        width: parent.width - place.width - 24
        spacing: 3
        NeonText { width: parent.width; text: row.title; color: NeonTheme.ink }
        NeonText {
            width: parent.width
            visible: text !== ""
            level: "small"
            color: NeonTheme.quiet
            text: row.text
        }
    }
    Row {
        id: place
        anchors { right: parent.right; verticalCenter: parent.verticalCenter }
        spacing: 10
    }
}
