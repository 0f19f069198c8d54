import QtQuick
import QtQuick.Templates as T
import Velmora
import "Week.js" as Week

// A mission on one of its days, as the week draws it. The grid below it has the pointer.
T.Control {
    id: block

    // What the program says of the mission; the occurrence has day, startMinutes, endMinutes.
    property var mission: ({})
    property var occurrence: ({})
    property bool uses24Hour: true
    property bool selected: false
    // Lifted by a drag: its likeness is elsewhere.
    property bool lifted: false
    readonly property bool soft: mission.protectionMode !== "brak"
    // Its time is now: it can't be changed, whether it runs or was stopped.
    property bool held: false
    property bool running: false
    readonly property var preset: {
        const presets = Velmora.state.presets ?? []
        return presets.find(p => p.id === mission.presetID) ?? presets[0]
    }
    readonly property color tint: soft ? NeonTheme.quiet
        : Qt.lighter(NeonTheme.fromHex(preset?.colorHex ?? 0x8c5cff), 1.2)
    // Too narrow for a word.
    readonly property bool sliver: width < 34
    readonly property string begins: Week.clock(occurrence.startMinutes ?? 0, uses24Hour)
    readonly property string times: Week.range(occurrence.startMinutes ?? 0,
                                               occurrence.endMinutes ?? 0, uses24Hour)

    signal opened()

    focusPolicy: Qt.TabFocus
    opacity: lifted ? 0.35 : 1
    Accessible.role: Accessible.Button
    Accessible.name: !occurrence.day ? "" : [mission.label, Week.full(occurrence.day), times,
        soft ? "Soft" : preset?.name ?? "Focus protection"].join(", ")
    Accessible.description: running ? "Running" : mission.overlaps ? "Overlaps another mission" : ""
    Accessible.onPressAction: opened()

    background: Rectangle {
        radius: Math.min(7, height / 3)
        color: block.selected ? "#3a2459" : block.running ? "#331f50" : "#1e1630"
        border {
            width: 1
            color: block.selected ? NeonTheme.rim
                 : block.running ? NeonTheme.edge : NeonTheme.faded(block.tint, 0.3)
        }
        Rectangle {
            x: 3
            y: Math.min(4, parent.height / 5)
            width: 3
            height: parent.height - 2 * y
            radius: 1.5
            color: block.tint
        }
        NeonFocusRing { visible: block.visualFocus; around: parent.radius }
    }
    contentItem: Item {
        clip: true

        NeonText {
            id: label
            readonly property int lines: Math.max(1, Math.floor((block.height - 22) / 15))
            x: 10
            y: block.height < 26 ? (block.height - height) / 2 : 4
            width: parent.width - 13 - (sign.visible && !sign.below ? 14 : 0)
            visible: !block.sliver
            level: "small"
            font.pixelSize: block.height < 16 ? 10 : 12
            font.weight: Font.DemiBold
            color: NeonTheme.ink
            elide: Text.ElideRight
            wrapMode: lines > 1 && block.width > 70 ? Text.WordWrap : Text.NoWrap
            maximumLineCount: Math.min(3, lines)
            text: block.mission.label ?? ""
            Accessible.ignored: true
        }
        NeonText {
            x: 10
            y: label.y + label.height
            width: parent.width - 10
            visible: block.height >= 37 && !block.sliver
            level: "small"
            font.pixelSize: 11
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            text: block.width < 60 ? block.begins.split(" ")[0]
                : block.width < (block.uses24Hour ? 94 : 128) ? block.begins : block.times
            Accessible.ignored: true
        }
        NeonIcon {
            id: sign
            // Below the words where there is no room beside them.
            readonly property bool below: block.width <= 60
            x: block.sliver ? 7 : below ? 10 : parent.width - width - 5
            y: below && !block.sliver ? label.y + label.height + 17
             : block.height < 26 ? (block.height - height) / 2 : 5
            visible: (block.held || (block.mission.overlaps ?? false))
                     && block.width >= 20
                     && block.height > (below && !block.sliver ? 49 : 14)
            name: block.held ? "lock" : "warning"
            size: 12
            stroke: 1.5
            color: block.held ? NeonTheme.violet : NeonTheme.warn
        }
    }
}
