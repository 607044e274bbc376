import QtQuick
import QtQuick.Layouts
import Quillvane

// One recurring element of the plan: its picture, or a placeholder until it is rendered.
Panel {
    id: card
    required property string elementId
    required property string type
    required property string description
    required property string image

    padding: 10
    implicitHeight: content.implicitHeight + 2 * padding

    ColumnLayout {
        id: content
        width: parent.width
        spacing: 8
        Rectangle {
            Layout.fillWidth: true
            Layout.preferredHeight: width * 0.66
            radius: 8
            color: Theme.withAlpha(Theme.inkDeep, 0.8)
            clip: true
            Image {
                id: picture
                anchors.fill: parent
                source: card.image
                sourceSize.width: 360
                fillMode: Image.PreserveAspectCrop
                asynchronous: true
            }
            Column {
                anchors.centerIn: parent
                spacing: 4
                visible: picture.status !== Image.Ready
                SymbolIcon {
                    anchors.horizontalCenter: parent.horizontalCenter
                    symbol: card.type === "place" ? "map" : "cube"
                    tint: Theme.muted
                    size: 20
                }
                Text {
                    objectName: "elementPending"
                    text: "Pending"
                    font.pixelSize: 12
                    font.bold: true
                    color: Theme.muted
                }
            }
        }
        Text {
            text: card.elementId
            font.pixelSize: 12
            font.bold: true
            color: Theme.cream
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
        Text {
            text: card.type
            font.pixelSize: 10
            color: Theme.amber
        }
        Text {
            text: card.description
            font.pixelSize: 11
            color: Theme.muted
            wrapMode: Text.WordWrap
            maximumLineCount: 3
            elide: Text.ElideRight
            Layout.fillWidth: true
        }
    }
}
