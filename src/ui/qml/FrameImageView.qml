import QtQuick

// A chunk's frame filling a rounded card, or the fallback text when there is none or it
// cannot be read. Decoded at the size shown, so a grid of many frames stays light; every
// version has a file of its own, so a new version shows at once.
Item {
    id: view
    property string source
    property string fallbackText
    property bool accepted
    property int decodeWidth: 640

    implicitHeight: width * 9 / 16

    Rectangle {
        anchors.fill: parent
        radius: 10
        color: Theme.withAlpha(Theme.inkDeep, 0.8)
    }
    Image {
        id: picture
        anchors.fill: parent
        anchors.margins: view.accepted ? 2 : 1
        source: view.source
        sourceSize.width: view.decodeWidth
        fillMode: Image.PreserveAspectCrop
        asynchronous: true
        clip: true
    }
    Text {
        objectName: "frameFallback"
        anchors.centerIn: parent
        width: parent.width - 32
        visible: picture.status !== Image.Ready
        text: view.fallbackText
        horizontalAlignment: Text.AlignHCenter
        wrapMode: Text.WordWrap
        font.pixelSize: 13
        color: Theme.muted
    }
    Rectangle {
        anchors.fill: parent
        radius: 10
        color: "transparent"
        border.width: view.accepted ? 2 : 1
        border.color: view.accepted ? Theme.success : Theme.goldLine
    }
}
