import QtQuick
import QtQuick.Layouts
import Quillvane

// One timed line: its start, its text, a stepper for its end, and the end.
RowLayout {
    id: row
    required property var model
    required property int index
    required property string text
    required property real start
    required property real end

    spacing: 12

    Text {
        text: Store.formatTenths(row.start)
        font.family: "monospace"
        font.pixelSize: 12
        color: Theme.muted
        horizontalAlignment: Text.AlignLeft
        Layout.preferredWidth: 62
    }
    KitTextField {
        objectName: "segmentText"
        placeholderText: "Lyric"
        text: row.text
        onTextEdited: row.model.text = text
        Layout.fillWidth: true
    }
    TimeStepper {
        value: row.end
        minimum: row.start
        maximum: row.start + 30
        onStepped: value => row.model.end = value
    }
    Text {
        objectName: "segmentEnd"
        text: Store.formatTenths(row.end)
        font.family: "monospace"
        font.pixelSize: 12
        color: Theme.cream
        horizontalAlignment: Text.AlignRight
        Layout.preferredWidth: 62
    }
}
