#pragma once

// The rules of the lettering layer, the sung lyrics set over the clips: when each line is on
// screen and when each of its words is lit, which colours keep the letters readable, and
// where in the frame and at what size a line is set. Everything but fitText is arithmetic on
// plain values; fitText measures with Qt's fonts and needs a GUI application.

#include "model/Records.h"
#include "store/Engines.h"

#include <QColor>
#include <QFont>
#include <QImage>
#include <QList>
#include <QRect>
#include <QTextLayout>

namespace quillvane {

// A line leaves this long after the next line has started (or at its own end, if sooner).
inline constexpr double letteringHold = 0.4;
// Lines fade in and out over this long.
inline constexpr double letteringFade = 0.12;

// One word of a line as shown: its characters in the line's text and when it starts being sung.
struct WordCue {
    qsizetype from = 0;
    qsizetype length = 0;
    double start = 0;

    bool operator==(const WordCue &) const = default;
};

// One line as the layer shows it: its text, on screen from start until `until`, its words lit
// from their own starts on.
struct LineCue {
    QString text;
    double start = 0;
    double until = 0;
    QList<WordCue> words;

    bool operator==(const LineCue &) const = default;
};

// Syllables of a word, estimated: its groups of vowels (accents ignored), each CJK or kana
// character counted as one, and at least 1.
int syllablesSung(const QString &word);

// The line's words in its text with their starts: the aligned word times when the line has
// them and they match its words, otherwise the line's span shared out by syllables. `until`
// is the line's end.
LineCue lineCue(const TranscriptSegment &line);

// The lines with something to show, by start, each leaving letteringHold after the next line
// has started when that comes before its own end.
QList<LineCue> lineCues(const QList<TranscriptSegment> &lines);

// The lines a clip from `from` to `to` (song seconds) shows, with their ends brought forward to
// when they leave: what decides the clip's lettering, and nothing more.
QList<TranscriptSegment> linesShownBetween(const QList<TranscriptSegment> &lines, double from, double to);

struct CueOnScreen {
    qsizetype cue = 0;  // index into the cues
    double opacity = 1; // below 1 while fading
};

// The lines on screen at `time`: at most the two latest started, the older first.
QList<CueOnScreen> cuesAt(const QList<LineCue> &cues, double time);

// WCAG relative luminance (0 black ... 1 white) and contrast ratio (1 ... 21).
double relativeLuminance(const QColor &colour);
double contrastRatio(const QColor &a, const QColor &b);
inline constexpr double readableContrast = 4.5;

// The colour moved toward white or black, away from `against`, just far enough to reach the
// ratio against it.
QColor reaching(const QColor &colour, const QColor &against, double ratio = readableContrast);

// The lettering colours from a plan's palette (hex strings): the lightest colour fills the
// letters, the most vivid other one lights the sung words, and a black or white outline
// reaches readableContrast against both. Without usable colours, the cream and coral default.
LetteringStyle letteringStyle(const QStringList &palette);

// How opaque a band of colour `band` behind the letters must be for every letter colour to
// reach readableContrast against every background colour seen through it: 0 when none is
// needed, at most 0.9.
double bandOpacity(const QList<QColor> &letters, const QColor &band, const QList<QColor> &background);

enum class LetteringThird { lower, upper };

// Mean luma gradient of the image over `area` (its own pixels): how busy that part is.
double edgeEnergy(const QImage &image, const QRect &area);
// The lower third unless the upper is clearly calmer.
LetteringThird calmerThird(double upperEnergy, double lowerEnergy);

// Where the lines of a frame go: `box` holds them, stacked from its bottom (lower third) or
// its top (upper third); `pixelSize` is the largest letters get. Margins suit the frame's shape.
struct LetteringArea {
    QRect box;
    int pixelSize = 8;
    bool fromBottom = true;
};
LetteringArea letteringArea(QSize frame, LetteringThird third);

// A line laid out in `font` at the fitted size, its rows centred in `width`.
struct FittedText {
    int pixelSize = 8;
    bool breakInWords = false; // rows may break inside a word (the last resort)
};

// The largest size, up to `largest`, at which text fits `box`: two rows, then three at smaller
// sizes, then rows broken inside words; the smallest tried when nothing fits.
FittedText fitText(const QString &text, const QFont &font, QSizeF box, int largest);
// Lays text out as fitted; returns its height.
double layOut(QTextLayout &layout, const FittedText &fit, double width);

} // namespace quillvane
