pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Window

// Minimise, maximise and close for the window without a title bar.
Row {
    id: controls
    required property Window window
    spacing: 4

    Repeater {
        model: [["window.minimize", "minimize"], ["window.maximize", "maximize"], ["xmark", "close"]]
        delegate: Rectangle {
            id: control
            required property var modelData
            objectName: modelData[1] + "Button"
            width: 28
            height: 24
            radius: 6
            color: hover.hovered ? (modelData[1] === "close" ? Theme.withAlpha(Theme.coral, 0.8) : Theme.withAlpha(Theme.cream, 0.1)) : "transparent"
            SymbolIcon {
                anchors.centerIn: parent
                symbol: control.modelData[0]
                tint: Theme.muted
                size: 13
            }
            HoverHandler {
                id: hover
            }
            TapHandler {
                onTapped: {
                    if (control.modelData[1] === "close")
                        controls.window.close()
                    else if (control.modelData[1] === "minimize")
                        controls.window.showMinimized()
                    else if (controls.window.visibility === Window.Maximized)
                        controls.window.showNormal()
                    else
                        controls.window.showMaximized()
                }
            }
        }
    }
}
