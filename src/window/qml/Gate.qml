import QtQuick
import Velmora

// The gate's form: which tools stay open, and for what.
FocusScope {
    id: gate
    focus: true

    readonly property var presets: Velmora.state.presets ?? []
    readonly property var chosen: presets[list.currentIndex] ?? null
    // An answer is being waited for.
    property bool busy: false

    function begin() {
        if (!chosen || busy)
            return;
        busy = true;
        refusal.text = "";
        Velmora.run("focus", [chosen.id, "--task", task.text], result => {
            busy = false;
            refusal.text = result.status === 0 ? "" : result.error;
        });
    }

    Rectangle {
        anchors.fill: parent
        color: "black"
    }
    NeonRing {
        id: ring
        anchors.centerIn: parent
        // A display that is low lets the ring run off it rather than press on the words.
        width: Math.round(Math.min(920, Math.max(760, gate.height * 0.84)))
        progress: 0.222
        Accessible.ignored: true
    }

    Column {
        id: words
        anchors.centerIn: parent
        width: 392
        spacing: 0
        opacity: 0
        NumberAnimation on opacity { to: 1; duration: NeonTheme.calm }

        NeonText {
            width: parent.width
            level: "headline"
            horizontalAlignment: Text.AlignHCenter
            text: Velmora.state.surfaces?.gate?.reason || "Choose your focus"
        }
        Item { width: 1; height: 22 }

        ListView {
            id: list
            width: parent.width
            // Three and a half rows say that there are more.
            height: Math.min(contentHeight, 60 * 3.5 - spacing)
            spacing: 4
            clip: true
            boundsBehavior: Flickable.StopAtBounds
            highlightMoveDuration: 0
            model: gate.presets
            currentIndex: 0
            onCountChanged: currentIndex = Math.max(0, Math.min(currentIndex, count - 1))
            activeFocusOnTab: true
            keyNavigationEnabled: true
            Keys.onReturnPressed: gate.begin()
            Keys.onEnterPressed: gate.begin()
            Accessible.role: Accessible.List
            Accessible.name: "Focus presets"
            delegate: GatePreset {
                required property var modelData
                required property int index
                width: list.width
                preset: modelData
                isChosen: ListView.isCurrentItem
                hasKeyboard: isChosen && list.activeFocus
                onPicked: list.currentIndex = index
                onTaken: gate.begin()
            }
        }
        Item { width: 1; height: 24 }

        NeonText {
            x: 18
            text: "What will you work on?"
            Accessible.ignored: true
        }
        Item { width: 1; height: 10 }
        NeonField {
            id: task
            width: parent.width
            implicitHeight: 44
            focus: true
            maximumLength: 200
            leftPadding: 18
            label: "What will you work on?"
            // The task's name when nothing is typed.
            placeholderText: gate.chosen?.name ?? ""
            onAccepted: gate.begin()
            Keys.onUpPressed: list.decrementCurrentIndex()
            Keys.onDownPressed: list.incrementCurrentIndex()
        }
        Item { width: 1; height: 18 }
        NeonButton {
            anchors.horizontalCenter: parent.horizontalCenter
            implicitHeight: 42
            implicitWidth: 200
            kind: NeonButton.Primary
            enabled: gate.chosen !== null && !gate.busy
            text: "Start focusing"
            onClicked: gate.begin()
        }
        Item { width: 1; height: 14 }
        NeonText {
            id: hint
            width: parent.width
            height: Math.max(implicitHeight, 18)
            horizontalAlignment: Text.AlignHCenter
            level: "small"
            color: refusal.text === "" ? NeonTheme.quiet : NeonTheme.danger
            text: refusal.text || "↑ ↓  choose      Enter  starts"
            QtObject {
                id: refusal
                property string text: ""
            }
        }
    }
}
