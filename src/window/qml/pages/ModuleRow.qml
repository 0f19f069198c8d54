import QtQuick
import Velmora

// A module with its switch.
NeonListRow {
    id: row

    required property var shell
    required property var module
    // Missions don't need their page.
    readonly property string goingOn:
        module.name !== "schedule" || !Velmora.state.schedule?.isEnabled ? ""
        : module.enabled ? " Switched off, its page goes and missions go on."
        : " Its page is gone, missions go on."
    readonly property var symbols: ({ schedule: "schedule", budget: "budget", scrollGuard: "scroll",
        creatorGate: "creator", brakPorn: "lock", dailyTasks: "tasks", habit: "habit",
        deadline: "deadline", sounds: "sounds", posture: "posture" })

    implicitHeight: Math.max(60, contentItem.implicitHeight + 20)
    title: module.title ?? ""
    subtitle: (module.subtitle ?? "") + goingOn
    symbol: symbols[module.name] ?? ""
    tint: module.enabled ? NeonTheme.violet : NeonTheme.quiet

    NeonSwitch {
        text: row.title
        on: row.module.enabled ?? false
        onAsked: on => row.shell.ask("modules", [on ? "on" : "off", row.module.name])
    }
}
