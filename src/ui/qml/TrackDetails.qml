pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quillvane

// After import: the file's title, artist, audio and lyrics, all editable, and the button
// that aligns the lyrics to the audio.
ColumnLayout {
    id: details
    spacing: 18

    KitFileDialog {
        id: chooser
        objectName: "replaceChooser"
        kind: "track"
        title: "Replace the audio"
        fileMode: FileDialog.OpenFile
        nameFilters: ["Audio files (*.mp3 *.m4a *.wav *.aiff *.aif *.flac *.ogg)"]
        onAccepted: Intake.importAudio(selectedFile)
    }

    // A new track throws the storyboard and its frames away (Edit ▸ Undo brings them back),
    // so the user is asked first.
    ConfirmDialog {
        id: replaceConfirm
        objectName: "replaceConfirm"
        confirmText: "Replace"
        message: "Replacing the track clears the storyboard"
                 + (Storyboard.framedCount === 1 ? " and its frame" : Storyboard.framedCount > 1 ? " and its " + Storyboard.framedCount + " frames" : "")
                 + ". Replace?"
        onConfirmed: chooser.show()
    }

    SurfaceHeader {
        kicker: "Step 1 · Intake"
        title: "Track details."
        subtitle: "Pulled from the file. Adjust anything, then align the timing to build the storyboard."
        Layout.fillWidth: true
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: trackForm.implicitHeight + 2 * padding
        ColumnLayout {
            id: trackForm
            width: parent.width
            spacing: 12
            RowLayout {
                spacing: 14
                Layout.fillWidth: true
                ColumnLayout {
                    spacing: 6
                    Layout.fillWidth: true
                    FieldLabel { text: "Title" }
                    KitTextField {
                        objectName: "titleField"
                        placeholderText: "Track title"
                        text: Intake.title
                        onTextEdited: Intake.title = text
                        Layout.fillWidth: true
                    }
                }
                ColumnLayout {
                    spacing: 6
                    Layout.fillWidth: true
                    FieldLabel { text: "Artist" }
                    KitTextField {
                        objectName: "artistField"
                        placeholderText: "Artist"
                        text: Intake.artist
                        onTextEdited: Intake.artist = text
                        Layout.fillWidth: true
                    }
                }
            }
            FieldLabel { text: "Audio track" }
            RowLayout {
                spacing: 10
                Layout.fillWidth: true
                SymbolIcon {
                    symbol: "waveform"
                    tint: Theme.lime
                    size: 16
                }
                Text {
                    objectName: "audioFileName"
                    text: Intake.audioFileName
                    font.family: "monospace"
                    font.pixelSize: 12
                    color: Theme.cream
                    elide: Text.ElideMiddle
                    maximumLineCount: 1
                    Layout.fillWidth: true
                }
                SecondaryButton {
                    objectName: "replaceButton"
                    text: "Replace…"
                    enabled: !Session.busy
                    onClicked: Storyboard.chunkCount > 0 ? replaceConfirm.open() : chooser.show()
                }
            }
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: lyricsForm.implicitHeight + 2 * padding
        ColumnLayout {
            id: lyricsForm
            width: parent.width
            spacing: 10
            RowLayout {
                spacing: 10
                Layout.fillWidth: true
                Text {
                    text: "Lyrics"
                    font.family: Theme.displayFont
                    font.pixelSize: 16
                    color: Theme.cream
                }
                StatusChip {
                    objectName: "lyricsSourceChip"
                    visible: Intake.lyricsSourceLabel.length > 0
                    text: Intake.lyricsSourceLabel
                    intent: Intake.lyricsSourceIntent
                }
                Item { Layout.fillWidth: true }
                Text {
                    objectName: "lyricLineCount"
                    text: Intake.lyricLineCount + " lines"
                    font.pixelSize: 12
                    color: Theme.muted
                }
            }
            KitTextArea {
                objectName: "lyricsEditor"
                text: Intake.lyrics
                onTextChanged: if (text !== Intake.lyrics) Intake.lyrics = text
                Layout.fillWidth: true
                Layout.minimumHeight: 200
            }
        }
    }

    PrimaryButton {
        objectName: "alignButton"
        symbol: "waveform"
        text: Intake.hasTranscript ? "Continue to timing" : "Align timing"
        enabled: Intake.lyrics.length > 0 && !Session.busy
        onClicked: Intake.alignTimingAndContinue()
    }
}
