import QtQuick
import Velmora

// What the program can do beyond the timer, by category.
FocusScope {
    id: page

    required property var shell
    readonly property var categories: ["Core", "Rules", "Progress", "Experience"]

    NeonScroll {
        anchors.fill: parent
        focus: true

        Item {
            width: page.width
            height: column.height

            Column {
                id: column
                x: NeonTheme.page
                width: Math.min(680, parent.width - 2 * NeonTheme.page)
                topPadding: NeonTheme.page
                bottomPadding: NeonTheme.page
                spacing: 20

                PageHead {
                    width: parent.width
                    title: "Extensions"
                    text: "Keep the app minimal, or build your own focus machine"
                }
                Repeater {
                    model: page.categories
                    NeonCard {
                        id: card
                        required property string modelData
                        width: column.width
                        padding: 8
                        spacing: 0

                        NeonText {
                            leftPadding: 10
                            topPadding: 10
                            bottomPadding: 4
                            level: "caps"
                            text: card.modelData
                        }
                        Repeater {
                            model: KeyedModel {
                                keyName: "name"
                                records: page.shell.modules
                                    .filter(m => m.category === card.modelData)
                            }
                            ModuleRow {
                                required property string key
                                width: column.width - 16
                                shell: page.shell
                                module: page.shell.modules.find(m => m.name === key) ?? {}
                            }
                        }
                    }
                }
            }
        }
    }
}
