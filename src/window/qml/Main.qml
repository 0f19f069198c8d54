import QtQuick
import QtQuick.Window
import Velmora

// What the main window shows.
FocusScope {
    id: root
    focus: true

    Loader {
        anchors.fill: parent
        focus: true
        source: "pages/MainShell.qml"
    }

    Shortcut {
        sequences: [StandardKey.Quit]
        context: Qt.ApplicationShortcut
        onActivated: Velmora.run("quit", [], result => refusal.say(result.error))
    }

    // Why the program does not quit, for a moment.
    Rectangle {
        id: refusal
        function say(text) {
            if (text === "")
                return;
            line.text = text;
            opacity = 1;
            away.restart();
        }
        anchors { horizontalCenter: parent.horizontalCenter; bottom: parent.bottom; bottomMargin: 28 }
        width: Math.min(line.implicitWidth + 48, root.width - 80)
        height: line.height + 28
        radius: 14
        color: "#1c1228"
        border.color: "#5b2f8e"
        opacity: 0
        visible: opacity > 0
        Behavior on opacity { NumberAnimation { duration: 160 } }
        Accessible.role: Accessible.AlertMessage
        Accessible.name: line.text
        Text {
            id: line
            anchors.centerIn: parent
            width: Math.min(implicitWidth, root.width - 128)
            wrapMode: Text.Wrap
            horizontalAlignment: Text.AlignHCenter
            color: "#f6effd"
            font.pixelSize: 14
        }
        Timer { id: away; interval: 5000; onTriggered: refusal.opacity = 0 }
    }
}
