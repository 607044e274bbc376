pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// The style guidance every image prompt carries, with the prompt it makes for a sample frame.
ColumnLayout {
    spacing: 18

    SurfaceHeader {
        kicker: "Style"
        title: "Guide the look."
        subtitle: "This direction is applied to every image prompt and keeps the video visually continuous."
        Layout.fillWidth: true
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: form.implicitHeight + 2 * padding
        GridLayout {
            id: form
            width: parent.width
            columns: 2
            columnSpacing: 14
            rowSpacing: 10
            Repeater {
                model: [
                    ["Palette name", "Palette", "paletteName"],
                    ["Mood", "Mood", "mood"],
                    ["Medium", "Medium", "medium"],
                    ["Continuity notes", "Recurring elements across frames", "continuityNotes"],
                    ["Negative prompts", "What to avoid", "negativePrompts"]
                ]
                delegate: ColumnLayout {
                    id: entry
                    required property var modelData
                    spacing: 6
                    Layout.fillWidth: true
                    Layout.columnSpan: entry.modelData[2] === "continuityNotes" ? 2 : 1
                    FieldLabel { text: entry.modelData[0] }
                    KitTextField {
                        objectName: entry.modelData[2] + "Field"
                        placeholderText: entry.modelData[1]
                        text: Cast[entry.modelData[2]]
                        onTextEdited: Cast[entry.modelData[2]] = text
                        Layout.fillWidth: true
                    }
                }
            }
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: lyricsRow.implicitHeight + 2 * padding
        RowLayout {
            id: lyricsRow
            width: parent.width
            spacing: 14
            ColumnLayout {
                spacing: 4
                Layout.fillWidth: true
                FieldLabel { text: "Lyrics on screen" }
                Text {
                    objectName: "lyricsNote"
                    text: Cast.lyricsNote !== "" ? Cast.lyricsNote
                        : "Painted: the image engine letters each frame. Set as sung: Quillvane sets the line being sung over the video."
                    font.pixelSize: 12
                    color: Theme.muted
                    wrapMode: Text.WordWrap
                    Layout.fillWidth: true
                }
            }
            KitComboBox {
                objectName: "lyricsPicker"
                Layout.preferredWidth: 220
                model: Cast.lyricsLabels
                currentIndex: Cast.lyricsOnScreen
                onActivated: index => Cast.lyricsOnScreen = index
            }
        }
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: preview.implicitHeight + 2 * padding
        ColumnLayout {
            id: preview
            width: parent.width
            spacing: 8
            Text {
                text: "Prompt preview"
                font.family: Theme.displayFont
                font.pixelSize: 16
                color: Theme.cream
            }
            Text {
                objectName: "promptPreview"
                text: Cast.promptPreview
                font.pixelSize: 12
                font.family: "monospace"
                color: Theme.muted
                wrapMode: Text.WordWrap
                textFormat: Text.PlainText
                Layout.fillWidth: true
            }
        }
    }
}
