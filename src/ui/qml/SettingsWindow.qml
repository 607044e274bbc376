pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import QtQuick.Window
import Quillvane

// The Settings window, 460 wide: the transcription engine in use, the generation service,
// the three generation settings under Advanced, and the version.
Window {
    id: settings
    title: "Settings"
    width: 460
    minimumWidth: 460
    maximumWidth: 460
    height: 640
    minimumHeight: 420
    color: Theme.inkDeep

    // Asked afresh every time the window is shown: an install may have come or gone.
    property string engine: AppSettings.engineName()
    property bool advancedOpen: true
    onVisibleChanged: if (visible) settings.engine = AppSettings.engineName()

    Shortcut {
        sequence: "Escape"
        onActivated: settings.close()
    }

    Flickable {
        anchors.fill: parent
        contentHeight: column.implicitHeight + 56
        clip: true

        ColumnLayout {
            id: column
            x: 28
            y: 28
            width: settings.width - 56
            spacing: 16

            SurfaceHeader {
                kicker: "Settings"
                title: "Studio settings."
                subtitle: AppSettings.offlineStudio
                          ? "Transcription and generation both run on your computer, in the offline studio."
                          : "Transcription runs on your computer. Generation is handled by the Quillvane service."
                Layout.fillWidth: true
            }

            Panel {
                Layout.fillWidth: true
                implicitHeight: engineColumn.implicitHeight + 2 * padding
                ColumnLayout {
                    id: engineColumn
                    width: parent.width
                    spacing: 8
                    Text { text: "Transcription engine"; font.family: Theme.displayFont; font.pixelSize: 15; color: Theme.cream }
                    RowLayout {
                        spacing: 10
                        Layout.fillWidth: true
                        SymbolIcon {
                            symbol: settings.engine === "Local Whisper" ? "cpu" : "waveform"
                            tint: Theme.lime
                            size: 16
                        }
                        Text {
                            objectName: "engineName"
                            text: settings.engine
                            font.pixelSize: 13
                            font.bold: true
                            color: Theme.cream
                            Layout.fillWidth: true
                        }
                        StatusChip {
                            objectName: "engineChip"
                            text: settings.engine === "None" ? "Unavailable" : "Ready"
                            intent: settings.engine === "None" ? "bad" : "good"
                        }
                    }
                    Text {
                        text: settings.engine === "Local Whisper" ? "Using your local Whisper install."
                              : "Install Whisper (e.g. `pip install openai-whisper`) for higher-accuracy timing; otherwise the built-in speech recognizer is used."
                        font.pixelSize: 11
                        color: Theme.muted
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                    RowLayout {
                        spacing: 10
                        Layout.fillWidth: true
                        Text { text: "Timing"; font.pixelSize: 13; color: Theme.cream }
                        KitComboBox {
                            objectName: "timingPicker"
                            Layout.preferredWidth: 200
                            model: ["Align words", "By proportion"]
                            currentIndex: AppSettings.alignsWords ? 0 : 1
                            onActivated: index => AppSettings.alignsWords = index === 0
                        }
                    }
                }
            }

            Panel {
                Layout.fillWidth: true
                implicitHeight: serviceColumn.implicitHeight + 2 * padding
                ColumnLayout {
                    id: serviceColumn
                    width: parent.width
                    spacing: 8
                    Text { text: "Generation service"; font.family: Theme.displayFont; font.pixelSize: 15; color: Theme.cream }
                    KitComboBox {
                        objectName: "backendPicker"
                        Layout.preferredWidth: 200
                        model: ["Quillvane service", "Offline studio"]
                        currentIndex: AppSettings.offlineStudio ? 1 : 0
                        onActivated: index => AppSettings.offlineStudio = index === 1
                    }
                    Text {
                        visible: AppSettings.offlineStudio
                        text: "The offline studio draws its pictures by rules on this computer; no model paints them."
                        font.pixelSize: 11
                        color: Theme.amber
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                    RowLayout {
                        spacing: 10
                        Layout.fillWidth: true
                        SymbolIcon { symbol: "lock.shield"; tint: Theme.lime; size: 16 }
                        Text {
                            objectName: "backendNote"
                            text: AppSettings.offlineStudio
                                  ? "Nothing is sent over the network: storyboards and frames are made on this computer."
                                  : "Requests are routed through the Quillvane service. No key is stored on this computer."
                            font.pixelSize: 12
                            color: Theme.cream
                            wrapMode: Text.WordWrap
                            Layout.fillWidth: true
                        }
                    }
                }
            }

            Panel {
                Layout.fillWidth: true
                implicitHeight: advanced.implicitHeight + 2 * padding
                ColumnLayout {
                    id: advanced
                    width: parent.width
                    spacing: 8
                    RowLayout {
                        Layout.fillWidth: true
                        Text {
                            text: (settings.advancedOpen ? "▾ " : "▸ ") + "Advanced"
                            font.pixelSize: 13
                            font.bold: true
                            color: Theme.cream
                            Layout.fillWidth: true
                            TapHandler { onTapped: settings.advancedOpen = !settings.advancedOpen }
                        }
                    }
                    ColumnLayout {
                        visible: settings.advancedOpen
                        spacing: 8
                        Layout.fillWidth: true
                        FieldLabel { text: "Image model" }
                        KitTextField {
                            objectName: "modelField"
                            placeholderText: "fal-ai/flux/dev"
                            text: AppSettings.generationModel
                            onTextEdited: AppSettings.generationModel = text
                            Layout.fillWidth: true
                        }
                        FieldLabel { text: "Edit workflow" }
                        KitTextField {
                            objectName: "workflowField"
                            placeholderText: "workflows/…/lyric-video-edit-frame"
                            text: AppSettings.editWorkflow
                            onTextEdited: AppSettings.editWorkflow = text
                            Layout.fillWidth: true
                        }
                        FieldLabel { text: "Service base URL" }
                        // Written when editing ends, so a new URL can be typed: every partial
                        // URL on the way would normalise to the default.
                        KitTextField {
                            objectName: "serviceField"
                            placeholderText: "https://…/api/fal"
                            text: AppSettings.proxyBaseURL
                            onEditingFinished: {
                                AppSettings.proxyBaseURL = text
                                text = Qt.binding(() => AppSettings.proxyBaseURL)
                            }
                            Layout.fillWidth: true
                        }
                    }
                }
            }

            Panel {
                Layout.fillWidth: true
                implicitHeight: updates.implicitHeight + 2 * padding
                ColumnLayout {
                    id: updates
                    width: parent.width
                    spacing: 8
                    Text { text: "Updates"; font.family: Theme.displayFont; font.pixelSize: 15; color: Theme.cream }
                    Text {
                        text: "Updates are delivered with each Quillvane release."
                        font.pixelSize: 12
                        color: Theme.muted
                        wrapMode: Text.WordWrap
                        Layout.fillWidth: true
                    }
                    RowLayout {
                        Layout.fillWidth: true
                        Text { text: "Version 1.0.0"; font.pixelSize: 12; color: Theme.cream; Layout.fillWidth: true }
                        // Offline nothing is asked of the network, so nothing is claimed.
                        StatusChip {
                            objectName: "updatesChip"
                            text: AppSettings.offlineStudio ? "Not checked offline" : "Up to date"
                            intent: AppSettings.offlineStudio ? "neutral" : "good"
                        }
                    }
                }
            }
        }
    }
}
