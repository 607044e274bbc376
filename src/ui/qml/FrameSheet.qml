pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quillvane

// The sheet opened from a review card: the large viewer, or the edit request form. It shows
// the chosen chunk as the storyboard has it now, so an edit or a new version shows at once.
Popup {
    id: sheet
    readonly property var chunk: Storyboard.selectedChunk
    readonly property string chunkId: chunk.chunkId ?? ""
    property bool editing
    property string request

    function show(id: string, edit: bool) {
        Storyboard.selectedChunkId = id
        sheet.editing = edit
        sheet.request = ""
        sheet.open()
    }

    function send() {
        if (Texts.canSend(sheet.request, Session.busy))
            Storyboard.editFrame(sheet.chunkId, sheet.request.trim())
    }

    modal: true
    focus: true
    closePolicy: Popup.CloseOnEscape | Popup.CloseOnPressOutside
    anchors.centerIn: Overlay.overlay
    width: Math.min(parent ? parent.width - 80 : 900, 900)
    padding: 24
    onEditingChanged: if (editing) requestField.forceActiveFocus()
    onOpened: if (editing) requestField.forceActiveFocus()

    Overlay.modal: Rectangle {
        color: Qt.rgba(0, 0, 0, 0.55)
    }
    background: Rectangle {
        radius: 14
        color: Theme.inkDeep
        border.width: 1
        border.color: Theme.goldLine
    }

    contentItem: ColumnLayout {
        spacing: 14
        RowLayout {
            Layout.fillWidth: true
            Text {
                objectName: "sheetTitle"
                text: sheet.editing ? "Edit frame" : "Frame " + (sheet.chunk.chunkNumber ?? "")
                font.family: Theme.displayFont
                font.pixelSize: 22
                color: Theme.cream
                Layout.fillWidth: true
            }
            IconButton {
                symbol: "xmark"
                onClicked: sheet.close()
            }
        }
        Text {
            objectName: "lastEditLine"
            visible: (sheet.chunk.editRequest ?? "").length > 0
            text: Texts.lastEditLine(sheet.chunk.editRequest ?? "")
            font.pixelSize: 12
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        FrameImageView {
            source: sheet.chunk.framePath ?? ""
            fallbackText: "Not generated"
            accepted: sheet.chunk.accepted ?? false
            decodeWidth: 1280
            Layout.fillWidth: true
            Layout.maximumHeight: sheet.editing ? 300 : 480
            Layout.preferredHeight: width * 9 / 16
        }
        RowLayout {
            visible: !sheet.editing
            spacing: 8
            SecondaryButton {
                symbol: "arrow.clockwise"
                text: "Regenerate"
                enabled: !Session.busy
                onClicked: Storyboard.generateFrame(sheet.chunkId)
            }
            PrimaryButton {
                symbol: "wand.and.stars"
                text: "Edit"
                onClicked: sheet.editing = true
            }
        }
        ColumnLayout {
            visible: sheet.editing
            spacing: 8
            Layout.fillWidth: true
            FieldLabel { text: "Describe the change" }
            RowLayout {
                spacing: 8
                Layout.fillWidth: true
                KitTextField {
                    id: requestField
                    objectName: "requestField"
                    placeholderText: "e.g. make the sky sunset orange, fix the sign spelling"
                    text: sheet.request
                    onTextEdited: sheet.request = text
                    onAccepted: sheet.send()
                    Layout.fillWidth: true
                }
                Item {
                    implicitWidth: 40
                    implicitHeight: 36
                    Spinner {
                        anchors.centerIn: parent
                        visible: Session.busy
                    }
                    PrimaryButton {
                        objectName: "sendButton"
                        anchors.fill: parent
                        visible: !Session.busy
                        leftPadding: 10
                        rightPadding: 10
                        symbol: "paperplane.fill"
                        enabled: Texts.canSend(sheet.request, Session.busy)
                        onClicked: sheet.send()
                    }
                }
            }
            RowLayout {
                spacing: 8
                IconButton {
                    symbol: "arrow.uturn.backward"
                    enabled: (sheet.chunk.undoCount ?? 0) > 0
                    onClicked: Storyboard.undoFrame(sheet.chunkId)
                }
                IconButton {
                    symbol: "arrow.uturn.forward"
                    enabled: (sheet.chunk.redoCount ?? 0) > 0
                    onClicked: Storyboard.redoFrame(sheet.chunkId)
                }
                Text {
                    objectName: "versionLine"
                    text: Texts.versionLine(sheet.chunk.undoCount ?? 0, sheet.chunk.redoCount ?? 0)
                    font.pixelSize: 12
                    color: Theme.muted
                }
            }
        }
    }
}
