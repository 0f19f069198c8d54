import QtQuick
import Velmora

// The ground of a window: near-black, a breath of violet light, and a few motes that come and go.
// A mote changes in small steps at a slow pace, so a visible window costs next to nothing; with
// `still`, or under reduced motion, nothing moves.
Item {
    id: backdrop

    property bool still: false
    // Where the light stands, in this item.
    property real lightX: width / 2
    property real lightY: height * 0.42
    property real lightRadius: Math.max(width, height) * 0.62

    Rectangle {
        anchors.fill: parent
        color: NeonTheme.night
    }
    Canvas {
        anchors.fill: parent
        renderStrategy: Canvas.Immediate
        onPaint: {
            const context = getContext("2d")
            context.reset()
            const x = backdrop.lightX, y = backdrop.lightY, r = backdrop.lightRadius
            const light = context.createRadialGradient(x, y, 0, x, y, r)
            for (let i = 0; i <= 12; i++)
                light.addColorStop(i / 12, Qt.rgba(0.42, 0.16, 0.66,
                                                   0.13 * Math.pow(1 - i / 12, 2)))
            context.fillStyle = light
            context.fillRect(0, 0, width, height)
        }
        Connections {
            target: backdrop
            function onLightXChanged() { light.restart() }
            function onLightYChanged() { light.restart() }
        }
        Timer {
            id: light
            interval: 0
            onTriggered: parent.requestPaint()
        }
    }
    Repeater {
        id: motes
        model: 22

        Rectangle {
            required property int index
            // Fixed places, spread by the golden ratio.
            readonly property real across: (index * 0.61803399 + 0.13) % 1
            readonly property real down: (index * 0.75487767 + 0.31) % 1
            property real phase: (index * 0.37) % 1

            x: across * backdrop.width
            y: down * backdrop.height
            width: index % 5 === 0 ? 3 : 2
            height: width
            radius: width / 2
            color: NeonTheme.rim
            opacity: 0.05 + 0.3 * Math.pow(Math.sin(phase * Math.PI), 2)
        }
    }
    Timer {
        property int turn: 0
        running: backdrop.visible && !backdrop.still && !NeonTheme.reducedMotion
        interval: 240
        repeat: true
        onTriggered: {
            turn = (turn + 1) % 4
            for (let i = turn; i < motes.count; i += 4) {
                const mote = motes.itemAt(i)
                mote.phase = (mote.phase + 0.035) % 1
            }
        }
    }
}
