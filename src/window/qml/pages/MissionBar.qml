import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// The chosen occurrence in words, with what can be done to it.
Rectangle {
    id: bar

    property var mission: ({})
    property var occurrence: null
    property bool uses24Hour: true
    property bool isRunning: true
    readonly property bool locked: mission.isActive ?? false

    function words(o: var): string {
        return [Week.brief(o.day), Week.range(o.startMinutes, o.endMinutes, uses24Hour),
                mission.recurrence === "once" ? "Once" : Week.when(mission)].join(" · ")
    }

    signal edit()
    signal copy()
    signal duplicate()
    signal remove()

    implicitHeight: row.implicitHeight + 18
    radius: 12
    color: "#1b1328"
    border { width: 1; color: NeonTheme.lineStrong }

    // What lies below is not reached through it.
    MouseArea { anchors.fill: parent }
    RowLayout {
        id: row
        anchors { fill: parent; leftMargin: 16; rightMargin: 9; topMargin: 9; bottomMargin: 9 }
        spacing: 4

        ColumnLayout {
            Layout.fillWidth: true
            spacing: 2
            NeonText {
                Layout.fillWidth: true
                level: "strong"
                elide: Text.ElideRight
                maximumLineCount: 1
                text: bar.mission.label ?? ""
            }
            NeonText {
                Layout.fillWidth: true
                level: "small"
                color: NeonTheme.soft
                elide: Text.ElideRight
                maximumLineCount: 1
                text: bar.occurrence ? bar.words(bar.occurrence) : ""
            }
            RowLayout {
                visible: bar.locked || (bar.mission.overlaps ?? false)
                spacing: 6
                NeonIcon {
                    Layout.alignment: Qt.AlignTop
                    Layout.topMargin: 1
                    name: bar.locked ? "lock" : "warning"
                    size: 14
                    color: bar.locked ? NeonTheme.violet : NeonTheme.warn
                }
                NeonText {
                    Layout.fillWidth: true
                    level: "small"
                    text: bar.locked
                        ? bar.isRunning ? "Running. It can be changed once it is over."
                                        : "Stopped. It can be changed once its time is over."
                        : "This mission overlaps another one. Move it so each mission can chain "
                        + "cleanly."
                }
            }
        }
        NeonIconButton {
            symbol: "copy"; text: "Copy"; hint: "Copy (Ctrl+C)"; onClicked: bar.copy()
        }
        NeonIconButton {
            symbol: "duplicate"; text: "Duplicate"; hint: "Duplicate (Ctrl+D)"
            onClicked: bar.duplicate()
        }
        NeonIconButton {
            symbol: "trash"; text: "Delete"; hint: "Delete (Del)"
            enabled: !bar.locked
            onClicked: bar.remove()
        }
        NeonButton {
            Layout.leftMargin: 6
            text: bar.locked ? "View" : "Edit"
            symbol: bar.locked ? "" : "pencil"
            onClicked: bar.edit()
        }
    }
}
