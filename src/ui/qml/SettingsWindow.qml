import QtQuick
import QtQuick.Layouts
import QtQuick.Window
import Quillvane

// The Settings window, 460 wide. Its panels arrive with the settings screen.
Window {
    id: settings
    title: "Settings"
    width: 460
    minimumWidth: 460
    maximumWidth: 460
    height: 560
    minimumHeight: 360
    color: Theme.inkDeep

    Shortcut {
        sequence: "Escape"
        onActivated: settings.close()
    }

    ColumnLayout {
        anchors.fill: parent
        anchors.margins: 28
        spacing: 20
        SurfaceHeader {
            kicker: "Settings"
            title: "Studio settings."
            subtitle: "Transcription runs on your computer. Generation is handled by the Quillvane service."
            Layout.fillWidth: true
        }
        Item {
            Layout.fillHeight: true
        }
    }
}
