import QtQuick
import QtQuick.Layouts
import QtQuick.Templates as T
import Velmora
import "Week.js" as Week

// Everything about one mission. Nothing changes until it is saved, since a mission whose time has
// come begins at once.
NeonDialog {
    id: editor

    required property var shell
    required property MissionStart starting
    property string planner: "calendar"
    property string key: ""
    // The day from which it was opened, "" from none.
    property string day: ""
    property var draft: ({})
    property bool sure: false
    // One that was just made may be on its way still.
    property bool waiting: false
    // Its name is yet to be given; unless it is saved it goes again.
    property bool isNew: false
    readonly property var schedule: Velmora.state.schedule ?? ({})
    readonly property var mission: ((planner === "simple" ? schedule.simpleEntries
                                                          : schedule.entries) ?? [])
        .find(m => m.id === key) ?? null
    readonly property bool locked: mission?.isActive ?? false
    readonly property bool soft: draft.protectionMode !== "brak"
    readonly property var presets: Velmora.state.presets ?? []
    // The first stands in for one that is gone.
    readonly property string presetID: presets.find(p => p.id === draft.presetID)?.id
                                       ?? presets[0]?.id ?? ""
    readonly property string problem: (draft.label ?? "").trim() === "" ? "It needs a name."
        : draft.endMinutes <= draft.startMinutes ? "It ends before it begins."
        : draft.recurrence === "weekly" && (draft.days ?? []).length === 0 ? "Choose a day for it."
        : draft.recurrence !== "once" && draft.recurrenceEndDate
          && draft.recurrenceEndDate < (draft.recurrenceStartDate ?? "")
            ? "Its last day is before its first." : ""
    readonly property var fields: ["label", "days", "startMinutes", "endMinutes", "isEnabled",
        "recurrence", "scheduledDate", "recurrenceStartDate", "recurrenceEndDate", "excludedDates",
        "protectionMode", "presetID", "softBlockedApps", "softBlockedSites", "rhythm",
        "showFloatingProgress"]

    // The mission is to go; what for is to be asked elsewhere.
    signal removing(var mission, string day)
    // What was saved, as {id, day}, of a mission that has one day.
    signal saved(var selection)

    function show(id: string, on: string) {
        key = id
        day = on
        sure = false
        waiting = true
        begin()
    }
    function showNew(id: string, on: string) {
        isNew = true
        show(id, on)
    }
    onMissionChanged: if (mission) begin(); else if (opened) close()
    function begin() {
        if (!waiting || !mission) return
        waiting = false
        draft = Object.assign({}, mission)
        open()
    }
    onClosed: {
        if (isNew && schedule.undo === "Create Mission") shell.ask("missions", ["undo"])
        key = ""
        isNew = false
    }
    onAboutToShow: {
        const first = locked ? leave : name
        first.focus = true
        if (isNew) name.selectAll()
        else name.cursorPosition = name.length
    }
    function keep() {
        isNew = false
        close()
    }
    function put(changes: var) { draft = Object.assign({}, draft, changes) }
    // A press beside it by mistake loses nothing that was entered.
    closePolicy: T.Popup.CloseOnEscape
        | (isNew || changed().length > 0 ? 0 : T.Popup.CloseOnPressOutside)
    function changed(): var {
        return fields.filter(
            f => JSON.stringify(draft[f] ?? null) !== JSON.stringify(mission?.[f] ?? null))
    }
    function save() {
        if (problem !== "" || locked) return
        const changes = {}
        changed().forEach(f => changes[f] = draft[f] ?? null)
        if (Object.keys(changes).length === 0) return keep()
        const words = ["edit", key, "--planner", planner, "--json", JSON.stringify(changes),
                       "--action", "Edit"]
        starting.ask(draft.isEnabled && Week.takesPlace(draft, schedule.today),
                     draft.startMinutes, draft.endMinutes, begins => {
            shell.ask("missions", words, result => {
                if (result.status !== 0) return
                keep()
                if (result.output) saved(JSON.parse(result.output))
                if (begins) starting.tell()
            })
        })
    }

    implicitWidth: 740

    RowLayout {
        Layout.topMargin: -20
        spacing: 14
        NeonField {
            id: name
            Layout.fillWidth: true
            implicitHeight: 40
            font { pixelSize: 18; weight: Font.DemiBold }
            label: "Name"
            text: editor.draft.label ?? ""
            enabled: !editor.locked
            onTextEdited: editor.put({ label: text })
            onActiveFocusChanged: if (!activeFocus) cursorPosition = 0  // shows its beginning
            onAccepted: editor.save()
        }
        NeonText { text: editor.draft.isEnabled ? "On" : "Off"; Accessible.ignored: true }
        NeonSwitch {
            text: "Takes place"
            enabled: !editor.locked
            on: editor.draft.isEnabled ?? true
            onAsked: on => editor.put({ isEnabled: on })
        }
    }
    RowLayout {
        visible: editor.locked || (editor.mission?.overlaps ?? false)
        spacing: 8
        NeonIcon {
            name: editor.locked ? "lock" : "warning"
            size: 16
            color: editor.locked ? NeonTheme.violet : NeonTheme.warn
        }
        NeonText {
            Layout.fillWidth: true
            level: "small"
            text: editor.locked
                ? Velmora.state.scheduled?.active
                    ? "This mission is running. It can be changed once it is over."
                    : "This mission was stopped. It can be changed once its time is over."
                : "This mission overlaps another one. Move it so each mission can chain cleanly."
        }
    }
    RowLayout {
        Layout.fillHeight: true
        spacing: 28
        enabled: !editor.locked

        // Wider than its column by the ring that shows where the keyboard is, and by the bar.
        NeonScroll {
            Layout.margins: -4
            Layout.rightMargin: -16
            Layout.preferredWidth: 336
            Layout.maximumWidth: 336
            Layout.fillHeight: true
            Layout.preferredHeight: left.implicitHeight + 8
            contentHeight: left.implicitHeight + 8

            ColumnLayout {
                id: left
                x: 4
                y: 4
                width: 316
                spacing: 10

                NeonText { level: "caps"; text: "When" }
                MissionTimes {
                    Layout.fillWidth: true
                    draft: editor.draft
                    today: editor.schedule.today ?? ""
                    uses24Hour: editor.schedule.uses24Hour ?? true
                    onPicked: fields => editor.put(fields)
                }
                NeonText {
                    Layout.fillWidth: true
                    visible: editor.day !== "" && editor.mission?.recurrence !== "once"
                    level: "small"
                    color: NeonTheme.quiet
                    text: "For the whole series. Move it to change one day."
                }
                NeonText { Layout.topMargin: 6; level: "caps"; text: "Rhythm" }
                NeonSegmented {
                    Layout.fillWidth: true
                    compact: true
                    text: "Rhythm"
                    value: editor.draft.rhythm
                    options: [{ value: "continuous", text: "Nonstop" },
                              { value: "pomodoro", text: "Pomodoro" }]
                    onChosen: value => editor.put({ rhythm: value })
                }
                MissionRhythm {
                    Layout.fillWidth: true
                    pomodoro: editor.draft.rhythm === "pomodoro"
                    start: editor.draft.startMinutes ?? 0
                    end: editor.draft.endMinutes ?? 0
                }
            }
        }
        ColumnLayout {
            Layout.fillWidth: true
            Layout.fillHeight: true
            spacing: 10

            NeonText { level: "caps"; text: "Protection" }
            NeonSegmented {
                Layout.fillWidth: true
                compact: true
                text: "Protection"
                value: editor.soft ? "soft" : "brak"
                options: [{ value: "soft", text: "Soft" }, { value: "brak", text: "Brak" }]
                onChosen: value => editor.put(value === "soft" ? { protectionMode: value }
                    : { protectionMode: value, presetID: editor.presetID || null })
            }
            NeonText {
                Layout.fillWidth: true
                level: "small"
                color: NeonTheme.quiet
                text: editor.soft ? "Its own list: these sites and apps are closed."
                    : editor.presets.length > 0 ? "Only the preset's tools stay open."
                    : "Without a preset it runs as Focus protection."
            }
            MissionBlocks {
                visible: editor.soft
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredHeight: 170
                shell: editor.shell
                sites: editor.draft.softBlockedSites ?? []
                apps: editor.draft.softBlockedApps ?? []
                onSitesPicked: sites => editor.put({ softBlockedSites: sites })
                onAppsPicked: apps => editor.put({ softBlockedApps: apps })
            }
            NeonScroll {
                visible: !editor.soft
                Layout.fillWidth: true
                Layout.fillHeight: true
                Layout.preferredHeight: 170

                Column {
                    width: parent.width
                    spacing: 2
                    Repeater {
                        model: KeyedModel { id: choices; records: editor.presets }
                        NeonListRow {
                            id: choice
                            required property string key
                            readonly property var preset: choices.byKey[key] ?? ({})
                            readonly property bool chosen: key === editor.presetID
                            width: parent.width - 10
                            implicitHeight: 40
                            opens: true
                            symbol: preset.iconName ?? "scope"
                            tint: Qt.lighter(NeonTheme.fromHex(preset.colorHex ?? 0x8c5cff), 1.25)
                            title: preset.name ?? ""
                            Accessible.role: Accessible.RadioButton
                            Accessible.checked: chosen
                            onClicked: editor.put({ presetID: key })
                            NeonIcon {
                                visible: choice.chosen
                                name: "check"
                                size: 18
                                color: NeonTheme.violet
                            }
                        }
                    }
                }
            }
            RowLayout {
                spacing: 12
                NeonText {
                    Layout.fillWidth: true
                    text: "Show the mini timer"
                    color: NeonTheme.ink
                    Accessible.ignored: true
                }
                NeonSwitch {
                    text: "Show the mini timer"
                    on: editor.draft.showFloatingProgress ?? true
                    onAsked: on => editor.put({ showFloatingProgress: on })
                }
            }
        }
    }
    actions: [
        NeonButton {
            text: editor.sure ? "Delete for good" : "Delete"
            symbol: "trash"
            kind: NeonButton.Danger
            enabled: !editor.locked
            onClicked: {
                // A series asks what it is for by itself.
                const asks = editor.day !== "" && editor.mission.recurrence !== "once"
                if (!editor.sure && !asks) return editor.sure = true
                const mission = editor.mission, day = editor.day
                editor.keep()
                editor.removing(mission, day)
            }
        },
        NeonText {
            Layout.fillWidth: true
            Layout.leftMargin: 6
            level: "small"
            color: NeonTheme.warn
            text: editor.problem
        },
        NeonButton {
            id: leave
            text: editor.locked ? "Close" : "Cancel"
            onClicked: editor.close()
        },
        NeonButton {
            visible: !editor.locked
            text: "Save"
            kind: NeonButton.Primary
            enabled: editor.problem === ""
            onClicked: editor.save()
        }
    ]
}
