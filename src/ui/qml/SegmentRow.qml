import QtQuick
import QtQuick.Layouts
import Quillvane

// One timed line: a button that plays the song from its start, its start and end, each typed
// or nudged by a tenth of a second, and its text. A bar at its left edge lights while it is
// sung (lime) or is the one the next tap starts (coral). A time the store refuses (out of
// order, end before start) leaves the row as it was and says why in the banner.
RowLayout {
    id: row
    required property var model
    required property int index
    required property string text
    required property real start
    required property real end
    property bool current: false
    property bool nextTap: false
    signal playFrom(real seconds)

    spacing: 10

    Rectangle {
        objectName: row.current ? "currentLineBar" : row.nextTap ? "nextTapBar" : "lineBar"
        implicitWidth: 4
        implicitHeight: 28
        radius: 2
        color: row.nextTap ? Theme.coral : row.current ? Theme.lime : "transparent"
    }
    Rectangle {
        objectName: "playLineButton"
        implicitWidth: 24
        implicitHeight: 24
        radius: 6
        color: playTap.pressed ? Theme.withAlpha(Theme.cream, 0.12) : Theme.withAlpha(Theme.cream, 0.05)
        border.width: 1
        border.color: Theme.goldLine
        opacity: Intake.hasAudio ? 1 : 0.4
        SymbolIcon {
            anchors.centerIn: parent
            symbol: "play.fill"
            tint: Theme.cream
            size: 11
        }
        TapHandler {
            id: playTap
            enabled: Intake.hasAudio
            onTapped: row.playFrom(row.start)
        }
    }

    component TimeField: KitTextField {
        id: field
        required property real seconds
        signal typed(real seconds)
        text: Session.clock(seconds, true)
        font.family: "monospace"
        font.pixelSize: 12
        horizontalAlignment: Text.AlignRight
        Layout.preferredWidth: 84
        onEditingFinished: {
            const parsed = Session.readClock(text)
            if (!isNaN(parsed) && Math.abs(parsed - seconds) >= 0.005)
                field.typed(parsed)
            text = Qt.binding(() => Session.clock(field.seconds, true))
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
