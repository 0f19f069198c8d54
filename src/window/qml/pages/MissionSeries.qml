import QtQuick
import QtQuick.Layouts
import Velmora

// Asks what a change of a series is for: the one occurrence, or that and all that follow.
// `dismissed` when nothing is to happen.
NeonDialog {
    id: series

    property bool deletes: false
    property var then: null
    property bool decided: false

    signal dismissed()

    // `line` says which one, and what becomes of it. `next` is called with "one" or "future".
    function ask(label: string, deletion: bool, line: string, next: var) {
        title = deletion ? `Delete “${label}”?` : `Change “${label}”?`
        text = line
        deletes = deletion
        then = next
        decided = false
        open()
    }
    function decide(scope: string) {
        decided = true
        close()
        then(scope)
    }

    implicitWidth: 540
    onAboutToShow: safe.focus = true  // not what was pressed the last time
    onClosed: if (!decided) dismissed()

    NeonText {
        Layout.fillWidth: true
        Layout.topMargin: -12
        level: "small"
        color: NeonTheme.quiet
        text: "Earlier occurrences stay in your calendar history."
    }
    actions: [
        Item { Layout.fillWidth: true },
        NeonButton { id: safe; text: "Cancel"; onClicked: series.close() },
        NeonButton {
            text: series.deletes ? "Delete Future Occurrences" : "Edit Future Occurrences"
            kind: series.deletes ? NeonButton.Danger : NeonButton.Quiet
            onClicked: series.decide("future")
        },
        NeonButton {
            text: series.deletes ? "Delete Occurrence" : "Edit Occurrence"
            kind: series.deletes ? NeonButton.Danger : NeonButton.Primary
            onClicked: series.decide("one")
        }
    ]
}
