import QtQuick
import QtQuick.Layouts
import Velmora

// What is left to do in each browser. What has to be typed there can be copied, and a browser that
// is linked meanwhile says so.
NeonDialog {
    id: dialog

    // [{id, name, ready, text, steps: [{text, what}]}]
    property var rows: []
    readonly property var linked: (Velmora.state.browsers ?? []).map(b => b.id)

    // The steps of a browser go when it is linked, and with them what may have the keyboard.
    onLinkedChanged: if (opened) done.forceActiveFocus()

    implicitWidth: 600
    title: "One step is left in the browser"
    text: "Only you can add an extension to it. Once it is there, the browser links by itself."

    NeonScroll {
        Layout.fillWidth: true
        Layout.fillHeight: true
        implicitHeight: list.height

        Column {
            id: list
            width: parent.width
            spacing: 12

            Repeater {
                model: dialog.rows
                NeonCard {
                    id: browser
                    required property var modelData
                    readonly property bool isLinked: dialog.linked.includes(modelData.id)

                    width: list.width
                    spacing: 12

                    RowLayout {
                        width: parent.width
                        spacing: 8
                        NeonText {
                            Layout.fillWidth: true
                            level: "strong"
                            text: browser.modelData.name
                        }
                        NeonIcon {
                            visible: browser.isLinked || !browser.modelData.ready
                            name: browser.isLinked ? "check" : "warning"
                            size: 16
                            color: browser.isLinked ? NeonTheme.good : NeonTheme.warn
                        }
                        NeonText {
                            visible: browser.isLinked
                            level: "small"
                            color: NeonTheme.good
                            text: "Linked"
                        }
                    }
                    NeonText {
                        visible: !browser.modelData.ready
                        width: parent.width
                        text: browser.modelData.text
                    }
                    Repeater {
                        model: browser.isLinked ? [] : browser.modelData.steps
                        Column {
                            id: step
                            required property var modelData
                            width: parent?.width ?? 0
                            spacing: 6
                            NeonText {
                                width: parent.width
                                level: step.modelData.what ? "body" : "small"
                                color: step.modelData.what ? NeonTheme.soft : NeonTheme.quiet
                                text: step.modelData.text
                            }
                            RowLayout {
                                visible: step.modelData.what !== ""
                                width: parent.width
                                spacing: 6
                                NeonField {
                                    id: what
                                    Layout.fillWidth: true
                                    readOnly: true
                                    label: step.modelData.text
                                    text: step.modelData.what
                                    onActiveFocusChanged: if (activeFocus) selectAll()
                                }
                                NeonIconButton {
                                    id: copying
                                    property bool done: false
                                    size: 36
                                    symbol: done ? "check" : "copy"
                                    ink: done ? NeonTheme.good : hovered ? NeonTheme.ink
                                                                         : NeonTheme.soft
                                    text: "Copy " + what.text
                                    hint: done ? "Copied" : "Copy"
                                    onClicked: {
                                        what.selectAll()
                                        what.copy()
                                        what.deselect()
                                        done = true
                                        back.restart()
                                    }
                                    Timer {
                                        id: back
                                        interval: 2000
                                        onTriggered: copying.done = false
                                    }
                                }
                            }
                        }
                    }
                }
            }
        }
    }
    actions: [
        Item { Layout.fillWidth: true },
        NeonButton {
            id: done
            focus: true
            text: "Done"
            kind: NeonButton.Primary
            onClicked: dialog.close()
        }
    ]
}
