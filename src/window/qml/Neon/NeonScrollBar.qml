import QtQuick
import QtQuick.Templates as T
import Velmora

// How far down a page is; gone while all of it is seen.
T.ScrollBar {
    id: bar

    implicitWidth: 10
    padding: 2
    minimumSize: 0.08
    visible: size < 1
    Accessible.name: "Scroll"
    contentItem: Rectangle {
        implicitWidth: 6
        radius: 3
        color: bar.pressed ? "#6b4f8d" : bar.hovered ? "#54406f" : "#34274a"
    }
}
