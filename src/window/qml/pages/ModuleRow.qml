import QtQuick
import Velmora

// A module with its switch.
NeonListRow {
    id: row

    required property var shell
    required property var module
    readonly property var symbols: ({ schedule: "schedule", budget: "budget", scrollGuard: "scroll",
        creatorGate: "creator", brakPorn: "lock", dailyTasks: "tasks", habit: "habit",
        deadline: "deadline", sounds: "sounds", posture: "posture" })

    implicitHeight: Math.max(60, contentItem.implicitHeight + 20)
    title: module.title ?? ""
    subtitle: module.subtitle ?? ""
    symbol: symbols[module.name] ?? ""
    tint: module.enabled ? NeonTheme.violet : NeonTheme.quiet

    NeonSwitch {
        text: row.title
        on: row.module.enabled ?? false
        onAsked: on => row.shell.ask("modules", [on ? "on" : "off", row.module.name])
    }
}
