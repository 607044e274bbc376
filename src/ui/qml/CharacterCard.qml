import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quillvane

// One cast character: name, how many frames feature the character, consistency notes,
// the first reference image and the button that adds more.
Panel {
    id: card
    required property var model
    required property string characterId
    required property string name
    required property string notes
    required property string thumbnail
    required property int referenceCount

    implicitHeight: content.implicitHeight + 2 * padding

    FileDialog {
        id: chooser
        title: "Add reference images"
        fileMode: FileDialog.OpenFiles
        nameFilters: ["Images (*.png *.jpg *.jpeg *.webp *.heic *.gif *.bmp *.tif *.tiff)"]
        onAccepted: Store.addReferenceImages(card.characterId, selectedFiles)
    }

    RowLayout {
        id: content
        width: parent.width
        spacing: 16
        CharacterThumb {
            source: card.thumbnail
            Layout.alignment: Qt.AlignTop
        }
        ColumnLayout {
            spacing: 8
            Layout.fillWidth: true
            RowLayout {
                spacing: 10
                Layout.fillWidth: true
                SymbolIcon {
                    symbol: "person.crop.rectangle.stack"
                    tint: Theme.lime
                    size: 16
                }
                KitTextField {
                    objectName: "characterName"
                    placeholderText: "Name"
                    text: card.name
                    onTextEdited: card.model.name = text
                    Layout.fillWidth: true
                }
                StatusChip {
                    objectName: "framesChip"
                    text: Store.featuredFrameCount + " frames"
                    intent: Store.featuredFrameCount > 0 ? "accent" : "neutral"
                }
            }
            FieldLabel { text: "Consistency notes" }
            KitTextField {
                placeholderText: "e.g. platinum hair, magenta sunglasses, floral blazer"
                text: card.notes
                onTextEdited: card.model.notes = text
                Layout.fillWidth: true
            }
            RowLayout {
                spacing: 10
                StatusChip {
                    objectName: "referencesChip"
                    text: card.referenceCount > 0 ? card.referenceCount + " reference images" : "No reference image"
                    intent: card.referenceCount > 0 ? "good" : "warn"
                }
                SecondaryButton {
                    text: "Add references…"
                    symbol: "photo"
                    onClicked: chooser.open()
                }
            }
        }
    }
}
