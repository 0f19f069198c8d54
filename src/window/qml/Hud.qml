import QtQuick
import Velmora

// The HUD's bar: the phase, what it is for, how far it is and what is left.
Item {
    id: hud

    readonly property var session: Velmora.state.session ?? ({})
    readonly property var focusing: Velmora.state.focus ?? null
    readonly property bool resting: session.type !== undefined && session.type !== "focus"
    readonly property bool paused: session.running === false
    readonly property color light: resting ? NeonTheme.good : NeonTheme.core
    readonly property real share: Math.max(0, Math.min(1, session.progress ?? 0))

    Accessible.role: Accessible.ProgressBar
    Accessible.name: `${session.label ?? ""} ${session.time ?? ""}`

    Rectangle {
        anchors.fill: parent
        radius: 16
        color: "#0b0812"
        border.width: 1
        border.color: "#2b1f3d"
    }
    Rectangle {
        id: bead
        x: 22
        anchors.verticalCenter: parent.verticalCenter
        width: 10
        height: 10
        radius: 5
        color: hud.paused ? "transparent" : hud.light
        border.width: 2
        border.color: hud.light
    }
    Column {
        anchors { left: bead.right; leftMargin: 16; right: clock.left; rightMargin: 20
                  verticalCenter: parent.verticalCenter; verticalCenterOffset: -2 }
        spacing: 3
        NeonText {
            width: parent.width
            level: "caps"
            elide: Text.ElideRight
            maximumLineCount: 1
            color: hud.light
            text: (hud.session.label ?? "") + (hud.paused ? " · Paused" : "")
        }
        NeonText {
            width: parent.width
            visible: text !== ""
            elide: Text.ElideRight
            maximumLineCount: 1
            color: NeonTheme.ink
            text: hud.resting || !hud.focusing ? ""
                : hud.focusing.taskName === hud.focusing.presetName ? hud.focusing.taskName
                : `${hud.focusing.taskName} · ${hud.focusing.presetName}`
        }
    }
    NeonClock {
        id: clock
        anchors { right: parent.right; rightMargin: 22; verticalCenter: parent.verticalCenter
                  verticalCenterOffset: -2 }
        size: 24
        weight: Font.Normal
        color: hud.paused ? NeonTheme.quiet : NeonTheme.ink
        text: hud.session.time ?? ""
    }
    Rectangle {
        x: 22
        y: parent.height - 9
        width: parent.width - 44
        height: 2
        radius: 1
        color: "#251a36"
        Rectangle {
            width: Math.round(parent.width * hud.share)
            height: 2
            radius: 1
            color: hud.light
        }
    }
}
