import QtQuick
import QtQuick.Controls.Basic

// A multi-line editor in the same look as KitTextField.
TextArea {
    id: area
    font.pixelSize: 13
    color: Theme.cream
    placeholderTextColor: Theme.withAlpha(Theme.muted, 0.7)
    selectionColor: Theme.withAlpha(Theme.lime, 0.35)
    selectedTextColor: Theme.cream
    wrapMode: TextEdit.Wrap
    padding: 10
    background: Rectangle {
        radius: 7
        color: Theme.withAlpha(Theme.inkDeep, 0.6)
        border.width: 1
        border.color: area.activeFocus ? Theme.withAlpha(Theme.lime, 0.6) : Theme.goldLine
    }
}
