import QtQuick
import Velmora

// The clock with its controls, and beside it what a session leaves open or blocks.
FocusScope {
    id: page

    required property var shell
    readonly property real panelWidth: 296
    // The pass, the way out that a refusal points to.
    readonly property real foot: Velmora.state.session.hardcore ? 56 : 0
    readonly property bool soft: Velmora.state.session.mode === "soft"

    ClockStage {
        id: stage
        shell: page.shell
        width: page.width - page.panelWidth - 28
        height: page.height
        focus: true
    }
    NeonScroll {
        anchors { left: stage.right; right: parent.right; top: parent.top; bottom: parent.bottom }

        Column {
            width: page.panelWidth
            topPadding: 28
            bottomPadding: 28
            spacing: 16

            ModeCard { width: parent.width; shell: page.shell }
            Loader {
                width: parent.width
                active: !page.soft
                visible: active
                sourceComponent: PresetsCard { width: page.panelWidth; shell: page.shell }
            }
            Loader {
                width: parent.width
                active: page.soft
                visible: active
                sourceComponent: Column {
                    width: page.panelWidth
                    spacing: 16
                    SitesCard { width: parent.width; shell: page.shell }
                    AppsCard { width: parent.width; shell: page.shell }
                }
            }
        }
    }
}
