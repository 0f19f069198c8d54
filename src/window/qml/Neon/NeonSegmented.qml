import QtQuick
import QtQuick.Templates as T
import Velmora

// One of a few, side by side. The arrow keys go from one to the next.
T.Control {
    id: control

    // [{value, text, symbol}]
    property var options: []
    property var value
    // The accessible name of the group.
    property string text: ""
    property bool compact: false

    signal chosen(var value)

    implicitWidth: row.implicitWidth + 6
    implicitHeight: compact ? 32 : NeonTheme.controlHeight
    opacity: enabled ? 1 : 0.4
    Accessible.role: Accessible.Grouping
    Accessible.name: text

    background: Rectangle {
        radius: NeonTheme.radiusSmall + 1
        color: NeonTheme.sunken
        border { width: 1; color: NeonTheme.line }
    }

    Row {
        id: row
        x: 3
        y: 3
        spacing: 2

        Repeater {
            id: buttons
            model: control.options

            T.RadioButton {
                id: segment
                required property var modelData
                required property int index

                readonly property bool current: modelData.value === control.value
                function step(by: int) {
                    const next = buttons.itemAt(index + by)
                    if (!next) return
                    next.forceActiveFocus(Qt.TabFocusReason)
                    control.chosen(next.modelData.value)
                }

                width: Math.max(implicitWidth,
                    (control.width - 6 - (buttons.count - 1) * row.spacing) / buttons.count)
                implicitWidth: label.implicitWidth + (symbol.visible ? 22 : 0)
                    + (control.compact ? 24 : 28)
                height: control.height - 6
                hoverEnabled: true
                focusPolicy: Qt.StrongFocus
                activeFocusOnTab: current
                autoExclusive: false
                checked: current
                onToggled: checked = Qt.binding(() => current)
                text: modelData.text
                Accessible.name: text
                Keys.onLeftPressed: step(-1)
                Keys.onRightPressed: step(1)
                onClicked: control.chosen(modelData.value)

                contentItem: Item {
                    Row {
                        anchors.centerIn: parent
                        spacing: 6
                        NeonIcon {
                            id: symbol
                            anchors.verticalCenter: parent.verticalCenter
                            visible: name !== ""
                            name: segment.modelData.symbol ?? ""
                            size: 15
                            color: label.color
                        }
                        NeonText {
                            id: label
                            anchors.verticalCenter: parent.verticalCenter
                            text: segment.text
                            font.pixelSize: 13
                            font.weight: Font.Medium
                            wrapMode: Text.NoWrap
                            color: segment.current ? NeonTheme.ink
                                 : segment.hovered ? NeonTheme.soft : NeonTheme.quiet
                            Accessible.ignored: true
                        }
                    }
                }
                background: Rectangle {
                    radius: NeonTheme.radiusSmall - 2
                    color: segment.current ? "#2b1b42" : segment.down ? NeonTheme.pressed
                         : segment.hovered ? NeonTheme.hover : "transparent"
                    border.width: segment.current ? 1 : 0
                    border.color: NeonTheme.faded(NeonTheme.edge, 0.45)
                    NeonFocusRing { visible: segment.visualFocus; around: 7 }
                }
            }
        }
    }
}
