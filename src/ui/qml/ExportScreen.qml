pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quillvane

// Step 7: the export settings, a summary, and the export with its result.
ColumnLayout {
    id: screen
    property url lastExport
    property bool revealFailed: false

    spacing: 18

    Connections {
        target: Export
        function onExported(file) {
            screen.lastExport = file
            screen.revealFailed = !Session.choosers.showInFolder(file)
        }
    }

    KitFolderDialog {
        id: folderChooser
        objectName: "folderChooser"
        kind: "export"
        title: "Choose where to export"
        onAccepted: Export.destination = selectedFolder
    }

    // Frames are painted in the video's shape, so another shape sends them back to be painted
    // again (Edit ▸ Undo brings them back): the user is asked first.
    ConfirmDialog {
        id: shapeConfirm
        objectName: "shapeConfirm"
        property int shape: -1
        confirmText: "Change"
        message: "Changing the shape repaints " + (Storyboard.framedCount === 1 ? "1 frame" : Storyboard.framedCount + " frames")
                 + ". Change?"
        onConfirmed: Export.changeShape(shape)
        onClosed: shapePicker.currentIndex = Qt.binding(() => Export.shape)
    }

    SurfaceHeader {
        kicker: "Step 7 · Export"
        title: "Assemble & export."
        subtitle: "Combine the local motion clips with the original audio into a finished lyric video."
        Layout.fillWidth: true
    }

    RowLayout {
        objectName: "lockNotice"
        visible: !Storyboard.allAccepted
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "lock.fill"
            tint: Theme.amber
            size: 15
        }
        Text {
            text: "Export unlocks when every frame is accepted."
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
        GridLayout {
            id: settings
            width: parent.width
            columns: 2
            rowSpacing: 12
            columnSpacing: 14
            Text { text: "Resolution"; font.pixelSize: 13; color: Theme.cream; Layout.fillWidth: true }
            KitComboBox {
                objectName: "resolutionPicker"
                Layout.preferredWidth: 140
                model: Export.resolutionLabels
                currentIndex: Export.resolution
                onActivated: index => Export.resolution = index
            }
            Text { text: "Shape"; font.pixelSize: 13; color: Theme.cream; Layout.fillWidth: true }
            KitComboBox {
                id: shapePicker
                objectName: "shapePicker"
                Layout.preferredWidth: 140
                model: Export.shapeLabels
                currentIndex: Export.shape
                enabled: !Session.busy
                onActivated: index => {
                    if (index === Export.shape)
                        return
                    if (Storyboard.framedCount === 0) {
                        Export.changeShape(index)
                        return
                    }
                    shapeConfirm.shape = index
                    shapeConfirm.open()
                }
            }
            Text { text: "Container"; font.pixelSize: 13; color: Theme.cream; Layout.fillWidth: true }
            KitComboBox {
                objectName: "containerPicker"
                Layout.preferredWidth: 180
                model: Export.containerLabels
                currentIndex: Export.container
                onActivated: index => Export.container = index
            }
            Text { text: "Include original audio"; font.pixelSize: 13; color: Theme.cream; Layout.fillWidth: true }
            ReviewToggle {
                checked: Export.includeAudio
                onToggled: value => Export.includeAudio = value
            }
            Text { text: "Lyrics files (SRT, LRC)"; font.pixelSize: 13; color: Theme.cream; Layout.fillWidth: true }
            ReviewToggle {
                objectName: "subtitlesToggle"
                checked: Export.subtitles
                onToggled: value => Export.subtitles = value
            }
            Text { text: "Destination"; font.pixelSize: 13; color: Theme.cream }
            RowLayout {
                spacing: 10
                Layout.fillWidth: true
                Text {
                    objectName: "destinationText"
                    text: Export.destination.length > 0 ? Export.destination : "Not chosen"
                    font.pixelSize: 11
                    color: Theme.muted
                    elide: Text.ElideMiddle
                    horizontalAlignment: Text.AlignRight
                    Layout.fillWidth: true
                }
                SecondaryButton {
                    objectName: "chooseFolderButton"
                    text: "Choose…"
                    onClicked: folderChooser.show()
                }
            }
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: summary.implicitHeight + 2 * padding
        GridLayout {
            id: summary
            width: parent.width
            columns: 2
            rowSpacing: 6
            Text {
                text: "Summary"
                font.family: Theme.displayFont
                font.pixelSize: 16
                color: Theme.cream
                Layout.columnSpan: 2
            }
            Repeater {
                model: [
                    ["Chunks", String(Storyboard.chunkCount)],
                    ["Accepted frames", String(Storyboard.acceptedCount)],
                    ["Duration", Session.clock(Export.projectDuration)],
                    ["Output", Export.resolutionLabels[Export.resolution] + " · "
                               + Export.shapeLabels[Export.shape].split(" ")[0] + " · "
                               + Export.containerLabels[Export.container]]
                ]
                delegate: RowLayout {
                    id: summaryRow
                    required property var modelData
                    Layout.columnSpan: 2
                    Layout.fillWidth: true
                    Text { text: summaryRow.modelData[0]; font.pixelSize: 12; color: Theme.muted; Layout.fillWidth: true }
                    Text {
                        objectName: "summary-" + summaryRow.modelData[0]
                        text: summaryRow.modelData[1]
                        font.pixelSize: 12
                        font.family: "monospace"
                        color: Theme.cream
                    }
                }
            }
        }
    }

    ProgressMeter {
        visible: Session.busy && Session.taskProgress >= 0
        value: Session.taskProgress
        tint: Theme.lime
        Layout.fillWidth: true
    }

    RowLayout {
        objectName: "exportResult"
        visible: screen.lastExport.toString().length > 0
        spacing: 10
        Layout.fillWidth: true
        SymbolIcon {
            symbol: "checkmark.seal.fill"
            tint: Theme.success
            size: 16
        }
        Text {
            text: "Exported to " + screen.lastExport.toString().split("/").pop()
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        SecondaryButton {
            objectName: "showInFolderButton"
            text: "Show in Folder"
            onClicked: screen.revealFailed = !Session.choosers.showInFolder(screen.lastExport)
        }
    }

    // Without a file manager the desktop cannot show the file: the path is there to copy.
    RowLayout {
        objectName: "revealFallback"
        visible: screen.revealFailed && screen.lastExport.toString().length > 0
        spacing: 10
        Layout.fillWidth: true
        Text {
            text: "No file manager could show the video. It is at:"
            font.pixelSize: 12
            color: Theme.muted
        }
        TextEdit {
            id: exportPathText
            objectName: "exportPath"
            text: decodeURIComponent(screen.lastExport.toString().replace(/^file:\/\//, ""))
            readOnly: true
            selectByMouse: true
            font.family: "monospace"
            font.pixelSize: 12
            color: Theme.cream
            Layout.fillWidth: true
        }
        SecondaryButton {
            objectName: "copyPathButton"
            text: "Copy"
            symbol: "doc.on.doc"
            onClicked: Session.choosers.copyText(exportPathText.text)
        }
    }

    PrimaryButton {
        objectName: "exportButton"
        symbol: "square.and.arrow.up.fill"
        text: Session.busy ? "Exporting…" : "Export lyric video"
        enabled: Storyboard.allAccepted && !Session.busy
        onClicked: {
            screen.lastExport = ""
            screen.revealFailed = false
            Export.exportVideo()
        }
    }
}
