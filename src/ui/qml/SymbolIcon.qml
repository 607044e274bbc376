import QtQuick

// One symbol of the icon table, drawn in one colour at size x size.
Item {
    id: icon
    property string symbol
    property color tint: Theme.cream
    property int size: 16

    implicitWidth: size
    implicitHeight: size

    Image {
        anchors.fill: parent
        sourceSize: Qt.size(icon.size * 2, icon.size * 2)
        source: icon.symbol.length > 0
                ? "image://symbol/" + icon.symbol + "?color=" + encodeURIComponent(icon.tint.toString()) : ""
        fillMode: Image.PreserveAspectFit
        smooth: true
    }
}
