pragma Singleton
import QtQuick

// The words the frame screens build from counts, in one place so they read the same
// everywhere and can be checked on their own.
QtObject {
    // The review card's chip: [text, intent].
    function reviewChip(hasFrame: bool, passed: int): var {
        if (!hasFrame)
            return ["Not generated", "neutral"]
        return passed === 5 ? ["Accepted", "good"] : ["Pending", "pending"]
    }

    // The storyboard card's chip: [text, intent].
    function storyboardChip(hasFrame: bool, passed: int): var {
        if (!hasFrame)
            return ["Not generated", "neutral"]
        return passed === 5 ? ["Accepted", "good"] : [passed + "/5 checks", "pending"]
    }

    function storyboardCounts(chunks: int, framed: int): string {
        return chunks + " frames · " + framed + " generated"
    }

    function generatedLine(framed: int, chunks: int): string {
        return framed + "/" + chunks + " generated"
    }

    function renderedLine(rendered: int, total: int): string {
        return rendered + "/" + total + " rendered"
    }

    // "Version 3" or "Version 3 · 1 redo".
    function versionLine(undoCount: int, redoCount: int): string {
        return "Version " + (undoCount + 1) + (redoCount > 0 ? " · " + redoCount + " redo" : "")
    }

    function canSend(request: string, busy: bool): bool {
        return request.trim().length > 0 && !busy
    }

    function lastEditLine(request: string): string {
        return "Last edit: \u201c" + request + "\u201d"
    }
}
