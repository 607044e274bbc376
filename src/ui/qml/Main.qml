pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQml.Models
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
    // Every role dark, so that Qt's own file chooser (drawn from this palette where the desktop
    // has no chooser of its own) reads as part of the app, not cream on light grey.
    palette.alternateBase: Theme.inkDeep
    palette.button: Theme.pine
    palette.buttonText: Theme.cream
    palette.light: Theme.pine
    palette.midlight: Theme.pine
    palette.mid: Theme.inkPanel
    palette.dark: Theme.inkDeep
    palette.shadow: Theme.inkDeep
    palette.brightText: Theme.cream
    palette.placeholderText: Theme.muted
    palette.toolTipBase: Theme.inkPanel
    palette.toolTipText: Theme.cream
    palette.link: Theme.lime

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

    // Ctrl+1 ... Ctrl+9 select the nine stages in order. Shortcuts are not items, so they are
    // made by an Instantiator, each reading its own index.
    Instantiator {
        model: 9
        delegate: Shortcut {
            required property int index
            objectName: "stageShortcut" + index
            sequence: "Ctrl+" + (index + 1)
            context: Qt.ApplicationShortcut
            onActivated: Session.selectedStage = index
        }
    }
    Shortcut {
        sequence: "Ctrl+,"
        onActivated: window.openSettings()
    }
    // Undo and redo of the project; a text field with the focus undoes its own typing first.
    Shortcut {
        objectName: "undoShortcut"
        sequences: [StandardKey.Undo]
        enabled: Session.canUndo
        onActivated: Session.undo()
    }
    Shortcut {
        objectName: "redoShortcut"
        sequences: [StandardKey.Redo]
        enabled: Session.canRedo
        onActivated: Session.redo()
    }
    // Only while a banner shows: otherwise Escape belongs to the screen (it ends tapping along).
    Shortcut {
        sequence: "Escape"
        enabled: Session.lastError.length > 0
        onActivated: Session.dismissError()
    }
}
