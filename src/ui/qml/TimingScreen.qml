pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 2: every timed line, editable in place, and the way on to the characters.
ColumnLayout {
    spacing: 18

    SurfaceHeader {
        kicker: "Step 2 · Timing"
        title: "Review the timing."
        subtitle: "Each line is timecoded. These boundaries drive the storyboard chunks."
        Layout.fillWidth: true
    }

    EmptyState {
        visible: !Store.hasTranscript
        symbol: "waveform"
        title: "No transcript yet"
        message: "Run timing from the intake screen to align lyrics to the track."
        action: "Back to intake"
        onActionTriggered: Store.selectedStage = 0
        Layout.fillWidth: true
    }

    Panel {
        visible: Store.hasTranscript
        Layout.fillWidth: true
        implicitHeight: rows.implicitHeight + 2 * padding
        ColumnLayout {
            id: rows
            width: parent.width
            spacing: 8
            Repeater {
                model: Store.transcript
                delegate: SegmentRow {
                    Layout.fillWidth: true
                }
            }
        }
    }

    RowLayout {
        visible: Store.hasTranscript
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "clock"
            tint: Theme.muted
            size: 15
        }
        Text {
            objectName: "transcriptLength"
            text: Store.formatTime(Store.transcriptLength)
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.cream
        }
        Item { Layout.fillWidth: true }
        PrimaryButton {
            objectName: "continueToCharacters"
            symbol: "person.crop.rectangle.stack"
            text: "Continue to characters"
            enabled: !Store.busy
            onClicked: Store.selectedStage = 2
        }
    }
}
