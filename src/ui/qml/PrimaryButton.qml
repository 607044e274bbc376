import QtQuick
import QtQuick.Controls.Basic

// The lime call to action. styleEnabled only changes the look; screens set enabled
// themselves where an action is not allowed.
Button {
    id: button
    property string symbol
    property bool styleEnabled: enabled

    leftPadding: 18
    rightPadding: 18
    implicitHeight: Math.max(34, implicitContentHeight + topPadding + bottomPadding)
    scale: down ? 0.98 : 1
    opacity: down ? 0.85 : 1
    Behavior on scale { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }
    Behavior on opacity { NumberAnimation { duration: 120; easing.type: Easing.OutQuad } }

    contentItem: Row {
        spacing: 7
        SymbolIcon {
            visible: button.symbol.length > 0
            symbol: button.symbol
            tint: Theme.buttonInk
            size: 14
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: button.text
            font.pixelSize: 13
            font.weight: Font.Black
            color: Theme.buttonInk
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    background: Rectangle {
        radius: 8
        color: button.styleEnabled ? Theme.lime : Theme.withAlpha(Theme.lime, 0.35)
    }
}
