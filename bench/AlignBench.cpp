// Lyric timing on real songs with human line and word timings (the JamendoLyrics layout: per
// song NAME.mp3, NAME.txt with one lyric line a line, NAME.lines.csv "start,end,line" and
// NAME.words.csv "word_start,word_end,line_end"). Each song's lyrics are timed the way the
// timing run times them, and the figures printed per song and overall: mean absolute error of
// line starts, share of lines within 0.5 s and 1 s, the same for word starts, and the time
// taken (the import's check of embedded lyrics plus the timing) as a share of the song's length.
// Run: build/bench/align_bench [--timing-only] [--proportional] [--lines] [SONG_FOLDER [NAME ...]]   (default ../shared/eval/songs from
// the source folder)

#include "pipeline/IntakeOperations.h"
#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/SpeechAligner.h"
#include "store/BlockingWait.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <cstdio>

using namespace quillvane;

namespace {

struct Errors {
    std::vector<double> lines;
    std::vector<double> words;
    double seconds = 0;
    double length = 0;
};

// The first column of every row after the header.
std::vector<double> firstColumn(const QString &path)
{
    QFile file(path);
    std::vector<double> values;
    if (!file.open(QIODevice::ReadOnly))
        return values;
    const QStringList rows = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    for (qsizetype i = 1; i < rows.size(); ++i)
        values.push_back(rows.at(i).section(QLatin1Char(','), 0, 0).toDouble());
    return values;
}

void print(const char *name, const Errors &e)
{
    const auto share = [](const std::vector<double> &v, double within) {
        return v.empty() ? 0.0 : 100.0 * double(std::count_if(v.begin(), v.end(), [&](double x) { return x <= within; })) / double(v.size());
    };
    const auto mean = [](const std::vector<double> &v) {
        return v.empty() ? NAN : std::accumulate(v.begin(), v.end(), 0.0) / double(v.size());
    };
    std::printf("%-42.42s lines %3zu AAE %6.2fs <=0.5s %3.0f%% <=1s %3.0f%% | words %4zu AAE %6.2fs <=0.5s %3.0f%% "
                "<=1s %3.0f%% | time %.2f of length\n",
                name, e.lines.size(), mean(e.lines), share(e.lines, 0.5), share(e.lines, 1.0), e.words.size(),
                mean(e.words), share(e.words, 0.5), share(e.words, 1.0), e.length > 0 ? e.seconds / e.length : 0.0);
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QStringList arguments = app.arguments().mid(1);
    // --timing-only leaves the import's check out of the time taken, for quicker rounds.
    const bool timingOnly = arguments.removeAll(QStringLiteral("--timing-only")) > 0;
    // --proportional times the lines as the timing run does by proportion, for comparison.
    const bool proportional = arguments.removeAll(QStringLiteral("--proportional")) > 0;
    // --lines prints every line's times beside the annotated start.
    const bool eachLine = arguments.removeAll(QStringLiteral("--lines")) > 0;
    const QDir folder(arguments.isEmpty() ? QStringLiteral(QUILLVANE_SOURCE_DIR "/../shared/eval/songs")
                                          : arguments.first());
    QStringList names = arguments.mid(1);
    if (names.isEmpty())
        for (const QFileInfo &song : folder.entryInfoList({QStringLiteral("*.mp3")}, QDir::Files, QDir::Name))
            names << song.completeBaseName();
    SpeechAligner aligner;
    if (!aligner.isAvailable()) {
        std::printf("the word aligner is not available (speech model or espeak-ng missing)\n");
        return 1;
    }
    Errors all;
    for (const QString &name : names) {
        QFile text(folder.filePath(name + QStringLiteral(".txt")));
        if (!text.open(QIODevice::ReadOnly))
            continue;
        const QString lyrics = QString::fromUtf8(text.readAll());
        const QStringList lines = lyricLines(lyrics);
        const QString audio = folder.filePath(name + QStringLiteral(".mp3"));
        Errors song;
        song.length = AudioTools::readMetadataNow(audio).duration;
        QElapsedTimer timer;
        timer.start();
        // The import hears the head and tail of the track to check the embedded lyrics.
        SpeechTranscriber transcriber;
        if (!timingOnly)
            blockingWait(verifyLyrics(transcriber, audio, lyrics, song.length, {}));
        QString outcome;
        QList<TranscriptSegment> segments;
        try {
            if (proportional)
                segments = alignLines(lines, blockingWait(transcriber.transcribe(audio, {}, {})).chunks, song.length);
            else
                segments = blockingWait(timeLyrics(aligner, audio, lines, {}, {}));
        } catch (const Error &error) {
            outcome = error.description();
            segments = alignLines(lines, {}, song.length);
        }
        song.seconds = double(timer.elapsed()) / 1000.0;
        const std::vector<double> lineStarts = firstColumn(folder.filePath(name + QStringLiteral(".lines.csv")));
        for (std::size_t i = 0; i < std::min(lineStarts.size(), std::size_t(segments.size())); ++i)
            song.lines.push_back(std::abs(segments.at(qsizetype(i)).start - lineStarts[i]));
        if (eachLine)
            for (qsizetype i = 0; i < segments.size(); ++i)
                std::printf("  %6.2f %6.2f (truth %6.2f) %s\n", segments[i].start, segments[i].end,
                            std::size_t(i) < lineStarts.size() ? lineStarts[std::size_t(i)] : -1.0,
                            segments[i].text.toUtf8().constData());
        const std::vector<double> wordStarts = firstColumn(folder.filePath(name + QStringLiteral(".words.csv")));
        std::vector<double> timed;
        for (const TranscriptSegment &segment : segments)
            for (const TimedWord &word : segment.words)
                timed.push_back(word.start);
        if (timed.size() == wordStarts.size())
            for (std::size_t i = 0; i < timed.size(); ++i)
                song.words.push_back(std::abs(timed[i] - wordStarts[i]));
        print(name.toUtf8().constData(), song);
        if (!outcome.isEmpty())
            std::printf("    %s\n", outcome.toUtf8().constData());
        all.lines.insert(all.lines.end(), song.lines.begin(), song.lines.end());
        all.words.insert(all.words.end(), song.words.begin(), song.words.end());
        all.seconds += song.seconds;
        all.length += song.length;
    }
    print("ALL", all);
    return 0;
}
