import QtQuick
import Velmora

FocusScope {
    id: page

    required property var shell
    readonly property var settings: Velmora.state.settings
    readonly property var desktop: Velmora.state.desktop ?? {}
    readonly property var browsers: Velmora.state.browsers ?? []
    // What was found out about this desktop: [{topic, grade, text, advice}].
    property var findings: []

    function set(key: string, value: var) { shell.ask("settings", ["set", key, String(value)]) }
    function examine() {
        Velmora.run("doctor", ["--json"], result => {
            if (result.status !== 0) return
            try {
                findings = JSON.parse(result.output || "[]")
            } catch (error) {
                findings = []
            }
        })
    }

    // A finding in sentences; what it advises to type is named as that.
    function told(finding: var): string {
        const upper = line => line.charAt(0).toUpperCase() + line.slice(1)
        const advice = finding.advice === "velmora install-browser-link" ? "Link it above"
                     : /^(velmora|sudo) /.test(finding.advice) ? "Run " + finding.advice
                     : upper(finding.advice ?? "")
        return upper(finding.text) + (advice ? ". " + advice : "")
    }

    Component.onCompleted: examine()

    component Line: Rectangle {
        width: parent?.width ?? 0
        height: 1
        color: NeonTheme.line
    }
    component Minutes: SettingRow {
        id: minutes
        required property string key
        property int from: 1
        property int to: 120
        width: parent.width
        NeonSlider {
            id: rail
            anchors.verticalCenter: parent.verticalCenter
            implicitWidth: 170
            text: minutes.title
            from: minutes.from
            to: minutes.to
            value: number.value
            onMoved: number.propose(value)
        }
        NeonStepper {
            id: number
            implicitWidth: 122
            text: minutes.title
            from: minutes.from
            to: minutes.to
            unit: "min"
            number: page.settings[minutes.key]
            onAsked: value => page.set(minutes.key, value)
        }
    }
    component Toggle: SettingRow {
        id: toggle
        property string key: ""
        property bool on: page.settings[key] ?? false
        property bool free: true
        signal asked(bool on)
        width: parent.width
        NeonSwitch {
            text: toggle.title
            enabled: toggle.free
            on: toggle.on
            onAsked: on => toggle.key ? page.set(toggle.key, on) : toggle.asked(on)
        }
    }

    NeonScroll {
        anchors.fill: parent
        focus: true

        Item {
            width: page.width
            height: column.height

            Column {
                id: column
                x: NeonTheme.page
                width: Math.min(680, parent.width - 2 * NeonTheme.page)
                topPadding: NeonTheme.page
                bottomPadding: NeonTheme.page
                spacing: 20

                PageHead { width: parent.width; title: "Settings" }

                NeonCard {
                    width: parent.width
                    title: "Timer"
                    spacing: 0
                    Minutes { title: "Focus"; key: "focusDuration"; from: 1; to: 120 }
                    Line {}
                    Minutes { title: "Short Break"; key: "shortBreakDuration"; from: 1; to: 30 }
                    Line {}
                    Minutes { title: "Long Break"; key: "longBreakDuration"; from: 5; to: 60 }
                    Line {}
                    SettingRow {
                        width: parent.width
                        title: "After " + page.settings.sessionsBeforeLongBreak
                             + " focus sessions you get a long break"
                        NeonStepper {
                            implicitWidth: 122
                            text: "Focus sessions before a long break"
                            from: 2
                            to: 8
                            number: page.settings.sessionsBeforeLongBreak
                            onAsked: value => page.set("sessionsBeforeLongBreak", value)
                        }
                    }
                    Line {}
                    SettingRow {
                        width: parent.width
                        title: "Stop after"
                        text: page.settings.focusSessionLimit === 0
                            ? "Pomodoro loops until you stop it"
                            : page.settings.focusSessionLimit === 1 ? "1 focus session"
                            : page.settings.focusSessionLimit + " focus sessions"
                        NeonStepper {
                            implicitWidth: 122
                            text: "Stop after"
                            from: 0
                            to: 16
                            zeroText: "No limit"
                            number: page.settings.focusSessionLimit
                            onAsked: value => page.set("focusSessionLimit", value)
                        }
                    }
                }
                NeonCard {
                    width: parent.width
                    title: "Session"
                    spacing: 0
                    Toggle {
                        title: "Mini timer"
                        text: "Show the movable mini timer during focus and breaks"
                        key: "showFloatingProgress"
                    }
                    Line {}
                    Toggle {
                        title: "Auto start"
                        text: "Automatically begin the next session"
                        key: "autoStart"
                    }
                    Line {}
                    Toggle {
                        title: "Sounds"
                        text: "Play sounds on session completion"
                        key: "soundEnabled"
                    }
                    Line {}
                    Toggle {
                        title: "24-hour time"
                        on: page.desktop.uses24HourTime ?? true
                        onAsked: on => page.set("uses24HourTime", on)
                    }
                }
                NeonCard {
                    width: parent.width
                    title: "Desktop"
                    spacing: 0
                    Toggle {
                        title: "Launch at login"
                        text: "Velmora opens when you log in"
                        free: page.desktop.launchAtLogin !== undefined
                        on: page.desktop.launchAtLogin ?? false
                        onAsked: on => page.shell.ask("login", [on ? "on" : "off"])
                    }
                    Line {}
                    Toggle {
                        title: "Show in the task bar"
                        text: "Otherwise Velmora stays in the tray only"
                        on: page.desktop.showInDock ?? true
                        onAsked: on => page.shell.ask("dock", [on ? "on" : "off"])
                    }
                }
                NeonCard {
                    width: parent.width
                    title: "Browsers"
                    spacing: 0

                    Repeater {
                        model: KeyedModel { id: linked; records: page.browsers; keyName: "pid" }
                        SettingRow {
                            required property string key
                            readonly property var browser: linked.byKey[key] ?? {}
                            width: parent.width
                            title: browser.name ?? ""
                            text: browser.privateAllowed
                                ? "Linked, private windows included"
                                : "Linked. Private windows are not blocked until you allow the "
                                + "extension there."
                            NeonIcon { name: "check"; size: 18; color: NeonTheme.good }
                        }
                    }
                    Line { visible: page.browsers.length > 0 }
                    LinkRow {
                        width: parent.width
                        shell: page.shell
                        title: page.browsers.length > 0 ? "Link another browser" : "No browser linked"
                    }
                    Line {}
                    NeonText {
                        width: parent.width
                        topPadding: 14
                        bottomPadding: 4
                        level: "small"
                        color: NeonTheme.quiet
                        text: "Sessions never modify DNS, pf or /etc/hosts. Browser blocking stays "
                            + "local, so OBS streams are never interrupted."
                    }
                }
                NeonCard {
                    width: parent.width
                    title: "Instant blocking"
                    NeonText {
                        width: parent.width
                        text: "Allow Velmora in Accessibility, and a blocked site is covered the moment "
                            + "it opens instead of up to 2 s later."
                    }
                    Row {
                        spacing: 8
                        NeonIcon {
                            anchors.verticalCenter: parent.verticalCenter
                            name: page.browsers.length > 0 ? "check" : "info"
                            size: 16
                            color: page.browsers.length > 0 ? NeonTheme.good : NeonTheme.warn
                        }
                        NeonText {
                            anchors.verticalCenter: parent.verticalCenter
                            level: "small"
                            text: page.browsers.length > 0
                                ? "On: your linked browser tells at once what opens."
                                : "On this desktop a linked browser does this. Link one above."
                        }
                    }
                }
                NeonCard {
                    width: parent.width
                    title: "This desktop"
                    spacing: 0

                    Repeater {
                        model: page.findings
                        SettingRow {
                            required property var modelData
                            width: parent.width
                            title: modelData.topic
                            text: page.told(modelData)
                            NeonIcon {
                                name: modelData.grade === "works" ? "check"
                                    : modelData.grade === "limited" ? "info" : "warning"
                                size: 18
                                color: modelData.grade === "works" ? NeonTheme.good
                                     : modelData.grade === "limited" ? NeonTheme.warn
                                                                 : NeonTheme.danger
                            }
                        }
                    }
                    Item { width: 1; height: 8 }
                    NeonButton { text: "Look again"; symbol: "reset"; onClicked: page.examine() }
                }
                NeonCard {
                    width: parent.width
                    title: "About"
                    Row {
                        spacing: 14
                        NeonMark { anchors.verticalCenter: parent.verticalCenter; size: 34 }
                        Column {
                            spacing: 3
                            NeonText {
                                level: "strong"
                                text: "Velmora " + (Velmora.state.version ?? "")
                            }
                            NeonText {
                                level: "small"
                                color: NeonTheme.quiet
                                text: "What your browser shows never leaves this computer."
                            }
                        }
                    }
                }
            }
        }
    }
}
