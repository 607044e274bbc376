pragma ComponentBehavior: Bound
import QtQuick
import Quillvane

// Undo and redo of the project, at the top of every screen (Ctrl+Z, Ctrl+Shift+Z).
Row {
    id: controls
    spacing: 4

    Repeater {
        model: [["arrow.uturn.backward", "undo", "Undo"], ["arrow.uturn.forward", "redo", "Redo"]]
        delegate: Rectangle {
            id: control
            required property var modelData
            readonly property bool possible: modelData[1] === "undo" ? Session.canUndo : Session.canRedo
            objectName: "project" + modelData[2] + "Button"
            width: 28
            height: 24
            radius: 6
            opacity: possible ? 1 : 0.35
            color: hover.hovered && possible ? Theme.withAlpha(Theme.cream, 0.1) : "transparent"
            SymbolIcon {
                anchors.centerIn: parent
                symbol: control.modelData[0]
                tint: Theme.muted
                size: 14
            }
            HoverHandler {
                id: hover
            }
            TapHandler {
                enabled: control.possible
                onTapped: control.modelData[1] === "undo" ? Session.undo() : Session.redo()
            }
        }
    }
}
