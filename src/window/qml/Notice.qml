import QtQuick
import Velmora

// A mission begins: its name, what it protects, and when. A click takes it away.
Rectangle {
    id: notice

    // Kept while the window goes, when there is no notice any more.
    readonly property var mission: Velmora.state.surfaces?.notice ?? ({})

    color: "black"
    Accessible.role: Accessible.AlertMessage
    Accessible.name: [mission.mission, mission.presetName, mission.timeRange].join(", ")

    NeonRing {
        anchors.centerIn: parent
        width: Math.round(Math.min(620, Math.max(440, notice.height * 0.6)))
        progress: 0.222
        Accessible.ignored: true

        Column {
            anchors.centerIn: parent
            width: parent.width - 20
            spacing: 14

            NeonText {
                width: parent.width
                level: "caps"
                horizontalAlignment: Text.AlignHCenter
                color: NeonTheme.violet
                text: notice.mission.presetName ?? ""
            }
            NeonText {
                width: parent.width
                level: "headline"
                font.pixelSize: 34
                horizontalAlignment: Text.AlignHCenter
                maximumLineCount: 3
                elide: Text.ElideRight
                text: notice.mission.mission ?? ""
            }
            NeonText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                font.pixelSize: 16
                text: notice.mission.timeRange ?? ""
            }
        }
    }
    MouseArea {
        anchors.fill: parent
        onClicked: Velmora.run("notice", ["dismiss"])
    }
}
