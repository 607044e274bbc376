import QtQuick
import QtQuick.Layouts
import Quillvane

// One chunk on the timeline strip: its frame and start; the selected one has a lime outline.
ColumnLayout {
    id: thumb
    required property string chunkId
    required property string framePath
    required property real start
    property bool selected
    signal chosen()

    spacing: 4
    Rectangle {
        implicitWidth: 120
        implicitHeight: 68
        radius: 6
        color: Theme.withAlpha(Theme.inkPanel, 0.9)
        clip: true
        Image {
            anchors.fill: parent
            anchors.margins: 2
            source: thumb.framePath
            sourceSize.width: 240
            fillMode: Image.PreserveAspectCrop
            asynchronous: true
        }
        Rectangle {
            anchors.fill: parent
            radius: 6
            color: "transparent"
            border.width: thumb.selected ? 2 : 0
            border.color: Theme.lime
        }
        TapHandler {
            onTapped: thumb.chosen()
        }
    }
    Text {
        text: Session.clock(thumb.start)
        font.family: "monospace"
        font.pixelSize: 9
        font.weight: Font.Medium
        color: Theme.muted
    }
}
