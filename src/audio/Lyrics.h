#pragma once

// Lyric text rules: cleaning embedded lyrics, splitting lines and words, laying lines over
// timed chunks, and how many expected words were heard.

#include "model/Records.h"
#include "model/Text.h"
#include "store/Engines.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace quillvane {

// Section tags such as [Chorus] removed, runs of blanks and tabs made one blank, pieces
// trimmed, empty pieces dropped, joined with line feeds.
QString cleanLyrics(const QString &text);

// Lines split at every newline character (CR LF counts as one), empty pieces dropped.
QStringList lyricLines(const QString &text);
// Lines that hold something besides blanks: what the intake screen counts.
int nonBlankLineCount(const QString &text);

// Lower-cased words: split at every character that is not a letter, mark or digit.
QStringList lyricWords(const QString &text);
// Share of the expected words (repeats counting each time) found among the heard ones: the
// recall of the expected words, order and repeats in the heard ones ignored.
double wordOverlap(const QStringList &heard, const QStringList &expected);

// One segment per non-blank line, placed over the chunks by proportion (or spread evenly
// over the duration when there are no chunks): a linear map from line index to chunk index,
// which hears nothing of the song and is what align_bench weighs the aligner against.
QList<TranscriptSegment> alignLines(const QStringList &lines, const QList<TimedChunk> &chunks, double duration);
// One segment per chunk whose text is not blank, with the chunk's times.
QList<TranscriptSegment> segmentsFromChunks(const QList<TimedChunk> &chunks);

} // namespace quillvane
