import QtQuick
import QtQuick.Templates as T
import Velmora

// A page that is taller than its place. What has the keyboard is brought into view.
Flickable {
    id: scroll

    contentWidth: width
    contentHeight: contentItem.childrenRect.height
    boundsBehavior: Flickable.StopAtBounds
    clip: true
    pixelAligned: true
    flickDeceleration: 6000
    interactive: contentHeight > height

    function reveal(item: Item) {
        for (let up = item; up; up = up.parent) {
            if (up !== contentItem) continue
            const top = item.mapToItem(contentItem, 0, 0).y
            if (top < contentY + 24) contentY = Math.max(0, top - 24)
            else if (top + item.height > contentY + height - 24)
                contentY = Math.max(0, Math.min(contentHeight - height,
                                                top + item.height - height + 24))
        }
    }

    Keys.onPressed: event => {
        const end = Math.max(0, contentHeight - height), page = height * 0.85
        const place = ({ [Qt.Key_Home]: 0, [Qt.Key_End]: end, [Qt.Key_PageUp]: contentY - page,
                         [Qt.Key_PageDown]: contentY + page })[event.key]
        if (place === undefined) return
        contentY = Math.max(0, Math.min(end, place))
        event.accepted = true
    }
    Connections {
        target: scroll.Window.window
        function onActiveFocusItemChanged() {
            const item = scroll.Window.window?.activeFocusItem
            if (item) scroll.reveal(item)
        }
    }
    T.ScrollBar.vertical: T.ScrollBar {
        id: scrollBar
        implicitWidth: 10
        padding: 2
        minimumSize: 0.08
        visible: size < 1
        Accessible.name: "Scroll"
        contentItem: Rectangle {
            implicitWidth: 6
            radius: 3
            color: scrollBar.pressed ? "#6b4f8d" : scrollBar.hovered ? "#54406f" : "#34274a"
        }
    }
}
