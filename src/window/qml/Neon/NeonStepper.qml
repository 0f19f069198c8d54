import QtQuick
import QtQuick.Templates as T
import Velmora

// A whole number between two buttons. `text` is its accessible name. The value can be typed, and
// goes with the arrow keys; `unit` stands behind it ("min"), `zeroText` instead of 0. It shows
// `number`, which somebody else decides and which may lie beyond what can be chosen here: it asks
// once the user pauses, and takes back what was refused.
T.SpinBox {
    id: control

    property string text: ""
    property string unit: ""
    property string zeroText: ""
    property real number: 0
    readonly property bool beyond: number < from || number > to

    signal asked(int number)

    // As if the user had chosen it.
    function propose(number: int) {
        value = number
        wish.restart()
    }

    function follow() { value = Math.max(from, Math.min(to, number)) }

    onNumberChanged: if (!wish.running) follow()
    onValueModified: wish.restart()
    Component.onCompleted: follow()

    Timer {
        id: wish
        interval: 350
        onTriggered: {
            if (control.value !== control.number) control.asked(control.value)
            refusal.restart()
        }
    }
    Timer {
        id: refusal
        interval: 1500
        onTriggered: if (!wish.running) control.follow()
    }

    implicitWidth: 132
    implicitHeight: NeonTheme.controlHeight
    editable: true
    opacity: enabled ? 1 : 0.4
    focusPolicy: Qt.StrongFocus
    Accessible.name: text
    leftPadding: 34
    rightPadding: 34
    validator: IntValidator {
        bottom: Math.min(control.from, control.to)
        top: Math.max(control.from, control.to)
    }
    textFromValue: function(value) {
        return value === 0 && zeroText ? zeroText : unit ? value + " " + unit : String(value)
    }
    valueFromText: function(text) {
        const number = parseInt(text)
        return isNaN(number) ? (zeroText && text === zeroText ? 0 : value) : number
    }

    // What was typed is what is stepped from.
    function take() {
        const typed = Math.max(from, Math.min(to, valueFromText(contentItem.text, locale)))
        if (typed === value) return
        value = typed
        valueModified()
    }
    down.onPressedChanged: if (down.pressed) take()
    up.onPressedChanged: if (up.pressed) take()

    contentItem: TextInput {
        text: control.beyond && !wish.running ? control.textFromValue(control.number)
                                              : control.displayText
        color: NeonTheme.ink
        selectionColor: NeonTheme.deep
        selectedTextColor: NeonTheme.hot
        font { family: NeonTheme.family; pixelSize: 14; weight: Font.Medium }
        horizontalAlignment: Qt.AlignHCenter
        verticalAlignment: Qt.AlignVCenter
        readOnly: !control.editable
        selectByMouse: true
        inputMethodHints: Qt.ImhDigitsOnly
        Accessible.name: control.text
        onActiveFocusChanged: if (activeFocus) selectAll(); else deselect()
        Keys.onPressed: event => {
            if (event.key === Qt.Key_Up || event.key === Qt.Key_Down) control.take()
            event.accepted = false
        }
    }
    down.indicator: NeonStepperEnd {
        symbol: "minus"
        active: control.down.hovered
        pushed: control.down.pressed
        enabled: control.value > control.from
    }
    up.indicator: NeonStepperEnd {
        x: control.width - width
        symbol: "plus"
        active: control.up.hovered
        pushed: control.up.pressed
        enabled: control.value < control.to
    }
    background: Rectangle {
        radius: NeonTheme.radiusSmall
        color: NeonTheme.sunken
        border { width: 1; color: control.hovered ? NeonTheme.lineStrong : NeonTheme.line }
        NeonFocusRing { visible: control.activeFocus }
    }
}
