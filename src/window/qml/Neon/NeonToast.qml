import QtQuick
import Velmora

// A line at the foot of the window that goes by itself, or when pressed.
Rectangle {
    id: toast

    property string text: ""
    // Refusals and failures; otherwise news.
    property bool wrong: false
    readonly property bool showing: opacity > 0

    function show(line: string, isWrong: bool) {
        text = line
        wrong = isWrong
        opacity = 1
        // Long lines stay longer.
        timer.interval = 3500 + 45 * line.length
        timer.restart()
    }
    function hide() { opacity = 0 }

    width: Math.min(words.implicitWidth + 62, (parent?.width ?? 640) - 48)
    height: words.height + 24
    radius: 12
    color: "#1b1328"
    border {
        width: 1
        color: NeonTheme.faded(wrong ? NeonTheme.danger : NeonTheme.edge, 0.5)
    }
    opacity: 0
    visible: opacity > 0
    Behavior on opacity { NumberAnimation { duration: NeonTheme.calm } }
    Accessible.role: Accessible.AlertMessage
    Accessible.name: text

    Timer {
        id: timer
        onTriggered: if (hover.hovered) restart(); else toast.opacity = 0
    }
    HoverHandler { id: hover }
    TapHandler { onTapped: toast.opacity = 0 }
    NeonIcon {
        x: 16
        anchors.verticalCenter: parent.verticalCenter
        name: toast.wrong ? "warning" : "check"
        size: 18
        color: toast.wrong ? NeonTheme.danger : NeonTheme.violet
    }
    NeonText {
        id: words
        x: 44
        width: toast.width - 62
        anchors.verticalCenter: parent.verticalCenter
        text: toast.text
        color: NeonTheme.ink
        Accessible.ignored: true
    }
}
