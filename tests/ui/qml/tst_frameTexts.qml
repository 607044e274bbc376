import QtQuick
import QtTest
import Quillvane

TestCase {
    name: "FrameTexts"

    function test_reviewChips_data() {
        return [
            { tag: "no frame", hasFrame: false, passed: 0, text: "Not generated", intent: "neutral" },
            { tag: "some checks", hasFrame: true, passed: 3, text: "Pending", intent: "pending" },
            { tag: "every check", hasFrame: true, passed: 5, text: "Accepted", intent: "good" }
        ]
    }
    function test_reviewChips(row) {
        compare(Texts.reviewChip(row.hasFrame, row.passed), [row.text, row.intent])
    }

    function test_sendNeedsWordsAndAnIdleStore_data() {
        return [
            { tag: "empty", request: "", busy: false, allowed: false },
            { tag: "blanks only", request: "  \t ", busy: false, allowed: false },
            { tag: "words", request: "  warmer light ", busy: false, allowed: true },
            { tag: "words while busy", request: "warmer light", busy: true, allowed: false }
        ]
    }
    function test_sendNeedsWordsAndAnIdleStore(row) {
        compare(Texts.canSend(row.request, row.busy), row.allowed)
    }
}
