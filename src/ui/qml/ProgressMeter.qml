import QtQuick

// A rounded bar 8 high; the fill is value clamped to 0...1 of the width.
Item {
    id: meter
    property real value
    property color tint: Theme.lime
    readonly property real fraction: Math.max(0, Math.min(1, isNaN(value) ? 0 : value))

    implicitHeight: 8
    implicitWidth: 120

    Rectangle {
        anchors.fill: parent
        radius: height / 2
        color: Theme.goldWash
    }
    Rectangle {
        objectName: "meterFill"
        width: meter.width * meter.fraction
        height: parent.height
        radius: height / 2
        color: meter.tint
        visible: width > 0
    }
}
