import QtQuick
import QtQuick.Layouts
import Quillvane

// Step 1: the invitation to drop a track until there is one, then the track's details.
ColumnLayout {
    spacing: 0
    ImportHero {
        visible: !Intake.hasAudio
        Layout.fillWidth: true
    }
    TrackDetails {
        visible: Intake.hasAudio
        Layout.fillWidth: true
    }
}
