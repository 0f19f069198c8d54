import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// Whether missions start by themselves, which planner is in force, and what is next.
Column {
    id: head

    required property var shell
    readonly property var schedule: Velmora.state.schedule ?? ({})
    readonly property var running: Velmora.state.scheduled ?? ({})
    readonly property bool isRunning: running.active ?? false
    readonly property bool on: schedule.isEnabled ?? false
    readonly property bool hard: schedule.isHardRoutineActive ?? false
    readonly property bool plannerLocked: (schedule.isCurrentlyInBlock ?? false)
                                          && (schedule.hardRoutineEnabled ?? false)
    readonly property string until: running.endMinutes === undefined ? ""
        : " until " + Week.clock(running.endMinutes, schedule.uses24Hour ?? true)
    // What stands at the end of the second line, for the planner that is shown.
    default property alias tools: place.data

    spacing: 16

    function command(words: var) { shell.ask("schedule", words) }
    // Runs it, after a warning if a pass would be lost.
    function forfeit(title: string, words: var) {
        if (!schedule.hasPass) return command(words)
        confirm.ask(title, loss, "Give up the pass", words.concat("--yes"))
    }
    readonly property string loss: "The emergency pass that is in force would be lost."
    function choosePlanner(mode: string) {
        if (mode === schedule.operatingMode) return
        if (!schedule.isCurrentlyInBlock) return command(["mode", mode])
        confirm.ask("Change the planner now?",
                    (isRunning
                     ? "The mission that is running ends, and the other planner's missions take over."
                     : "The other planner's missions take over at once.")
                    + (schedule.hasPass ? " " + loss : ""),
                    "Change planner", ["mode", mode, "--interrupt"]
                    .concat(schedule.hasPass ? "--yes" : []))
    }

    RowLayout {
        width: parent.width
        spacing: 24
        ColumnLayout {
            Layout.fillWidth: true
            spacing: 5
            RowLayout {
                spacing: 14
                NeonText { level: "headline"; wrapMode: Text.NoWrap; text: "Schedule" }
                NeonSwitch {
                    Layout.topMargin: 4
                    text: "Start missions by themselves"
                    Accessible.description:
                        head.hard ? "Hard routine holds it until the mission ends" : ""
                    enabled: !head.hard
                    on: head.on
                    onAsked: on => head.forfeit(`Switch the schedule ${on ? "on" : "off"}?`,
                                                [on ? "on" : "off"])
                }
            }
            RowLayout {
                spacing: 8
                Rectangle {
                    visible: head.isRunning
                    width: 7
                    height: 7
                    radius: 3.5
                    color: NeonTheme.violet
                }
                NeonText {
                    Layout.fillWidth: true
                    color: head.isRunning ? NeonTheme.soft : NeonTheme.quiet
                    elide: Text.ElideMiddle  // the time is at its end
                    wrapMode: Text.NoWrap
                    text: head.isRunning ? `${head.running.mission}${head.until}`
                        : !head.on ? "Off. No mission starts by itself."
                        : head.schedule.hasPass ? "Emergency pass in force until the mission ends"
                        : head.schedule.isCurrentlyInBlock
                            ? "Stopped until this mission's time is over"
                        : head.schedule.next || "No mission ahead"
                }
            }
        }
        PassButton {
            visible: head.hard
            shell: head.shell
        }
        Column {
            spacing: 2
            NeonText {
                anchors.right: parent.right
                color: NeonTheme.ink
                text: "Hard routine"
                Accessible.ignored: true
            }
            NeonText {
                id: hint
                anchors.right: parent.right
                level: "small"
                color: NeonTheme.quiet
                text: head.hard ? "Holds until the mission ends" : "Only the pass ends a mission"
            }
        }
        NeonSwitch {
            Layout.leftMargin: -14
            text: "Hard routine"
            Accessible.description: hint.text
            enabled: !head.hard
            on: head.schedule.hardRoutineEnabled ?? false
            onAsked: on => head.command(["hard-routine", on ? "on" : "off"])
        }
    }
    RowLayout {
        width: parent.width
        spacing: 16
        NeonSegmented {
            id: planner
            compact: true
            text: "Planner"
            enabled: !head.plannerLocked
            value: head.schedule.operatingMode
            options: [{ value: "simple", text: "Simple" }, { value: "calendar", text: "Calendar" }]
            onChosen: value => head.choosePlanner(value)
            Accessible.description: tip.text

            HoverHandler { id: over; enabled: head.plannerLocked }
            NeonTip {
                id: tip
                text: head.plannerLocked
                    ? "Hard routine keeps the planner until the mission's time is over." : ""
                visible: over.hovered && text !== ""
            }
        }
        RowLayout {
            id: place
            Layout.fillWidth: true
            spacing: 6
        }
    }

    NeonDialog {
        id: confirm
        property var words: []
        property string verb: ""
        onAboutToShow: safe.focus = true  // not what was pressed the last time
        function ask(heading: string, line: string, action: string, command: var) {
            title = heading
            text = line
            verb = action
            words = command
            open()
        }
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton { id: safe; text: "Cancel"; onClicked: confirm.close() },
            NeonButton {
                text: confirm.verb
                kind: NeonButton.Danger
                onClicked: {
                    confirm.close()
                    head.command(confirm.words)
                }
            }
        ]
    }
}
