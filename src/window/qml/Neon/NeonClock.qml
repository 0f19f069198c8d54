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

    FontMetrics {
        id: metrics
        font: sample.font
    }
    Text {
        id: sample
        visible: false
        font { family: NeonTheme.family; pixelSize: clock.size; weight: clock.weight }
    }
    Row {
        id: row
        Repeater {
            model: clock.text.length
            Text {
                required property int index
                readonly property bool figure: text !== ":"

                text: clock.text[index] ?? ""
                width: figure ? Math.ceil(metrics.advanceWidth("0") * 0.985) : Math.ceil(metrics.advanceWidth(":"))
                horizontalAlignment: Text.AlignHCenter
                // The colon stands at the middle of the figures.
                topPadding: 0
                font: sample.font
                color: clock.color
                textFormat: Text.PlainText
                Accessible.ignored: true
            }
        }
    }
}
