import QtQuick

Text {
    property string kicker
    text: kicker.toUpperCase()
    font.family: Theme.displayFont
    font.pixelSize: 12
    font.letterSpacing: 2
    color: Theme.amber
}
