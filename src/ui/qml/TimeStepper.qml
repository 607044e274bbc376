import QtQuick
import QtQuick.Layouts

// Steps a time by 0.1 s within [minimum, maximum]; no label of its own.
RowLayout {
    id: stepper
    property real value
    property real minimum
    property real maximum
    signal stepped(real value)

    spacing: 2

    function step(by: real) {
        const next = Math.min(stepper.maximum, Math.max(stepper.minimum, Math.round((stepper.value + by) * 1000) / 1000))
        if (next !== stepper.value)
            stepper.stepped(next)
    }

    Repeater {
        model: [["−", -0.1], ["+", 0.1]]
        delegate: Rectangle {
            id: stepButton
            required property var modelData
            objectName: modelData[1] < 0 ? "stepDown" : "stepUp"
            readonly property bool possible: modelData[1] < 0 ? stepper.value > stepper.minimum : stepper.value < stepper.maximum
            implicitWidth: 24
            implicitHeight: 24
            radius: 6
            color: tap.pressed ? Theme.withAlpha(Theme.cream, 0.12) : Theme.withAlpha(Theme.cream, 0.05)
            border.width: 1
            border.color: Theme.goldLine
            opacity: possible ? 1 : 0.4
            Text {
                anchors.centerIn: parent
                text: stepButton.modelData[0]
                font.pixelSize: 14
                font.bold: true
                color: Theme.cream
            }
            TapHandler {
                id: tap
                onTapped: stepper.step(stepButton.modelData[1])
            }
        }
    }
}
