import QtQuick

// The stretch of `target` (in its own coordinates) that the enclosing scroll view shows, with
// a screen's height to spare above and below. Cards outside it are made fully transparent,
// which the scene graph skips, so the grids of a long song scroll as smoothly as a short one's.
// Outside a scroll view everything counts as shown.
QtObject {
    id: range
    required property Item target
    property Item viewport: null

    // Where the target sits in the scrolled content; the y terms make it follow the layout.
    readonly property real offset: viewport && target
        ? target.mapToItem(viewport.contentItem, 0, 0).y + 0 * target.y + 0 * target.height : 0
    readonly property real top: viewport ? viewport.contentY - offset - viewport.height : -Infinity
    readonly property real bottom: viewport ? viewport.contentY - offset + 2 * viewport.height : Infinity

    function covers(y: real, height: real): bool {
        return y + height >= top && y <= bottom
    }

    Component.onCompleted: {
        let item = range.target ? range.target.parent : null
        while (item && item.contentY === undefined)
            item = item.parent
        range.viewport = item
    }
}
