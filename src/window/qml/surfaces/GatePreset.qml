import QtQuick
import Velmora

// One preset on the gate: its colour, its name, what it is for and how much stays open.
Item {
    id: row

    property var preset: null
    property bool isChosen: false
    property bool hasKeyboard: false
    readonly property color tint: NeonTheme.fromHex(preset?.colorHex ?? 0x8c5cff)

    // Pressed once to choose it, twice to start with it.
    signal picked
    signal taken

    function counted(list, one, many) {
        const count = list?.length ?? 0;
        return count === 0 ? "" : `${count} ${count === 1 ? one : many}`;
    }

    height: 56
    Accessible.role: Accessible.RadioButton
    Accessible.name: preset?.name ?? ""
    Accessible.description: preset?.note ?? ""
    Accessible.checkable: true
    Accessible.checked: isChosen
    Accessible.onPressAction: picked()

    Rectangle {
        anchors.fill: parent
        radius: NeonTheme.radius
        color: row.isChosen ? NeonTheme.faded(NeonTheme.glow, 0.17)
             : mouse.containsMouse ? NeonTheme.hover : "transparent"
        border.width: row.isChosen ? 1 : 0
        border.color: row.hasKeyboard ? NeonTheme.rim : NeonTheme.faded(NeonTheme.edge, 0.6)
    }
    Rectangle {
        id: bead
        x: 18
        anchors.verticalCenter: parent.verticalCenter
        width: 14
        height: 14
        radius: 7
        color: row.isChosen ? row.tint : "transparent"
        border.width: 2.5
        border.color: row.isChosen ? Qt.lighter(row.tint, 1.35) : NeonTheme.faded(row.tint, 0.8)
    }
    Column {
        anchors { left: bead.right; leftMargin: 16; right: open.left; rightMargin: 12
                  verticalCenter: parent.verticalCenter }
        spacing: 2
        NeonText {
            width: parent.width
            level: "strong"
            elide: Text.ElideRight
            maximumLineCount: 1
            text: row.preset?.name ?? ""
        }
        NeonText {
            width: parent.width
            visible: text !== ""
            level: "small"
            color: NeonTheme.quiet
            elide: Text.ElideRight
            maximumLineCount: 1
            text: row.preset?.note ?? ""
        }
    }
    NeonText {
        id: open
        anchors { right: parent.right; rightMargin: 18; verticalCenter: parent.verticalCenter }
        level: "small"
        color: NeonTheme.quiet
        wrapMode: Text.NoWrap
        text: [row.counted(row.preset?.allowedSites, "site", "sites"),
               row.counted(row.preset?.allowedApps, "app", "apps")].filter(part => part).join(" · ")
    }
    MouseArea {
        id: mouse
        anchors.fill: parent
        hoverEnabled: true
        onClicked: row.picked()
        onDoubleClicked: row.taken()
    }
}
