import QtQuick
import QtQuick.Layouts

// One review check: a small switch and its label, and a note on who answers it when the
// person does not (the toggle is then disabled).
RowLayout {
    id: toggle
    property string label
    property string note
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
    opacity: toggle.enabled ? 1 : 0.6
    Text {
        text: toggle.label
        font.pixelSize: 12
        color: toggle.checked ? Theme.cream : Theme.muted
        Layout.fillWidth: toggle.note === ""
    }
    Text {
        objectName: "toggleNote"
        visible: toggle.note !== ""
        text: toggle.note
        font.pixelSize: 11
        font.italic: true
        color: Theme.muted
        Layout.fillWidth: true
    }
    TapHandler {
        onTapped: toggle.toggled(!toggle.checked)
    }
}
