import QtQuick
import Velmora

// The page of a group of modules: those that are on, or what to do while none is.
FocusScope {
    id: page

    required property var shell
    property string category: ""
    property string symbol: ""
    property string emptyTitle: ""
    property string emptyText: ""
    readonly property var on: shell.modules.filter(m => m.enabled && m.category === category)

    PageHead {
        x: NeonTheme.page
        y: NeonTheme.page
        title: page.category
        visible: page.on.length > 0
    }
    NeonCard {
        visible: page.on.length > 0
        x: NeonTheme.page
        y: 96
        width: Math.min(600, parent.width - 2 * NeonTheme.page)
        padding: 8
        spacing: 0

        Repeater {
            model: KeyedModel { records: page.on; keyName: "name" }
            ModuleRow {
                required property string key
                width: parent.width
                shell: page.shell
                module: page.shell.modules.find(m => m.name === key) ?? {}
            }
        }
    }
    Column {
        visible: page.on.length === 0
        anchors.centerIn: parent
        anchors.verticalCenterOffset: -20
        width: Math.min(380, parent.width - 2 * NeonTheme.page)
        spacing: 8

        NeonIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: page.symbol
            size: 44
            stroke: 1.3
            color: NeonTheme.edge
        }
        Item { width: 1; height: 6 }
        NeonText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            level: "title"
            text: page.emptyTitle
        }
        NeonText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            text: page.emptyText
            color: NeonTheme.quiet
        }
        Item { width: 1; height: 8 }
        NeonButton {
            anchors.horizontalCenter: parent.horizontalCenter
            text: "Extensions"
            symbol: "extensions"
            onClicked: page.shell.go("extensions")
        }
    }
}
