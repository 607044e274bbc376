// The built-in recognizer with the real PocketSphinx model, on speech made by espeak-ng and
// encoded by the ffmpeg program.

#include "audio/AudioTools.h"
#include "audio/SpeechTranscriber.h"
#include "audio/TranscriptionError.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

using namespace quillvane;

namespace {

QString fixturePath(const QString &name)
{
    static QTemporaryDir folder;
    return folder.filePath(name);
}

void run(const char *program, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QString::fromLatin1(program), arguments);
    const bool ended = process.waitForFinished(60000) && process.exitStatus() == QProcess::NormalExit;
    ASSERT_TRUE(ended && process.exitCode() == 0) << program << ": " << process.readAll().toStdString();
}

constexpr double leadingSilence = 3;

// Twelve sung-style lines with pauses between them, after three seconds of silence: about
// 37 s of MP3 at 22.05 kHz, so the recognizer hears it in more than one piece.
QString song()
{
    const QString path = fixturePath(QStringLiteral("song.mp3"));
    if (QFile::exists(path))
        return path;
    const char *lines[] = {"city lights are burning low",  "down the road we used to know",
                           "every night the river sings",  "of the summer and the spring",
                           "hold me closer hold me near",  "all the voices disappear",
                           "morning comes and we are gone", "but the music carries on"};
    QStringList spoken;
    for (int i = 0; i < 12; ++i)
        spoken << QString::fromLatin1(lines[i % 8]);
    const QString speech = QStringLiteral("<speak>") + spoken.join(QStringLiteral(" <break time='1500ms'/> "))
                           + QStringLiteral("</speak>");
    const QString wav = fixturePath(QStringLiteral("song.wav"));
    run("espeak-ng", {QStringLiteral("-m"), QStringLiteral("-w"), wav, speech});
    run("ffmpeg", {QStringLiteral("-loglevel"), QStringLiteral("error"), QStringLiteral("-i"), wav,
                   QStringLiteral("-af"), QStringLiteral("adelay=%1:all=1").arg(leadingSilence * 1000),
                   QStringLiteral("-c:a"), QStringLiteral("libmp3lame"), path});
    return path;
}

TranscriptionResult transcribe(SpeechTranscriber &engine, const QString &path, CancelToken cancel = {})
{
    return blockingWait(engine.transcribe(path, [](QString) { ADD_FAILURE() << "no progress expected"; }, cancel));
}

// Runs the call and gives the kind of TranscriptionError it failed with.
std::optional<TranscriptionError::Case> failureOf(SpeechTranscriber &engine, const QString &path)
{
    try {
        transcribe(engine, path);
    } catch (const TranscriptionError &error) {
        return error.kind();
    }
    return std::nullopt;
}

// ---- Recognition ---------------------------------------------------------------------------

TEST(SpeechRecognition, HearsTimedWordsInChunksOfSix)
{
    SpeechTranscriber engine;
    ASSERT_TRUE(engine.isAvailable()) << "the pocketsphinx-en-us model is not installed";
    const QString path = song();
    const double duration = AudioTools::readMetadataNow(path).duration;

    const TranscriptionResult result = transcribe(engine, path);

    ASSERT_FALSE(result.chunks.isEmpty());
    QStringList texts;
    double previousStart = 0;
    for (const TimedChunk &chunk : result.chunks) {
        const std::string where = chunk.text.toStdString();
        const QStringList words = chunk.text.split(QLatin1Char(' '));
        EXPECT_LE(words.size(), 6) << where;
        for (const QString &word : words) // no silences, noises or alternate-pronunciation marks
            EXPECT_TRUE(QRegularExpression(QStringLiteral("^[a-z']+$")).match(word).hasMatch()) << where;
        EXPECT_GE(chunk.start, previousStart) << where;
        EXPECT_GE(chunk.end, chunk.start) << where;
        EXPECT_LE(chunk.end, duration + 0.1) << where;
        previousStart = chunk.start;
        texts << chunk.text;
    }
    EXPECT_EQ(result.text, texts.join(QLatin1Char(' ')));
    // Nothing is heard in the silence before the first line, and the last line, which comes
    // after the first piece of the song, is placed where it is sung.
    EXPECT_GE(result.chunks.front().start, leadingSilence - 0.3);
    EXPECT_GE(result.chunks.back().end, duration - 4);
}

// No engine without a model: a folder that is not there, no model in the data folders, or
// files there holding nothing a decoder can load. What is not audio fails to be heard.
TEST(SpeechRecognition, RefusesAMissingModelAndWhatIsNotAudio)
{
    SpeechModel emptyAcoustic = SpeechModel::installed();
    emptyAcoustic.acousticModel = fixturePath(QStringLiteral("empty-acoustic-model"));
    QDir().mkpath(emptyAcoustic.acousticModel);
    const QByteArray saved = qgetenv("XDG_DATA_DIRS");
    qputenv("XDG_DATA_DIRS", fixturePath(QStringLiteral("no-data")).toUtf8());
    const SpeechModel nothingInstalled = SpeechModel::installed();
    qputenv("XDG_DATA_DIRS", saved);
    const SpeechModel missing{QStringLiteral("/nonexistent/en-us"), QStringLiteral("/nonexistent/en-us.lm.bin"),
                              QStringLiteral("/nonexistent/cmudict-en-us.dict")};
    for (const SpeechModel &model : {missing, nothingInstalled, emptyAcoustic}) {
        SpeechTranscriber engine(model);
        EXPECT_EQ(failureOf(engine, song()), TranscriptionError::Case::noEngineAvailable) << model.acousticModel.toStdString();
    }
    EXPECT_FALSE(SpeechTranscriber(missing).isAvailable());
    EXPECT_FALSE(SpeechTranscriber(nothingInstalled).isAvailable());

    const QString text = fixturePath(QStringLiteral("notes.mp3"));
    test::writeFile(text, "city lights are burning low\n");
    const QString image = fixturePath(QStringLiteral("cover.mp3"));
    // The signature and header of a PNG: FFmpeg takes it for a picture.
    test::writeFile(image, QByteArray::fromHex("89504e470d0a1a0a0000000d4948445200000010000000100806000000"));
    SpeechTranscriber engine;
    for (const QString &path : {text, image, fixturePath(QStringLiteral("missing.mp3"))})
        EXPECT_EQ(failureOf(engine, path), TranscriptionError::Case::failed) << path.toStdString();
}

TEST(SpeechRecognition, StopsPromptlyWhenCancelled)
{
    SpeechTranscriber engine;
    const QString path = song();
    for (const int cancelAfterMs : {-1, 1000}) {
        CancelToken cancel;
        QElapsedTimer sinceCancel;
        if (cancelAfterMs < 0) {
            cancel.cancel();
            sinceCancel.start();
        } else {
            QTimer::singleShot(cancelAfterMs, [&] {
                cancel.cancel();
                sinceCancel.start();
            });
        }
        EXPECT_THROW(transcribe(engine, path, cancel), Cancelled) << cancelAfterMs;
        // Hearing the whole song takes several seconds; a cancel is noticed within one block.
        EXPECT_LT(sinceCancel.elapsed(), 2000) << cancelAfterMs;
    }
}

} // namespace
