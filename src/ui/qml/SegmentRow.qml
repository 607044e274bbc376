import QtQuick
import QtQuick.Layouts
import Quillvane

// One timed line: its start and end, each typed or nudged by a tenth of a second, and its
// text. A time the store refuses (out of order, end before start) leaves the row as it was
// and says why in the banner.
RowLayout {
    id: row
    required property var model
    required property int index
    required property string text
    required property real start
    required property real end

    spacing: 10

    component TimeField: KitTextField {
        id: field
        required property real seconds
        signal typed(real seconds)
        text: Store.media.chunkTime(seconds)
        font.family: "monospace"
        font.pixelSize: 12
        horizontalAlignment: Text.AlignRight
        Layout.preferredWidth: 84
        onEditingFinished: {
            const parsed = Store.parseTime(text)
            if (!isNaN(parsed) && Math.abs(parsed - seconds) >= 0.005)
                field.typed(parsed)
            text = Qt.binding(() => Store.media.chunkTime(field.seconds))
        }
    }

    TimeStepper {
        objectName: "startStepper"
        value: row.start
        minimum: 0
        maximum: row.end
        onStepped: value => row.model.start = value
    }
    TimeField {
        objectName: "segmentStart"
        seconds: row.start
        onTyped: seconds => row.model.start = seconds
    }
    KitTextField {
        objectName: "segmentText"
        placeholderText: "Lyric"
        text: row.text
        onTextEdited: row.model.text = text
        Layout.fillWidth: true
    }
    TimeField {
        objectName: "segmentEnd"
        seconds: row.end
        onTyped: seconds => row.model.end = seconds
    }
    TimeStepper {
        objectName: "endStepper"
        value: row.end
        minimum: row.start
        maximum: row.start + 30
        onStepped: value => row.model.end = value
    }
}
