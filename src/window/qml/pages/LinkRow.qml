import QtQuick
import Velmora

// Links the browsers of this computer, and shows what only the user can do.
SettingRow {
    id: row

    required property var shell
    property alias button: button
    // The steps have been read.
    signal done()

    title: "Link your browser"
    text: "Lets Velmora see which sites are open and send them to the wall."

    NeonButton {
        id: button
        // An answer is being waited for. A disabled button would lose the keyboard.
        property bool busy: false
        text: "Link browsers"
        symbol: "link"
        kind: (Velmora.state.browsers ?? []).length > 0 ? NeonButton.Quiet : NeonButton.Primary
        onClicked: {
            if (busy) return
            busy = true
            row.shell.ask("install-browser-link", ["--json"], result => {
                busy = false
                try {
                    steps.rows = JSON.parse(result.output || "[]")
                } catch (error) {
                    steps.rows = []
                }
                if (steps.rows.length > 0) steps.open()
            })
        }
    }
    LinkSteps { id: steps; onClosed: row.done() }
}
