import QtQuick
import QtQuick.Shapes
import Velmora

// A line drawing on a grid of 24. Decoration: whoever bears it has the accessible name.
Item {
    id: icon

    // One of the names below; an unknown one draws a ring.
    property string name: ""
    property color color: NeonTheme.soft
    property real size: 20
    property real stroke: 1.7

    readonly property var paths: ({
        ring: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5",
        focus: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5M12 8A4 4 0 1 1 11.99 8",
        schedule: "M5 5.5H19A1.5 1.5 0 0 1 20.5 7V18.5A1.5 1.5 0 0 1 19 20H5"
                + "A1.5 1.5 0 0 1 3.5 18.5V7"
                + "A1.5 1.5 0 0 1 5 5.5M3.5 10H20.5M8 3.5V7M16 3.5V7",
        rules: "M12 3L19.5 6V11.5C19.5 16 16.5 19.5 12 21C7.5 19.5 4.5 16 4.5 11.5V6ZM9 12"
             + "L11.2 14.2L15.2 9.8",
        progress: "M4 20H20M6.5 16V12M12 16V5M17.5 16V9",
        sounds: "M4 10V14M8 6.5V17.5M12 3.5V20.5M16 7.5V16.5M20 10.5V13.5",
        posture: "M12 3.5A2.5 2.5 0 1 1 11.99 3.5M6 21C6 15 8.5 11.5 12 11.5C15.5 11.5 18 15 18 21",
        extensions: "M4 4H10V10H4ZM14 14H20V20H14ZM4 14H10V20H4ZM17 3.8V10.2M13.8 7H20.2",
        settings: "M4 7H11M17 7H20M14 4.2A2.8 2.8 0 1 1 13.99 4.2M4 17H7M13 17H20M10 14.2"
                + "A2.8 2.8 0 1 1 9.99 14.2",
        sidebar: "M5.5 4.5H18.5A2 2 0 0 1 20.5 6.5V17.5A2 2 0 0 1 18.5 19.5H5.5"
               + "A2 2 0 0 1 3.5 17.5V6.5A2 2 0 0 1 5.5 4.5M9.5 4.5V19.5",
        play: "M8 5.2L18.5 12L8 18.8Z",
        pause: "M8.5 5.5V18.5M15.5 5.5V18.5",
        reset: "M4.5 4.5V9.5H9.5M5 9.5A7.8 7.8 0 1 1 4.2 12.8",
        skip: "M6 5.5L15 12L6 18.5ZM18.5 5.5V18.5",
        plus: "M12 5V19M5 12H19",
        minus: "M5 12H19",
        close: "M6 6L18 18M18 6L6 18",
        check: "M5 12.5L10 17.5L19 7",
        up: "M6 15L12 9L18 15",
        down: "M6 9L12 15L18 9",
        right: "M9.5 6L15.5 12L9.5 18",
        left: "M14.5 6L8.5 12L14.5 18",
        undo: "M8.5 5L4.5 9L8.5 13M4.5 9H14A5.2 5.2 0 0 1 14 19.4H9",
        redo: "M15.5 5L19.5 9L15.5 13M19.5 9H10A5.2 5.2 0 0 0 10 19.4H15",
        search: "M10.5 4A6.5 6.5 0 1 1 10.49 4M15.3 15.3L20 20",
        globe: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5M3.5 12H20.5M12 3.5C9.5 6 8.3 9 8.3 12"
             + "C8.3 15 9.5 18 12 20.5"
             + "C14.5 18 15.7 15 15.7 12C15.7 9 14.5 6 12 3.5",
        app: "M6.5 4H17.5A2.5 2.5 0 0 1 20 6.5V17.5A2.5 2.5 0 0 1 17.5 20H6.5"
           + "A2.5 2.5 0 0 1 4 17.5V6.5"
           + "A2.5 2.5 0 0 1 6.5 4M4 9H20",
        lock: "M6.5 10.5H17.5A1.5 1.5 0 0 1 19 12V18.5A1.5 1.5 0 0 1 17.5 20H6.5"
            + "A1.5 1.5 0 0 1 5 18.5V12"
            + "A1.5 1.5 0 0 1 6.5 10.5M8 10.5V7.8A4 4 0 0 1 16 7.8V10.5",
        bolt: "M13 3L5.5 13.5H11.5L11 21L18.5 10.5H12.5Z",
        pass: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5M12 8V16M8 12H16",
        pencil: "M4.5 19.5L5.5 15L16 4.5L19.5 8L9 18.5ZM13.5 7L17 10.5",
        trash: "M4.5 7H19.5M9 7V4.5H15V7M6.5 7L7.3 20H16.7L17.5 7M10.2 11V16M13.8 11V16",
        copy: "M9 8.5H18.5A1 1 0 0 1 19.5 9.5V19.5A1 1 0 0 1 18.5 20.5H9A1 1 0 0 1 8 19.5V9.5"
            + "A1 1 0 0 1 9 8.5"
            + "M4.5 15.5V5A1.5 1.5 0 0 1 6 3.5H15.5",
        warning: "M12 4L21 19.5H3ZM12 10V14M12 16.9V17",
        info: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5M12 11V16.5M12 7.6V7.7",
        duplicate: "M4 4H14V14H4ZM10 17V20H20V10H17M9 6.5V11.5M6.5 9H11.5",
        link: "M10 14A4 4 0 0 1 10 8.3L12.5 5.8A4 4 0 0 1 18.2 11.5L16.8 12.9M14 10"
            + "A4 4 0 0 1 14 15.7"
            + "L11.5 18.2A4 4 0 0 1 5.8 12.5L7.2 11.1",
        stopwatch: "M12 6A7.5 7.5 0 1 1 11.99 6M12 9.5V13.5M9.5 2.8H14.5M12 2.8V6M18 6L19.5 7.5",
        countdown: "M6 3.5H18M6 20.5H18M7.5 3.5V7.5L12 12L16.5 7.5V3.5M7.5 20.5V16.5L12 12"
                 + "L16.5 16.5V20.5",
        budget: "M12 3.5A8.5 8.5 0 1 1 11.99 3.5M12 7V12L15.5 14",
        scroll: "M12 3.5V20.5M7.5 8L12 3.5L16.5 8M7.5 16L12 20.5L16.5 16",
        creator: "M4 7H14.5A1.5 1.5 0 0 1 16 8.5V15.5A1.5 1.5 0 0 1 14.5 17H4"
               + "A1.5 1.5 0 0 1 2.5 15.5V8.5"
               + "A1.5 1.5 0 0 1 4 7M16 10.5L21.5 7.5V16.5L16 13.5",
        tasks: "M10 6.5H20M10 12H20M10 17.5H20M3.5 6.5L5 8L7.5 5M3.5 12L5 13.5L7.5 10.5"
             + "M3.5 17.5L5 19L7.5 16",
        habit: "M4 4H8V8H4ZM10 4H14V8H10ZM16 4H20V8H16ZM4 10H8V14H4ZM10 10H14V14H10ZM16 10H20"
             + "V14H16ZM4 16H8V20H4Z"
             + "M10 16H14V20H10Z",
        deadline: "M6 21V4M6 4.5H18.5L15.5 8.75L18.5 13H6",
        brain: "M12 5.5A3 3 0 0 0 6.3 6.8A3.2 3.2 0 0 0 4.5 11.2A3.4 3.4 0 0 0 6.2 16.3"
             + "A3 3 0 0 0 12 18Z"
             + "M12 5.5A3 3 0 0 1 17.7 6.8A3.2 3.2 0 0 1 19.5 11.2A3.4 3.4 0 0 1 17.8 16.3"
             + "A3 3 0 0 1 12 18",
        scope: "M12 5A7 7 0 1 1 11.99 5M12 2.5V8M12 16V21.5M2.5 12H8M16 12H21.5",
        camera: "M4.5 7.5H8L9.5 5H14.5L16 7.5H19.5A1 1 0 0 1 20.5 8.5V18A1 1 0 0 1 19.5 19H4.5"
              + "A1 1 0 0 1 3.5 18V8.5"
              + "A1 1 0 0 1 4.5 7.5M12 9.8A3.2 3.2 0 1 1 11.99 9.8",
        note: "M9 18V6L19 4V16M9 18A2.5 2.5 0 1 1 8.99 17M19 16A2.5 2.5 0 1 1 18.99 15",
        bubble: "M4.5 5H19.5A1 1 0 0 1 20.5 6V15A1 1 0 0 1 19.5 16H11L6.5 20V16H4.5"
              + "A1 1 0 0 1 3.5 15V6A1 1 0 0 1 4.5 5",
        video: "M4 5.5H20A1 1 0 0 1 21 6.5V17.5A1 1 0 0 1 20 18.5H4A1 1 0 0 1 3 17.5V6.5"
             + "A1 1 0 0 1 4 5.5"
             + "M10.2 9L15 12L10.2 15Z",
        people: "M9 5A3 3 0 1 1 8.99 5M3 19C3 15.5 5.5 13.5 9 13.5C12.5 13.5 15 15.5 15 19"
              + "M15.5 5.3A3 3 0 0 1 15.5 10.8"
              + "M17.5 14C19.7 14.7 21 16.5 21 19",
        film: "M4 4.5H20V19.5H4ZM8 4.5V19.5M16 4.5V19.5M4 9.5H8M4 14.5H8M16 9.5H20M16 14.5H20",
        game: "M7.5 8H16.5A4.5 4.5 0 0 1 21 12.5C21 17 18 18 16 15.5H8C6 18 3 17 3 12.5"
            + "A4.5 4.5 0 0 1 7.5 8"
            + "M8.5 10.5V13.5M7 12H10M15.5 11V11.1M17 13V13.1",
        news: "M4 5H17V19H5.5A1.5 1.5 0 0 1 4 17.5ZM17 9H20V17.5A1.5 1.5 0 0 1 17 17.5M7 9H14"
            + "M7 12.5H14M7 16H11"
    })
    // The stored symbol names, by the drawing that stands for each.
    readonly property var symbols: ({
        "brain.head.profile": "brain", "video.fill": "creator", "pencil.and.outline": "pencil",
        "xmark": "close", "music.note": "note", "bubble.left.and.bubble.right": "bubble",
        "play.rectangle": "video", "person.2": "people", "message": "bubble",
        "gamecontroller": "game", "newspaper": "news", "camera": "camera", "film": "film"
    })

    implicitWidth: size
    implicitHeight: size

    Shape {
        width: 24
        height: 24
        scale: icon.size / 24
        transformOrigin: Item.TopLeft
        // The software renderer smooths by itself; the others need samples.
        layer.enabled: GraphicsInfo.api !== GraphicsInfo.Software
        layer.samples: 4
        layer.textureSize: Qt.size(icon.size * 4, icon.size * 4)

        ShapePath {
            strokeColor: icon.color
            strokeWidth: icon.stroke * 24 / icon.size * Math.min(1, icon.size / 18)
            fillColor: icon.name === "play" ? icon.color : "transparent"
            capStyle: ShapePath.RoundCap
            joinStyle: ShapePath.RoundJoin
            PathSvg { path: icon.paths[icon.symbols[icon.name] ?? icon.name] ?? icon.paths.scope }
        }
    }
}
