pragma Singleton

import QtQuick
import Velmora

// The one place for colours, type, spacing, radii and durations. Lengths are logical pixels,
// durations milliseconds. Text colours hold 4.5 to 1 on `night`, `surface` and `raised`.
QtObject {
    id: theme

    // Nothing moves by itself, and changes happen at once.
    property bool reducedMotion: Velmora.reducedMotion

    // Grounds, from the back to the front.
    readonly property color night: "#06040a"
    readonly property color surface: "#0e0a16"
    readonly property color raised: "#171122"
    readonly property color sunken: "#0a0710"
    // Washes laid over a ground by what the pointer does.
    readonly property color hover: Qt.rgba(0.84, 0.64, 0.97, 0.07)
    readonly property color pressed: Qt.rgba(0.84, 0.64, 0.97, 0.13)
    readonly property color line: Qt.rgba(0.84, 0.68, 0.97, 0.11)
    readonly property color lineStrong: Qt.rgba(0.84, 0.68, 0.97, 0.24)

    readonly property color ink: "#f6effd"
    readonly property color soft: "#c9bad9"
    readonly property color quiet: "#9d8eb0"
    readonly property color onLight: "#1a0b2b"

    readonly property color violet: "#d7a2f8"
    readonly property color core: "#d38af6"
    readonly property color edge: "#b55df0"
    readonly property color deep: "#8e3fe0"
    readonly property color glow: "#9b45ea"
    readonly property color rim: "#deb3f8"
    readonly property color hot: "#fcefff"

    readonly property color danger: "#ff8fa3"
    readonly property color dangerDeep: "#c2334f"
    readonly property color good: "#8fe3bd"
    readonly property color warn: "#f5c98a"

    readonly property string family: "Inter"
    readonly property var type: ({
        display: { size: 64, weight: Font.Light, tracking: -1.5, line: 1.0, caps: false },
        headline: { size: 26, weight: Font.DemiBold, tracking: -0.5, line: 1.05, caps: false },
        title: { size: 18, weight: Font.DemiBold, tracking: -0.2, line: 1.1, caps: false },
        strong: { size: 14, weight: Font.DemiBold, tracking: 0, line: 1.15, caps: false },
        body: { size: 14, weight: Font.Normal, tracking: 0, line: 1.18, caps: false },
        small: { size: 12, weight: Font.Normal, tracking: 0.1, line: 1.18, caps: false },
        caps: { size: 11, weight: Font.DemiBold, tracking: 1.6, line: 1.1, caps: true }
    })

    // Spacing goes by fours: 4 within a thing, 8 between its parts, 16 inside a card, 24 between.
    readonly property int hair: 4
    readonly property int gap: 8
    readonly property int inset: 16
    readonly property int margin: 24
    readonly property int page: 36

    readonly property int radius: 14
    readonly property int radiusSmall: 9
    readonly property int controlHeight: 36

    readonly property int quick: reducedMotion ? 0 : 110
    readonly property int calm: reducedMotion ? 0 : 220

    // The colour with another opacity, 0 to 1.
    function faded(color: color, alpha: real): color {
        return Qt.rgba(color.r, color.g, color.b, alpha)
    }

    // The colour of a stored 0xRRGGBB number.
    function fromHex(value: int): color {
        return Qt.rgba((value >> 16 & 255) / 255, (value >> 8 & 255) / 255, (value & 255) / 255, 1)
    }
}
