import QtQuick

// Content on the translucent panel fill inside a hairline rounded border.
Item {
    id: panel
    default property alias content: holder.data
    property real padding: 16

    implicitWidth: holder.childrenRect.width + 2 * padding
    implicitHeight: holder.childrenRect.height + 2 * padding

    Rectangle {
        anchors.fill: parent
        radius: 10
        color: Theme.withAlpha(Theme.inkPanel, 0.82)
        border.width: 1
        border.color: Theme.goldLine
    }
    Item {
        id: holder
        anchors.fill: parent
        anchors.margins: panel.padding
    }
}
