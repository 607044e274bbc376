pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls
import QtQuick.Layouts
import Quillvane

// Asks before something is thrown away: a sentence, Cancel, and the action's own button.
Dialog {
    id: dialog
    property string message
    property string confirmText: "Remove"
    signal confirmed()

    modal: true
    anchors.centerIn: Overlay.overlay
    width: Math.min(460, (parent ? parent.width : 460) - 80)
    padding: 22
    background: Rectangle {
        radius: 14
        color: Theme.inkPanel
        border.width: 1
        border.color: Theme.goldLine
    }
    Overlay.modal: Rectangle {
        color: Theme.withAlpha(Theme.inkDeep, 0.7)
    }

    contentItem: ColumnLayout {
        spacing: 18
        Text {
            objectName: "confirmMessage"
            text: dialog.message
            font.pixelSize: 14
            color: Theme.cream
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        RowLayout {
            spacing: 10
            Layout.alignment: Qt.AlignRight
            SecondaryButton {
                objectName: "confirmCancel"
                text: "Cancel"
                onClicked: dialog.close()
            }
            PrimaryButton {
                objectName: "confirmButton"
                text: dialog.confirmText
                onClicked: {
                    dialog.close()
                    dialog.confirmed()
                }
            }
        }
    }
}
