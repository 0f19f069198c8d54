import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora
import "Week.js" as Week

// The simple planner: a list of missions, by the time of day at which they start.
FocusScope {
    id: page

    required property var shell
    readonly property var schedule: Velmora.state.schedule ?? ({})
    readonly property var missions: [...(schedule.simpleEntries ?? [])].sort(
        (a, b) => a.startMinutes - b.startMinutes || a.endMinutes - b.endMinutes)
    // What is usual: one press each.
    readonly property var usual: [
        { label: "Morning focus", days: ["mon", "tue", "wed", "thu", "fri"],
          startMinutes: 540, endMinutes: 720 },
        { label: "Afternoon focus", days: ["mon", "tue", "wed", "thu", "fri"],
          startMinutes: 810, endMinutes: 990 },
        { label: "Evening study", days: ["mon", "tue", "wed", "thu"],
          startMinutes: 1140, endMinutes: 1260 },
        { label: "Weekend project", days: ["sat", "sun"], startMinutes: 600, endMinutes: 780 }
    ]

    // One that begins at once is not opened: it can't be changed any more.
    function add(fields: var, opens: bool) {
        const today = fields.days.includes(Week.keys[Week.weekday(schedule.today)])
        starting.ask(today, fields.startMinutes, fields.endMinutes, begins => {
            shell.ask("missions", ["add", "--planner", "simple", "--json", JSON.stringify(fields)],
                      result => {
                const id = result.output.trim()
                if (result.status !== 0) return
                if (begins) starting.tell()
                else if (opens && id) editor.showNew(id, "")
            })
        })
    }
    function addNew() {
        const start = Math.min(now.nextHour, 1380)
        add({ days: Week.keys.slice(0, 5), startMinutes: start, endMinutes: start + 60 }, true)
    }
    // Who gets the keyboard from one that goes: its place in the list, -1 for none.
    property int heir: -1
    property int heirReason: Qt.OtherFocusReason
    function remove(mission: var) {
        if (mission.isActive) return shell.say(Week.held(mission.label, head.isRunning), true)
        heir = missions.findIndex(m => m.id === mission.id)
        heirReason = list.itemAtIndex(heir)?.visualFocus ? Qt.TabFocusReason : Qt.OtherFocusReason
        shell.ask("missions", ["remove", mission.id, "--planner", "simple"], result => {
            if (result.status !== 0) heir = -1
            if (result.status !== 0) return
            shell.say(`“${mission.label}” is deleted. Ctrl+Z brings it back.`, false)
        })
    }

    Keys.onPressed: event => {
        if (!(event.modifiers & Qt.ControlModifier) || event.key !== Qt.Key_N) return
        addNew()
        event.accepted = true
    }

    ScheduleHead {
        id: head
        x: NeonTheme.page
        y: 30
        width: parent.width - 2 * NeonTheme.page
        shell: page.shell

        Item { Layout.fillWidth: true }
        ScheduleUndo { shell: page.shell }
        NeonButton {
            id: newMission
            implicitHeight: 32
            text: "New mission"
            symbol: "plus"
            kind: NeonButton.Primary
            onClicked: page.addNew()
        }
    }
    Flow {
        id: quick
        anchors { top: head.bottom; topMargin: 16 }
        x: NeonTheme.page
        width: head.width
        spacing: 8
        NeonText {
            height: 30
            rightPadding: 4
            verticalAlignment: Text.AlignVCenter
            level: "small"
            color: NeonTheme.quiet
            text: "Quick add"
        }
        Repeater {
            model: page.usual
            NeonChip {
                required property var modelData
                symbol: "plus"
                text: modelData.label
                onClicked: page.add(modelData, false)
            }
        }
    }
    Column {
        visible: list.count === 0
        anchors.horizontalCenter: parent.horizontalCenter
        y: (quick.y + quick.height + parent.height - height) / 2 - 20
        width: 380
        spacing: 8

        NeonIcon {
            anchors.horizontalCenter: parent.horizontalCenter
            name: "schedule"
            size: 44
            stroke: 1.3
            color: NeonTheme.edge
        }
        Item { width: 1; height: 6 }
        NeonText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            level: "title"
            text: "No missions yet"
        }
        NeonText {
            width: parent.width
            horizontalAlignment: Text.AlignHCenter
            color: NeonTheme.quiet
            text: "A mission is a focus session that starts by itself, at its time on its days."
        }
    }
    Rectangle {
        anchors { top: quick.bottom; topMargin: 16 }
        x: NeonTheme.page
        width: head.width
        height: Math.min(list.contentHeight + 16, page.height - y - 24)
        visible: list.count > 0
        radius: NeonTheme.radius
        color: NeonTheme.faded(NeonTheme.surface, 0.92)
        border { width: 1; color: NeonTheme.line }

        ListView {
            id: list
            anchors { fill: parent; margins: 8 }
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            pixelAligned: true
            cacheBuffer: 4000
            model: KeyedModel { id: records; records: page.missions }
            T.ScrollBar.vertical: NeonScrollBar {}

            onCountChanged: if (page.heir >= 0) Qt.callLater(inherit)
            function inherit() {
                (list.itemAtIndex(Math.min(page.heir, count - 1)) ?? newMission)
                    .forceActiveFocus(page.heirReason)
                page.heir = -1
            }
            function reveal(item: Item) {
                const top = item.y
                if (top < contentY) contentY = top
                else if (top + item.height > contentY + height)
                    contentY = top + item.height - height
            }

            delegate: MissionRow {
                id: row
                required property string key
                required property int index
                width: ListView.view.width - 6
                shell: page.shell
                planner: "simple"
                mission: records.byKey[key] ?? ({})
                onClicked: editor.show(key, "")
                onActiveFocusChanged: if (activeFocus) list.reveal(row)
                Keys.onDeletePressed: page.remove(mission)
                Keys.onUpPressed: list.itemAtIndex(index - 1)?.forceActiveFocus(Qt.TabFocusReason)
                Keys.onDownPressed: list.itemAtIndex(index + 1)?.forceActiveFocus(Qt.TabFocusReason)
            }
        }
    }
    WallClock { id: now; running: page.Window.visibility !== Window.Hidden }
    MissionStart { id: starting; shell: page.shell; clock: now }
    MissionEditor {
        id: editor
        shell: page.shell
        starting: starting
        planner: "simple"
        onRemoving: mission => page.remove(mission)
    }
}
