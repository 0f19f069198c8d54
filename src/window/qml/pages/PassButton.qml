import QtQuick
import QtQuick.Layouts
import Velmora

// The only way out of a hard session, once in a week.
Row {
    id: pass

    required property var shell
    readonly property bool available: Velmora.state.emergencyPass?.available ?? false
    readonly property bool usable: Velmora.state.session.controls.emergencyPass

    spacing: 10
    opacity: usable ? 1 : 0.55

    NeonButton {
        id: button
        text: "Emergency pass"
        symbol: "pass"
        Accessible.description: tip.text
        onClicked: if (pass.usable) confirm.open()

        NeonTip {
            id: tip
            text: pass.available ? "Emergency pass: cancel current session (1 per week)"
                                 : "Emergency pass already used this week"
            visible: button.hovered || button.visualFocus
        }
    }
    NeonText {
        anchors.verticalCenter: parent.verticalCenter
        visible: !pass.available
        level: "small"
        text: "Used this week"
    }
    NeonDialog {
        id: confirm
        title: "Use your Emergency Pass?"
        text: "You only get 1 per week. Save it for real emergencies."
        actions: [
            Item { Layout.fillWidth: true },
            NeonButton {
                focus: true
                text: "Keep going"
                onClicked: confirm.close()
            },
            NeonButton {
                text: "Cancel session"
                kind: NeonButton.Danger
                onClicked: {
                    confirm.close()
                    pass.shell.ask("pass")
                }
            }
        ]
    }
}
