import QtQuick
import QtQuick.Layouts

// One line of the stage list: symbol, title, status dot. Clicking selects the stage.
Rectangle {
    id: row
    required property int stage
    required property string title
    required property string symbol
    required property string status
    required property bool selected
    signal chosen()

    implicitHeight: 34
    radius: 8
    color: selected ? Theme.withAlpha(Theme.cream, 0.07) : (hover.hovered ? Theme.withAlpha(Theme.cream, 0.035) : "transparent")

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 10
        anchors.rightMargin: 12
        spacing: 8
        Item {
            implicitWidth: 20
            implicitHeight: 20
            SymbolIcon {
                anchors.centerIn: parent
                symbol: row.symbol
                tint: row.selected ? Theme.lime : Theme.muted
                size: 16
            }
        }
        Text {
            text: row.title
            font.pixelSize: 13
            font.weight: row.selected ? Font.Black : Font.Medium
            color: row.selected ? Theme.cream : Theme.withAlpha(Theme.cream, 0.82)
            Layout.fillWidth: true
        }
        Rectangle {
            objectName: "statusDot"
            width: 7
            height: 7
            radius: 3.5
            color: row.status === "complete" ? Theme.success
                 : row.status === "inProgress" ? Theme.amber : Theme.withAlpha(Theme.muted, 0.5)
        }
    }
    HoverHandler {
        id: hover
        cursorShape: Qt.PointingHandCursor
    }
    TapHandler {
        onTapped: row.chosen()
    }
}
