#pragma once

// Timed lyrics as the files other players and editors read: SubRip (.srt), one cue per line,
// and LRC (.lrc), one stamped line per line, with a stamp before every word (enhanced LRC)
// when the words were placed. Times are written to the millisecond (SRT) or the hundredth
// (LRC), so a written file read back gives the transcript's times to the hundredth.

#include "model/Records.h"

#include <QStringView>

#include <optional>

namespace quillvane {

// The one reading and writing of an LRC time stamp, for every line or word stamp the app
// writes or reads. Written as "mm:ss.xx", rounded to the hundredth (the minutes grow past two
// digits; a time before the song is 0).
QString lrcTimestamp(double seconds);
// "m:ss" with an optional fraction of one to three digits after "." or ":", as LRC writers
// produce them; nothing for any other text or for seconds of 60 or more.
std::optional<double> parseLrcTimestamp(QStringView stamp);

QString srtText(const QList<TranscriptSegment> &segments);
QString lrcText(const QList<TranscriptSegment> &segments, const QString &title = {}, const QString &artist = {});

// Reads LRC as far as it is sound: lines without a valid stamp and the tags ([ar:…], [ti:…])
// are not lyrics; [offset:±ms] moves every time (a positive offset shows lines sooner); a
// line with several stamps appears at each; the lines come back in time order, each ending
// where the next begins (the last one a few seconds after it starts). Word stamps
// (<mm:ss.xx>) become the line's words.
QList<TranscriptSegment> parseLrc(const QString &text);
// Reads SubRip cues; a cue that cannot be read is passed over.
QList<TranscriptSegment> parseSrt(const QString &text);

// "lrc" or "srt" by the file name's suffix, whichever case; empty for any other name.
QString syncedLyricsFormat(const QString &fileName);

} // namespace quillvane
