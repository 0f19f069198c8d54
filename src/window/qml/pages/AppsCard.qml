import QtQuick
import QtQuick.Layouts
import Velmora

// The applications that soft mode closes.
NeonCard {
    id: card

    required property var shell

    padding: 8
    spacing: 0

    ListHead {
        width: parent.width
        text: "Blocked apps"
        hint: "Add apps"
        onAsked: picker.open()
    }
    NeonText {
        visible: apps.count === 0
        width: parent.width
        padding: 10
        topPadding: 2
        level: "small"
        color: NeonTheme.quiet
        text: "No app is blocked yet."
    }
    Repeater {
        model: KeyedModel { id: apps; records: Velmora.state.apps; keyName: "bundleID" }

        NeonListRow {
            id: row
            required property string key
            readonly property var app: apps.byKey[key] ?? {}

            width: parent.width
            symbol: "app"
            picture: app.icon ? "file://" + app.icon : ""
            title: app.name ?? ""
            dimmed: !app.isBlocked

            NeonIconButton {
                Layout.preferredWidth: row.hovered || activeFocus ? 28 : 0
                opacity: Layout.preferredWidth > 0 ? 1 : 0
                symbol: "close"
                size: 28
                iconSize: 14
                text: "Remove " + row.title
                hint: "Remove"
                onClicked: card.shell.ask("apps", ["remove", row.key])
            }
            NeonSwitch {
                text: "Block " + row.title
                on: row.app.isBlocked ?? false
                onAsked: on => card.shell.ask("apps", [on ? "on" : "off", row.key])
            }
        }
    }
    AppPicker {
        id: picker
        shell: card.shell
        title: "Block apps"
        listed: (Velmora.state.apps ?? []).map(a => a.bundleID)
        onChosen: app => card.shell.ask("apps", ["add", app.id, app.name])
    }
}
