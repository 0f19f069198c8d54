import QtQuick
import QtQuick.Layouts
import Velmora

// Links the browsers of this computer, and shows what only the user can do.
SettingRow {
    id: row

    required property var shell

    title: "Link your browser"
    text: "Lets Velmora see which sites are open and send them to the wall."

    NeonButton {
        id: button
        text: "Link browsers"
        symbol: "link"
        kind: (Velmora.state.browsers ?? []).length > 0 ? NeonButton.Quiet : NeonButton.Primary
        onClicked: {
            enabled = false
            row.shell.ask("install-browser-link", [], result => {
                enabled = true
                if (result.status !== 0) return
                steps.text = result.output.trim()
                    || "Add the extension to your browser, and it is linked."
                steps.open()
            })
        }
    }
    NeonDialog {
        id: steps
        implicitWidth: 560
        title: "One step is left in the browser"
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton {
                focus: true
                text: "Done"
                kind: NeonButton.Primary
                onClicked: steps.close()
            }
        ]
    }
}
