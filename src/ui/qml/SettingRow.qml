import QtQuick
import QtQuick.Layouts

// A label with its current value at the right, above its control.
ColumnLayout {
    id: row
    property string label
    property string value
    default property alias control: holder.data

    spacing: 6
    RowLayout {
        Layout.fillWidth: true
        Text {
            text: row.label
            font.pixelSize: 13
            color: Theme.cream
            Layout.fillWidth: true
        }
        Text {
            objectName: "settingValue"
            visible: row.value.length > 0
            text: row.value
            font.family: "monospace"
            font.pixelSize: 12
            font.weight: Font.Medium
            color: Theme.lime
        }
    }
    Item {
        id: holder
        Layout.fillWidth: true
        implicitHeight: childrenRect.height
    }
}
