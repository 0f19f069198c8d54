import QtQuick

// The minute of the day by the clock on the wall, at most five seconds old.
Timer {
    property int minutes: read()
    readonly property int nextHour: (Math.floor(minutes / 60) + 1) * 60

    function read(): int {
        Date.timeZoneUpdated()
        const date = new Date()
        return date.getHours() * 60 + date.getMinutes()
    }
    function look() { minutes = read() }

    interval: 5000
    repeat: true
    onTriggered: look()
}
