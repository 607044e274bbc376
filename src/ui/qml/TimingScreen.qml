pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import QtMultimedia
import Quillvane

// Step 2: every timed line, editable in place, with the song to check it by ear: play and
// pause, the line being sung lit, a line played from its start, tapping along (Space starts
// the next line at the playhead, Backspace takes the tap back), and every line shifted at
// once. The way on to the characters.
ColumnLayout {
    id: screen
    spacing: 18
    focus: Timing.tapping

    readonly property real playhead: song.position / 1000

    function playFrom(seconds: real) {
        song.position = Math.round(seconds * 1000)
        song.play()
    }

    Keys.onPressed: event => {
        if (!Timing.tapping)
            return
        if (event.key === Qt.Key_Space) {
            Timing.tap(screen.playhead)
            event.accepted = true
        } else if (event.key === Qt.Key_Backspace) {
            Timing.untap()
            event.accepted = true
        } else if (event.key === Qt.Key_Escape) {
            Timing.stopTapping()
            event.accepted = true
        }
    }

    Binding {
        target: Timing
        property: "playhead"
        value: screen.playhead
    }

    MediaPlayer {
        id: song
        objectName: "timingSong"
        source: Intake.audioURL
        audioOutput: AudioOutput {}
    }

    SurfaceHeader {
        kicker: "Step 2 · Timing"
        title: "Review the timing."
        subtitle: "Each line is timecoded. These boundaries drive the storyboard chunks."
        Layout.fillWidth: true
    }

    EmptyState {
        visible: !Intake.hasTranscript
        symbol: "waveform"
        title: "No transcript yet"
        message: "Run timing from the intake screen to align lyrics to the track."
        action: "Back to intake"
        onActionTriggered: Session.selectedStage = 0
        Layout.fillWidth: true
    }

    // The song and the tools that work by ear.
    RowLayout {
        visible: Intake.hasTranscript
        spacing: 10
        Layout.fillWidth: true
        SecondaryButton {
            objectName: "playButton"
            symbol: song.playbackState === MediaPlayer.PlayingState ? "pause.fill" : "play.fill"
            text: song.playbackState === MediaPlayer.PlayingState ? "Pause" : "Play"
            enabled: Intake.hasAudio
            onClicked: song.playbackState === MediaPlayer.PlayingState ? song.pause() : song.play()
        }
        Text {
            objectName: "playheadText"
            text: Session.clock(screen.playhead, true)
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.cream
        }
        SecondaryButton {
            objectName: "tapButton"
            text: Timing.tapping ? "Stop tapping" : "Tap along"
            enabled: Intake.hasAudio && !Session.busy
            onClicked: {
                if (Timing.tapping) {
                    Timing.stopTapping()
                } else {
                    Timing.startTapping(screen.playhead)
                    screen.forceActiveFocus()
                    song.play()
                }
            }
        }
        Text {
            objectName: "tapHint"
            visible: Timing.tapping
            text: Timing.nextTapLine >= 0 && Timing.nextTapLine < Timing.transcript.count
                  ? "Space starts line " + (Timing.nextTapLine + 1) + " · Backspace takes a tap back"
                  : "Every line is tapped · Backspace takes a tap back"
            font.pixelSize: 12
            color: Theme.lime
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        Item { visible: !Timing.tapping; Layout.fillWidth: true }
        KitTextField {
            id: shiftField
            objectName: "shiftField"
            placeholderText: "± seconds"
            horizontalAlignment: Text.AlignRight
            Layout.preferredWidth: 96
            onAccepted: shiftButton.clicked()
        }
        SecondaryButton {
            id: shiftButton
            objectName: "shiftButton"
            text: "Shift all"
            enabled: !Session.busy && shiftField.text.trim().length > 0
            onClicked: {
                const seconds = Number(shiftField.text.trim().replace(",", "."))
                if (!isNaN(seconds) && Timing.shiftTimes(seconds))
                    shiftField.text = ""
            }
        }
    }

    WaveformStrip {
        objectName: "waveformStrip"
        visible: Intake.hasTranscript && Intake.hasAudio
        duration: song.duration > 0 ? song.duration / 1000 : Timing.length
        playhead: screen.playhead
        onSeek: seconds => song.position = Math.round(seconds * 1000)
        Layout.fillWidth: true
    }

    Panel {
        visible: Intake.hasTranscript
        Layout.fillWidth: true
        implicitHeight: rows.implicitHeight + 2 * padding
        ColumnLayout {
            id: rows
            width: parent.width
            spacing: 8
            Repeater {
                model: Timing.transcript
                delegate: SegmentRow {
                    current: index === Timing.currentLine
                    nextTap: Timing.tapping && index === Timing.nextTapLine
                    onPlayFrom: seconds => screen.playFrom(seconds)
                    Layout.fillWidth: true
                }
            }
        }
    }

    RowLayout {
        visible: Intake.hasTranscript
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "clock"
            tint: Theme.muted
            size: 15
        }
        Text {
            objectName: "transcriptLength"
            text: Session.clock(Timing.length)
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.cream
        }
        Item { Layout.fillWidth: true }
        PrimaryButton {
            objectName: "continueToCharacters"
            symbol: "person.crop.rectangle.stack"
            text: "Continue to characters"
            enabled: !Session.busy
            onClicked: Session.selectedStage = 2
        }
    }
}
