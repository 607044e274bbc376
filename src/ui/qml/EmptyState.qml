import QtQuick
import QtQuick.Layouts

// A screen with nothing to show yet: a symbol, what is missing, and what to do.
Panel {
    id: empty
    property string symbol
    property string title
    property string message
    property string action
    // False while the action cannot start (a task is running).
    property bool actionEnabled: true
    signal actionTriggered()

    implicitHeight: column.implicitHeight + 2 * padding + 24
    ColumnLayout {
        id: column
        width: parent.width
        y: 12
        spacing: 10
        SymbolIcon {
            symbol: empty.symbol
            tint: Theme.muted
            size: 28
            Layout.alignment: Qt.AlignHCenter
        }
        Text {
            objectName: "emptyTitle"
            text: empty.title
            font.pixelSize: 15
            font.bold: true
            color: Theme.cream
            Layout.alignment: Qt.AlignHCenter
        }
        Text {
            text: empty.message
            font.pixelSize: 13
            color: Theme.muted
            wrapMode: Text.WordWrap
            horizontalAlignment: Text.AlignHCenter
            Layout.fillWidth: true
        }
        SecondaryButton {
            objectName: "emptyAction"
            visible: empty.action.length > 0
            text: empty.action
            enabled: empty.actionEnabled
            onClicked: empty.actionTriggered()
            Layout.alignment: Qt.AlignHCenter
        }
    }
}
