import QtQuick
import Velmora

// Text in one of the theme's styles. Never reads its text as markup.
Text {
    id: text

    // display, headline, title, strong, body, small or caps.
    property string level: "body"
    readonly property var type: NeonTheme.type[level]

    textFormat: Text.PlainText
    color: level === "body" || level === "small" ? NeonTheme.soft
         : level === "caps" ? NeonTheme.quiet : NeonTheme.ink
    // More than one line wants air between them; one alone sits in the middle of its box.
    lineHeight: lineCount > 1 ? type.line : 1
    font.family: NeonTheme.family
    font.pixelSize: type.size
    font.weight: type.weight
    font.letterSpacing: type.tracking
    font.capitalization: type.caps ? Font.AllUppercase : Font.MixedCase
    wrapMode: Text.WordWrap
    Accessible.role: type.size > 17 ? Accessible.Heading : Accessible.StaticText
    Accessible.name: text.text
}
