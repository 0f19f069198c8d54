import QtQuick
import QtQuick.Layouts
import Velmora

// The first run: link a browser, pick a mode, start. Each step can be skipped, and so can all.
FocusScope {
    id: welcome

    required property var shell
    property int step: 0
    readonly property string mode: Velmora.state.session.mode
    property string preset: Velmora.state.presets?.[0]?.id ?? ""
    readonly property bool linked: (Velmora.state.browsers ?? []).length > 0
    readonly property var domains: (Velmora.state.sites ?? []).map(s => s.cleanDomain)

    function leave() { shell.ask("welcome", ["done"]) }
    function begin() {
        if (mode === "brak" && preset) shell.ask("focus", [preset])
        else shell.ask("start")
        leave()
    }

    focus: true
    Keys.onEscapePressed: leave()
    // Enter leads on: what is lit has the keyboard.
    onStepChanged: (step < 2 ? next : start).focus = true
    onLinkedChanged: if (linked && step === 0) next.focus = true

    NeonBackdrop {
        anchors.fill: parent
        still: !welcome.Window.active
        lightY: height * 0.4
    }
    // Nothing behind it is reached.
    MouseArea { anchors.fill: parent; hoverEnabled: true; onWheel: wheel => wheel.accepted = true }

    NeonButton {
        anchors { right: parent.right; top: parent.top; margins: 24 }
        text: "Skip"
        onClicked: welcome.leave()
    }

    ColumnLayout {
        anchors.centerIn: parent
        width: 460
        spacing: 0

        NeonRing {
            Layout.alignment: Qt.AlignHCenter
            Layout.bottomMargin: 34
            implicitWidth: 148
            progress: (welcome.step + 1) / 3
            NeonClock {
                anchors.centerIn: parent
                text: String(welcome.step + 1)
                size: 40
            }
        }
        NeonText {
            Layout.fillWidth: true
            horizontalAlignment: Text.AlignHCenter
            level: "headline"
            text: ["Link your browser", "Pick a mode", "Your first session"][welcome.step]
        }
        NeonText {
            Layout.fillWidth: true
            Layout.topMargin: 10
            Layout.preferredHeight: 44
            horizontalAlignment: Text.AlignHCenter
            text: ["A linked browser lets Velmora send forbidden sites to the wall.",
                   "You can change it later, except in a hardcore session or a mission.",
                   welcome.mode === "brak" ? "Choose what you will work with. Everything else stays closed."
                                           : "Choose what stays closed while it runs. You can add more later."][welcome.step]
        }

        Item {
            Layout.fillWidth: true
            Layout.topMargin: 20
            Layout.preferredHeight: 184

            Loader {
                anchors.fill: parent
                focus: !welcome.linked
                sourceComponent: [browserStep, modeStep, startStep][welcome.step]
            }
        }

        RowLayout {
            Layout.fillWidth: true
            Layout.topMargin: 20
            spacing: 10

            NeonButton {
                visible: welcome.step > 0
                text: "Back"
                onClicked: welcome.step--
            }
            Item { Layout.fillWidth: true }
            NeonButton {
                id: next
                visible: welcome.step < 2
                text: "Next"
                kind: welcome.step === 0 && !welcome.linked ? NeonButton.Quiet
                                                            : NeonButton.Primary
                onClicked: welcome.step++
            }
            NeonButton {
                id: start
                visible: welcome.step === 2
                text: "Start focus"
                symbol: "play"
                kind: NeonButton.Primary
                onClicked: welcome.begin()
            }
        }
    }

    Component {
        id: browserStep
        Item {
            NeonCard {
                anchors.verticalCenter: parent.verticalCenter
                width: parent.width
                Repeater {
                    model: Velmora.state.browsers ?? []
                    SettingRow {
                        required property var modelData
                        width: parent.width
                        title: modelData.name
                        text: "Linked"
                        NeonIcon { name: "check"; size: 18; color: NeonTheme.good }
                    }
                }
                LinkRow {
                    Component.onCompleted: button.focus = true
                    onDone: (welcome.linked ? next : button).forceActiveFocus()
                    visible: !welcome.linked
                    width: parent.width
                    shell: welcome.shell
                    title: "No browser linked"
                }
            }
        }
    }
    Component {
        id: modeStep
        Row {
            spacing: 14
            Repeater {
                model: [{ value: "brak", symbol: "scope", title: "Brak mode",
                          text: "You choose a preset, and only its tools stay open." },
                        { value: "soft", symbol: "rules", title: "Soft mode",
                          text: "Only the sites and apps that you list are closed." }]
                NeonChoice {
                    required property var modelData
                    width: 223
                    height: 172
                    symbol: modelData.symbol
                    text: modelData.title
                    detail: modelData.text
                    chosen: welcome.mode === modelData.value
                    onClicked: welcome.shell.ask("mode", [modelData.value])
                }
            }
        }
    }
    Component {
        id: startStep
        Column {
            spacing: 16
            Row {
                visible: welcome.mode === "brak"
                spacing: 10
                Repeater {
                    model: (Velmora.state.presets ?? []).slice(0, 3)
                    NeonChoice {
                        required property var modelData
                        width: (460 - 20) / 3
                        height: 116
                        symbol: modelData.iconName
                        text: modelData.name
                        chosen: welcome.preset === modelData.id
                        onClicked: welcome.preset = modelData.id
                    }
                }
            }
            Flow {
                visible: welcome.mode === "soft"
                width: 460
                spacing: 8
                Repeater {
                    model: Velmora.state.quickSites ?? []
                    NeonChip {
                        required property var modelData
                        text: modelData.name
                        chosen: welcome.domains.includes(modelData.domain)
                        symbol: chosen ? "check" : modelData.symbol
                        onClicked: welcome.shell.ask("sites", [chosen ? "remove" : "add",
                                                               modelData.domain])
                    }
                }
            }
            Row {
                anchors.horizontalCenter: parent.horizontalCenter
                spacing: 12
                NeonText {
                    anchors.verticalCenter: parent.verticalCenter
                    text: "Focus for"
                }
                NeonStepper {
                    text: "Minutes of focus"
                    from: 1
                    to: 120
                    unit: "min"
                    number: Velmora.state.settings.focusDuration
                    onAsked: value => welcome.shell.ask("settings", ["set", "focusDuration", value])
                }
            }
        }
    }
}
