pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// One chunk on the review grid: chip, frame (click to open), the five checks, and the
// actions that make, change or step through its versions.
Panel {
    id: card
    required property string chunkId
    required property int chunkNumber
    required property bool hasFrame
    required property string framePath
    required property bool accepted
    required property int passedCount
    required property var checks
    // Checks the lettering layer answers while the lyrics are set as sung: ticked, not to change.
    required property var sungChecks
    required property int undoCount
    required property int redoCount
    readonly property var chip: Texts.reviewChip(hasFrame, passedCount)
    signal viewRequested(string chunkId)
    signal editRequested(string chunkId)

    readonly property var checkNames: ["spellingCorrect", "readable", "placementOK", "characterConsistent", "styleContinuous"]
    readonly property var checkLabels: ["Spelling correct", "Readable", "Placement OK", "Character consistent", "Style continuous"]

    implicitHeight: content.implicitHeight + 2 * padding

    ColumnLayout {
        id: content
        width: parent.width
        spacing: 10
        RowLayout {
            Layout.fillWidth: true
            Text {
                text: "Frame " + card.chunkNumber
                font.family: Theme.displayFont
                font.pixelSize: 18
                color: Theme.cream
                Layout.fillWidth: true
            }
            StatusChip {
                objectName: "reviewChip"
                text: card.chip[0]
                intent: card.chip[1]
            }
        }
        FrameImageView {
            source: card.framePath
            fallbackText: card.hasFrame ? "The frame's file cannot be read." : "Not generated"
            accepted: card.accepted
            decodeWidth: 480
            Layout.fillWidth: true
            Rectangle {
                anchors.left: parent.left
                anchors.bottom: parent.bottom
                anchors.margins: 8
                width: hintRow.implicitWidth + 14
                height: hintRow.implicitHeight + 8
                radius: 6
                color: Theme.withAlpha(Theme.inkDeep, 0.75)
                Row {
                    id: hintRow
                    anchors.centerIn: parent
                    spacing: 5
                    SymbolIcon {
                        symbol: "arrow.up.left.and.arrow.down.right.magnifyingglass"
                        tint: Theme.cream
                        size: 12
                    }
                    Text {
                        text: "Open frame to view and edit"
                        font.pixelSize: 10
                        color: Theme.cream
                    }
                }
            }
            TapHandler {
                onTapped: card.viewRequested(card.chunkId)
            }
            HoverHandler {
                cursorShape: Qt.PointingHandCursor
            }
        }
        ColumnLayout {
            visible: card.hasFrame
            spacing: 6
            Layout.fillWidth: true
            Repeater {
                model: 5
                delegate: ReviewToggle {
                    required property int index
                    objectName: "check-" + card.checkNames[index]
                    label: card.checkLabels[index]
                    checked: card.checks[index] === true
                    enabled: card.sungChecks[index] !== true
                    note: enabled ? "" : "Set by Quillvane as sung"
                    onToggled: value => Storyboard.setReviewCheck(card.chunkId, card.checkNames[index], value)
                    Layout.fillWidth: true
                }
            }
            SecondaryButton {
                objectName: "allChecksButton"
                symbol: "checkmark.circle"
                text: "All checks pass"
                enabled: card.passedCount < 5
                onClicked: Storyboard.passAllChecks(card.chunkId)
            }
        }
        Text {
            visible: !card.hasFrame
            text: "Generate this frame to review spelling, readability, placement, character consistency, and style continuity."
            font.pixelSize: 12
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: 8
            Layout.fillWidth: true
            SecondaryButton {
                objectName: "generateButton"
                symbol: card.hasFrame ? "arrow.clockwise" : "sparkles"
                text: card.hasFrame ? "Regenerate" : "Generate"
                enabled: !Session.busy
                onClicked: Storyboard.generateFrame(card.chunkId)
            }
            SecondaryButton {
                symbol: "wand.and.stars"
                text: "Edit"
                enabled: card.hasFrame && !Session.busy
                onClicked: card.editRequested(card.chunkId)
            }
            Item { Layout.fillWidth: true }
            IconButton {
                objectName: "undoButton"
                symbol: "arrow.uturn.backward"
                enabled: card.undoCount > 0
                onClicked: Storyboard.undoFrame(card.chunkId)
            }
            IconButton {
                objectName: "redoButton"
                symbol: "arrow.uturn.forward"
                enabled: card.redoCount > 0
                onClicked: Storyboard.redoFrame(card.chunkId)
            }
        }
    }
}
