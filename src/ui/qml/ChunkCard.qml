import QtQuick
import QtQuick.Layouts
import Quillvane

// One planned frame: its chips, thumbnail, the text it bakes in and its image prompt (both
// written straight into the chunk), and Generate or Regenerate.
Panel {
    id: card
    required property var model
    required property string chunkId
    required property int chunkNumber
    required property bool hasFrame
    required property string framePath
    required property bool accepted
    required property int passedCount
    required property bool featuresCharacter
    required property string renderedText
    required property string imagePrompt
    required property real start
    required property real end
    readonly property var chip: Texts.storyboardChip(hasFrame, passedCount)

    implicitHeight: content.implicitHeight + 2 * padding

    ColumnLayout {
        id: content
        width: parent.width
        spacing: 10
        RowLayout {
            spacing: 8
            Layout.fillWidth: true
            Text {
                text: "Frame " + card.chunkNumber
                font.family: Theme.displayFont
                font.pixelSize: 18
                color: Theme.cream
                Layout.fillWidth: true
            }
            Text {
                objectName: "spanText"
                text: Session.clock(card.start, true) + " · " + Math.max(0, card.end - card.start).toFixed(1) + " s"
                font.family: "monospace"
                font.pixelSize: 11
                font.weight: Font.Medium
                color: Theme.muted
            }
            StatusChip {
                objectName: "chunkChip"
                text: card.chip[0]
                intent: card.chip[1]
            }
            StatusChip {
                visible: card.featuresCharacter
                text: "Character"
                intent: "accent"
            }
        }
        FrameImageView {
            source: card.framePath
            fallbackText: card.hasFrame ? "The frame's file cannot be read." : "Not generated yet"
            accepted: card.accepted
            decodeWidth: 480
            Layout.fillWidth: true
        }
        FieldLabel { text: "Rendered text" }
        KitTextField {
            objectName: "renderedTextField"
            placeholderText: "Text on the frame"
            text: card.renderedText
            onTextEdited: card.model.renderedText = text
            Layout.fillWidth: true
        }
        FieldLabel { text: "Image prompt" }
        KitTextArea {
            placeholderText: "Frame prompt"
            text: card.imagePrompt
            onTextChanged: if (text !== card.imagePrompt) card.model.imagePrompt = text
            Layout.fillWidth: true
            Layout.preferredHeight: 84
        }
        SecondaryButton {
            symbol: "sparkles"
            text: card.hasFrame ? "Regenerate" : "Generate"
            enabled: !Session.busy
            onClicked: Storyboard.generateFrame(card.chunkId)
        }
    }
}
