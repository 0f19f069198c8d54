import QtQuick
import QtQuick.Layouts
import Velmora

// What a soft mission blocks: sites and applications of its own.
ColumnLayout {
    id: lists

    required property var shell
    property var sites: []   // ["x.com"]
    property var apps: []    // [{bundleID, name}]
    readonly property var records: [
        ...sites.map(site => ({ id: "site " + site, symbol: "globe", title: site, site })),
        ...apps.map(app => ({ id: "app " + app.bundleID, symbol: "app", title: app.name, app }))
    ]

    signal sitesPicked(var sites)
    signal appsPicked(var apps)

    function add(text: string) {
        const wish = text.trim()
        if (wish === "") return
        shell.ask("sites", ["check", wish], result => {
            const site = result.output.trim() || wish
            if (result.status !== 0 || sites.includes(site)) return
            sitesPicked(sites.concat(site))
            if (entry.text.trim() === wish) entry.clear()
        })
    }
    // The lists of soft mode, as they are now.
    function takeOver() {
        const own = (Velmora.state.sites ?? []).filter(s => s.isBlocked).map(s => s.domain)
        const programs = (Velmora.state.apps ?? []).filter(a => a.isBlocked)
        sitesPicked([...new Set([...sites, ...own])])
        appsPicked([...apps, ...programs.filter(a => !apps.some(b => b.bundleID === a.bundleID))
            .map(a => ({ bundleID: a.bundleID, name: a.name }))])
    }

    spacing: 6

    RowLayout {
        spacing: 6
        NeonField {
            id: entry
            Layout.fillWidth: true
            implicitHeight: 32
            label: "Add a site"
            symbol: "plus"
            onAccepted: lists.add(text)
        }
        NeonButton { implicitHeight: 32; text: "Add an app"; onClicked: picker.open() }
    }
    NeonScroll {
        Layout.fillWidth: true
        Layout.fillHeight: true
        Layout.minimumHeight: 72

        Column {
            width: parent.width
            Repeater {
                model: KeyedModel { id: rows; records: lists.records }
                NeonListRow {
                    id: row
                    required property string key
                    readonly property var record: rows.byKey[key] ?? ({})
                    width: parent.width - 10
                    implicitHeight: 34
                    symbol: record.symbol ?? ""
                    title: record.title ?? ""
                    NeonIconButton {
                        symbol: "close"
                        size: 26
                        iconSize: 13
                        text: "Remove " + row.title
                        hint: ""
                        onClicked: row.record.site
                            ? lists.sitesPicked(lists.sites.filter(s => s !== row.record.site))
                            : lists.appsPicked(lists.apps.filter(
                                a => a.bundleID !== row.record.app.bundleID))
                    }
                }
            }
            Column {
                visible: rows.count === 0
                width: parent.width
                topPadding: 8
                spacing: 10
                NeonText {
                    width: parent.width
                    level: "small"
                    color: NeonTheme.quiet
                    text: "Nothing is blocked in this mission yet."
                }
                NeonChip {
                    visible: [...Velmora.state.sites ?? [], ...Velmora.state.apps ?? []].length > 0
                    text: "Take the lists of soft mode"
                    symbol: "copy"
                    onClicked: lists.takeOver()
                }
            }
        }
    }
    AppPicker {
        id: picker
        shell: lists.shell
        title: "Block apps in this mission"
        listed: lists.apps.map(a => a.bundleID)
        onChosen: app => lists.appsPicked(lists.apps.concat({ bundleID: app.id, name: app.name }))
    }
}
