import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora

// A row of a list: a drawing or picture, a title, a line below it, and what acts on it at the end.
// With `opens` the whole row can be pressed.
T.ItemDelegate {
    id: control

    property string title: ""
    property string subtitle: ""
    property string symbol: ""
    property color tint: NeonTheme.soft
    // A picture in the drawing's place.
    property url picture
    property bool opens: false
    // Fainter: listed, but not in force.
    property bool dimmed: false
    // In the pointer's hand, above the others.
    property bool lifted: false
    default property alias trailing: end.data

    implicitWidth: 240
    implicitHeight: Math.max(44, words.implicitHeight + 16)
    leftPadding: 10
    rightPadding: 8
    hoverEnabled: true
    focusPolicy: opens ? Qt.StrongFocus : Qt.NoFocus
    Accessible.role: opens ? Accessible.Button : Accessible.ListItem
    Accessible.name: title
    Accessible.description: subtitle
    Keys.onReturnPressed: if (opens) clicked()

    contentItem: RowLayout {
        spacing: 12

        Item {
            visible: control.symbol !== "" || control.picture.toString() !== ""
            implicitWidth: 22
            implicitHeight: 22
            opacity: control.dimmed ? 0.5 : 1

            NeonIcon {
                anchors.centerIn: parent
                visible: picture.status !== Image.Ready
                name: control.symbol
                color: control.tint
                size: 19
            }
            Image {
                id: picture
                anchors.fill: parent
                source: control.picture
                sourceSize: Qt.size(44, 44)
                asynchronous: true
            }
        }
        ColumnLayout {
            id: words
            Layout.fillWidth: true
            spacing: 1

            NeonText {
                Layout.fillWidth: true
                text: control.title
                color: control.dimmed ? NeonTheme.quiet : NeonTheme.ink
                elide: Text.ElideRight
                maximumLineCount: 1
                Accessible.ignored: true
            }
            NeonText {
                Layout.fillWidth: true
                visible: text !== ""
                level: "small"
                text: control.subtitle
                color: NeonTheme.quiet
                Accessible.ignored: true
            }
        }
        RowLayout {
            id: end
            spacing: 4
        }
    }
    background: Rectangle {
        radius: NeonTheme.radiusSmall
        border { width: control.lifted ? 1 : 0; color: NeonTheme.lineStrong }
        color: control.lifted ? NeonTheme.raised
             : control.down && control.opens ? NeonTheme.pressed
             : control.hovered ? NeonTheme.hover : "transparent"
        // Within the row: lists cut off what goes beyond it.
        NeonFocusRing {
            visible: control.visualFocus || control.highlighted
            anchors.margins: 1
            around: parent.radius - 4
        }
    }
}
