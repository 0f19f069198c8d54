import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora

// Every control in each of its states, for those who build screens with them.
Item {
    id: gallery

    NeonBackdrop { anchors.fill: parent; still: true; lightX: width * 0.8; lightY: height * 0.2 }

    component Labelled: Column {
        property string label: ""
        spacing: 10
        NeonText { level: "caps"; text: parent.label }
    }

    NeonScroll {
        anchors.fill: parent

        Column {
            x: NeonTheme.page
            width: gallery.width - 2 * NeonTheme.page
            topPadding: NeonTheme.page
            bottomPadding: NeonTheme.page
            spacing: 28

            Row {
                spacing: 14
                NeonMark { anchors.verticalCenter: parent.verticalCenter; size: 30 }
                NeonText { level: "headline"; text: "The Neon family" }
            }

            Row {
                spacing: 48

                Column {
                    spacing: 24
                    width: 480

                    Labelled {
                        label: "Buttons"
                        Row {
                            spacing: 14
                            NeonButton { text: "Start"; symbol: "play"; kind: NeonButton.Primary }
                            NeonButton { text: "Later" }
                            NeonButton { text: "Add"; symbol: "plus" }
                            NeonButton { text: "Cancel session"; kind: NeonButton.Danger }
                        }
                        Row {
                            spacing: 14
                            NeonButton {
                                text: "Start"
                                symbol: "play"
                                kind: NeonButton.Primary
                                enabled: false
                            }
                            NeonButton { text: "Later"; enabled: false }
                            NeonButton { text: "Add"; symbol: "plus"; down: true }
                            NeonButton {
                                text: "Cancel session"
                                kind: NeonButton.Danger
                                enabled: false
                            }
                        }
                        Row {
                            spacing: 22
                            height: 84
                            NeonIconButton {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "Reset"; symbol: "reset"; size: 46; round: true
                            }
                            NeonIconButton {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "Start"; symbol: "play"; size: 64; luminous: true
                            }
                            NeonIconButton {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "Pause"; symbol: "pause"; size: 64; luminous: true; down: true
                            }
                            NeonIconButton {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "Skip"; symbol: "skip"; size: 46; round: true; enabled: false
                            }
                            NeonIconButton {
                                anchors.verticalCenter: parent.verticalCenter
                                text: "Edit"; symbol: "pencil"
                            }
                        }
                    }
                    Labelled {
                        label: "Switches"
                        Row {
                            spacing: 22
                            NeonSwitch { text: "On"; on: true }
                            NeonSwitch { text: "Off" }
                            NeonSwitch { text: "On, disabled"; on: true; enabled: false }
                            NeonSwitch { text: "Off, disabled"; enabled: false }
                            NeonSwitch { id: focused; text: "Focused"; on: true }
                        }
                    }
                    Labelled {
                        label: "Sliders and steppers"
                        Row {
                            spacing: 22
                            NeonSlider { text: "Focus"; from: 1; to: 120; value: 45 }
                            NeonSlider {
                                text: "Disabled"
                                from: 0
                                to: 10
                                value: 3
                                enabled: false
                            }
                        }
                        Row {
                            spacing: 14
                            NeonStepper {
                                text: "Minutes"
                                from: 1
                                to: 120
                                number: 25
                                unit: "min"
                            }
                            NeonStepper {
                                text: "Limit"
                                from: 0
                                to: 16
                                number: 0
                                zeroText: "No limit"
                            }
                            NeonStepper { text: "Disabled"; number: 4; enabled: false }
                        }
                    }
                    Labelled {
                        label: "Fields"
                        Row {
                            spacing: 14
                            NeonField {
                                label: "Site"
                                placeholderText: "example.com"
                                symbol: "globe"
                            }
                            NeonField { label: "Name"; text: "Deep Work" }
                        }
                        NeonField { label: "Disabled"; enabled: false }
                    }
                    Labelled {
                        label: "Segments"
                        NeonSegmented {
                            text: "Phase"
                            value: "focus"
                            options: [{ value: "focus", text: "Focus" },
                                      { value: "shortBreak", text: "Short Break" },
                                      { value: "longBreak", text: "Long Break" }]
                            onChosen: v => value = v
                        }
                        NeonSegmented {
                            text: "Clock"
                            compact: true
                            value: "chrono"
                            options: [{ value: "pomodoro", text: "Pomodoro", symbol: "focus" },
                                      { value: "chrono", text: "Stopwatch", symbol: "stopwatch" },
                                      { value: "down", text: "Countdown", symbol: "countdown" }]
                            onChosen: v => value = v
                        }
                        NeonSegmented {
                            text: "Disabled"
                            enabled: false
                            value: 1
                            options: [{ value: 1, text: "One" }, { value: 2, text: "Two" }]
                        }
                    }
                }

                Column {
                    spacing: 24

                    Labelled {
                        label: "Ring"
                        Row {
                            spacing: 40
                            Item {
                                width: 230
                                height: 240
                                NeonRing {
                                    y: 6
                                    width: 220
                                    progress: 0.22
                                    NeonClock { anchors.centerIn: parent; text: "19:30"; size: 42 }
                                }
                            }
                            Column {
                                spacing: 22
                                topPadding: 20
                                NeonRing { width: 84; progress: 0.7 }
                                NeonRing { width: 84; progress: 0; lit: false }
                            }
                        }
                    }
                    Labelled {
                        label: "Card, rows and pages"
                        Row {
                            spacing: 20
                            NeonCard {
                                width: 268
                                padding: 8
                                spacing: 0
                                NeonListRow {
                                    width: parent.width
                                    title: "Deep Work"
                                    subtitle: "Only your core tools."
                                    symbol: "brain.head.profile"
                                    tint: NeonTheme.violet
                                    opens: true
                                    NeonIcon { name: "right"; size: 16; color: NeonTheme.quiet }
                                }
                                NeonListRow {
                                    width: parent.width
                                    title: "reddit.com"
                                    symbol: "globe"
                                    NeonSwitch { text: "Block reddit.com"; on: true }
                                }
                                NeonListRow {
                                    width: parent.width
                                    title: "youtube.com"
                                    symbol: "globe"
                                    dimmed: true
                                    NeonSwitch { text: "Block youtube.com" }
                                }
                            }
                            NeonTabBar {
                                width: 160
                                current: "focus"
                                tabs: [{ value: "focus", text: "Focus", symbol: "focus" },
                                       { value: "more", text: "Extensions", symbol: "extensions" },
                                       { value: "settings", text: "Settings", symbol: "settings" }]
                                onChosen: v => current = v
                            }
                        }
                    }
                    Labelled {
                        label: "Toasts"
                        Item {
                            width: 440
                            height: 104
                            NeonToast { text: "Your browser is linked."; opacity: 1 }
                            NeonToast {
                                y: 56
                                text: "Can't change mode while session is running"
                                wrong: true
                                opacity: 1
                            }
                        }
                    }
                    Labelled {
                        label: "Dialog"
                        NeonButton { text: "Open"; onClicked: dialog.open() }
                    }
                }
            }

            Labelled {
                label: "Type"
                Row {
                    spacing: 28
                    Repeater {
                        model: ["headline", "title", "strong", "body", "small", "caps"]
                        NeonText {
                            required property string modelData
                            level: modelData
                            text: modelData[0].toUpperCase() + modelData.slice(1)
                        }
                    }
                }
                Flow {
                    width: gallery.width - 2 * NeonTheme.page
                    spacing: 16
                    topPadding: 8
                    Repeater {
                        model: Object.keys(icons.paths)
                        NeonIcon { required property string modelData; name: modelData }
                    }
                }
            }
        }
    }
    NeonIcon { id: icons; visible: false }
    NeonDialog {
        id: dialog
        title: "Use your Emergency Pass?"
        text: "You only get 1 per week. Save it for real emergencies."
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton { text: "Keep going"; onClicked: dialog.close() },
            NeonButton {
                text: "Cancel session"
                kind: NeonButton.Danger
                onClicked: dialog.close()
            }
        ]
    }
    Component.onCompleted: focused.forceActiveFocus(Qt.TabFocusReason)
}
