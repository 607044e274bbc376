#pragma once

#include "model/Records.h"
#include "store/Outcome.h"

#include <QList>

namespace quillvane {

class ProjectStore;

// Timing by ear: while the song plays, each tap starts the next line where it falls and ends
// the line before there. Lines not yet tapped that would start before the tap move up to it,
// so lines stay in time order; the last tap can be taken back, as often as there are taps.
// Each tap and take-back is one change of the project (and one step of its undo history).
class TapAlong {
public:
    // Tapping starts at the first line that starts at or after `playhead` (the first line
    // when the song is rewound).
    TapAlong(ProjectStore &store, double playhead);

    // The line the next tap starts (from 0); the transcript's size when every line is tapped.
    qsizetype nextLine() const { return m_next; }
    // Refused with a sentence, changing nothing, past the last line or before the last tap.
    Done tap(double seconds);
    // False when there is no tap to take back.
    bool takeBack();

private:
    ProjectStore &m_store;
    qsizetype m_next = 0;
    // The transcript before each tap, newest last.
    QList<QList<TranscriptSegment>> m_before;
};

} // namespace quillvane
