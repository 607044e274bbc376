import QtQuick
import QtQuick.Layouts

// The opening of every stage screen: kicker, display title with its coral bar, subtitle.
ColumnLayout {
    property string kicker
    property string title
    property string subtitle

    spacing: 8

    Kicker {
        kicker: parent.kicker
    }
    ColumnLayout {
        spacing: 3
        Layout.fillWidth: true
        Text {
            objectName: "surfaceTitle"
            text: title
            font.family: Theme.displayFont
            font.pixelSize: 30
            font.letterSpacing: 0.5
            color: Theme.cream
        }
        Rectangle {
            width: 54
            height: 5
            radius: 3
            color: Theme.coral
        }
        Text {
            text: subtitle
            topPadding: 2
            font.pixelSize: 13
            color: Theme.muted
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
    }
}
