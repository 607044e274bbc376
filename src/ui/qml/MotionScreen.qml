pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 6: the parallax settings and the local render of every accepted frame.
ColumnLayout {
    id: screen
    readonly property bool rendering: Session.busy && Session.runningTask === "Rendering motion"

    spacing: 18

    SurfaceHeader {
        kicker: "Step 6 · Motion"
        title: "DepthFlow parallax."
        subtitle: "Add local parallax motion to accepted frames. Rendering stays on this computer."
        Layout.fillWidth: true
    }

    RowLayout {
        objectName: "acceptWarning"
        visible: !Storyboard.allAccepted
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "exclamationmark.triangle.fill"
            tint: Theme.amber
            size: 15
        }
        Text {
            objectName: "acceptWarningText"
            text: "Accept all frames first — " + Storyboard.acceptedCount + "/" + Storyboard.chunkCount + " approved."
            font.pixelSize: 12
            color: Theme.amber
            Layout.fillWidth: true
        }
        SecondaryButton {
            text: "Review frames"
            onClicked: Session.selectedStage = 4
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: settings.implicitHeight + 2 * padding
        ColumnLayout {
            id: settings
            width: parent.width
            spacing: 16
            SettingRow {
                objectName: "intensityRow"
                label: "Parallax intensity"
                value: Math.floor(Motion.intensity * 100) + "%"
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 0
                    to: 1
                    value: Motion.intensity
                    onMoved: Motion.intensity = value
                }
            }
            SettingRow {
                objectName: "zoomRow"
                label: "Push-in zoom"
                value: Math.floor(Motion.zoom * 100) + "%"
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 0
                    to: 0.5
                    value: Motion.zoom
                    onMoved: Motion.zoom = value
                }
            }
            RowLayout {
                Layout.fillWidth: true
                ColumnLayout {
                    spacing: 2
                    Layout.fillWidth: true
                    Text {
                        text: "Clip timing"
                        font.pixelSize: 13
                        color: Theme.cream
                    }
                    Text {
                        objectName: "timingHint"
                        text: Motion.followsSong
                              ? "Each frame is on screen while its words are sung; the video lasts the whole song."
                              : "Every clip lasts the clip duration below; the song is cut where the clips end."
                        font.pixelSize: 11
                        color: Theme.muted
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                }
                KitComboBox {
                    objectName: "timingPicker"
                    Layout.preferredWidth: 170
                    model: ["Follow the song", "Fixed length"]
                    currentIndex: Motion.followsSong ? 0 : 1
                    onActivated: index => Motion.followsSong = index === 0
                }
            }
            SettingRow {
                objectName: "durationRow"
                label: "Clip duration"
                value: Motion.duration.toFixed(1) + "s"
                enabled: !Motion.followsSong
                opacity: enabled ? 1 : 0.45
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 2
                    to: 10
                    value: Motion.duration
                    onMoved: Motion.duration = value
                }
            }
            RowLayout {
                Layout.fillWidth: true
                Text {
                    text: "Frame rate"
                    font.pixelSize: 13
                    color: Theme.cream
                    Layout.fillWidth: true
                }
                KitComboBox {
                    objectName: "fpsPicker"
                    Layout.preferredWidth: 120
                    model: ["24 fps", "30 fps", "60 fps"]
                    currentIndex: [24, 30, 60].indexOf(Motion.fps)
                    onActivated: index => Motion.fps = [24, 30, 60][index]
                }
            }
            ReviewToggle {
                label: "Loop clip motion"
                checked: Motion.loop
                onToggled: value => Motion.loop = value
            }
            // Clip transitions.
            ReviewToggle {
                objectName: "crossfadeToggle"
                label: "Cross-fade between clips"
                checked: Motion.crossfade
                onToggled: value => Motion.crossfade = value
            }
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: render.implicitHeight + 2 * padding
        ColumnLayout {
            id: render
            width: parent.width
            spacing: 8
            Text {
                text: "Local render"
                font.family: Theme.displayFont
                font.pixelSize: 16
                color: Theme.cream
            }
            Text {
                text: Storyboard.acceptedCount + " accepted frames · rendered on this computer"
                font.pixelSize: 12
                color: Theme.muted
            }
            Text {
                objectName: "renderStatus"
                // While clips render the count follows the bar; the stored clips are from the
                // last run and would disagree with it.
                text: screen.rendering
                      ? Math.floor(Math.max(Session.taskProgress, 0) * Storyboard.acceptedCount + 1e-6) + " of "
                        + Storyboard.acceptedCount + " clips rendered"
                      : Motion.renderedCount === Storyboard.chunkCount && Storyboard.chunkCount > 0
                      ? "All clips rendered"
                      : Motion.renderedCount + " of " + Storyboard.chunkCount + " clips rendered"
                font.pixelSize: 13
                color: Theme.cream
            }
            RowLayout {
                spacing: 10
                PrimaryButton {
                    objectName: "renderButton"
                    symbol: "wand.and.rays"
                    text: "Render motion"
                    enabled: Storyboard.allAccepted && !Session.busy
                    onClicked: Motion.renderMotion()
                }
                SecondaryButton {
                    symbol: "play.rectangle"
                    text: "Preview timeline"
                    onClicked: Session.selectedStage = 7
                }
            }
        }
    }
}
