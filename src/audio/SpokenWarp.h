#pragma once

#include "audio/SpokenLyrics.h"
#include "audio/VoiceTrack.h"
#include "store/Engines.h"

#include <QList>
#include <QStringList>

#include <optional>

namespace quillvane {

// Lays the lyric lines over the song by following their spoken template through it: one
// least-cost path that walks the template in order while the song plays, at any pace from
// holding a sound to three times the template's speed. A song frame goes well with a spoken
// frame when their timbres agree more than the song frame agrees with the template overall and
// the middle of the mix is loud, and with the silence between spoken lines when it is quiet,
// so that the band's breaks are where the path waits between lines.
//
// The template is heard here the way the song was. Words already heard (`heard`, the lyrics'
// words with confidence above 0 where found) keep their times and hold the path to within half
// a second of them, so only the words between are followed. The other words take their
// syllables' share of their line in the template and follow the path from there, with
// confidence 0 since none was heard on its own. Nothing when either track is empty, the song
// holds no voice (silence, a steady tone) or is too short to hold the template, the heard words
// do not fit the lyrics or one path, or the search would be too large to hold in memory.
std::optional<QList<QList<AlignedWord>>> warpSpokenOntoSong(const VoiceTrack &song, const SpokenLyrics &spoken,
                                                            const QStringList &lines, const CancelToken &cancel,
                                                            const QList<QList<AlignedWord>> &heard = {});

// Whether the song follows the spoken lyrics better in their own order than in two others,
// the lines reversed and the second half of them before the first: the least-cost path costs
// less with the lyrics as written than with either. When it does not, their sounds tell
// nothing of where they are sung on this track (a voice too unlike espeak-ng's, a band that
// sounds more like speech than the singer does) and following them would place lines by
// chance. A single line has no order to tell; false when the song cannot be followed at all.
bool songFollowsSpokenOrder(const VoiceTrack &song, const SpokenLyrics &spoken, const CancelToken &cancel);

} // namespace quillvane
