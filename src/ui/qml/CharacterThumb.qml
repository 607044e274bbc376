import QtQuick

// A reference image by file URL, or the person symbol when there is none or it cannot be read.
Rectangle {
    id: thumb
    property url source

    implicitWidth: 96
    implicitHeight: 96
    radius: 10
    color: Theme.withAlpha(Theme.inkDeep, 0.7)
    border.width: 1
    border.color: Theme.goldLine
    clip: true

    Image {
        id: picture
        anchors.fill: parent
        anchors.margins: 1
        source: thumb.source
        sourceSize: Qt.size(192, 192)
        fillMode: Image.PreserveAspectCrop
        asynchronous: true
    }
    SymbolIcon {
        objectName: "thumbPlaceholder"
        anchors.centerIn: parent
        visible: picture.status !== Image.Ready
        symbol: "person.fill"
        tint: Theme.muted
        size: 34
    }
}
