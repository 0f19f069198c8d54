import QtQuick
import QtQuick.Layouts
import Velmora

// The main window: its pages at the left, the one that is open beside them.
FocusScope {
    id: main
    focus: true

    property string page: "focus"
    readonly property bool ready: Velmora.state.session !== undefined
    readonly property var modules: Velmora.state.modules ?? []
    readonly property var tabs: [
        { value: "focus", text: "Focus", symbol: "focus" },
        { value: "schedule", text: "Schedule", symbol: "schedule" },
        { value: "rules", text: "Rules", symbol: "rules" },
        { value: "progress", text: "Progress", symbol: "progress" },
        { value: "extensions", text: "Extensions", symbol: "extensions" },
        { value: "settings", text: "Settings", symbol: "settings" }
    ].filter(tab => tab.value === page || !["schedule", "rules", "progress"].includes(tab.value)
                    || modules.some(m => m.enabled && (m.name === tab.value
                                                       || m.category.toLowerCase() === tab.value)))

    function go(name: string) { page = name }
    function say(line: string, wrong: bool) { toast.show(line, wrong) }
    // Runs a command; a refusal shows the program's line. `done` gets the answer, refused or not.
    function ask(command: string, words: var, done: var) {
        Velmora.run(command, words ?? [], result => {
            if (result.status !== 0 && result.error) say(result.error.trim(), true)
            if (done) done(result)
        })
    }

    NeonBackdrop {
        anchors.fill: parent
        still: !main.Window.active
        lightX: 200 + (width - 200) * 0.36
        lightY: 310
    }

    Rectangle {
        id: side
        width: 200
        height: parent.height
        color: NeonTheme.faded(NeonTheme.sunken, 0.72)

        Rectangle {
            anchors.right: parent.right
            width: 1
            height: parent.height
            color: NeonTheme.line
        }
        Row {
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
            x: 12
            y: 84
            width: parent.width - 24
            tabs: main.tabs
            current: main.page
            onChosen: value => main.go(value)
        }
        BrowserBadge {
            x: 12
            width: parent.width - 24
            anchors { bottom: parent.bottom; bottomMargin: 16 }
            onClicked: main.go("settings")
        }
    }

    Loader {
        id: pages
        anchors { left: side.right; top: parent.top; bottom: parent.bottom; right: parent.right }
        active: main.ready
        focus: true
        sourceComponent: ({ focus: focusPage, schedule: schedulePage, rules: rulesPage,
                            progress: progressPage, extensions: extensionsPage,
                            settings: settingsPage })[main.page]
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
        active: Velmora.state.desktop?.welcomed === false && main.ready
        focus: active
        onActiveChanged: if (!active) pages.forceActiveFocus()
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
            bottomMargin: 24
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
                onActivated: main.go(place.modelData.value)
            }
        }
    }
    Shortcut {
        sequences: ["Ctrl+,"]
        onActivated: main.go("settings")
    }
}
