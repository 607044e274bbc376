import QtQuick
import QtQuick.Controls.Basic

// A continuous slider: lime fill on the gold wash track.
Slider {
    id: slider
    background: Rectangle {
        x: slider.leftPadding
        y: slider.topPadding + slider.availableHeight / 2 - height / 2
        width: slider.availableWidth
        height: 6
        radius: 3
        color: Theme.goldWash
        Rectangle {
            width: slider.visualPosition * parent.width
            height: parent.height
            radius: 3
            color: Theme.lime
        }
    }
    handle: Rectangle {
        x: slider.leftPadding + slider.visualPosition * (slider.availableWidth - width)
        y: slider.topPadding + slider.availableHeight / 2 - height / 2
        width: 16
        height: 16
        radius: 8
        color: slider.pressed ? Theme.lime : Theme.cream
        border.width: 1
        border.color: Theme.goldLine
    }
}
