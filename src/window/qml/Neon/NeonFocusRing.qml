import QtQuick
import Velmora

// The ring that shows which control has the keyboard; lies around its parent.
Rectangle {
    property real around: NeonTheme.radiusSmall

    anchors.fill: parent
    anchors.margins: -3
    radius: around + 3
    color: "transparent"
    border { width: 2; color: NeonTheme.rim }
}
