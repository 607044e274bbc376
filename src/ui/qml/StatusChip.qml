import QtQuick

// A capsule label whose colour says how things stand.
Rectangle {
    id: chip
    property string text
    property string intent: "neutral"
    readonly property color tint: Theme.intentColor(intent)

    implicitWidth: label.implicitWidth + 16
    implicitHeight: label.implicitHeight + 8
    radius: height / 2
    color: Theme.withAlpha(tint, 0.12)
    border.width: 1
    border.color: Theme.withAlpha(tint, 0.4)

    Text {
        id: label
        objectName: "chipText"
        anchors.centerIn: parent
        text: chip.text.toUpperCase()
        font.pixelSize: 10
        font.bold: true
        font.letterSpacing: 0.6
        color: chip.tint
    }
}
