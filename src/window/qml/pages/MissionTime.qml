import QtQuick
import Velmora
import "Week.js" as Week

// A minute of the day, shown and typed as a time. Gives `picked` with each change.
NeonStepper {
    id: time

    property bool uses24Hour: true
    property bool ends: false  // midnight is the end of the day

    signal picked(int minutes)

    from: 0
    to: 1440
    stepSize: 15
    implicitWidth: 138
    validator: null
    inputMethodHints: Qt.ImhNone
    textFromValue: uses24Hour ? value => Week.clock(value, true) : value => Week.clock(value, false)
    valueFromText: text => {
        const minutes = Week.minutes(text)
        return minutes < 0 ? value : ends && minutes === 0 ? 1440 : minutes
    }
    onValueModified: picked(value)
}
