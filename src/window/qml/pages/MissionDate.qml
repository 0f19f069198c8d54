import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora
import "Week.js" as Week

// A day, or none where `none` says what that means. Opens a month; there the arrow keys go from
// day to day, Page Up and Page Down from month to month.
NeonButton {
    id: date

    property string label: ""
    property string day: ""
    property string none: ""
    // Stands before a day: "From".
    property string word: ""
    property string today: ""

    signal picked(string day)

    symbol: day && none ? "" : "schedule"  // two stand side by side
    text: day ? word ? `${word} ${Week.short(day).slice(4)}` : Week.short(day) : none || "Choose a day"
    Accessible.name: `${label}: ${text}`
    onClicked: {
        month.at = day || today
        month.byKeys = visualFocus
        month.open()
    }

    T.Popup {
        id: month

        property string at: date.today
        property bool byKeys: false
        readonly property string first: at.slice(0, 8) + "01"

        function go(days: int) { at = Week.plus(at, days) }
        function leaf(by: int) {
            at = Week.monthOn(at, by)
        }
        function choose(day: string) {
            close()
            date.picked(day)
        }

        y: date.height + 6
        margins: 8
        padding: 12
        focus: true
        implicitWidth: 268
        implicitHeight: page.implicitHeight + 24
        closePolicy: T.Popup.CloseOnEscape | T.Popup.CloseOnPressOutsideParent
        onOpened: grid.forceActiveFocus(Qt.TabFocusReason)
        onClosed: if (byKeys) Qt.callLater(() => date.focusReason = Qt.TabFocusReason)

        background: Rectangle {
            radius: NeonTheme.radius
            color: "#181123"
            border { width: 1; color: NeonTheme.lineStrong }
        }
        contentItem: ColumnLayout {
            id: page
            spacing: 8

            RowLayout {
                spacing: 2
                NeonText {
                    Layout.fillWidth: true
                    leftPadding: 6
                    level: "strong"
                    text: `${Week.parts(month.first).month} ${Week.parts(month.first).year}`
                }
                NeonIconButton {
                    symbol: "left"; text: "Previous month"; hint: ""; onClicked: month.leaf(-1)
                }
                NeonIconButton {
                    symbol: "right"; text: "Next month"; hint: ""; onClicked: month.leaf(1)
                }
            }
            Grid {
                id: grid
                columns: 7
                activeFocusOnTab: true
                Accessible.role: Accessible.Table
                Accessible.name: Week.full(month.at)
                Keys.onPressed: event => {
                    const by = ({ [Qt.Key_Left]: -1, [Qt.Key_Right]: 1, [Qt.Key_Up]: -7,
                                  [Qt.Key_Down]: 7 })[event.key]
                    if (by) month.go(by)
                    else if (event.key === Qt.Key_PageUp) month.leaf(-1)
                    else if (event.key === Qt.Key_PageDown) month.leaf(1)
                    else if ([Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space].includes(event.key))
                        month.choose(month.at)
                    else return
                    event.accepted = true
                }

                Repeater {
                    model: 7
                    NeonText {
                        required property int index
                        width: 34
                        height: 22
                        horizontalAlignment: Text.AlignHCenter
                        level: "small"
                        color: NeonTheme.quiet
                        text: Week.days[index][0]
                    }
                }
                Repeater {
                    model: 42
                    T.AbstractButton {
                        id: cell
                        required property int index
                        readonly property string day: Week.plus(Week.monday(month.first), index)
                        readonly property bool chosen: day === date.day
                        width: 34
                        height: 32
                        hoverEnabled: true
                        focusPolicy: Qt.NoFocus
                        text: Week.full(day)
                        onClicked: month.choose(day)

                        contentItem: NeonText {
                            horizontalAlignment: Text.AlignHCenter
                            verticalAlignment: Text.AlignVCenter
                            font.pixelSize: 13
                            font.weight: cell.day === date.today ? Font.Bold : Font.Normal
                            color: cell.chosen ? NeonTheme.onLight
                                 : cell.day === date.today ? NeonTheme.violet
                                 : cell.day.slice(0, 7) === month.first.slice(0, 7) ? NeonTheme.ink
                                 : NeonTheme.faded(NeonTheme.quiet, 0.6)
                            text: Number(cell.day.slice(8))
                            Accessible.ignored: true
                        }
                        background: Rectangle {
                            radius: 8
                            color: cell.chosen ? NeonTheme.violet
                                 : cell.hovered ? NeonTheme.hover : "transparent"
                            NeonFocusRing {
                                visible: grid.activeFocus && cell.day === month.at
                                anchors.margins: 0
                                around: 5
                            }
                        }
                    }
                }
            }
            NeonButton {
                Layout.fillWidth: true
                visible: date.none !== ""
                text: date.none
                onClicked: month.choose("")
            }
        }
    }
}
