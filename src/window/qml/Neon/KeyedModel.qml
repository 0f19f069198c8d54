import QtQml
import QtQml.Models

// The rows of a list of records, kept in step with it: a row lives on while its record does, so
// that what has the keyboard keeps it. Each row has one role, `key`; `byKey` has its newest record.
ListModel {
    id: model

    property var records: []
    // Which member of a record is its key.
    property string keyName: "id"
    property var byKey: ({})

    onRecordsChanged: step()
    Component.onCompleted: step()

    function step() {
        const next = {}
        const keys = (records ?? []).map(record => {
            next[record[keyName]] = record
            return String(record[keyName])
        })
        for (let i = count - 1; i >= 0; i--)
            if (!(get(i).key in next)) remove(i)
        keys.forEach((key, place) => {
            let from = place
            while (from < count && get(from).key !== key) from++
            if (from === count) insert(place, { key })
            else if (from !== place) move(from, place, 1)
        })
        byKey = next
    }
}
