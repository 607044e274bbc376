import QtQuick
import QtQuick.Layouts
import Quillvane

// The selected stage's screen. Screens still to come show their header only.
ColumnLayout {
    id: screen
    property int stage: Store.selectedStage

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

    spacing: 22

    SurfaceHeader {
        kicker: screen.headers[screen.stage][0]
        title: screen.headers[screen.stage][1]
        subtitle: screen.headers[screen.stage][2]
        Layout.fillWidth: true
    }
}
