#include "audio/SpokenLyrics.h"

#include "audio/PcmDecoder.h"

#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

namespace quillvane {

namespace {

// The silence before each line and after the last: room for the pauses between sung lines.
constexpr std::size_t silenceInstants = PcmDecoder::sampleRate * 3 / 10;

std::optional<std::vector<int16_t>> speakLine(const QString &program, const QString &voice, const QString &line,
                                              const QString &wavPath)
{
    QProcess espeak;
    espeak.start(program, {QStringLiteral("-v"), voice, QStringLiteral("-w"), wavPath, QStringLiteral("--stdin")});
    if (!espeak.waitForStarted(10000))
        return std::nullopt;
    espeak.write(line.toUtf8() + '\n');
    espeak.closeWriteChannel();
    if (!espeak.waitForFinished(30000) || espeak.exitStatus() != QProcess::NormalExit || espeak.exitCode() != 0) {
        espeak.kill();
        espeak.waitForFinished(1000);
        return std::nullopt;
    }
    PcmDecoder decoder(wavPath, 2);
    std::vector<int16_t> samples;
    for (std::vector<int16_t> block; !(block = decoder.read(std::size_t(PcmDecoder::sampleRate) * 2)).empty();)
        samples.insert(samples.end(), block.begin(), block.end());
    if (decoder.failed())
        return std::nullopt;
    return samples;
}

} // namespace

std::optional<SpokenLyrics> speakLyrics(const QStringList &lines, const QString &voice, const CancelToken &cancel)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("espeak-ng"));
    QTemporaryDir folder;
    if (program.isEmpty() || !folder.isValid())
        return std::nullopt;
    const QString wavPath = folder.filePath(QStringLiteral("line.wav"));
    SpokenLyrics spoken;
    for (const QString &line : lines) {
        cancel.throwIfCancelled();
        const std::optional<std::vector<int16_t>> said = speakLine(program, voice, line, wavPath);
        if (!said)
            return std::nullopt;
        spoken.stereo.resize(spoken.stereo.size() + 2 * silenceInstants, 0);
        const std::size_t first = spoken.stereo.size() / 2;
        spoken.stereo.insert(spoken.stereo.end(), said->begin(), said->end());
        spoken.lineSpans.emplace_back(first, spoken.stereo.size() / 2);
    }
    spoken.stereo.resize(spoken.stereo.size() + 2 * silenceInstants, 0);
    return spoken;
}

} // namespace quillvane
