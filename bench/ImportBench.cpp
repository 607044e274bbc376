// Import of a four-minute MP3 with embedded lyrics on a machine without a transcription
// engine: tags, cleaned lyrics and duration are read, and the lyrics are taken as they are.
// This is what a user waits for after dropping a track.

#include "pipeline/IntakeOperations.h"
#include "audio/LocalWhisperTranscriber.h"
#include "audio/SpeechTranscriber.h"
#include "audio/SystemTranscriber.h"
#include "store/BlockingWait.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTemporaryDir>

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/unsynchronizedlyricsframe.h>

#include <benchmark/benchmark.h>

using namespace quillvane;

namespace {

QString makeFourMinuteTrack(const QString &folder)
{
    const QString path = folder + QStringLiteral("/four minutes.mp3");
    QProcess ffmpeg;
    ffmpeg.start(QStringLiteral("ffmpeg"),
                 {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-y"), QStringLiteral("-f"),
                  QStringLiteral("lavfi"), QStringLiteral("-i"), QStringLiteral("sine=frequency=220:duration=240"),
                  QStringLiteral("-c:a"), QStringLiteral("libmp3lame"), QStringLiteral("-b:a"), QStringLiteral("192k"), path});
    ffmpeg.waitForFinished(120000);
    TagLib::MPEG::File file(QFile::encodeName(path).constData());
    TagLib::ID3v2::Tag *tag = file.ID3v2Tag(true);
    tag->setTitle("Neon Overpass");
    tag->setArtist("The Marker Kids");
    auto *lyrics = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
    std::string text;
    for (int i = 0; i < 60; ++i)
        text += "[Verse]\nCity lights are burning low\nDown the road we used to know\n";
    lyrics->setText(TagLib::String(text, TagLib::String::UTF8));
    tag->addFrame(lyrics);
    file.save();
    return path;
}

void BM_ImportWithEmbeddedLyricsAndNoEngine(benchmark::State &state)
{
    QTemporaryDir dir;
    const QString track = makeFourMinuteTrack(dir.path());
    PipelineServices services;
    // No whisper anywhere and no speech model: the engines look in empty places.
    WhisperPlaces nowhere;
    nowhere.home = nowhere.runtimeDirectory = dir.filePath(QStringLiteral("empty"));
    nowhere.systemPlaces.clear();
    nowhere.whichProgram = dir.filePath(QStringLiteral("no-which"));
    services.transcriber = std::make_shared<SystemTranscriber>(
        std::make_shared<LocalWhisperTranscriber>(QStringLiteral("base"), nowhere),
        std::make_shared<SpeechTranscriber>(SpeechModel{}));
    ProjectStore store(ProjectLibrary(dir.filePath(QStringLiteral("projects")),
                                      Preferences(dir.filePath(QStringLiteral("Quillvane.conf")))),
                       std::nullopt, services);
    for (auto _ : state) {
        const Done imported = blockingWait(startImport(store, track));
        if (!imported.isDone() || store.project().lyricsSource != LyricsSource::embeddedUnverified)
            state.SkipWithError("the import did not take the embedded lyrics");
    }
}

} // namespace

BENCHMARK(BM_ImportWithEmbeddedLyricsAndNoEngine)->Unit(benchmark::kMillisecond);

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
