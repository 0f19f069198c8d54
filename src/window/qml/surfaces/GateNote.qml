import QtQuick
import Velmora

// The gate on a display that has not the form.
Rectangle {
    color: "black"

    Column {
        anchors.centerIn: parent
        spacing: 28

        NeonMark {
            anchors.horizontalCenter: parent.horizontalCenter
            size: 46
        }
        NeonText {
            wrapMode: Text.NoWrap
            font.pixelSize: 16
            text: "Choose your focus preset on the main display"
        }
    }
}
