pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 3: the concept for the planner, the recurring character with reference images, and
// the storyboard's start.
ColumnLayout {
    id: screen
    property string newName

    spacing: 18

    function addCharacter() {
        if (Cast.addCharacter(screen.newName))
            screen.newName = ""
    }

    SurfaceHeader {
        kicker: "Step 3 · Characters"
        title: "Cast the character."
        subtitle: "Add the recurring subject and a reference image. The plan is generated around this character, so set it up before the storyboard."
        Layout.fillWidth: true
    }

    Panel {
        Layout.fillWidth: true
        implicitHeight: concept.implicitHeight + 2 * padding
        ColumnLayout {
            id: concept
            width: parent.width
            spacing: 8
            FieldLabel { text: "Concept guidance (optional)" }
            KitTextArea {
                objectName: "conceptField"
                placeholderText: "e.g. 80s neon, moody, mirrorball light-play"
                text: Cast.conceptPrompt
                onTextChanged: if (text !== Cast.conceptPrompt) Cast.conceptPrompt = text
                Layout.fillWidth: true
            }
            Text {
                text: "Sent to the planner as style guidance to steer the art direction."
                font.pixelSize: 11
                color: Theme.muted
            }
        }
    }

    RowLayout {
        spacing: 10
        Layout.fillWidth: true
        KitTextField {
            objectName: "newCharacterName"
            placeholderText: "New character name"
            text: screen.newName
            onTextEdited: screen.newName = text
            onAccepted: screen.addCharacter()
            Layout.fillWidth: true
        }
        SecondaryButton {
            objectName: "addCharacterButton"
            text: "Add"
            symbol: "plus"
            onClicked: screen.addCharacter()
        }
    }

    Text {
        objectName: "noCharacters"
        visible: Cast.characters.count === 0
        text: "No characters yet. Add one and give it a reference image to keep the subject consistent across the video."
        font.pixelSize: 13
        color: Theme.muted
        wrapMode: Text.WordWrap
        Layout.fillWidth: true
    }

    Repeater {
        model: Cast.characters
        delegate: CharacterCard {
            Layout.fillWidth: true
        }
    }

    PrimaryButton {
        objectName: "storyboardButton"
        symbol: Storyboard.chunkCount === 0 ? "sparkles" : "arrow.right"
        text: Storyboard.chunkCount === 0 ? "Generate storyboard" : "Continue to storyboard"
        enabled: !Session.busy
        onClicked: Cast.startStoryboard()
    }
}
