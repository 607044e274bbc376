#pragma once

#include "audio/SpokenLyrics.h"
#include "audio/VoiceTrack.h"
#include "store/Engines.h"

#include <QList>
#include <QStringList>

#include <optional>

namespace quillvane {

// Lays the lyric lines over the song by following their spoken template through it with
// dynamic time warping (DTW; Sakoe & Chiba 1978; Müller, "Fundamentals of Music Processing",
// 2015, ch. 3, aligns a recording to a synthesised rendering the same way): one least-cost
// path that walks the template in order while the song plays, at any pace from holding a sound
// to three times the template's speed, going faster than the template only where the timbre
// pays for it. A song frame goes well with a spoken frame when their timbres (MFCCs) agree
// more than the song frame agrees with the template overall and the middle of the mix is
// loud, and with the silence between spoken lines when it is quiet, so that the band's breaks
// are where the path waits between lines.
//
// The template is heard here the way the song was. Words already heard (`heard`, the lyrics'
// words with confidence above 0 where found) keep their times and hold the path to within half
// a second of them, so only the words between are followed. The other words take their
// syllables' share of their line in the template and follow the path from there, with
// confidence 0 since none was heard on its own. `holdPrice` is what each song frame that holds
// a spoken sound costs (see holdPriceFollowingOrder). Nothing when either track is empty, the song
// holds no voice (silence, a steady tone) or is too short to hold the template, the heard words
// do not fit the lyrics or one path, or the search would be too large to hold in memory.
std::optional<QList<QList<AlignedWord>>> warpSpokenOntoSong(const VoiceTrack &song, const SpokenLyrics &spoken,
                                                            const QStringList &lines, const CancelToken &cancel,
                                                            const QList<QList<AlignedWord>> &heard = {},
                                                            double holdPrice = 0);

// How freely a spoken sound may be held while the song goes on, as the price of each song
// frame it is held: a singer may stretch every vowel of a slow ballad or rap as quickly as
// espeak-ng speaks, and the path must neither crawl through a quick song nor race through a
// slow one. Of a few prices, the one under which the song follows the lyrics as written most
// clearly better than in two other orders (the lines reversed, the second half of them before
// the first), the least-cost path costing the least share less; that share is the margin. The
// other orders are a control: a template that fits its own order no better than a shuffled one
// is matching the song's loudness, not its words.
// Nothing when under none does it: their sounds tell nothing of where they are sung on this
// track (a voice too unlike espeak-ng's, a band that sounds more like speech than the singer
// does) and following them would place lines by chance; nothing as well when the song cannot
// be followed at all. A single line has no order to tell and is followed freely (margin 0).
struct Following {
    double holdPrice = 0;
    double margin = 0;
};
std::optional<Following> holdPriceFollowingOrder(const VoiceTrack &song, const SpokenLyrics &spoken,
                                                 const CancelToken &cancel);

// The song (16 kHz stereo, interleaved) heard with a loose mid/side mask and with a strict one, and
// of the two the hearing in which it follows the lyrics as written by the widest margin, with
// its hold price. Nothing when neither follows them.
struct HeardInOrder {
    VoiceTrack song;
    Following following;
};
std::optional<HeardInOrder> hearingFollowingOrder(const std::vector<int16_t> &stereo, const SpokenLyrics &spoken,
                                                  const CancelToken &cancel);

} // namespace quillvane
