import QtQuick
import QtQuick.Layouts
import Velmora

// The presets: each can be opened to be edited, or be focused with at once.
NeonCard {
    id: card

    required property var shell
    readonly property var session: Velmora.state.session
    readonly property bool idle: !session.running && session.screen === "pomodoro"
                              && session.type === "focus"

    padding: 8
    spacing: 0

    function move(key: string, by: int) {
        const ids = Velmora.state.presets.map(p => p.id)
        const other = ids[ids.indexOf(key) + by]
        if (other) shell.ask("presets", ["move", key, other])
    }

    ListHead {
        width: parent.width
        text: "Presets"
        hint: "Add a preset"
        onAsked: adding.open()
    }
    Repeater {
        model: KeyedModel { id: presets; records: Velmora.state.presets }

        NeonListRow {
            id: row
            required property string key
            readonly property var preset: presets.byKey[key] ?? {}

            width: parent.width
            title: preset.name ?? ""
            subtitle: preset.note ?? ""
            symbol: preset.iconName ?? "scope"
            tint: Qt.lighter(NeonTheme.fromHex(preset.colorHex ?? 0x8c5cff), 1.25)
            opens: true
            Accessible.description: "Opens the preset. Control with up or down moves it."
            onClicked: editor.show(key)
            Keys.onPressed: event => {
                if (!(event.modifiers & Qt.ControlModifier)) return
                if (event.key === Qt.Key_Up) card.move(key, -1)
                else if (event.key === Qt.Key_Down) card.move(key, 1)
                else return
                event.accepted = true
            }

            NeonIconButton {
                visible: card.idle
                symbol: "play"
                size: 30
                iconSize: 14
                text: "Focus with " + row.title
                onClicked: card.shell.ask("focus", [row.preset.id])
            }
        }
    }

    PresetEditor { id: editor; shell: card.shell }
    NeonDialog {
        id: adding
        title: "New preset"
        text: "A preset names the tools of one kind of work. Everything else stays closed."
        onOpened: { name.clear(); name.forceActiveFocus() }

        function add() {
            const wish = name.text.trim()
            if (wish === "") return
            close()
            const before = new Set(Velmora.state.presets.map(p => p.id))
            card.shell.ask("presets", ["add", wish], result => {
                const made = Velmora.state.presets.find(p => !before.has(p.id))
                if (result.status === 0 && made) editor.show(made.id)
            })
        }

        NeonField {
            id: name
            Layout.fillWidth: true
            label: "Name"
            onAccepted: adding.add()
        }
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton { text: "Cancel"; onClicked: adding.close() },
            NeonButton {
                text: "Add preset"
                kind: NeonButton.Primary
                enabled: name.text.trim() !== ""
                onClicked: adding.add()
            }
        ]
    }
}
