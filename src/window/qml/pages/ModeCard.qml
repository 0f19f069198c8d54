import QtQuick
import Velmora

// How a session is enforced, and whether it can be stopped.
NeonCard {
    id: card

    required property var shell
    readonly property var session: Velmora.state.session

    spacing: 12

    NeonSegmented {
        width: parent.width
        text: "Mode"
        enabled: !card.session.locked && !Velmora.state.scheduled?.active
        value: card.session.mode
        options: [{ value: "brak", text: "Brak mode" }, { value: "soft", text: "Soft mode" }]
        onChosen: value => card.shell.ask("mode", [value])
    }
    NeonText {
        width: parent.width
        level: "small"
        color: NeonTheme.quiet
        text: card.session.mode === "brak" ? "Only your preset's tools stay open."
                                           : "Listed sites go to the wall, listed apps are closed."
    }
    Rectangle { width: parent.width; height: 1; color: NeonTheme.line }
    Item {
        width: parent.width
        height: Math.max(words.height, 24)

        Column {
            id: words
            width: parent.width - 58
            spacing: 3
            NeonText { level: "strong"; text: "Hardcore" }
            NeonText {
                width: parent.width
                level: "small"
                color: NeonTheme.quiet
                text: !card.session.controls.hardcoreSwitch
                    ? "Can't change mode while session is running"
                    : Velmora.state.settings.isHardcore ? "Disable hardcore mode"
                    : "Enable hardcore mode — no pause, no restart, no skip"
            }
        }
        NeonSwitch {
            anchors { right: parent.right; verticalCenter: parent.verticalCenter }
            text: "Hardcore mode"
            enabled: card.session.controls.hardcoreSwitch
            on: Velmora.state.settings.isHardcore
            onAsked: on => card.shell.ask("settings", ["set", "isHardcore", on ? "true" : "false"])
        }
    }
}
