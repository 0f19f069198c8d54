import QtQuick
import QtQuick.Templates as T
import Velmora

// The word that appears beside a control on which the pointer rests.
T.ToolTip {
    id: tip

    x: parent ? (parent.width - implicitWidth) / 2 : 0
    y: -implicitHeight - 6
    implicitWidth: Math.min(contentWidth, 280) + 20
    implicitHeight: contentHeight + 12
    margins: 8
    padding: 6
    horizontalPadding: 10
    delay: 500
    closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent

    contentItem: NeonText {
        level: "small"
        color: NeonTheme.ink
        text: tip.text
    }
    background: Rectangle {
        color: "#251a36"
        border { width: 1; color: NeonTheme.lineStrong }
        radius: 7
    }
}
