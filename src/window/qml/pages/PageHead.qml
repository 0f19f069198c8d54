import QtQuick
import Velmora

// What a page is called, and a line on what it is for.
Column {
    property string title: ""
    property string text: ""

    spacing: 6
    NeonText { width: parent.width; level: "headline"; text: parent.title }
    NeonText {
        width: parent.width
        visible: text !== ""
        text: parent.text
        color: NeonTheme.quiet
    }
}
