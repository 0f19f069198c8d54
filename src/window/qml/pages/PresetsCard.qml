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

    // The row in the pointer's hand, none: -1, and the place over which it is held.
    property int lifted: -1
    property int aim: -1

    function carry(row: Item) {
        const middle = row.y + row.height / 2 + row.lift
        let place = 0
        while (place < rows.count - 1 && middle > rows.itemAt(place).y + rows.itemAt(place).height)
            place++
        lifted = row.index
        aim = place
    }
    // It lies in its place at once, and goes back when that is refused.
    function drop() {
        const from = lifted, to = aim
        const key = Velmora.state.presets[from]?.id, other = Velmora.state.presets[to]?.id
        lifted = aim = -1
        if (from === to || !key || !other) return
        presets.move(from, to, 1)
        shell.ask("presets", ["move", key, other], () => presets.step())
    }

    ListHead {
        width: parent.width
        text: "Presets"
        hint: "Add a preset"
        onAsked: adding.open()
    }
    Repeater {
        id: rows
        model: KeyedModel { id: presets; records: Velmora.state.presets }

        NeonListRow {
            id: row
            required property string key
            required property int index
            readonly property var preset: presets.byKey[key] ?? {}
            // How far it is carried, or makes room for the one that is.
            readonly property real lift: hand.active ? hand.activeTranslation.y
                : index > card.lifted && index <= card.aim ? -rows.itemAt(card.lifted).height
                : index < card.lifted && index >= card.aim ? rows.itemAt(card.lifted).height : 0

            width: parent.width
            z: lifted ? 1 : 0
            lifted: hand.active
            transform: Translate {
                y: row.lift
                Behavior on y {
                    enabled: card.lifted >= 0 && !hand.active
                    NumberAnimation { duration: NeonTheme.quick; easing.type: Easing.OutCubic }
                }
            }
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

            data: DragHandler {
                id: hand
                target: null
                xAxis.enabled: false
                cursorShape: Qt.ClosedHandCursor
                onActiveChanged: if (!active) card.drop()
                onActiveTranslationChanged: if (active) card.carry(row)
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
