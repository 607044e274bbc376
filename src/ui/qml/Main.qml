pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import Quillvane

// The main window: dark, without a title bar (the top strip and the brand move it, the
// edges resize it), holding the workspace; and the Settings window.
ApplicationWindow {
    id: window
    title: "Quillvane"
    width: 1200
    height: 800
    minimumWidth: 1040
    minimumHeight: 680
    visible: true
    flags: Qt.Window | Qt.FramelessWindowHint
    color: Theme.inkDeep
    palette.window: Theme.inkDeep
    palette.windowText: Theme.cream
    palette.base: Theme.inkPanel
    palette.text: Theme.cream
    palette.highlight: Theme.lime
    palette.highlightedText: Theme.buttonInk

    function openSettings() {
        settings.show()
        settings.raise()
        settings.requestActivate()
    }

    Workspace {
        anchors.fill: parent
        window: window
        onSettingsRequested: window.openSettings()
    }

    ResizeEdges {
        anchors.fill: parent
        window: window
        visible: window.visibility !== Window.Maximized && window.visibility !== Window.FullScreen
    }

    SettingsWindow {
        id: settings
        objectName: "settingsWindow"
    }

    // Ctrl+1 ... Ctrl+9 select the nine stages in order.
    Repeater {
        model: 9
        delegate: Item {
            required property int index
            Shortcut {
                sequence: "Ctrl+" + (parent.index + 1)
                onActivated: Store.selectedStage = parent.index
            }
        }
    }
    Shortcut {
        sequence: "Ctrl+,"
        onActivated: window.openSettings()
    }
    Shortcut {
        sequence: "Escape"
        onActivated: Store.dismissError()
    }
}
