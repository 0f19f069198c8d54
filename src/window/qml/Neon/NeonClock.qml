import QtQuick
import Velmora

// A time in figures of equal width, so that it stands still while it runs.
Item {
    id: clock

    // Like "24:59" or "1:02:03".
    property string text: "00:00"
    property real size: NeonTheme.type.display.size
    property color color: NeonTheme.ink
    property int weight: Font.Light

    implicitWidth: row.width
    implicitHeight: row.height
    Accessible.role: Accessible.StaticText
    Accessible.name: text

    Text {
        id: sample
        visible: false
        text: "0"
        font { family: NeonTheme.family; pixelSize: clock.size; weight: clock.weight }
    }
    Text {
        id: colon
        visible: false
        text: ":"
        font: sample.font
    }
    Row {
        id: row
        Repeater {
            model: clock.text.length
            Text {
                required property int index
                readonly property bool figure: text !== ":"

                text: clock.text[index] ?? ""
                width: Math.ceil(figure ? sample.implicitWidth * 0.97 : colon.implicitWidth)
                horizontalAlignment: Text.AlignHCenter
                // The colon is lifted to the middle of the figures.
                bottomPadding: figure ? 0 : clock.size * 0.14
                anchors.bottom: parent.bottom
                font: sample.font
                color: clock.color
                textFormat: Text.PlainText
                Accessible.ignored: true
            }
        }
    }
}
