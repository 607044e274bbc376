pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Layouts
import Quillvane

// The plan's art direction, and its palette, motif and storyline when it has them.
Panel {
    implicitHeight: summary.implicitHeight + 2 * padding
    ColumnLayout {
        id: summary
        width: parent.width
        spacing: 10
        Text {
            text: "Art direction"
            font.family: Theme.displayFont
            font.pixelSize: 16
            color: Theme.cream
        }
        Text {
            objectName: "artDirection"
            text: Storyboard.artDirection
            font.pixelSize: 13
            color: Theme.cream
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Row {
            visible: Storyboard.palette.length > 0
            spacing: 6
            Repeater {
                model: Storyboard.palette
                delegate: Rectangle {
                    required property string modelData
                    width: 26
                    height: 26
                    radius: 6
                    color: modelData
                    border.width: 1
                    border.color: Theme.goldLine
                }
            }
        }
        Text {
            visible: Storyboard.motif.length > 0
            text: "Motif: " + Storyboard.motif
            font.pixelSize: 12
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Text {
            visible: Storyboard.storyline.length > 0
            text: "Storyline: " + Storyboard.storyline
            font.pixelSize: 12
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
    }
}
