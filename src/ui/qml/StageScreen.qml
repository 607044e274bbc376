import QtQuick
import QtQuick.Layouts
import Quillvane

// The selected stage's screen. Screens still to come show their header only.
ColumnLayout {
    id: screen
    property int stage: Session.selectedStage

    readonly property var headers: [
        ["Step 1 · Intake", "Track details.", "Pulled from the file. Adjust anything, then align the timing to build the storyboard."],
        ["Step 2 · Timing", "Review the timing.", "Each line is timecoded. These boundaries drive the storyboard chunks."],
        ["Step 3 · Characters", "Cast the character.", "Add the recurring subject and a reference image. The plan is generated around this character, so set it up before the storyboard."],
        ["Step 4 · Storyboard", "Plan the frames.", "The planner turns the transcript and your character into an art-direction plan: recurring elements, and a prompt for every frame."],
        ["Step 4 · Review", "Approve the frames.", "Confirm the baked-in text is correct and consistent before motion. Every check must pass to accept a frame."],
        ["Style", "Guide the look.", "This direction is applied to every image prompt and keeps the video visually continuous."],
        ["Step 6 · Motion", "DepthFlow parallax.", "Add local parallax motion to accepted frames. Rendering stays on this computer."],
        ["Preview", "Timeline.", "The full sequence with motion applied, in order, against the original audio."],
        ["Step 7 · Export", "Assemble & export.", "Combine the local motion clips with the original audio into a finished lyric video."]
    ]

    // Stages whose screens exist; the others show their header only.
    readonly property var screens: ({ 0: intake, 1: timing, 2: characters, 3: storyboard, 4: frames, 5: style,
                                      6: motion, 7: preview, 8: exporting })

    spacing: 22

    Component { id: intake; IntakeScreen {} }
    Component { id: timing; TimingScreen {} }
    Component { id: characters; CharactersScreen {} }
    Component { id: style; StyleScreen {} }
    Component { id: storyboard; StoryboardScreen {} }
    Component { id: frames; FrameReviewScreen {} }
    Component { id: motion; MotionScreen {} }
    Component { id: preview; PreviewScreen {} }
    Component { id: exporting; ExportScreen {} }

    Loader {
        objectName: "stageLoader"
        active: screen.screens[screen.stage] !== undefined
        sourceComponent: screen.screens[screen.stage]
        visible: active
        Layout.fillWidth: true
    }

    SurfaceHeader {
        visible: screen.screens[screen.stage] === undefined
        kicker: screen.headers[screen.stage][0]
        title: screen.headers[screen.stage][1]
        subtitle: screen.headers[screen.stage][2]
        Layout.fillWidth: true
    }
}
