import QtQuick
import QtQuick.Layouts
import Velmora

// The applications of this computer, with a search. Those that are listed already are marked.
NeonDialog {
    id: picker

    required property var shell
    property var listed: []
    property var apps: []
    property bool looking: false
    readonly property var found: {
        const wish = search.text.trim().toLowerCase()
        return wish === "" ? apps : apps.filter(a => a.name.toLowerCase().includes(wish))
    }

    // {id, name, icon}
    signal chosen(var app)

    implicitWidth: 440
    // The answer is what is known now, and has the disk read once more.
    readonly property int revision: Velmora.state.applicationsRevision ?? 0
    onRevisionChanged: if (opened) look()
    onOpened: {
        search.clear()
        search.forceActiveFocus()
        look()
    }

    function pick(app: var) { if (app && !listed.includes(app.id)) chosen(app) }
    function look() {
        looking = apps.length === 0
        Velmora.run("applications", ["--json"], result => {
            looking = false
            if (result.status !== 0) return shell.say(result.error.trim(), true)
            try {
                apps = JSON.parse(result.output || "[]")
                    .map(a => ({ id: a.id ?? a.bundleID, name: a.name, icon: a.icon ?? "" }))
            } catch (error) {
                apps = []
            }
        })
    }

    NeonField {
        id: search
        Layout.fillWidth: true
        label: "Search"
        symbol: "search"
        onAccepted: picker.pick(picker.found[0])
        Keys.onDownPressed: list.forceActiveFocus(Qt.TabFocusReason)
    }
    ListView {
        id: list
        Layout.fillWidth: true
        Layout.preferredHeight: 300
        clip: true
        boundsBehavior: Flickable.StopAtBounds
        model: picker.found
        keyNavigationEnabled: true
        activeFocusOnTab: true
        Keys.onReturnPressed: picker.pick(picker.found[currentIndex])

        delegate: NeonListRow {
            required property var modelData
            required property int index
            readonly property bool has: picker.listed.includes(modelData.id)

            width: ListView.view.width
            symbol: "app"
            picture: modelData.icon ? "file://" + modelData.icon : ""
            title: modelData.name
            opens: true
            highlighted: ListView.isCurrentItem && list.activeFocus
            onClicked: picker.pick(modelData)
            NeonIcon {
                name: parent.parent.parent.has ? "check" : "plus"
                size: 16
                color: parent.parent.parent.has ? NeonTheme.violet : NeonTheme.quiet
            }
        }
        NeonText {
            anchors.centerIn: parent
            visible: list.count === 0
            color: NeonTheme.quiet
            text: picker.looking ? "Looking for applications…" : "No application of that name"
        }
    }
    actions: [
        Item { Layout.fillWidth: true },
        NeonButton { text: "Done"; kind: NeonButton.Primary; onClicked: picker.close() }
    ]
}
