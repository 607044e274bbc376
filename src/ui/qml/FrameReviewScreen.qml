pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// The frames stage: every chunk's frame on a responsive grid, to generate, check, edit and
// accept; a card opens the viewer or the edit sheet.
ColumnLayout {
    id: screen
    objectName: "frameScreen"
    readonly property int columns: Math.max(1, Math.floor(width / 320))

    spacing: 18

    SurfaceHeader {
        kicker: "Step 4 · Review"
        title: "Approve the frames."
        subtitle: "Confirm the baked-in text is correct and consistent before motion. Every check must pass to accept a frame."
        Layout.fillWidth: true
    }

    EmptyState {
        visible: Storyboard.chunkCount === 0
        symbol: "photo.on.rectangle.angled"
        title: "No planned frames yet"
        action: "Go to storyboard"
        onActionTriggered: Session.selectedStage = 3
        Layout.fillWidth: true
    }

    RowLayout {
        visible: Storyboard.chunkCount > 0
        spacing: 10
        Layout.fillWidth: true
        Text {
            objectName: "generatedLine"
            text: Texts.generatedLine(Storyboard.framedCount, Storyboard.chunkCount)
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        SecondaryButton {
            symbol: "sparkles"
            text: "Generate missing"
            enabled: !Session.busy
            onClicked: Storyboard.generateMissingFrames()
        }
        PrimaryButton {
            objectName: "toMotionButton"
            visible: Storyboard.allAccepted
            symbol: "cube.transparent"
            text: "All frames accepted — set up motion"
            onClicked: Session.selectedStage = 6
        }
    }

    // A positioner rather than a layout: each card's height follows from its width (the frame
    // keeps 16:9), which a positioner picks up as soon as the width is set. Widths come from
    // the screen, never from the grid, whose own width comes from its cards.
    Grid {
        id: grid
        visible: Storyboard.chunkCount > 0
        columns: screen.columns
        spacing: 14
        Layout.fillWidth: true
        Repeater {
            model: Storyboard.chunks
            delegate: FrameReviewCard {
                width: (screen.width - (screen.columns - 1) * grid.spacing) / screen.columns
                opacity: shownCards.covers(y, height) ? 1 : 0
                onViewRequested: id => sheet.show(id, false)
                onEditRequested: id => sheet.show(id, true)
            }
        }
    }

    ShownRange {
        id: shownCards
        target: grid
    }

    FrameSheet {
        id: sheet
        objectName: "frameSheet"
        parent: screen.Window.window ? screen.Window.window.contentItem : screen
    }
}
