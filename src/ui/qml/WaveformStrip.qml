pragma ComponentBehavior: Bound
import QtQuick
import Quillvane

// The song's loudness under the lines, with a marker at each line's start and the playhead.
// A click seeks the song there; a marker dragged along the strip moves its line's start (the
// store refuses a start moved past a neighbour, and the marker goes back).
Item {
    id: strip
    required property real duration
    required property real playhead
    signal seek(real seconds)

    implicitHeight: 64

    function xOf(seconds: real): real {
        return strip.duration > 0 ? Math.max(0, Math.min(1, seconds / strip.duration)) * strip.width : 0
    }

    Rectangle {
        anchors.fill: parent
        radius: 8
        color: Theme.withAlpha(Theme.inkDeep, 0.6)
        border.width: 1
        border.color: Theme.goldLine
    }

    Canvas {
        id: outline
        objectName: "waveformCanvas"
        anchors.fill: parent
        anchors.margins: 4
        readonly property var peaks: Timing.outline.peaks
        onPeaksChanged: requestPaint()
        onWidthChanged: requestPaint()
        onPaint: {
            const context = getContext("2d")
            context.reset()
            context.fillStyle = Theme.withAlpha(Theme.muted, 0.55)
            const count = outline.peaks.length
            if (count === 0)
                return
            const step = width / count
            for (let i = 0; i < count; ++i) {
                const h = Math.max(1, outline.peaks[i] * height)
                context.fillRect(i * step, (height - h) / 2, Math.max(1, step - 1), h)
            }
        }
    }

    TapHandler {
        onTapped: point => strip.seek(point.position.x / strip.width * strip.duration)
    }

    Repeater {
        model: Timing.transcript
        delegate: Rectangle {
            id: marker
            required property var model
            required property int index
            required property real start
            objectName: "lineMarker"
            x: strip.xOf(marker.start) - width / 2
            y: 0
            width: 9
            height: strip.height
            color: "transparent"
            Rectangle {
                anchors.horizontalCenter: parent.horizontalCenter
                width: 2
                height: parent.height
                color: drag.active ? Theme.coral : Theme.lime
                opacity: 0.85
            }
            DragHandler {
                id: drag
                yAxis.enabled: false
                xAxis.minimum: -marker.width / 2
                xAxis.maximum: strip.width - marker.width / 2
                onActiveChanged: {
                    if (active)
                        return
                    const seconds = Math.round((marker.x + marker.width / 2) / strip.width * strip.duration * 100) / 100
                    marker.model.start = seconds
                    marker.x = Qt.binding(() => strip.xOf(marker.start) - marker.width / 2)
                }
            }
        }
    }

    Rectangle {
        objectName: "playheadLine"
        x: strip.xOf(strip.playhead)
        width: 1
        height: strip.height
        color: Theme.cream
    }
}
