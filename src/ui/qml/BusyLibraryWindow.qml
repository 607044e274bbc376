import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts

// Shown instead of the workspace when another Quillvane holds the library: the reason, in
// the app's own words, and a way out.
Window {
    id: busy
    required property string message
    title: "Quillvane"
    width: 460
    height: 220
    visible: true
    color: Theme.inkDeep

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 28
        spacing: 16
        Kicker {
            kicker: "Library in use"
        }
        Text {
            objectName: "busyMessage"
            text: busy.message
            font.pixelSize: 14
            color: Theme.cream
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Item { Layout.fillHeight: true }
        PrimaryButton {
            text: "Quit"
            onClicked: Qt.quit()
            Layout.alignment: Qt.AlignRight
        }
    }
}
