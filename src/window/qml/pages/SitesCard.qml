import QtQuick
import QtQuick.Layouts
import Velmora

// The sites that soft mode sends to the wall.
NeonCard {
    id: card

    required property var shell
    readonly property var domains: (Velmora.state.sites ?? []).map(s => s.cleanDomain)

    padding: 8
    spacing: 0

    ListHead {
        width: parent.width
        text: "Blocked sites"
        hint: "Add sites"
        onAsked: adding.open()
    }
    NeonText {
        visible: sites.count === 0
        width: parent.width
        padding: 10
        topPadding: 2
        level: "small"
        color: NeonTheme.quiet
        text: "No site is blocked yet."
    }
    Repeater {
        model: KeyedModel { id: sites; records: Velmora.state.sites }

        NeonListRow {
            id: row
            required property string key
            readonly property var site: sites.byKey[key] ?? {}

            width: parent.width
            symbol: "globe"
            title: site.domain ?? ""
            dimmed: !site.isBlocked

            NeonIconButton {
                Layout.preferredWidth: row.hovered || activeFocus ? 28 : 0
                opacity: Layout.preferredWidth > 0 ? 1 : 0
                symbol: "close"
                size: 28
                iconSize: 14
                text: "Remove " + row.title
                hint: "Remove"
                onClicked: card.shell.ask("sites", ["remove", row.site.domain])
            }
            NeonSwitch {
                text: "Block " + row.title
                on: row.site.isBlocked ?? false
                onAsked: on => card.shell.ask("sites", [on ? "on" : "off", row.site.domain])
            }
        }
    }
    NeonDialog {
        id: adding
        implicitWidth: 460
        title: "Block sites"
        text: "A listed site covers everything below it."
        onOpened: { site.clear(); site.forceActiveFocus() }

        function add() {
            const wish = site.text.trim()
            if (wish === "") return
            card.shell.ask("sites", ["add", wish],
                           result => { if (result.status === 0) site.clear() })
        }

        RowLayout {
            spacing: 10
            NeonField {
                id: site
                Layout.fillWidth: true
                label: "Site"
                placeholderText: "example.com"
                symbol: "globe"
                onAccepted: adding.add()
            }
            NeonButton { text: "Add"; enabled: site.text.trim() !== ""; onClicked: adding.add() }
        }
        NeonText { level: "caps"; text: "Quick add" }
        Flow {
            Layout.fillWidth: true
            Layout.topMargin: -6
            spacing: 8
            Repeater {
                model: Velmora.state.quickSites ?? []
                NeonChip {
                    required property var modelData
                    readonly property bool has: card.domains.includes(modelData.domain)
                    text: modelData.name
                    symbol: has ? "check" : modelData.symbol
                    chosen: has
                    onClicked: if (!has) card.shell.ask("sites", ["add", modelData.domain])
                }
            }
        }
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton { text: "Done"; kind: NeonButton.Primary; onClicked: adding.close() }
        ]
    }
}
