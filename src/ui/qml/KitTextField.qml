import QtQuick
import QtQuick.Controls.Basic

// A one-line field on the panel fill with a hairline border that lights up with focus.
TextField {
    id: field
    font.pixelSize: 13
    color: Theme.cream
    placeholderTextColor: Theme.withAlpha(Theme.muted, 0.7)
    selectionColor: Theme.withAlpha(Theme.lime, 0.35)
    selectedTextColor: Theme.cream
    leftPadding: 10
    rightPadding: 10
    topPadding: 8
    bottomPadding: 8
    background: Rectangle {
        radius: 7
        color: Theme.withAlpha(Theme.inkDeep, 0.6)
        border.width: 1
        border.color: field.activeFocus ? Theme.withAlpha(Theme.lime, 0.6) : Theme.goldLine
    }
}
