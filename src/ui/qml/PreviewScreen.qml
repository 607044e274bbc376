pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import QtMultimedia
import Quillvane

// The sequence chunk by chunk: the current chunk's clip in a player (or its still), the
// timeline strip to pick a chunk, and a way to play every clip in order over the song.
ColumnLayout {
    id: screen
    // The chosen chunk, else the first.
    readonly property var current: Storyboard.selectedChunk
    readonly property string currentId: current.chunkId ?? ""
    readonly property bool hasClip: (current.clipPath ?? "").length > 0 && Export.fileExists(current.clipPath)
    property bool playingSequence: false
    // Where the person stopped the sequence, in seconds; -1 while it plays or has played out.
    property real stoppedAt: -1
    // With a track the song leads the sequence: the clip on screen is always the one whose
    // span holds the song's position, at the matching offset, as in the exported video.
    readonly property bool songLeads: Intake.audioURL.length > 0
    property real pendingOffset: -1

    spacing: 18

    function playSequence() {
        if (Storyboard.chunkCount === 0)
            return
        screen.playingSequence = true
        screen.stoppedAt = -1
        if (screen.songLeads) {
            song.position = 0
            screen.follow(0)
            song.play()
        } else {
            Storyboard.selectedChunkId = Export.chunkAt(0)
            Qt.callLater(player.play)
        }
    }

    // byPerson: the Stop button, not the end of the song or of the last clip.
    function stopSequence(byPerson) {
        if (byPerson && screen.playingSequence)
            screen.stoppedAt = screen.songLeads ? song.position / 1000
                                                : Export.clipStart(screen.currentId) + player.position / 1000
        screen.playingSequence = false
        song.pause()
        player.pause()
    }

    // Shows the clip holding `ms` of the song, at the offset the export has it at.
    function follow(ms) {
        const id = Export.chunkAt(ms / 1000)
        if (id.length === 0)
            return
        const offset = Math.max(0, ms - Export.clipStart(id) * 1000)
        if (id !== screen.currentId) {
            screen.pendingOffset = offset
            Storyboard.selectedChunkId = id
            if (screen.playingSequence)
                Qt.callLater(player.play)
        } else if (Math.abs(player.position - offset) > 250) {
            player.position = offset
        }
    }

    // Without a track, the clips play one after another in their video order.
    function advance() {
        if (!screen.playingSequence || screen.songLeads)
            return
        const next = Export.chunkAt(Export.clipStart(screen.currentId) + player.duration / 1000 + 0.001)
        if (next === screen.currentId) {
            screen.stopSequence()
            return
        }
        Storyboard.selectedChunkId = next
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
        onMediaStatusChanged: {
            if (screen.pendingOffset >= 0 && (mediaStatus === MediaPlayer.LoadedMedia
                                              || mediaStatus === MediaPlayer.BufferedMedia)) {
                position = screen.pendingOffset
                screen.pendingOffset = -1
            }
            if (mediaStatus === MediaPlayer.EndOfMedia)
                screen.advance()
        }
    }
    MediaPlayer {
        id: song
        source: Intake.audioURL
        audioOutput: AudioOutput {}
        onPositionChanged: if (screen.playingSequence) screen.follow(position)
        onMediaStatusChanged: if (mediaStatus === MediaPlayer.EndOfMedia) screen.stopSequence()
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
            visible: Storyboard.chunkCount === 0
            text: "No frames to preview"
            font.pixelSize: 15
            color: Theme.muted
        }
        FrameImageView {
            objectName: "previewStill"
            anchors.fill: parent
            // The still stands in for its clip until the clip plays, so the area is never blank.
            visible: Storyboard.chunkCount > 0 && (!screen.hasClip || player.playbackState === MediaPlayer.StoppedState)
            source: screen.current.framePath ?? ""
            fallbackText: "Not generated"
            decodeWidth: 1280
        }
        VideoOutput {
            id: video
            objectName: "previewVideo"
            anchors.fill: parent
            visible: screen.hasClip && player.playbackState !== MediaPlayer.StoppedState
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
        objectName: "songRow"
        visible: screen.songLeads
        spacing: 10
        Layout.fillWidth: true
        Text {
            text: "Song"
            font.pixelSize: 12
            color: Theme.muted
        }
        KitSlider {
            objectName: "songSlider"
            from: 0
            to: Math.max(1, song.duration)
            value: song.position
            onMoved: {
                song.position = value
                screen.follow(value)
            }
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
            text: Session.clock(screen.current.start ?? 0, true)
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
            text: Session.clock(Export.projectDuration)
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
            enabled: Storyboard.chunkCount > 0
            onClicked: screen.playingSequence ? screen.stopSequence(true) : screen.playSequence()
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
                model: Storyboard.chunks
                delegate: TimelineThumb {
                    selected: chunkId === screen.currentId
                    onChosen: Storyboard.selectedChunkId = chunkId
                }
            }
        }
    }

    RowLayout {
        Layout.fillWidth: true
        Text {
            objectName: "sequenceLine"
            // After Stop the line says where the sequence stopped, not that it is complete.
            text: screen.stoppedAt >= 0 ? "Stopped at " + Session.clock(screen.stoppedAt, true)
                  : Storyboard.allAccepted ? "Sequence complete" : Storyboard.acceptedCount + " accepted"
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        PrimaryButton {
            symbol: "square.and.arrow.up"
            text: "Export"
            onClicked: Session.selectedStage = 8
        }
    }
}
