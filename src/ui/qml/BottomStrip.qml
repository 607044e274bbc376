import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quillvane

// The last error with its Dismiss button, else the running task with a spinner and its Cancel
// button, else nothing.
Rectangle {
    id: strip
    readonly property bool showingError: Session.lastError.length > 0
    readonly property bool showingTask: !showingError && Session.busy

    visible: showingError || showingTask
    implicitHeight: content.implicitHeight + 20
    radius: 10
    color: Theme.inkPanel
    border.width: 1
    border.color: showingError ? Theme.withAlpha(Theme.coral, 0.5) : Theme.goldLine

    RowLayout {
        id: content
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 16
        anchors.topMargin: 10
        anchors.bottomMargin: 10
        spacing: 10

        SymbolIcon {
            visible: strip.showingError
            symbol: "exclamationmark.triangle.fill"
            tint: Theme.coral
            size: 16
        }
        Spinner {
            visible: strip.showingTask
        }
        Text {
            objectName: "stripText"
            text: strip.showingError ? Session.lastError : Session.runningTask
            font.pixelSize: 12
            font.weight: Font.DemiBold
            color: Theme.cream
            wrapMode: Text.WordWrap
            Layout.fillWidth: true
        }
        Text {
            visible: strip.showingTask && Session.taskProgress >= 0
            text: Math.round(Session.taskProgress * 100) + "%"
            font.pixelSize: 11
            font.family: "monospace"
            color: Theme.muted
        }
        Button {
            objectName: "cancelButton"
            visible: strip.showingTask
            text: "Cancel"
            flat: true
            onClicked: Session.cancelTasks()
            contentItem: Text {
                text: "Cancel"
                font.pixelSize: 11
                font.bold: true
                color: Theme.coral
            }
            background: Item {}
        }
        Button {
            objectName: "dismissButton"
            visible: strip.showingError
            text: "Dismiss"
            flat: true
            onClicked: Session.dismissError()
            contentItem: Text {
                text: "Dismiss"
                font.pixelSize: 11
                font.bold: true
                color: Theme.lime
            }
            background: Item {}
        }
    }
}
