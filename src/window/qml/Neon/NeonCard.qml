import QtQuick
import Velmora

// A pane that groups what belongs together. Its children lie in a column.
Rectangle {
    id: card

    default property alias content: column.data
    property alias spacing: column.spacing
    property real padding: NeonTheme.inset
    property string title: ""

    implicitWidth: 280
    implicitHeight: column.y + column.implicitHeight + padding
    radius: NeonTheme.radius
    color: NeonTheme.faded(NeonTheme.surface, 0.92)
    border { width: 1; color: NeonTheme.line }

    NeonText {
        id: heading
        x: card.padding
        y: card.padding
        visible: card.title !== ""
        level: "caps"
        text: card.title
    }
    Column {
        id: column
        x: card.padding
        y: card.padding + (heading.visible ? heading.height + 10 : 0)
        width: card.width - 2 * card.padding
        spacing: NeonTheme.gap
    }
}
