pragma ComponentBehavior: Bound
import QtQuick

// Thin grips along the edges of a window without a title bar; dragging one resizes it
// through the window manager.
Item {
    id: edges
    required property var window
    readonly property int grip: 5

    Repeater {
        model: [
            { edges: Qt.LeftEdge, x: 0, y: 1, w: 0, h: 1, cursor: Qt.SizeHorCursor },
            { edges: Qt.RightEdge, x: 2, y: 1, w: 0, h: 1, cursor: Qt.SizeHorCursor },
            { edges: Qt.TopEdge, x: 1, y: 0, w: 1, h: 0, cursor: Qt.SizeVerCursor },
            { edges: Qt.BottomEdge, x: 1, y: 2, w: 1, h: 0, cursor: Qt.SizeVerCursor },
            { edges: Qt.LeftEdge | Qt.TopEdge, x: 0, y: 0, w: 0, h: 0, cursor: Qt.SizeFDiagCursor },
            { edges: Qt.RightEdge | Qt.BottomEdge, x: 2, y: 2, w: 0, h: 0, cursor: Qt.SizeFDiagCursor },
            { edges: Qt.RightEdge | Qt.TopEdge, x: 2, y: 0, w: 0, h: 0, cursor: Qt.SizeBDiagCursor },
            { edges: Qt.LeftEdge | Qt.BottomEdge, x: 0, y: 2, w: 0, h: 0, cursor: Qt.SizeBDiagCursor }
        ]
        delegate: MouseArea {
            required property var modelData
            // Column 0 is the left grip, 1 the span between, 2 the right grip (rows alike).
            x: modelData.x === 0 ? 0 : modelData.x === 1 ? edges.grip : edges.width - edges.grip
            y: modelData.y === 0 ? 0 : modelData.y === 1 ? edges.grip : edges.height - edges.grip
            width: modelData.w === 1 ? edges.width - 2 * edges.grip : edges.grip
            height: modelData.h === 1 ? edges.height - 2 * edges.grip : edges.grip
            cursorShape: modelData.cursor
            onPressed: edges.window.startSystemResize(modelData.edges)
        }
    }
}
