pragma Singleton
import QtQuick

// The fixed dark palette, the typefaces and the intent colours every screen draws with.
QtObject {
    readonly property color inkDeep: Qt.rgba(3 / 255, 20 / 255, 19 / 255, 1)
    readonly property color inkPanel: Qt.rgba(6 / 255, 31 / 255, 30 / 255, 1)
    readonly property color cream: Qt.rgba(247 / 255, 236 / 255, 210 / 255, 1)
    readonly property color muted: Qt.rgba(183 / 255, 170 / 255, 145 / 255, 1)
    readonly property color lime: Qt.rgba(214 / 255, 238 / 255, 39 / 255, 1)
    readonly property color coral: Qt.rgba(255 / 255, 103 / 255, 72 / 255, 1)
    readonly property color amber: Qt.rgba(244 / 255, 163 / 255, 57 / 255, 1)
    readonly property color pine: Qt.rgba(15 / 255, 57 / 255, 47 / 255, 1)
    readonly property color goldLine: Qt.rgba(250 / 255, 214 / 255, 106 / 255, 0.28)
    readonly property color goldWash: Qt.rgba(250 / 255, 214 / 255, 106 / 255, 0.14)
    readonly property color success: Qt.rgba(74 / 255, 199 / 255, 122 / 255, 1)
    // Label colour on lime buttons.
    readonly property color buttonInk: Qt.rgba(7 / 255, 17 / 255, 13 / 255, 1)

    readonly property string displayFont: "Anton"
    readonly property string handFont: "Permanent Marker"

    // StatusChip intents: neutral, pending, good, warn, bad, accent.
    function intentColor(intent: string): color {
        switch (intent) {
        case "pending":
        case "warn":
            return amber
        case "good":
            return success
        case "bad":
            return coral
        case "accent":
            return lime
        default:
            return muted
        }
    }

    function withAlpha(base: color, alpha: real): color {
        return Qt.rgba(base.r, base.g, base.b, alpha)
    }
}
