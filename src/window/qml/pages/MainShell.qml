import QtQuick
import QtQuick.Layouts
import Velmora

// The main window: its pages at the left, the one that is open beside them.
FocusScope {
    id: main
    focus: true

    property string page: "focus"
    // How much of its foot the page covers by something that a line must not hide.
    readonly property real foot: pages.item?.foot ?? 0
    readonly property bool ready: Velmora.state.session !== undefined
    readonly property var modules: Velmora.state.modules ?? []
    readonly property var views: ({ focus: focusPage, schedule: schedulePage, rules: rulesPage,
                                    progress: progressPage, extensions: extensionsPage,
                                    settings: settingsPage })
    readonly property var known: (Velmora.state.tabs ?? []).filter(tab => tab.name in views)
    // A page whose modules go off stays for whoever is on it.
    readonly property string kept: known.some(tab => tab.shown && tab.name === page) ? "" : page
    readonly property var tabs: known.filter(tab => tab.shown || tab.name === kept)
        .map(tab => ({ value: tab.name, text: tab.title, symbol: tab.name }))
    // The first run's welcome stands before everything, and nothing behind it can be reached.
    readonly property bool greets: Velmora.state.desktop?.welcomed === false && ready
    readonly property bool listsPages: Velmora.state.desktop?.sidebar ?? true

    function fold() { ask("sidebar", [listsPages ? "off" : "on"]) }
    function go(name: string) { page = name }
    function say(line: string, wrong: bool) { toast.show(line, wrong) }
    // Runs a command; a refusal shows the program's line. `done` gets the answer, refused or not.
    function ask(command: string, words: var, done: var) {
        Velmora.run(command, words ?? [], result => {
            if (result.status !== 0 && result.error) say(result.error.trim(), true)
            else toast.hide()  // it was about something before
            if (done) done(result)
        })
    }

    NeonBackdrop {
        anchors.fill: parent
        still: !main.Window.active
        lightX: side.width + (width - side.width) * 0.36
        lightY: 310
    }

    Rectangle {
        id: side
        visible: !main.greets
        width: main.listsPages ? 200 : 52
        height: parent.height
        color: main.listsPages ? NeonTheme.faded(NeonTheme.sunken, 0.72) : "transparent"

        Rectangle {
            visible: main.listsPages
            anchors.right: parent.right
            width: 1
            height: parent.height
            color: NeonTheme.line
        }
        NeonIconButton {
            anchors { right: parent.right; rightMargin: 10 }
            y: 24
            symbol: "sidebar"
            ink: hovered ? NeonTheme.ink : NeonTheme.quiet
            text: main.listsPages ? "Hide the sidebar" : "Show the sidebar"
            hint: text + " (F9)"
            onClicked: main.fold()
        }
        Row {
            visible: main.listsPages
            x: 24
            y: 28
            spacing: 11
            NeonMark { anchors.verticalCenter: parent.verticalCenter; size: 24 }
            NeonText {
                anchors.verticalCenter: parent.verticalCenter
                level: "title"
                text: "Velmora"
            }
        }
        NeonTabBar {
            visible: main.listsPages
            x: 12
            y: 84
            width: parent.width - 24
            tabs: main.tabs
            current: main.page
            onChosen: value => main.go(value)
        }
        BrowserBadge {
            visible: main.listsPages
            x: 12
            width: parent.width - 24
            anchors { bottom: parent.bottom; bottomMargin: 16 }
            onClicked: main.go("settings")
        }
    }

    Loader {
        id: pages
        visible: !main.greets
        anchors { left: side.right; top: parent.top; bottom: parent.bottom; right: parent.right }
        active: main.ready
        focus: true
        sourceComponent: main.views[main.page]
        onLoaded: {
            item.focus = true
            if (!NeonTheme.reducedMotion) appear.restart()
        }

        NumberAnimation {
            id: appear
            target: pages
            property: "opacity"
            from: 0
            to: 1
            duration: NeonTheme.calm
        }
    }
    Component { id: focusPage; FocusPage { shell: main } }
    Component { id: schedulePage; SchedulePage { shell: main } }
    Component {
        id: rulesPage
        GroupPage {
            shell: main
            category: "Rules"
            symbol: "rules"
            emptyTitle: "No rule extensions enabled"
            emptyText: "Turn on Budget Mode, Scroll Guard, Creator Gate, or Brak Porn in "
                     + "Extensions."
        }
    }
    Component {
        id: progressPage
        GroupPage {
            shell: main
            category: "Progress"
            symbol: "progress"
            emptyTitle: "No progress modules enabled"
            emptyText: "Turn on Daily Tasks, Habit, or Deadline in Extensions."
        }
    }
    Component { id: extensionsPage; ExtensionsPage { shell: main } }
    Component { id: settingsPage; SettingsPage { shell: main } }

    Loader {
        anchors.fill: parent
        active: main.greets
        focus: active
        onActiveChanged: if (!active) Qt.callLater(() => pages.forceActiveFocus())
        sourceComponent: Welcome { shell: main }
    }

    NeonToast {
        id: toast
        // Above the dialogs as well, which lie on an overlay of the window.
        parent: main.Window.window?.contentItem ?? main
        z: 1000002
        anchors {
            horizontalCenter: parent.horizontalCenter
            bottom: parent.bottom
            bottomMargin: 24 + main.foot
        }
    }

    Repeater {
        model: main.tabs
        Item {
            id: place
            required property var modelData
            required property int index
            Shortcut {
                sequence: "Ctrl+" + (place.index + 1)
                enabled: !main.greets
                onActivated: main.go(place.modelData.value)
            }
        }
    }
    Shortcut {
        sequences: ["F9"]
        enabled: !main.greets
        onActivated: main.fold()
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        enabled: !main.greets
        onActivated: main.go("settings")
    }
}
