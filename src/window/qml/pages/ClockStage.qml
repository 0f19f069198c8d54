import QtQuick
import Velmora

// The ring with the clock that is chosen, and the controls that exist for it now.
FocusScope {
    id: stage

    required property var shell
    readonly property var session: Velmora.state.session
    readonly property var controls: session.controls
    readonly property string screen: session.screen
    readonly property var chrono: screen === "stopwatch" ? Velmora.state.stopwatch
                                                         : Velmora.state.countdown
    readonly property bool pomodoro: screen === "pomodoro"
    readonly property bool running: pomodoro ? session.running : chrono.running
    readonly property var mission: Velmora.state.scheduled?.active ? Velmora.state.scheduled : null
    readonly property int every: Velmora.state.settings?.sessionsBeforeLongBreak ?? 4
    readonly property var task: Velmora.state.focus ?? null
    readonly property bool started: pomodoro ? session.progress > 0 || session.running
                                  : screen === "stopwatch" ? chrono.elapsed > 0
                                  : chrono.remaining < chrono.duration

    function drive(verb: string) {
        const start = verb === "start"
        if (!pomodoro) return shell.ask(screen, [verb])
        // A start that stops at the gate has nothing to tell: the gate stands in front of
        // everything a moment after the answer.
        const gate = session.mode === "brak" && !task
        if (start) Velmora.run("start", [], result => {
            if (result.status !== 0 && !gate) shell.say(result.error.trim(), true)
        })
        else shell.ask(verb)
    }

    NeonSegmented {
        anchors.horizontalCenter: parent.horizontalCenter
        y: 28
        compact: true
        visible: !stage.mission
        text: "Clock"
        value: stage.screen
        options: [{ value: "pomodoro", text: "Pomodoro", symbol: "focus" },
                  { value: "stopwatch", text: "Stopwatch", symbol: "stopwatch" },
                  { value: "countdown", text: "Countdown", symbol: "countdown" }]
        onChosen: value => stage.shell.ask("screen", [value])
    }

    NeonRing {
        id: ring
        anchors.horizontalCenter: parent.horizontalCenter
        y: 60 + (foot.y - 60 - height) / 2
        width: Math.round(Math.min(parent.width - 72, foot.y - 104, 400))
        progress: stage.pomodoro ? stage.session.progress
                : stage.screen === "stopwatch" ? stage.chrono.elapsed % 3600 / 3600
                : stage.chrono.duration > 0 ? stage.chrono.remaining / stage.chrono.duration : 0
        lit: stage.running || stage.started
        Accessible.name: stage.session.label

        Column {
            anchors.centerIn: parent
            width: parent.width
            spacing: Math.round(ring.width * 0.022)

            NeonText {
                width: parent.width
                horizontalAlignment: Text.AlignHCenter
                level: "caps"
                color: NeonTheme.violet
                text: stage.pomodoro ? stage.session.label
                    : stage.screen === "stopwatch" ? "Stopwatch" : "Countdown"
            }
            NeonClock {
                anchors.horizontalCenter: parent.horizontalCenter
                text: stage.pomodoro ? stage.session.time : stage.chrono.time
                size: Math.round(ring.width * (text.length > 5 ? 0.165 : 0.2))
            }
            NeonText {
                width: parent.width * 0.86
                anchors.horizontalCenter: parent.horizontalCenter
                horizontalAlignment: Text.AlignHCenter
                maximumLineCount: 1
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
                text: stage.mission ? stage.mission.mission
                    : stage.pomodoro && stage.task ? stage.task.taskName
                    : !stage.running && stage.started ? "Paused" : " "
            }
            NeonText {
                width: parent.width * 0.8
                anchors.horizontalCenter: parent.horizontalCenter
                horizontalAlignment: Text.AlignHCenter
                level: "small"
                color: NeonTheme.quiet
                maximumLineCount: 1
                elide: Text.ElideRight
                wrapMode: Text.NoWrap
                visible: text !== ""
                text: stage.mission ? stage.mission.protectionName
                    : stage.pomodoro && stage.task && stage.task.taskName !== stage.task.presetName
                      ? stage.task.presetName : ""
            }
        }
    }

    Column {
        id: foot
        anchors { bottom: parent.bottom; bottomMargin: 28 }
        width: parent.width
        spacing: 18

        Item {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: stage.pomodoro && !stage.mission
            width: phase.width
            height: phase.height

            NeonSegmented {
                id: phase
                compact: true
                enabled: stage.controls.switchType
                text: "Phase"
                Accessible.description: enabled ? "" : locked.text
                value: stage.session.type
                options: [{ value: "focus", text: "Focus" },
                          { value: "shortBreak", text: "Short Break" },
                          { value: "longBreak", text: "Long Break" }]
                onChosen: value => stage.shell.ask("switch", [value])
            }
            HoverHandler { id: over }
            NeonTip {
                id: locked
                text: "Can't change mode while session is running"
                visible: over.hovered && !phase.enabled
            }
        }
        CountdownLength {
            anchors.horizontalCenter: parent.horizontalCenter
            visible: stage.screen === "countdown"
            shell: stage.shell
        }
        // Keeps the controls in place where there is nothing to choose above them.
        Item {
            visible: stage.screen === "stopwatch" || stage.mission !== null
            width: 1
            height: 32
        }

        Item {
            width: parent.width
            height: 68

            Row {
                anchors.centerIn: parent
                spacing: 24
                visible: !hard.visible

                NeonIconButton {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: !stage.pomodoro || stage.controls.reset
                    size: 46
                    round: true
                    symbol: "reset"
                    text: "Reset"
                    onClicked: stage.drive("reset")
                }
                NeonIconButton {
                    focus: true
                    size: 68
                    iconSize: 28
                    luminous: true
                    enabled: stage.running || stage.screen !== "countdown"
                             || stage.chrono.remaining > 0
                    symbol: stage.running ? "pause" : "play"
                    text: stage.running ? "Pause" : stage.started ? "Resume" : "Start"
                    onClicked: stage.drive(stage.running ? "pause" : "start")
                }
                NeonIconButton {
                    anchors.verticalCenter: parent.verticalCenter
                    visible: stage.pomodoro && stage.controls.skip
                    size: 46
                    round: true
                    symbol: "skip"
                    text: "Skip to next session"
                    onClicked: stage.drive("skip")
                }
                // As wide as the button at the other end, so that the lit one stands in the middle.
                Item {
                    visible: !stage.pomodoro
                    width: 46
                    height: 46
                }
            }
            NeonText {
                id: hard
                anchors.centerIn: parent
                visible: stage.pomodoro ? !stage.controls.playPause
                                        : stage.session.hardcore && stage.chrono.running
                level: "caps"
                font.pixelSize: 13
                color: NeonTheme.violet
                text: "HARDCORE — STAY FOCUSED"
            }
        }

        Item {
            width: parent.width
            height: 36

            Row {
                anchors.centerIn: parent
                visible: stage.pomodoro && !stage.session.hardcore && !stage.mission
                spacing: 9
                Accessible.role: Accessible.StaticText
                Accessible.name: stage.session.inBlock + " focus sessions done"

                Repeater {
                    model: stage.every
                    Rectangle {
                        required property int index
                        readonly property int over: stage.session.inBlock % stage.every
                        // A long break is the time to see them all lit.
                        readonly property int done: over === 0 && stage.session.inBlock > 0
                            && stage.session.type === "longBreak" ? stage.every : over
                        width: 8
                        height: 8
                        radius: 4
                        color: index < done ? NeonTheme.core : "#2b2139"
                        border.width: index < done ? 0 : 1
                        border.color: NeonTheme.lineStrong
                    }
                }
            }
            PassButton {
                anchors.centerIn: parent
                visible: stage.session.hardcore
                shell: stage.shell
            }
        }
    }
}
