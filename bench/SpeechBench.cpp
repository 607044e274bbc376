// The built-in speech engine's yardsticks, printed as figures:
//  1. real-time factor: recognition time over audio length, on a minute of espeak-ng speech;
//  2. lyric timing accuracy: a song made here (eight lines spoken by espeak-ng at known start
//     times, pauses between them, a quiet backing tone, the lyrics in a USLT tag) is imported
//     and timed with the built-in engine; how far each timed line starts from where it is sung.
// Run: build/bench/speech_bench

#include "pipeline/IntakeOperations.h"
#include "audio/AudioTools.h"
#include "audio/LocalWhisperTranscriber.h"
#include "audio/SpeechTranscriber.h"
#include "audio/SystemTranscriber.h"
#include "store/BlockingWait.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/unsynchronizedlyricsframe.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace quillvane;

namespace {

const QStringList songLines = {
    QStringLiteral("City lights are burning low"),    QStringLiteral("Down the road we used to know"),
    QStringLiteral("Hold my hand and don't let go"),  QStringLiteral("We are letters in the snow"),
    QStringLiteral("Paint the morning on the wall"),  QStringLiteral("Every color, one and all"),
    QStringLiteral("When the quiet night is gone"),   QStringLiteral("We will carry every song"),
};
const double lineStarts[] = {2.0, 7.5, 13.0, 18.0, 24.0, 29.5, 35.0, 40.5};
constexpr double songLength = 46.0;

bool run(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(300000) && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

QString speak(const QString &folder, const QString &name, const QString &text)
{
    const QString path = folder + QLatin1Char('/') + name;
    return run(QStringLiteral("espeak-ng"), {QStringLiteral("-w"), path, text}) ? path : QString();
}

void realTimeFactor(const QString &folder)
{
    QStringList minute;
    while (minute.size() < 29) // about a minute at espeak-ng's pace
        minute += songLines;
    const QString speech = speak(folder, QStringLiteral("minute.wav"), minute.join(QStringLiteral(". ")));
    const double seconds = AudioTools::readMetadataNow(speech).duration;

    SpeechTranscriber engine;
    if (!engine.isAvailable()) {
        std::printf("real-time factor: the speech model is not installed\n");
        return;
    }
    QElapsedTimer timer;
    timer.start();
    const TranscriptionResult heard = blockingWait(engine.transcribe(speech, {}, {}));
    const double elapsed = double(timer.elapsed()) / 1000.0;
    std::printf("real-time factor: %.3f (%.1f s of speech recognised in %.2f s, %lld words heard)\n",
                elapsed / seconds, seconds, elapsed, static_cast<long long>(heard.text.split(QLatin1Char(' ')).size()));
}

// The song: every line placed at its start over a quiet backing tone, as an MP3 with the
// lyrics in a USLT frame.
QString makeSong(const QString &folder)
{
    QStringList arguments{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                          QStringLiteral("lavfi"), QStringLiteral("-i"),
                          QStringLiteral("sine=frequency=110:duration=%1").arg(songLength)};
    QString graph = QStringLiteral("[0]volume=0.08[bed];");
    QString mix = QStringLiteral("[bed]");
    for (qsizetype i = 0; i < songLines.size(); ++i) {
        const QString line = speak(folder, QStringLiteral("line%1.wav").arg(i), songLines.at(i));
        if (line.isEmpty())
            return {};
        arguments << QStringLiteral("-i") << line;
        const int delay = int(lineStarts[i] * 1000);
        graph += QStringLiteral("[%1]adelay=%2|%2[l%1];").arg(i + 1).arg(delay);
        mix += QStringLiteral("[l%1]").arg(i + 1);
    }
    graph += mix + QStringLiteral("amix=inputs=%1:duration=first:normalize=0").arg(songLines.size() + 1);
    const QString song = folder + QStringLiteral("/synthetic song.mp3");
    arguments << QStringLiteral("-filter_complex") << graph << QStringLiteral("-c:a") << QStringLiteral("libmp3lame")
              << song;
    if (!run(QStringLiteral("ffmpeg"), arguments))
        return {};

    TagLib::MPEG::File file(QFile::encodeName(song).constData());
    TagLib::ID3v2::Tag *tag = file.ID3v2Tag(true);
    tag->setTitle("Letters in the Snow");
    tag->setArtist("The Marker Kids");
    auto *lyrics = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
    lyrics->setText(TagLib::String(songLines.join(QLatin1Char('\n')).toStdString(), TagLib::String::UTF8));
    tag->addFrame(lyrics);
    file.save();
    return song;
}

void timingAccuracy(const QString &folder)
{
    const QString song = makeSong(folder);
    if (song.isEmpty()) {
        std::printf("timing accuracy: the synthetic song could not be made\n");
        return;
    }
    // The built-in engine alone: no whisper anywhere.
    WhisperPlaces nowhere;
    nowhere.home = nowhere.runtimeDirectory = folder + QStringLiteral("/empty");
    nowhere.systemPlaces.clear();
    nowhere.whichProgram = folder + QStringLiteral("/no-which");
    PipelineServices services;
    services.transcriber = std::make_shared<SystemTranscriber>(
        std::make_shared<LocalWhisperTranscriber>(QStringLiteral("base"), nowhere), std::make_shared<SpeechTranscriber>());
    ProjectStore store(ProjectLibrary(folder + QStringLiteral("/projects"), Preferences(folder + QStringLiteral("/q.conf"))),
                       std::nullopt, services);

    QElapsedTimer timer;
    timer.start();
    const Done imported = blockingWait(startImport(store, song));
    const double importSeconds = double(timer.restart()) / 1000.0;
    const Done timed = imported.isDone() ? blockingWait(startTiming(store)) : imported;
    const double timingSeconds = double(timer.elapsed()) / 1000.0;
    if (!timed.isDone()) {
        std::printf("timing accuracy: %s\n", timed.isCancelled() ? "cancelled" : qPrintable(timed.failure()));
        return;
    }

    const auto &transcript = store.project().transcript;
    std::vector<double> errors;
    for (qsizetype i = 0; i < transcript.size() && i < songLines.size(); ++i)
        errors.push_back(std::fabs(transcript.at(i).start - lineStarts[i]));
    std::vector<double> sorted = errors;
    std::sort(sorted.begin(), sorted.end());
    const auto share = [&errors](double limit) {
        return 100.0 * double(std::count_if(errors.begin(), errors.end(), [limit](double e) { return e <= limit; }))
            / double(errors.size());
    };
    double sum = 0;
    for (const double e : errors)
        sum += e;
    const double median = sorted.size() % 2 ? sorted[sorted.size() / 2]
                                            : (sorted[sorted.size() / 2 - 1] + sorted[sorted.size() / 2]) / 2;

    std::printf("import: %s in %.2f s; timing run %.2f s; %lld lines timed\n",
                qPrintable(caseName(store.project().lyricsSource.value_or(LyricsSource::manual))), importSeconds,
                timingSeconds, static_cast<long long>(transcript.size()));
    for (qsizetype i = 0; i < transcript.size() && i < songLines.size(); ++i)
        std::printf("  line %lld: sung at %5.2f s, timed at %5.2f s (off by %.2f s)\n", static_cast<long long>(i + 1),
                    lineStarts[i], transcript.at(i).start, errors[size_t(i)]);
    std::printf("line starts: mean absolute error %.2f s, median %.2f s, within 0.5 s %.0f%%, within 1.0 s %.0f%%\n",
                sum / double(errors.size()), median, share(0.5), share(1.0));
}

} // namespace

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    AudioTools::silenceMediaLibraryLogs();
    QTemporaryDir folder;
    realTimeFactor(folder.path());
    timingAccuracy(folder.path());
    return 0;
}
