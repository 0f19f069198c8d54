import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora

// A question or a small page above the window. Escape and a click beside it close it. Children go
// into its body; `actions` stand at its foot, from left to right.
T.Popup {
    id: dialog

    property string title: ""
    property string text: ""
    default property alias content: body.data
    // What had the keyboard before, and gets it back unless something else has it by then.
    property Item before: null
    property bool byKeys: false  // its ring was shown
    property alias actions: foot.data

    parent: T.Overlay.overlay
    x: Math.round((parent.width - width) / 2)
    y: Math.round((parent.height - height) / 2)
    implicitWidth: 440
    implicitHeight: Math.min(page.implicitHeight + 2 * padding, (parent?.height ?? 640) - 48)
    padding: NeonTheme.margin
    modal: true
    focus: true
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutside
    font.family: NeonTheme.family

    onAboutToShow: {
        before = parent.Window.activeFocusItem
        byKeys = before?.visualFocus ?? false
    }
    onClosed: {
        const now = parent?.Window.activeFocusItem ?? null
        if (before?.visible && (!now || now === parent.Window.contentItem))
            before.forceActiveFocus(Qt.PopupFocusReason)
        if (byKeys) Qt.callLater(() => { if (before) before.focusReason = Qt.TabFocusReason })
    }

    T.Overlay.modal: Rectangle { color: NeonTheme.faded(NeonTheme.night, 0.72) }

    enter: Transition {
        NumberAnimation { property: "opacity"; from: 0; to: 1; duration: NeonTheme.quick }
    }
    exit: Transition {
        NumberAnimation { property: "opacity"; to: 0; duration: NeonTheme.quick }
    }

    contentItem: ColumnLayout {
        id: page
        spacing: 0
        Accessible.role: Accessible.Dialog
        Accessible.name: dialog.title
        Accessible.description: dialog.text

        NeonText {
            Layout.fillWidth: true
            visible: text !== ""
            level: "title"
            text: dialog.title
        }
        NeonText {
            Layout.fillWidth: true
            Layout.topMargin: 8
            visible: text !== ""
            text: dialog.text
        }
        ColumnLayout {
            id: body
            Layout.fillWidth: true
            Layout.fillHeight: true
            Layout.topMargin: children.length > 0 ? 20 : 0
            spacing: 16
        }
        RowLayout {
            id: foot
            Layout.fillWidth: true
            Layout.topMargin: children.length > 0 ? 24 : 0
            layoutDirection: Qt.LeftToRight
            spacing: 10
        }
    }
    background: Item {
        Repeater {
            model: 6
            Rectangle {
                required property int index
                anchors.fill: parent
                anchors.margins: -(index + 1) * 5
                radius: 18 - anchors.margins
                color: NeonTheme.faded(NeonTheme.glow, 0.018)
            }
        }
        Rectangle {
            anchors.fill: parent
            radius: 18
            color: "#120d1c"
            border { width: 1; color: NeonTheme.lineStrong }
        }
    }
}
