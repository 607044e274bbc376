import QtQuick
import QtQuick.Controls.Basic

Button {
    id: button
    property string symbol

    leftPadding: 16
    rightPadding: 16
    implicitHeight: Math.max(34, implicitContentHeight + topPadding + bottomPadding)

    contentItem: Row {
        spacing: 7
        opacity: button.down ? 0.8 : (button.enabled ? 1 : 0.5)
        SymbolIcon {
            visible: button.symbol.length > 0
            symbol: button.symbol
            tint: Theme.cream
            size: 14
            anchors.verticalCenter: parent.verticalCenter
        }
        Text {
            text: button.text
            font.pixelSize: 13
            font.bold: true
            color: Theme.cream
            anchors.verticalCenter: parent.verticalCenter
        }
    }
    background: Rectangle {
        radius: 8
        color: Theme.withAlpha(Theme.cream, 0.05)
        border.width: 1
        border.color: Theme.goldLine
    }
}
