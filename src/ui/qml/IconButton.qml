import QtQuick

// A small square button showing one symbol, for undo and redo.
Rectangle {
    id: button
    property string symbol
    signal clicked()

    implicitWidth: 34
    implicitHeight: 34
    radius: 8
    opacity: enabled ? 1 : 0.35
    color: tap.pressed ? Theme.withAlpha(Theme.cream, 0.12) : Theme.withAlpha(Theme.cream, 0.05)
    border.width: 1
    border.color: Theme.goldLine
    SymbolIcon {
        anchors.centerIn: parent
        symbol: button.symbol
        tint: Theme.cream
        size: 15
    }
    TapHandler {
        id: tap
        enabled: button.enabled
        onTapped: button.clicked()
    }
}
