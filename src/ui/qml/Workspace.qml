pragma ComponentBehavior: Bound
import QtQuick
import QtQuick.Controls.Basic
import QtQuick.Layouts
import Quillvane

// The one main view: the sidebar, the selected stage's screen, and the bottom strip.
RowLayout {
    id: workspace
    required property var window
    signal settingsRequested()

    spacing: 0

    Sidebar {
        Layout.fillHeight: true
        Layout.preferredWidth: 232
        onSettingsRequested: workspace.settingsRequested()
    }

    ColumnLayout {
        spacing: 0
        Layout.fillWidth: true
        Layout.fillHeight: true

        // The strip along the top moves the window; the controls sit at its right.
        Item {
            Layout.fillWidth: true
            Layout.preferredHeight: 34
            DragHandler {
                target: null
                onActiveChanged: if (active) workspace.window.startSystemMove()
            }
            TapHandler {
                onDoubleTapped: workspace.window.visibility === Window.Maximized ? workspace.window.showNormal()
                                                                                 : workspace.window.showMaximized()
            }
            HistoryControls {
                anchors.right: windowControls.left
                anchors.rightMargin: 14
                anchors.verticalCenter: parent.verticalCenter
            }
            WindowControls {
                id: windowControls
                window: workspace.window
                anchors.right: parent.right
                anchors.rightMargin: 10
                anchors.verticalCenter: parent.verticalCenter
            }
        }

        ScrollView {
            id: scroller
            objectName: "stageScroller"
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentWidth: availableWidth
            clip: true

            Item {
                width: scroller.availableWidth
                implicitHeight: screen.implicitHeight + 40
                StageScreen {
                    id: screen
                    x: 36
                    y: 4
                    width: parent.width - 72
                }
            }
        }

        BottomStrip {
            objectName: "bottomStrip"
            Layout.fillWidth: true
            Layout.leftMargin: 18
            Layout.rightMargin: 18
            Layout.bottomMargin: 18
            Layout.topMargin: visible ? 8 : 0
        }
    }
}
