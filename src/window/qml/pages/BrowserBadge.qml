import QtQuick
import QtQuick.Templates as T
import Velmora

// Whether pages can be seen and sent away: the one thing that is wrong without being noticed.
T.Button {
    id: badge

    readonly property var linked: Velmora.state.browsers ?? []

    implicitHeight: 44
    hoverEnabled: true
    focusPolicy: Qt.StrongFocus
    text: linked.length > 0 ? linked[0].name + (linked.length > 1 ? " +" + (linked.length - 1) : "")
                            : "No browser linked"
    Accessible.name: linked.length > 0 ? "Linked: " + linked.map(b => b.name).join(", ") : text
    Keys.onReturnPressed: clicked()

    contentItem: Item {
        Rectangle {
            x: 13
            anchors.verticalCenter: parent.verticalCenter
            width: 7
            height: 7
            radius: 4
            color: badge.linked.length > 0 ? NeonTheme.good : NeonTheme.warn
        }
        NeonText {
            x: 32
            width: parent.width - 40
            anchors.verticalCenter: parent.verticalCenter
            level: "small"
            text: badge.text
            color: badge.linked.length > 0 ? NeonTheme.quiet : NeonTheme.soft
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            Accessible.ignored: true
        }
    }
    background: Rectangle {
        radius: NeonTheme.radiusSmall
        color: badge.down ? NeonTheme.pressed : badge.hovered ? NeonTheme.hover : "transparent"
        NeonFocusRing { visible: badge.visualFocus; anchors.margins: 0; around: 6 }
    }
}
