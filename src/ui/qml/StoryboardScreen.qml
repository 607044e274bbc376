pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 4: plan the storyboard, see its art direction and elements, and correct every
// planned frame before it is generated.
ColumnLayout {
    id: screen
    readonly property bool hasStoryboard: Storyboard.hasPlan && Storyboard.chunkCount > 0
    readonly property int columns: Math.max(1, Math.floor(width / 300))

    spacing: 18

    SurfaceHeader {
        kicker: "Step 4 · Storyboard"
        title: "Plan the frames."
        subtitle: "The planner turns the transcript and your character into an art-direction plan: recurring elements, and a prompt for every frame."
        Layout.fillWidth: true
    }

    EmptyState {
        visible: !screen.hasStoryboard
        symbol: "rectangle.grid.1x2"
        title: Cast.hasReferencedCharacter ? "No storyboard yet" : "Set up a character first"
        message: Cast.hasReferencedCharacter ? "" : "The plan is generated from your character's reference image."
        action: Cast.hasReferencedCharacter ? "Plan storyboard" : "Go to Characters"
        actionEnabled: !Cast.hasReferencedCharacter || !Session.busy
        onActionTriggered: Cast.hasReferencedCharacter ? Storyboard.planStoryboard() : Session.selectedStage = 2
        Layout.fillWidth: true
    }

    RowLayout {
        visible: screen.hasStoryboard
        spacing: 10
        Layout.fillWidth: true
        Text {
            objectName: "storyboardCounts"
            text: Texts.storyboardCounts(Storyboard.chunkCount, Storyboard.framedCount)
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        SecondaryButton {
            text: "Generate storyboard"
            enabled: !Session.busy
            onClicked: Storyboard.planStoryboard()
        }
        PrimaryButton {
            symbol: "sparkles"
            text: "Generate all frames"
            enabled: !Session.busy
            onClicked: Storyboard.generateAllFrames()
        }
    }

    PlanSummary {
        visible: screen.hasStoryboard
        Layout.fillWidth: true
    }

    RowLayout {
        visible: screen.hasStoryboard
        spacing: 10
        Layout.fillWidth: true
        Text {
            text: "Elements"
            font.family: Theme.displayFont
            font.pixelSize: 18
            color: Theme.cream
        }
        Text {
            objectName: "elementsRendered"
            text: Texts.renderedLine(Storyboard.elements.renderedCount, Storyboard.elements.count)
            font.pixelSize: 12
            color: Theme.muted
            Layout.fillWidth: true
        }
        SecondaryButton {
            symbol: "wand.and.stars"
            text: "Render elements"
            enabled: !Session.busy
            onClicked: Storyboard.renderElements()
        }
    }

    // Positioners rather than layouts: a card's height follows from its width. Widths come
    // from the screen, never from the grid, whose own width comes from its cards.
    Grid {
        id: elementGrid
        readonly property int across: Math.max(2, screen.columns + 1)
        visible: screen.hasStoryboard
        columns: across
        spacing: 12
        Layout.fillWidth: true
        Repeater {
            model: Storyboard.elements
            delegate: ElementCard {
                width: (screen.width - (elementGrid.across - 1) * elementGrid.spacing) / elementGrid.across
            }
        }
    }

    Grid {
        id: chunkGrid
        visible: screen.hasStoryboard
        columns: screen.columns
        spacing: 14
        Layout.fillWidth: true
        Repeater {
            model: Storyboard.chunks
            delegate: ChunkCard {
                width: (screen.width - (screen.columns - 1) * chunkGrid.spacing) / screen.columns
                opacity: shownChunks.covers(y, height) ? 1 : 0
            }
        }
    }

    ShownRange {
        id: shownChunks
        target: chunkGrid
    }
}
