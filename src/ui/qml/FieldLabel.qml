import QtQuick

Text {
    font.pixelSize: 11
    font.weight: Font.DemiBold
    color: Theme.muted
}
