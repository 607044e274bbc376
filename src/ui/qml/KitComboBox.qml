import QtQuick
import QtQuick.Controls.Basic

// A menu picker in the field look.
ComboBox {
    id: box
    font.pixelSize: 13
    implicitHeight: 34
    contentItem: Text {
        leftPadding: 10
        text: box.displayText
        font: box.font
        color: Theme.cream
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: 7
        color: Theme.withAlpha(Theme.inkDeep, 0.6)
        border.width: 1
        border.color: box.activeFocus ? Theme.withAlpha(Theme.lime, 0.6) : Theme.goldLine
    }
}
