import QtQuick
import QtQuick.Layouts
import Velmora
import "Week.js" as Week

// The calendar planner: a week of missions. What happens to them is the program's to decide; it is
// asked, and the week is asked for again whenever the missions have changed.
FocusScope {
    id: page

    required property var shell
    readonly property var schedule: Velmora.state.schedule ?? ({})
    readonly property var entries: schedule.entries ?? []
    readonly property var missions: {
        const out = {}
        entries.forEach(mission => out[mission.id] = mission)
        return out
    }
    // Off, or without a day: in no week.
    readonly property var aside: entries.filter(mission => !mission.isSchedulable)
    readonly property string today: schedule.today ?? ""
    property string monday: ""
    property var occurrences: []
    readonly property real foot: bar.visible ? bar.height + 4 : 0

    // Whatever the week is made of: when that changes it is asked for anew, and `done` is called then.
    readonly property string telling: JSON.stringify([monday, entries.map(m => Object.assign({}, m,
        { overlaps: 0, isActive: 0, startTime: 0, endTime: 0, label: 0 }))])
    onTellingChanged: look()
    function look(done: var) {
        if (monday === "") return
        const week = monday
        Velmora.run("missions", ["week", week], result => {
            if (week === monday && result.status === 0) occurrences = parsed(result.output) ?? []
            if (done) done()
        })
    }
    function parsed(text: string): var {
        try {
            return JSON.parse(text || "null")
        } catch (error) {
            return null
        }
    }

    function go(day: string) {
        grid.settle()
        monday = Week.monday(day)
    }
    // Where something new goes that has no place of its own.
    function usualDay(): string { return Week.monday(today) === monday ? today : monday }
    function chosenDay(): string { return grid.selected?.day ?? usualDay() }
    // Asks for a change; what the answer names is chosen and shown. `done` gets it.
    function change(words: var, done: var) {
        shell.ask("missions", words, result => {
            const made = result.status === 0 ? parsed(result.output) : null
            if (made) choose(made)
            if (result.status !== 0) grid.settle()
            else look(() => {
                grid.settle()
                grid.take()
                if (done) done(made)
            })
        })
    }
    function choose(made: var) {
        grid.selection = { entryID: made.id, day: made.day }
        monday = Week.monday(made.day)
    }
    // One that begins at once is not opened: it can't be changed any more.
    function create(span: var) {
        starting.ask(span.day === today, span.start, span.end, begins => {
            change(["create", span.day, span.start, span.end], made => {
                if (begins) starting.tell()
                else if (made) editor.showNew(made.id, made.day)
            })
        })
    }
    function add() {
        const day = usualDay()
        const start = day === today ? Math.min(now.nextHour, 1380) : 540
        create({ day, start, end: start + 60 })
    }
    function edit(id: string, day: string) { editor.show(id, day) }
    function isOnce(mission: var): bool { return mission.recurrence === "once" }
    // Puts an occurrence somewhere else; of a series, that one or it and all that follow.
    function put(occurrence: var, span: var, kind: string) {
        const mission = missions[occurrence.entryID]
        const fields = JSON.stringify({ startMinutes: span.start, endMinutes: span.end })
        const action = kind === "move" ? "Move" : "Resize"
        const words = ["edit", mission.id, "--json", fields, "--action", action,
                       "--day", occurrence.day, "--to", span.day]
        const go = words => starting.ask(span.day === today, span.start, span.end, begins =>
            change(words, begins ? starting.tell : null))
        if (isOnce(mission)) return go(words)
        const to = Week.range(span.start, span.end, grid.uses24Hour)
        series.ask(mission.label, false, spoken(occurrence) + " → "
                   + (span.day === occurrence.day ? to : Week.brief(span.day) + ", " + to),
                   scope => go(words.concat("--scope", scope)))
    }
    // "Mon 23 Nov, 09:00 – 12:00"
    function spoken(o: var): string {
        return Week.brief(o.day) + ", " + Week.range(o.startMinutes, o.endMinutes, grid.uses24Hour)
    }
    function withdraw(verb: string, mission: var, day: string) {
        if (mission.isActive) return refuse(mission)
        if (isOnce(mission) || !day) return change([verb, mission.id])
        series.ask(mission.label, true, spoken(Object.assign({}, mission, { day })),
                   scope => change([verb, mission.id, "--scope", scope, "--day", day]))
    }
    function refuse(mission: var) {
        shell.say(Week.held(mission.label, head.isRunning), true)
    }

    Component.onCompleted: {
        monday = today ? Week.monday(today) : ""
        grid.begin()
    }
    onTodayChanged: if (monday === "" && today) monday = Week.monday(today)

    Keys.onPressed: event => {
        const mission = grid.selected ? missions[grid.selected.entryID] : null
        const ctrl = event.modifiers & Qt.ControlModifier
        event.accepted = true
        if (!ctrl && event.key === Qt.Key_Delete && mission)
            withdraw("remove", mission, grid.selected.day)
        else if (ctrl && event.key === Qt.Key_C && mission) copy(mission)
        else if (ctrl && event.key === Qt.Key_X && mission)
            withdraw("cut", mission, grid.selected.day)
        else if (ctrl && event.key === Qt.Key_V) change(["paste", grid.pointed || chosenDay()])
        else if (ctrl && event.key === Qt.Key_D && mission) duplicate(mission)
        else if (ctrl && event.key === Qt.Key_Left) go(Week.plus(monday, -7))
        else if (ctrl && event.key === Qt.Key_Right) go(Week.plus(monday, 7))
        else if (ctrl && event.key === Qt.Key_N) add()
        else event.accepted = false
    }
    function copy(mission: var) {
        shell.ask("missions", ["copy", mission.id], result => {
            if (result.status === 0) shell.say(`“${mission.label}” is copied.`, false)
        })
    }
    function duplicate(mission: var) { change(["duplicate", mission.id, chosenDay()]) }

    WallClock { id: now; running: page.Window.visibility !== Window.Hidden }

    ScheduleHead {
        id: head
        x: NeonTheme.page
        y: 30
        width: parent.width - 2 * NeonTheme.page
        shell: page.shell

        NeonIconButton {
            symbol: "left"; text: "Previous week"; onClicked: page.go(Week.plus(page.monday, -7))
        }
        NeonButton {
            implicitHeight: 32
            text: "Today"
            onClicked: {
                page.go(page.today)
                grid.begin()
            }
        }
        NeonIconButton {
            symbol: "right"; text: "Next week"; onClicked: page.go(Week.plus(page.monday, 7))
        }
        NeonText {
            Layout.fillWidth: true
            Layout.leftMargin: 6
            level: "strong"
            elide: Text.ElideRight
            wrapMode: Text.NoWrap
            text: page.monday ? Week.title(page.monday, page.width < 780) : ""
            Accessible.name: page.monday ? Week.title(page.monday, false) : ""
        }
        NeonChip {
            visible: page.aside.length > 0
            text: page.aside.length + " off"
            Accessible.name: "Missions in no week: " + page.aside.length
            onClicked: shelf.open()
        }
        ScheduleUndo { shell: page.shell }
        NeonButton {
            implicitHeight: 32
            text: page.width < 780 ? "New" : "New mission"
            Accessible.name: "New mission"
            symbol: "plus"
            kind: NeonButton.Primary
            onClicked: page.add()
        }
    }
    Rectangle {
        anchors { left: parent.left; right: parent.right; top: head.bottom; bottom: parent.bottom }
        anchors.topMargin: 16
        color: "#0b0812"
        Rectangle { width: parent.width; height: 1; color: NeonTheme.line }

        ScheduleGrid {
            id: grid
            anchors { fill: parent; leftMargin: 20; rightMargin: 4 }
            focus: true
            monday: page.monday
            today: page.today
            nowMinutes: now.minutes
            uses24Hour: page.schedule.uses24Hour ?? true
            isRunning: head.isRunning
            missions: page.missions
            occurrences: page.occurrences
            foot: bar.height + 24
            onCreated: span => page.create(span)
            onDropped: (occurrence, span, kind) => page.put(occurrence, span, kind)
            onOpened: occurrence => page.edit(occurrence.entryID, occurrence.day)
            onRefused: mission => page.refuse(mission)
        }
        Rectangle {
            anchors.horizontalCenter: parent.horizontalCenter
            anchors { bottom: parent.bottom; bottomMargin: 20 }
            width: invitation.implicitWidth + 32
            height: 36
            visible: page.entries.length === 0 && !grid.drag
            radius: NeonTheme.radiusSmall
            color: parent.color  // no line of the week strikes it through
            NeonText {
                id: invitation
                anchors.centerIn: parent
                wrapMode: Text.NoWrap
                color: NeonTheme.quiet
                text: "Draw a mission into the week: press where it begins, drag to where it ends."
            }
        }
        MissionBar {
            id: bar
            anchors.horizontalCenter: parent.horizontalCenter
            anchors { bottom: parent.bottom; bottomMargin: 16 }
            width: Math.min(620, parent.width - 48)
            visible: !!grid.selected && !grid.dragging
            mission: page.missions[grid.selected?.entryID] ?? ({})
            occurrence: grid.selected ?? null
            isRunning: head.isRunning
            uses24Hour: grid.uses24Hour
            onEdit: page.edit(mission.id, occurrence.day)
            onCopy: page.copy(mission)
            onDuplicate: page.duplicate(mission)
            onRemove: page.withdraw("remove", mission, occurrence.day)
        }
    }
    MissionStart {
        id: starting
        shell: page.shell
        clock: now
        onDismissed: {
            grid.settle()
            if (!editor.opened) grid.take()
        }
    }
    MissionSeries {
        id: series
        onDismissed: {
            grid.settle()
            grid.take()
        }
    }
    MissionEditor {
        id: editor
        shell: page.shell
        starting: starting
        planner: "calendar"
        onClosed: grid.take()
        onSaved: selection => page.choose(selection)
        onRemoving: (mission, day) => page.withdraw("remove", mission, day)
    }
    NeonDialog {
        id: shelf
        title: "Missions in no week"
        text: "Switched off, or without a day to take place on."
        implicitWidth: 600
        onOpened: if (page.aside.length === 0) close()

        ListView {
            Layout.fillWidth: true
            Layout.preferredHeight: Math.min(contentHeight, 320)
            clip: true
            model: page.aside
            delegate: MissionRow {
                required property var modelData
                width: ListView.view.width
                shell: page.shell
                planner: "calendar"
                mission: modelData
                onClicked: {
                    shelf.close()
                    page.edit(modelData.id, "")
                }
            }
        }
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton { focus: true; text: "Done"; onClicked: shelf.close() }
        ]
    }
}
