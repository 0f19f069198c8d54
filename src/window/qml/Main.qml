import QtQuick
import QtQuick.Window
import Velmora

// What the main window shows.
FocusScope {
    focus: true

    Loader {
        id: shell
        anchors.fill: parent
        focus: true
        source: "pages/MainShell.qml"
    }

    Shortcut {
        sequences: [StandardKey.Quit]
        context: Qt.ApplicationShortcut
        // The gate is passed by its form alone.
        enabled: !Velmora.state.surfaces?.gate?.showing
        onActivated: shell.item?.ask("quit")
    }
}
