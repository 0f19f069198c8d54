import QtQuick
import QtQuick.Templates as T
import Velmora
import "Week.js" as Week

// The seven days of a week with their 24 hours, as the clock on the wall has them. Drawing, moving
// and resizing only ask; what was asked for stays drawn until `settle`.
FocusScope {
    id: grid

    // The Monday, and the day that is now.
    property string monday: ""
    property string today: ""
    property int nowMinutes: 0
    property bool uses24Hour: true
    // Whether a mission runs whose time is now; it may have been stopped.
    property bool isRunning: false
    // [{id, entryID, day, startMinutes, endMinutes}] in the order of days and starts.
    property var occurrences: []
    // The missions by their ids.
    property var missions: ({})
    // The occurrence that the keys are for: {entryID, day}, or null.
    property var selection: null
    // What is under way: {kind: draw, move, start or end, entryID, origin, span, byKeys}. Spans are
    // {day, start, end}.
    property var drag: null
    property bool settling: false
    // The day to which the pointer has gone since something was chosen.
    property string pointed: ""
    // What is covered at its foot while something is chosen.
    property real foot: 0
    readonly property var placed: Week.abreast(occurrences)
    readonly property var selected: selection ? placed.find(o => o.entryID === selection.entryID
                                                                 && o.day === selection.day) : null
    // By themselves, so that no block looks again at each movement or choice of another.
    readonly property string lifted: drag?.occurrence?.id ?? ""
    readonly property string chosen: selected?.id ?? ""
    readonly property real gutter: 54
    readonly property real hour: 52
    readonly property real column: (width - gutter - 12) / 7
    readonly property bool dragging: drag !== null && !settling

    signal created(var span)
    // A mission was dropped at `span`; `kind` is move, start or end.
    signal dropped(var occurrence, var span, string kind)
    signal opened(var occurrence)
    signal refused(var mission)

    function mission(occurrence: var): var { return missions[occurrence?.entryID] ?? ({}) }
    function span(o: var): var { return { day: o.day, start: o.startMinutes, end: o.endMinutes } }
    function dayAt(x: real): string {
        const at = Math.floor((x - gutter) / column)
        return Week.plus(monday, Week.within(0, at, 6))
    }
    // Where what stands on a day begins.
    function edgeOf(day: string): real {
        return gutter + 3 + column * (Week.number(day) - Week.number(monday))
    }
    function minuteAt(y: real): real { return Week.within(0, y / hour * 60, 1440) }
    function same(a: var, b: var): bool {
        return a.day === b.day && a.start === b.start && a.end === b.end
    }
    function settle() {
        drag = null
        settling = false
    }
    function select(occurrence: var) {
        selection = occurrence ? { entryID: occurrence.entryID, day: occurrence.day } : null
    }
    // The keyboard goes to the selection, or to the grid without one.
    function take() {
        for (let i = 0; i < blocks.count; i++) {
            const block = blocks.itemAt(i)
            if (selected && block?.occurrence.id === selected.id)
                return block.forceActiveFocus(Qt.OtherFocusReason)
        }
        board.forceActiveFocus(Qt.OtherFocusReason)
    }
    function lift(occurrence: var, kind: string, byKeys: bool): bool {
        if (settling) return false
        if (mission(occurrence).isActive) {
            refused(mission(occurrence))
            return false
        }
        drag = { kind, entryID: occurrence.entryID, occurrence, byKeys,
                 origin: span(occurrence), span: span(occurrence) }
        return true
    }
    function draw(span: var) {
        drag = { kind: "draw", entryID: "", byKeys: false, origin: span, span }
    }
    function carry(to: var) {
        if (drag && !same(drag.span, to)) drag = Object.assign({}, drag, { span: to })
    }
    function drop() {
        const { kind, occurrence, origin, span } = drag
        if (kind !== "draw" && same(origin, span)) return settle()
        settling = true
        if (kind === "draw") created(span)
        else dropped(occurrence, span, kind)
    }
    // By a day or by some minutes, as the pointer would.
    function nudge(days: int, minutes: int, edge: string, step: int) {
        if (!selected || settling) return
        if (!drag && !lift(selected, edge || "move", true)) return
        const span = drag.span
        if (edge === "") {
            if (drag.kind !== "move") drag = Object.assign({}, drag, { kind: "move" })
            const day = Week.within(0, Week.number(span.day) - Week.number(monday) + days, 6)
            const to = Week.moved(span, Week.plus(monday, day), span.start + minutes, step)
            carry(minutes ? to : Object.assign(to, { start: span.start, end: span.end }))
        } else {
            if (drag.kind !== edge) drag = Object.assign({}, drag, { kind: "move" })
            carry(Week.resized(span, edge, span[edge] + minutes, step))
        }
        show(drag.span.start, drag.span.end)
    }
    function show(start: int, end: int) {
        const top = start / 60 * hour - 16, bottom = end / 60 * hour + 8 + foot
        const highest = Math.min(scroll.contentHeight, bottom) - scroll.height
        if (top < scroll.contentY || bottom - top > scroll.height)
            scroll.contentY = Math.max(0, top)
        else if (highest > scroll.contentY) scroll.contentY = highest
    }
    // Where the day goes on, or its usual beginning.
    function begin() {
        const here = Week.monday(today || monday) === monday
        const minute = here ? Math.max(0, nowMinutes - 120) : 450
        scroll.contentY = Week.within(0, minute / 60 * hour, scroll.contentHeight - scroll.height)
    }

    // A selection that is no more takes its focus with it.
    onPlacedChanged: Qt.callLater(() => { if (grid.activeFocus) grid.take() })
    onChosenChanged: pointed = ""
    onSelectedChanged: if (!selected && drag?.byKeys && !settling) drag = null
    Keys.onPressed: event => {
        const step = event.modifiers & Qt.AltModifier ? 5 : 15
        const shift = event.modifiers & Qt.ShiftModifier
        const ctrl = event.modifiers & Qt.ControlModifier  // with an arrow, leafs through the weeks
        const edge = !shift ? "" : ctrl ? "start" : "end"
        event.accepted = true
        if (event.key === Qt.Key_Escape && drag && !settling) drag = null
        else if (event.key === Qt.Key_Escape && selection) {
            selection = null
            board.forceActiveFocus(Qt.TabFocusReason)
        } else if (event.key === Qt.Key_Up && selected) nudge(0, -step, edge, step)
        else if (event.key === Qt.Key_Down && selected) nudge(0, step, edge, step)
        else if (event.key === Qt.Key_Left && selected && !shift && !ctrl) nudge(-1, 0, "", step)
        else if (event.key === Qt.Key_Right && selected && !shift && !ctrl) nudge(1, 0, "", step)
        else if ([Qt.Key_Return, Qt.Key_Enter, Qt.Key_Space].includes(event.key) && selected) {
            if (drag && !settling) drop()
            else if (!drag) opened(selected)
        } else if (event.key === Qt.Key_Up) scroll.leaf(-0.1)
        else if (event.key === Qt.Key_Down) scroll.leaf(0.1)
        else if (event.key === Qt.Key_PageUp) scroll.leaf(-1)
        else if (event.key === Qt.Key_PageDown) scroll.leaf(1)
        else event.accepted = false
    }

    // The names of the days.
    Item {
        id: head
        width: parent.width
        height: 46

        Repeater {
            model: 7
            Item {
                id: name
                required property int index
                readonly property string day: grid.monday ? Week.plus(grid.monday, index) : ""
                readonly property bool here: day !== "" && day === grid.today
                x: grid.gutter + index * grid.column
                width: grid.column
                height: parent.height
                Accessible.role: Accessible.ColumnHeader
                Accessible.name: day ? Week.full(day) : ""

                Row {
                    anchors.centerIn: parent
                    spacing: 7
                    NeonText {
                        anchors.verticalCenter: parent.verticalCenter
                        level: "caps"
                        color: name.here ? NeonTheme.violet : NeonTheme.quiet
                        text: Week.days[name.index].slice(0, 3)
                        Accessible.ignored: true
                    }
                    Rectangle {
                        anchors.verticalCenter: parent.verticalCenter
                        width: date.width + (name.here ? 14 : 0)
                        height: 24
                        radius: 8
                        color: name.here ? "#2b1b42" : "transparent"
                        border.width: name.here ? 1 : 0
                        border.color: NeonTheme.faded(NeonTheme.edge, 0.5)
                        NeonText {
                            id: date
                            anchors.centerIn: parent
                            level: "strong"
                            color: name.here ? NeonTheme.ink : NeonTheme.soft
                            text: name.day ? Number(name.day.slice(8)) : ""
                            Accessible.ignored: true
                        }
                    }
                }
            }
        }
        Rectangle {
            anchors.bottom: parent.bottom
            width: parent.width
            height: 1
            color: NeonTheme.line
        }
    }
    Flickable {
        id: scroll
        anchors { top: head.bottom; bottom: parent.bottom }
        width: parent.width
        contentWidth: width
        contentHeight: 24 * grid.hour + 8 + grid.foot
        boundsBehavior: Flickable.StopAtBounds
        clip: true
        pixelAligned: true
        flickDeceleration: 6000
        T.ScrollBar.vertical: NeonScrollBar {}

        function leaf(by: real) {
            contentY = Week.within(0, contentY + by * height * 0.85, contentHeight - height)
        }

        T.Control {
            id: board
            width: parent.width
            height: scroll.contentHeight
            focusPolicy: Qt.TabFocus
            Accessible.role: Accessible.Table
            Accessible.name: grid.monday ? "Week of " + Week.full(grid.monday) : ""

            // Nothing behind it shines through, so that scrolling paints this only.
            Rectangle { width: parent.width; height: parent.height; color: "#0b0812" }
            Rectangle {
                readonly property int at: grid.today && grid.monday
                    ? Week.number(grid.today) - Week.number(grid.monday) : -1
                visible: at >= 0 && at < 7
                x: grid.gutter + at * grid.column
                width: grid.column
                height: parent.height
                color: "#110b1c"
            }
            Repeater {
                model: 25
                Item {
                    required property int index
                    y: index * grid.hour
                    NeonText {
                        visible: parent.index > 0 && parent.index < 24
                        x: 0
                        y: -height / 2
                        width: grid.gutter - 10
                        horizontalAlignment: Text.AlignRight
                        level: "small"
                        font.pixelSize: 11
                        color: NeonTheme.quiet
                        text: grid.uses24Hour ? Week.clock(parent.index * 60, true)
                            : `${parent.index % 12 || 12} ${parent.index < 12 ? "AM" : "PM"}`
                        Accessible.ignored: true
                    }
                    Rectangle {
                        visible: parent.index > 0
                        x: grid.gutter - 4
                        width: board.width - x
                        height: 1
                        color: "#1a1424"
                    }
                }
            }
            Repeater {
                model: 7
                Rectangle {
                    required property int index
                    x: grid.gutter + index * grid.column
                    width: 1
                    height: 24 * grid.hour
                    color: "#1a1424"
                }
            }
            // Below the missions, whose words it would strike through; its dot is above them.
            Rectangle {
                id: now
                readonly property int at: grid.today && grid.monday
                    ? Week.number(grid.today) - Week.number(grid.monday) : -1
                visible: at >= 0 && at < 7
                x: grid.gutter + at * grid.column
                y: Math.round(grid.nowMinutes / 60 * grid.hour)
                width: grid.column - 4  // no end of it looks out from behind a mission
                height: 2
                color: NeonTheme.violet
                Rectangle {
                    x: grid.gutter - now.x
                    width: board.width - grid.gutter
                    height: 1
                    color: NeonTheme.faded(NeonTheme.violet, 0.25)
                }
            }
            MouseArea {
                id: mouse
                anchors.fill: parent
                hoverEnabled: true
                preventStealing: true
                acceptedButtons: Qt.LeftButton

                property point from
                property point last
                property real seen: 0  // how far the week was scrolled at that
                property int modifiers: 0
                property var under: null
                property string grip: ""
                property bool pressedHere: false
                // A press beside what is chosen only lets go of it.
                property bool letsGo: false

                function hit(x: real, y: real): var {
                    for (let i = blocks.count - 1; i >= 0; i--) {
                        const block = blocks.itemAt(i)
                        if (block.contains(Qt.point(x - block.x, y - block.y))) return block
                    }
                    return null
                }
                // Which part of a block is held there: its middle moves it.
                function gripOf(block: var, y: real): string {
                    const edge = Math.min(7, block.height / 4)
                    return y > block.y + block.height - edge ? "end"
                         : y < block.y + edge ? "start" : "move"
                }
                function look(x: real, y: real) {
                    const block = hit(x, y)
                    grid.pointed = x < grid.gutter ? "" : grid.dayAt(x)
                    cursorShape = !block ? Qt.ArrowCursor
                        : gripOf(block, y) === "move" ? Qt.ArrowCursor : Qt.SizeVerCursor
                }
                function reach(event: var) {
                    last = Qt.point(event.x, event.y)
                    seen = scroll.contentY
                    modifiers = event.modifiers
                }
                function follow() {
                    const step = modifiers & Qt.AltModifier ? 5 : 15
                    const minute = grid.minuteAt(last.y), origin = grid.drag.origin
                    const kind = grid.drag.kind
                    if (kind === "draw")
                        grid.carry(Week.drawn(origin.day, grid.minuteAt(from.y), minute, step))
                    else if (kind === "move")
                        grid.carry(Week.moved(origin, grid.dayAt(last.x),
                            origin.start + (last.y - from.y) / grid.hour * 60, step))
                    else
                        grid.carry(Week.resized(origin, kind,
                            origin[kind] + (last.y - from.y) / grid.hour * 60, step))
                }

                onPressed: event => {
                    pressedHere = false
                    if (grid.settling) return
                    letsGo = !!grid.selected
                    grid.drag = null
                    pressedHere = true
                    reach(event)
                    from = last
                    const block = hit(event.x, event.y)
                    under = block?.occurrence ?? null
                    grip = block ? gripOf(block, event.y) : "draw"
                    if (block) block.forceActiveFocus(Qt.MouseFocusReason)
                    else board.forceActiveFocus(Qt.MouseFocusReason)
                    grid.select(under)
                }
                onPositionChanged: event => {
                    if (!pressed) return look(event.x, event.y)
                    if (!pressedHere) return
                    reach(event)
                    if (!grid.drag) {
                        const far = Math.max(Math.abs(last.x - from.x), Math.abs(last.y - from.y))
                        if (far < 4) return
                        if (!under) {
                            const day = grid.dayAt(from.x)
                            if (from.x < grid.gutter) return
                            grid.draw(Week.clicked(day, grid.minuteAt(from.y), 15))
                        } else if (!grid.lift(under, grip, false)) {
                            pressedHere = false
                            return
                        }
                    }
                    follow()
                }
                onReleased: event => {
                    if (!pressedHere) return
                    pressedHere = false
                    if (grid.drag) grid.drop()
                    else if (!under && !letsGo && from.x >= grid.gutter) {
                        const step = event.modifiers & Qt.AltModifier ? 5 : 15
                        grid.draw(Week.clicked(grid.dayAt(from.x), grid.minuteAt(from.y), step))
                        grid.drop()
                    }
                }
                onExited: grid.pointed = ""
                onCanceled: if (pressedHere && !grid.settling) grid.drag = null
                onDoubleClicked: event => {
                    const block = hit(event.x, event.y)
                    if (block && !grid.drag) grid.opened(block.occurrence)
                }
                Connections {
                    target: grid
                    // Escape within a drag: what the hand still does means nothing.
                    function onDragChanged() {
                        if (!grid.drag && mouse.pressed) mouse.pressedHere = false
                    }
                }
                // A drag that reaches the edge goes on beyond it.
                Timer {
                    readonly property real above: scroll.contentY + 28 - mouse.last.y
                    readonly property real below:
                        mouse.last.y + 28 - scroll.contentY - scroll.height
                    running: grid.dragging && mouse.pressedHere && (above > 0 || below > 0)
                    interval: 16
                    repeat: true
                    onTriggered: {
                        const by = above > 0 ? -Math.min(12, above / 3) : Math.min(12, below / 3)
                        scroll.contentY = Week.within(0, scroll.contentY + by,
                                                      scroll.contentHeight - scroll.height)
                    }
                }
                // The pointer stays where it is on the screen when the week is scrolled, by a wheel say.
                Connections {
                    target: scroll
                    enabled: mouse.pressedHere
                    function onContentYChanged() {
                        mouse.last.y += scroll.contentY - mouse.seen
                        mouse.seen = scroll.contentY
                        if (grid.dragging) mouse.follow()
                    }
                }
            }
            Repeater {
                id: blocks
                model: KeyedModel {
                    id: slots
                    keyName: "slot"
                    records: grid.placed.map((o, slot) => Object.assign({ slot }, o))
                }
                MissionBlock {
                    required property string key
                    readonly property int minutes:
                        (occurrence.endMinutes ?? 0) - (occurrence.startMinutes ?? 0)
                    readonly property real lane: (grid.column - 5) / (occurrence.lanes ?? 1)
                    occurrence: slots.byKey[key] ?? ({})
                    mission: grid.mission(occurrence)
                    uses24Hour: grid.uses24Hour
                    held: occurrence.day === grid.today && (mission.isActive ?? false)
                    running: held && grid.isRunning
                    selected: grid.chosen !== "" && grid.chosen === occurrence.id
                    lifted: grid.lifted !== "" && grid.lifted === occurrence.id
                    x: grid.edgeOf(occurrence.day ?? grid.monday) + (occurrence.lane ?? 0) * lane
                    y: (occurrence.startMinutes ?? 0) / 60 * grid.hour + 1
                    z: selected ? 1 : 0  // its ring lies over its neighbours
                    width: lane - 1
                    height: Math.max(11, minutes / 60 * grid.hour - 1)
                    onActiveFocusChanged: {
                        if (!activeFocus) return
                        if (grid.drag?.byKeys && !grid.settling && !lifted) grid.drag = null
                        grid.select(occurrence)
                        if (mouse.pressed) return
                        grid.show(occurrence.startMinutes, occurrence.endMinutes)
                    }
                    onOpened: grid.opened(occurrence)
                }
            }
            Rectangle {
                visible: now.visible
                z: 1
                x: now.x - 4
                y: now.y - 3
                width: 8
                height: 8
                radius: 4
                color: NeonTheme.violet
            }
            // The likeness of what is being drawn, moved or resized.
            Rectangle {
                id: ghost
                readonly property var span: grid.drag?.span ?? null
                // Its words stay in sight.
                readonly property real pin:
                    Math.max(0, Math.min(height - 40, scroll.contentY - y))
                visible: span !== null
                z: 2
                x: grid.edgeOf(span?.day ?? grid.monday)
                y: (span?.start ?? 0) / 60 * grid.hour + 1
                width: grid.column - 6
                height: Math.max(11, ((span?.end ?? 0) - (span?.start ?? 0)) / 60 * grid.hour - 1)
                radius: Math.min(7, height / 3)
                color: "#eb4a2d72"
                border { width: 1; color: NeonTheme.rim }
                Accessible.role: Accessible.AlertMessage
                Accessible.name: span ? Week.full(span.day) + ", " + times.text : ""
                Accessible.ignored: !visible

                NeonText {
                    x: 10
                    y: parent.height < 26 ? (parent.height - height) / 2 : 4 + ghost.pin
                    width: parent.width - 13
                    visible: parent.height >= 20
                    level: "small"
                    font.weight: Font.DemiBold
                    color: NeonTheme.ink
                    elide: Text.ElideRight
                    wrapMode: Text.NoWrap
                    text: grid.drag?.kind === "draw" ? "New mission"
                        : grid.missions[grid.drag?.entryID]?.label ?? ""
                    Accessible.ignored: true
                }
                NeonText {
                    id: times
                    x: 10
                    y: 19 + ghost.pin
                    width: parent.width - 12
                    visible: parent.height >= 37
                    level: "small"
                    font.pixelSize: 11
                    wrapMode: Text.NoWrap
                    text: !ghost.span ? ""
                        : Week.range(ghost.span.start, ghost.span.end, grid.uses24Hour)
                    Accessible.ignored: true
                }
            }
            // The times beside a likeness that is too small to hold them.
            Rectangle {
                visible: ghost.visible && ghost.height < 37
                z: 2
                x: Math.min(board.width - width - 12, ghost.x)
                y: ghost.y + ghost.height + 4
                width: tip.width + 16
                height: 22
                radius: 7
                color: "#251a36"
                border { width: 1; color: NeonTheme.lineStrong }
                NeonText {
                    id: tip
                    anchors.centerIn: parent
                    level: "small"
                    font.pixelSize: 11
                    color: NeonTheme.ink
                    wrapMode: Text.NoWrap
                    text: times.text
                    Accessible.ignored: true
                }
            }
        }
    }
    NeonFocusRing {
        visible: board.visualFocus
        anchors { fill: scroll; margins: 2 }
        around: 4
    }
}
