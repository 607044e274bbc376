pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import QtMultimedia
import Quillvane

// The sequence chunk by chunk: the current chunk's clip in a player (or its still), the
// timeline strip to pick a chunk, and a way to play every clip in order over the song.
ColumnLayout {
    id: screen
    readonly property string currentId: Store.selectedChunkId.length > 0 ? Store.selectedChunkId
                                        : (Store.chunkCount > 0 ? Store.chunkIdAt(0) : "")
    readonly property var current: Store.revision >= 0 && currentId.length > 0 ? Store.chunkView(currentId) : ({})
    readonly property bool hasClip: (current.clipPath ?? "").length > 0 && Store.media.fileExists(current.clipPath)
    property bool playingSequence: false
    property int sequenceIndex: 0

    spacing: 18

    function playSequence() {
        if (Store.chunkCount === 0)
            return
        screen.sequenceIndex = 0
        screen.playingSequence = true
        Store.selectedChunkId = Store.chunkIdAt(0)
        song.position = 0
        if (Store.media.audioURL.length > 0)
            song.play()
        player.play()
    }

    function stopSequence() {
        screen.playingSequence = false
        song.stop()
        player.pause()
    }

    // The next clip of the sequence; the song keeps playing underneath.
    function advance() {
        if (!screen.playingSequence)
            return
        screen.sequenceIndex += 1
        if (screen.sequenceIndex >= Store.chunkCount) {
            screen.stopSequence()
            return
        }
        Store.selectedChunkId = Store.chunkIdAt(screen.sequenceIndex)
        Qt.callLater(player.play)
    }

    SurfaceHeader {
        kicker: "Preview"
        title: "Timeline."
        subtitle: "The full sequence with motion applied, in order, against the original audio."
        Layout.fillWidth: true
    }

    MediaPlayer {
        id: player
        source: screen.hasClip ? screen.current.clipPath : ""
        videoOutput: video
        onMediaStatusChanged: if (mediaStatus === MediaPlayer.EndOfMedia) screen.advance()
    }
    MediaPlayer {
        id: song
        source: Store.media.audioURL
        audioOutput: AudioOutput {}
    }

    Rectangle {
        objectName: "playerArea"
        Layout.fillWidth: true
        Layout.preferredHeight: width * 9 / 16
        radius: 12
        clip: true
        gradient: Gradient {
            GradientStop { position: 0; color: Theme.inkPanel }
            GradientStop { position: 1; color: Theme.pine }
        }
        Text {
            objectName: "noFramesText"
            anchors.centerIn: parent
            visible: Store.chunkCount === 0
            text: "No frames to preview"
            font.pixelSize: 15
            color: Theme.muted
        }
        FrameImageView {
            objectName: "previewStill"
            anchors.fill: parent
            visible: Store.chunkCount > 0 && !screen.hasClip
            source: screen.current.framePath ?? ""
            fallbackText: "Not generated"
            decodeWidth: 1280
        }
        VideoOutput {
            id: video
            objectName: "previewVideo"
            anchors.fill: parent
            visible: screen.hasClip
            fillMode: VideoOutput.PreserveAspectFit
        }
    }

    RowLayout {
        visible: screen.hasClip
        spacing: 10
        Layout.fillWidth: true
        IconButton {
            objectName: "playPause"
            symbol: player.playbackState === MediaPlayer.PlayingState ? "pause.fill" : "play.fill"
            onClicked: player.playbackState === MediaPlayer.PlayingState ? player.pause() : player.play()
        }
        KitSlider {
            from: 0
            to: Math.max(1, player.duration)
            value: player.position
            onMoved: player.position = value
            Layout.fillWidth: true
        }
    }

    RowLayout {
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "waveform"
            tint: Theme.lime
            size: 15
        }
        Text {
            objectName: "currentTime"
            text: Store.media.chunkTime(screen.current.start ?? 0)
            font.family: "monospace"
            font.pixelSize: 12
            font.weight: Font.Medium
            color: Theme.cream
        }
        Text {
            text: "/"
            font.pixelSize: 12
            color: Theme.muted
        }
        Text {
            objectName: "projectDuration"
            text: Store.media.durationTime(Store.media.projectDuration)
            font.family: "monospace"
            font.pixelSize: 12
            font.weight: Font.Medium
            color: Theme.cream
        }
        Item { Layout.fillWidth: true }
        SecondaryButton {
            objectName: "playSequence"
            symbol: screen.playingSequence ? "pause.fill" : "play.fill"
            text: screen.playingSequence ? "Stop sequence" : "Play sequence"
            enabled: Store.chunkCount > 0
            onClicked: screen.playingSequence ? screen.stopSequence() : screen.playSequence()
        }
    }

    Flickable {
        Layout.fillWidth: true
        Layout.preferredHeight: strip.implicitHeight
        contentWidth: strip.implicitWidth
        flickableDirection: Flickable.HorizontalFlick
        clip: true
        Row {
            id: strip
            spacing: 10
            Repeater {
                model: Store.chunks
                delegate: TimelineThumb {
                    selected: chunkId === screen.currentId
                    onChosen: Store.selectedChunkId = chunkId
                }
            }
        }
    }

    RowLayout {
        Layout.fillWidth: true
        Text {
            objectName: "sequenceLine"
            text: Store.allAccepted ? "Sequence complete" : Store.acceptedCount + " accepted"
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        PrimaryButton {
            symbol: "square.and.arrow.up"
            text: "Export"
            onClicked: Store.selectedStage = 8
        }
    }
}
