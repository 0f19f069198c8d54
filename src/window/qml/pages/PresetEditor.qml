import QtQuick
import QtQuick.Layouts
import Velmora

// Everything about one preset. Each change is made at once.
NeonDialog {
    id: editor

    required property var shell
    property string key: ""
    readonly property var preset: (Velmora.state.presets ?? []).find(p => p.id === key) ?? null
    readonly property int place: (Velmora.state.presets ?? []).findIndex(p => p.id === key)
    property bool sure: false

    function show(id: string) {
        key = id
        sure = false
        open()
    }
    function change(verb: string, words: var) {
        shell.ask("presets", [verb, key].concat(words ?? []))
    }
    function shift(by: int) {
        const other = Velmora.state.presets[place + by]
        if (other) change("move", [other.id])
    }

    implicitWidth: 600
    onPresetChanged: if (!preset) close()

    RowLayout {
        Layout.topMargin: -20
        spacing: 14
        NeonIcon {
            name: editor.preset?.iconName ?? "scope"
            size: 26
            color: Qt.lighter(NeonTheme.fromHex(editor.preset?.colorHex ?? 0x8c5cff), 1.25)
        }
        NeonText { Layout.fillWidth: true; level: "title"; text: editor.preset?.name ?? "" }
        NeonIconButton {
            symbol: "up"
            text: "Move up"
            enabled: editor.place > 0
            onClicked: editor.shift(-1)
        }
        NeonIconButton {
            symbol: "down"
            text: "Move down"
            enabled: editor.place + 1 < (Velmora.state.presets ?? []).length
            onClicked: editor.shift(1)
        }
    }
    RowLayout {
        spacing: 12
        NeonField {
            Layout.preferredWidth: 220
            focus: true
            label: "Name"
            text: editor.preset?.name ?? ""
            onEditingFinished: {
                const name = text.trim()
                if (name !== "" && name !== editor.preset?.name) editor.change("rename", [name])
                text = Qt.binding(() => editor.preset?.name ?? "")
            }
        }
        NeonField {
            Layout.fillWidth: true
            label: "Note"
            text: editor.preset?.note ?? ""
            onEditingFinished: {
                if (editor.preset && text !== editor.preset.note) editor.change("note", [text])
                text = Qt.binding(() => editor.preset?.note ?? "")
            }
        }
    }
    RowLayout {
        spacing: 6
        Repeater {
            model: [{ hex: 0x8c5cff, name: "Violet" }, { hex: 0xa855f7, name: "Purple" },
                    { hex: 0x7c3aed, name: "Deep violet" }, { hex: 0xd946ef, name: "Pink" },
                    { hex: 0x6366f1, name: "Indigo" }, { hex: 0x38bdf8, name: "Sky blue" },
                    { hex: 0x34d399, name: "Green" }, { hex: 0xf59e0b, name: "Amber" }]
            NeonSwatch {
                required property var modelData
                value: modelData.hex
                text: modelData.name
                chosen: editor.preset?.colorHex === value
                onClicked: editor.change("color", [value.toString(16).padStart(6, "0")])
            }
        }
        Item { Layout.fillWidth: true }
        Repeater {
            model: [{ symbol: "scope", name: "Target" }, { symbol: "brain.head.profile", name: "Mind" },
                    { symbol: "video.fill", name: "Video" },
                    { symbol: "pencil.and.outline", name: "Pencil" },
                    { symbol: "camera", name: "Camera" }, { symbol: "music.note", name: "Music" },
                    { symbol: "newspaper", name: "News" }, { symbol: "person.2", name: "People" }]
            NeonIconButton {
                required property var modelData
                readonly property bool chosen: editor.preset?.iconName === symbol
                symbol: modelData.symbol
                size: 30
                iconSize: 16
                text: modelData.name
                Accessible.checkable: true
                Accessible.checked: chosen
                bordered: chosen
                ink: chosen ? NeonTheme.violet : NeonTheme.quiet
                onClicked: editor.change("icon", [symbol])
            }
        }
    }
    RowLayout {
        Layout.fillHeight: true
        spacing: 16

        NeonCard {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            Layout.preferredHeight: 240
            Layout.fillHeight: true
            padding: 8
            spacing: 4

            NeonText { leftPadding: 8; topPadding: 8; level: "caps"; text: "Allowed sites" }
            NeonField {
                width: parent.width
                label: "Add a site"
                symbol: "plus"
                onAccepted: {
                    if (text.trim() === "") return
                    editor.change("allow-site", [text.trim()])
                    clear()
                }
            }
            NeonScroll {
                width: parent.width
                height: 150
                Column {
                    width: parent.width
                    Repeater {
                        model: KeyedModel { id: sites; records: editor.preset?.allowedSites ?? [] }
                        NeonListRow {
                            required property string key
                            width: parent.width
                            implicitHeight: 38
                            symbol: "globe"
                            title: sites.byKey[key]?.domain ?? ""
                            NeonIconButton {
                                symbol: "close"
                                size: 28
                                iconSize: 14
                                text: "Remove " + parent.parent.parent.title
                                hint: "Remove"
                                onClicked: editor.change("disallow-site", [sites.byKey[key].domain])
                            }
                        }
                    }
                }
            }
        }
        NeonCard {
            Layout.fillWidth: true
            Layout.preferredWidth: 1
            Layout.preferredHeight: 240
            Layout.fillHeight: true
            padding: 8
            spacing: 4

            NeonText { leftPadding: 8; topPadding: 8; level: "caps"; text: "Allowed apps" }
            NeonButton {
                width: parent.width
                text: "Add an app"
                symbol: "plus"
                onClicked: picker.open()
            }
            NeonScroll {
                width: parent.width
                height: 150
                Column {
                    width: parent.width
                    Repeater {
                        model: KeyedModel {
                            id: apps
                            records: editor.preset?.allowedApps ?? []
                            keyName: "bundleID"
                        }
                        NeonListRow {
                            id: app
                            required property string key
                            width: parent.width
                            implicitHeight: 38
                            symbol: "app"
                            picture: apps.byKey[key]?.icon ? "file://" + apps.byKey[key].icon : ""
                            title: apps.byKey[key]?.name ?? ""
                            NeonIconButton {
                                symbol: "close"
                                size: 28
                                iconSize: 14
                                text: "Remove " + app.title
                                hint: "Remove"
                                onClicked: editor.change("disallow-app", [app.key])
                            }
                        }
                    }
                }
            }
        }
    }
    AppPicker {
        id: picker
        shell: editor.shell
        title: "Add an app to " + (editor.preset?.name ?? "")
        listed: (editor.preset?.allowedApps ?? []).map(a => a.bundleID)
        onChosen: app => editor.change("allow-app", [app.id, app.name])
    }

    actions: [
        NeonButton {
            text: "Duplicate"
            symbol: "copy"
            onClicked: { editor.change("duplicate"); editor.close() }
        },
        NeonButton {
            text: editor.sure ? "Delete for good" : "Delete"
            symbol: "trash"
            kind: NeonButton.Danger
            onClicked: if (editor.sure) editor.change("remove"); else editor.sure = true
        },
        Item { Layout.fillWidth: true },
        NeonButton { text: "Done"; kind: NeonButton.Primary; onClicked: editor.close() }
    ]
}
