pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Brand, project, the nine stages, how many frames are approved, and the Settings button.
Rectangle {
    id: sidebar
    signal settingsRequested()

    implicitWidth: 232
    color: Theme.inkPanel

    // The window has no title bar: the brand area moves it.
    DragHandler {
        target: null
        grabPermissions: PointerHandler.CanTakeOverFromAnything
        onActiveChanged: if (active) sidebar.Window.window.startSystemMove()
    }

    Rectangle {
        anchors.right: parent.right
        width: 1
        height: parent.height
        color: Theme.goldLine
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 16
        anchors.topMargin: 22
        spacing: 18

        ColumnLayout {
            spacing: 2
            Text {
                text: "QUILLVANE"
                font.family: Theme.displayFont
                font.pixelSize: 19
                color: Theme.coral
            }
            Text {
                text: "LYRIC VIDEO STUDIO"
                font.pixelSize: 9
                font.weight: Font.Black
                font.letterSpacing: 2
                color: Theme.muted
            }
        }

        ColumnLayout {
            spacing: 3
            Layout.fillWidth: true
            Text {
                objectName: "projectTitle"
                text: Intake.title.length > 0 ? Intake.title : "Untitled project"
                font.pixelSize: 13
                font.weight: Font.Black
                color: Theme.cream
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
            Text {
                objectName: "projectArtist"
                text: Intake.artist.length > 0 ? Intake.artist : "—"
                font.pixelSize: 10
                color: Theme.muted
                elide: Text.ElideRight
                Layout.fillWidth: true
            }
        }

        ColumnLayout {
            spacing: 2
            Layout.fillWidth: true
            Repeater {
                model: Session.stages
                delegate: StageRow {
                    Layout.fillWidth: true
                    onChosen: Session.selectedStage = stage
                }
            }
        }

        Item {
            Layout.fillHeight: true
        }

        ColumnLayout {
            spacing: 8
            Layout.fillWidth: true
            RowLayout {
                Layout.fillWidth: true
                Text {
                    text: "Readability approval"
                    font.pixelSize: 10
                    color: Theme.muted
                    Layout.fillWidth: true
                }
                Text {
                    objectName: "approvalCount"
                    text: Storyboard.acceptedCount + "/" + Storyboard.chunkCount
                    font.pixelSize: 11
                    color: Theme.cream
                }
            }
            ProgressMeter {
                Layout.fillWidth: true
                value: Storyboard.chunkCount > 0 ? Storyboard.acceptedCount / Storyboard.chunkCount : 0
            }
        }

        RowLayout {
            Layout.fillWidth: true
            StatusChip {
                objectName: "readinessChip"
                text: Storyboard.allAccepted ? "Ready to export" : "In progress"
                intent: Storyboard.allAccepted ? "good" : "pending"
            }
            Item {
                Layout.fillWidth: true
            }
            Rectangle {
                objectName: "settingsButton"
                implicitWidth: 30
                implicitHeight: 30
                radius: 8
                color: settingsHover.hovered ? Theme.withAlpha(Theme.cream, 0.08) : "transparent"
                SymbolIcon {
                    anchors.centerIn: parent
                    symbol: "gearshape"
                    tint: Theme.muted
                    size: 16
                }
                HoverHandler {
                    id: settingsHover
                    cursorShape: Qt.PointingHandCursor
                }
                TapHandler {
                    onTapped: sidebar.settingsRequested()
                }
            }
        }
    }
}
