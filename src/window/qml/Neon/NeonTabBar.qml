import QtQuick
import QtQuick.Templates as T
import Velmora

// The pages of a window, one below the other. Arrow keys go from one to the next.
FocusScope {
    id: bar

    // [{value, text, symbol}]
    property var tabs: []
    property string current: ""

    signal chosen(string value)

    implicitWidth: 176
    implicitHeight: column.height
    Accessible.role: Accessible.PageTabList
    Accessible.name: "Pages"

    Column {
        id: column
        width: parent.width
        spacing: 2

        Repeater {
            id: rows
            model: bar.tabs

            T.TabButton {
                id: tab
                required property var modelData
                required property int index

                readonly property bool here: modelData.value === bar.current
                function step(by: int) {
                    const next = rows.itemAt(index + by)
                    if (!next) return
                    next.forceActiveFocus(Qt.TabFocusReason)
                    bar.chosen(next.modelData.value)
                }

                width: column.width
                height: 38
                hoverEnabled: true
                focusPolicy: Qt.StrongFocus
                activeFocusOnTab: here
                text: modelData.text
                checkable: false
                Accessible.name: text
                Accessible.selected: here
                Keys.onUpPressed: step(-1)
                Keys.onDownPressed: step(1)
                onClicked: bar.chosen(modelData.value)

                contentItem: Item {
                    NeonIcon {
                        x: 12
                        anchors.verticalCenter: parent.verticalCenter
                        name: tab.modelData.symbol
                        size: 18
                        color: tab.here ? NeonTheme.violet
                             : tab.hovered ? NeonTheme.soft : NeonTheme.quiet
                    }
                    NeonText {
                        x: 42
                        anchors.verticalCenter: parent.verticalCenter
                        text: tab.text
                        font.weight: tab.here ? Font.DemiBold : Font.Medium
                        color: tab.here ? NeonTheme.ink
                             : tab.hovered ? NeonTheme.soft : NeonTheme.quiet
                        wrapMode: Text.NoWrap
                        Accessible.ignored: true
                    }
                }
                background: Item {
                    Rectangle {
                        anchors.fill: parent
                        radius: NeonTheme.radiusSmall
                        color: tab.here ? NeonTheme.faded(NeonTheme.edge, 0.14)
                             : tab.down ? NeonTheme.pressed
                             : tab.hovered ? NeonTheme.hover : "transparent"
                    }
                    // The lit end of the row that is here.
                    Repeater {
                        model: tab.here ? 3 : 0
                        Rectangle {
                            required property int index
                            x: -index
                            anchors.verticalCenter: parent.verticalCenter
                            width: 3 + 2 * index
                            height: 16 + 2 * index
                            radius: width / 2
                            color: index === 0 ? NeonTheme.core
                                                : NeonTheme.faded(NeonTheme.glow, 0.2)
                            z: -index
                        }
                    }
                    NeonFocusRing { visible: tab.visualFocus; anchors.margins: 0; around: 6 }
                }
            }
        }
    }
}
