pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 6: the parallax settings and the local render of every accepted frame.
ColumnLayout {
    id: screen
    readonly property var media: Store.media
    readonly property bool rendering: Store.busy && Store.runningTask === "Rendering motion"

    spacing: 18

    SurfaceHeader {
        kicker: "Step 6 · Motion"
        title: "DepthFlow parallax."
        subtitle: "Add local parallax motion to accepted frames. Rendering stays on this computer."
        Layout.fillWidth: true
    }

    RowLayout {
        objectName: "acceptWarning"
        visible: !Store.allAccepted
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "exclamationmark.triangle.fill"
            tint: Theme.amber
            size: 15
        }
        Text {
            objectName: "acceptWarningText"
            text: "Accept all frames first — " + Store.acceptedCount + "/" + Store.chunkCount + " approved."
            font.pixelSize: 12
            color: Theme.amber
            Layout.fillWidth: true
        }
        SecondaryButton {
            text: "Review frames"
            onClicked: Store.selectedStage = 4
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
                value: Math.floor(screen.media.intensity * 100) + "%"
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 0
                    to: 1
                    value: screen.media.intensity
                    onMoved: screen.media.intensity = value
                }
            }
            SettingRow {
                objectName: "zoomRow"
                label: "Push-in zoom"
                value: Math.floor(screen.media.zoom * 100) + "%"
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 0
                    to: 0.5
                    value: screen.media.zoom
                    onMoved: screen.media.zoom = value
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
                        text: screen.media.followsSong
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
                    currentIndex: screen.media.followsSong ? 0 : 1
                    onActivated: index => screen.media.followsSong = index === 0
                }
            }
            SettingRow {
                objectName: "durationRow"
                label: "Clip duration"
                value: screen.media.duration.toFixed(1) + "s"
                enabled: !screen.media.followsSong
                opacity: enabled ? 1 : 0.45
                Layout.fillWidth: true
                KitSlider {
                    width: parent.width
                    from: 2
                    to: 10
                    value: screen.media.duration
                    onMoved: screen.media.duration = value
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
                    currentIndex: [24, 30, 60].indexOf(screen.media.fps)
                    onActivated: index => screen.media.fps = [24, 30, 60][index]
                }
            }
            ReviewToggle {
                label: "Loop clip motion"
                checked: screen.media.loop
                onToggled: value => screen.media.loop = value
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
                text: Store.acceptedCount + " accepted frames · rendered on this computer"
                font.pixelSize: 12
                color: Theme.muted
            }
            Text {
                objectName: "renderStatus"
                // While clips render the count follows the bar; the stored clips are from the
                // last run and would disagree with it.
                text: screen.rendering
                      ? Math.floor(Math.max(Store.taskProgress, 0) * Store.acceptedCount + 1e-6) + " of "
                        + Store.acceptedCount + " clips rendered"
                      : screen.media.renderedCount === Store.chunkCount && Store.chunkCount > 0
                      ? "All clips rendered"
                      : screen.media.renderedCount + " of " + Store.chunkCount + " clips rendered"
                font.pixelSize: 13
                color: Theme.cream
            }
            RowLayout {
                spacing: 10
                PrimaryButton {
                    objectName: "renderButton"
                    symbol: "wand.and.rays"
                    text: "Render motion"
                    enabled: Store.allAccepted && !Store.busy
                    onClicked: Store.renderMotion()
                }
                SecondaryButton {
                    symbol: "play.rectangle"
                    text: "Preview timeline"
                    onClicked: Store.selectedStage = 7
                }
            }
        }
    }
}
