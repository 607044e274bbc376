pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quillvane

// Before any audio: the hand-lettered invitation, the formats, the chooser, and the whole
// area as a drop zone that lights up while a file is dragged over it.
Rectangle {
    id: hero
    property bool targeted: false

    implicitHeight: column.implicitHeight + 80
    radius: 14
    color: targeted ? Theme.withAlpha(Theme.lime, 0.07) : Theme.withAlpha(Theme.inkPanel, 0.6)
    border.width: targeted ? 2 : 1
    border.color: targeted ? Theme.lime : Theme.goldLine

    DropArea {
        anchors.fill: parent
        onEntered: drag => { hero.targeted = true; drag.accept(Qt.CopyAction) }
        onExited: hero.targeted = false
        onDropped: drop => {
            hero.targeted = false
            if (drop.hasUrls && drop.urls.length > 0) {
                Intake.importAudio(drop.urls[0])
                drop.accept(Qt.CopyAction)
            }
        }
    }

    KitFileDialog {
        id: chooser
        objectName: "audioChooser"
        kind: "track"
        title: "Choose an audio file"
        fileMode: FileDialog.OpenFile
        nameFilters: ["Audio files (*.mp3 *.m4a *.wav *.aiff *.aif *.flac *.ogg)"]
        onAccepted: Intake.importAudio(selectedFile)
    }

    ColumnLayout {
        id: column
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.top: parent.top
        anchors.margins: 40
        spacing: 18

        Kicker {
            kicker: "Step 1 · Import"
        }
        Text {
            objectName: "heroHeadline"
            text: "Drop a track\nto begin."
            font.family: Theme.handFont
            font.pixelSize: 54
            lineHeight: 0.95
            color: Theme.cream
        }
        Text {
            text: "Quillvane reads the file's tags to fill in the title and artist, and pulls the lyrics straight from the file — or transcribes them with Whisper."
            font.pixelSize: 14
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
            Layout.maximumWidth: 560
        }
        Row {
            spacing: 8
            Repeater {
                model: ["MP3", "M4A", "WAV", "AIFF", "FLAC"]
                delegate: StatusChip {
                    required property string modelData
                    text: modelData
                    intent: "neutral"
                }
            }
        }
        Rectangle {
            objectName: "chooserButton"
            implicitWidth: chooserRow.implicitWidth + 36
            implicitHeight: chooserRow.implicitHeight + 24
            radius: 12
            enabled: !Session.busy
            opacity: enabled ? 1 : 0.45
            color: chooserTap.pressed ? Theme.withAlpha(Theme.lime, 0.85) : Theme.lime
            RowLayout {
                id: chooserRow
                anchors.centerIn: parent
                spacing: 12
                SymbolIcon {
                    symbol: "waveform.badge.plus"
                    tint: Theme.buttonInk
                    size: 26
                }
                ColumnLayout {
                    spacing: 0
                    Text {
                        text: "Choose an audio file"
                        font.family: Theme.displayFont
                        font.pixelSize: 20
                        color: Theme.buttonInk
                    }
                    Text {
                        text: "or drag it here"
                        font.pixelSize: 11
                        color: Theme.withAlpha(Theme.buttonInk, 0.7)
                    }
                }
            }
            TapHandler {
                id: chooserTap
                onTapped: chooser.show()
            }
            HoverHandler {
                cursorShape: Qt.PointingHandCursor
            }
        }
    }
}
