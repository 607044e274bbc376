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
    focus: Store.tapping

    readonly property real playhead: song.position / 1000
    readonly property int currentLine: Store.revision >= 0 ? Store.lineAt(playhead) : -1

    function playFrom(seconds: real) {
        song.position = Math.round(seconds * 1000)
        song.play()
    }

    Keys.onPressed: event => {
        if (!Store.tapping)
            return
        if (event.key === Qt.Key_Space) {
            Store.tap(screen.playhead)
            event.accepted = true
        } else if (event.key === Qt.Key_Backspace) {
            Store.untap()
            event.accepted = true
        } else if (event.key === Qt.Key_Escape) {
            Store.stopTapping()
            event.accepted = true
        }
    }

    MediaPlayer {
        id: song
        objectName: "timingSong"
        source: Store.media.audioURL
        audioOutput: AudioOutput {}
    }

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

    // The song and the tools that work by ear.
    RowLayout {
        visible: Store.hasTranscript
        spacing: 10
        Layout.fillWidth: true
        SecondaryButton {
            objectName: "playButton"
            symbol: song.playbackState === MediaPlayer.PlayingState ? "pause.fill" : "play.fill"
            text: song.playbackState === MediaPlayer.PlayingState ? "Pause" : "Play"
            enabled: Store.hasAudio
            onClicked: song.playbackState === MediaPlayer.PlayingState ? song.pause() : song.play()
        }
        Text {
            objectName: "playheadText"
            text: Store.media.chunkTime(screen.playhead)
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.cream
        }
        SecondaryButton {
            objectName: "tapButton"
            text: Store.tapping ? "Stop tapping" : "Tap along"
            enabled: Store.hasAudio && !Store.busy
            onClicked: {
                if (Store.tapping) {
                    Store.stopTapping()
                } else {
                    Store.startTapping(screen.playhead)
                    screen.forceActiveFocus()
                    song.play()
                }
            }
        }
        Text {
            objectName: "tapHint"
            visible: Store.tapping
            text: Store.nextTapLine >= 0 && Store.nextTapLine < Store.transcript.rowCount()
                  ? "Space starts line " + (Store.nextTapLine + 1) + " · Backspace takes a tap back"
                  : "Every line is tapped · Backspace takes a tap back"
            font.pixelSize: 12
            color: Theme.lime
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        Item { visible: !Store.tapping; Layout.fillWidth: true }
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
            enabled: !Store.busy && shiftField.text.trim().length > 0
            onClicked: {
                const seconds = Number(shiftField.text.trim().replace(",", "."))
                if (!isNaN(seconds) && Store.shiftTimes(seconds))
                    shiftField.text = ""
            }
        }
    }

    WaveformStrip {
        objectName: "waveformStrip"
        visible: Store.hasTranscript && Store.hasAudio
        duration: song.duration > 0 ? song.duration / 1000 : Store.transcriptLength
        playhead: screen.playhead
        onSeek: seconds => song.position = Math.round(seconds * 1000)
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
                    current: index === screen.currentLine
                    nextTap: Store.tapping && index === Store.nextTapLine
                    onPlayFrom: seconds => screen.playFrom(seconds)
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
