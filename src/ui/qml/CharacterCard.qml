pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Dialogs
import QtQuick.Layouts
import Quillvane

// One cast character: name, how many frames feature the character, consistency notes, every
// reference image (each with its remove control), the button that adds more, and the
// character's own remove action, which asks first.
Panel {
    id: card
    required property var model
    required property string characterId
    required property string name
    required property string notes
    required property string thumbnail
    required property int referenceCount
    required property var referenceImages

    implicitHeight: content.implicitHeight + 2 * padding

    KitFileDialog {
        id: chooser
        objectName: "imageChooser"
        kind: "image"
        title: "Add reference images"
        fileMode: FileDialog.OpenFiles
        nameFilters: ["Images (*.png *.jpg *.jpeg *.webp *.heic *.gif *.bmp *.tif *.tiff)"]
        onAccepted: Cast.addReferenceImages(card.characterId, selectedFiles)
    }

    ConfirmDialog {
        id: removeConfirm
        objectName: "removeCharacterConfirm"
        message: "Remove " + (card.name.length > 0 ? "“" + card.name + "”" : "this character")
                 + " from the project? Its reference images stay on disk."
        onConfirmed: Cast.removeCharacter(card.characterId)
    }

    ColumnLayout {
        id: content
        width: parent.width
        spacing: 12
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
                text: Cast.featuredFrameCount + " frames"
                intent: Cast.featuredFrameCount > 0 ? "accent" : "neutral"
            }
            IconButton {
                objectName: "removeCharacterButton"
                symbol: "trash"
                enabled: !Session.busy
                onClicked: removeConfirm.open()
            }
        }
        FieldLabel { text: "Consistency notes" }
        KitTextField {
            placeholderText: "e.g. platinum hair, magenta sunglasses, floral blazer"
            text: card.notes
            onTextEdited: card.model.notes = text
            Layout.fillWidth: true
        }
        Flow {
            objectName: "referenceThumbs"
            spacing: 10
            Layout.fillWidth: true
            Repeater {
                model: card.referenceImages
                delegate: CharacterThumb {
                    id: thumb
                    required property string modelData
                    source: Session.choosers.fileURL(modelData)
                    IconButton {
                        objectName: "removeReferenceButton"
                        anchors.top: parent.top
                        anchors.right: parent.right
                        anchors.margins: 4
                        implicitWidth: 24
                        implicitHeight: 24
                        symbol: "xmark"
                        color: Theme.withAlpha(Theme.inkDeep, 0.8)
                        enabled: !Session.busy
                        onClicked: Cast.removeReferenceImage(card.characterId, thumb.modelData)
                    }
                }
            }
            CharacterThumb {
                visible: card.referenceCount === 0
            }
        }
        RowLayout {
            spacing: 10
            StatusChip {
                objectName: "referencesChip"
                text: card.referenceCount === 1 ? "1 reference image"
                      : card.referenceCount > 1 ? card.referenceCount + " reference images" : "No reference image"
                intent: card.referenceCount > 0 ? "good" : "warn"
            }
            SecondaryButton {
                objectName: "addReferencesButton"
                text: "Add references…"
                symbol: "photo"
                enabled: !Session.busy
                onClicked: chooser.show()
            }
        }
    }
}
