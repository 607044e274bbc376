import QtQuick
import QtQuick.Layouts

// One review check: a small switch and its label.
RowLayout {
    id: toggle
    property string label
    property bool checked
    signal toggled(bool checked)

    spacing: 8

    Rectangle {
        objectName: "toggleTrack"
        implicitWidth: 30
        implicitHeight: 17
        radius: height / 2
        color: toggle.checked ? Theme.success : Theme.withAlpha(Theme.cream, 0.1)
        border.width: 1
        border.color: toggle.checked ? Theme.success : Theme.goldLine
        Rectangle {
            width: 13
            height: 13
            radius: 6.5
            y: 2
            x: toggle.checked ? parent.width - width - 2 : 2
            color: toggle.checked ? Theme.buttonInk : Theme.muted
            Behavior on x { NumberAnimation { duration: 120 } }
        }
    }
    Text {
        text: toggle.label
        font.pixelSize: 12
        color: toggle.checked ? Theme.cream : Theme.muted
        Layout.fillWidth: true
    }
    TapHandler {
        onTapped: toggle.toggled(!toggle.checked)
    }
}
