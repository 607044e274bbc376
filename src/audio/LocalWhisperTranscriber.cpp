#include "audio/LocalWhisperTranscriber.h"

#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"
#include "storage/Locations.h"

#include <QCoro/QCoroProcess>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QScopeGuard>
#include <QStringDecoder>
#include <QUuid>

#include <algorithm>

namespace quillvane {

namespace {

// How often a running whisper looks at the cancel token: often enough that Ctrl+C feels
// immediate, rarely enough to cost nothing next to minutes of transcription.
constexpr int cancelPollMilliseconds = 100;

bool isExecutableFile(const QString &path)
{
    const QFileInfo info(path);
    return info.isFile() && info.isExecutable();
}

// Text written by other programs counts only when it is valid UTF-8; a garbled path is no path.
std::optional<QString> strictUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8);
    QString text = decoder(bytes);
    if (decoder.hasError())
        return std::nullopt;
    return text;
}

// The path an application-managed installation left behind, if any.
std::optional<QString> resolvedRuntimePath(const QString &runtimeDirectory)
{
    QFile file(runtimeDirectory + QStringLiteral("/resolved-runtime.txt"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const std::optional<QString> text = strictUtf8(file.readAll());
    if (!text || text->trimmed().isEmpty())
        return std::nullopt;
    return text->trimmed();
}

// Entries of a folder in the order the file system gives them; none when it cannot be read.
QStringList folderEntries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                                  QDir::Unsorted);
}

// Asks the system's command lookup, with the usual install folders put ahead of the
// application's own PATH: an app started from the desktop often has a PATH that lacks them.
std::optional<QString> lookUpCommand(const WhisperPlaces &places)
{
    const QStringList searchPath = {places.home + QStringLiteral("/.pyenv/shims"),
                                    places.home + QStringLiteral("/.local/bin"),
                                    QStringLiteral("/opt/homebrew/bin"),
                                    QStringLiteral("/usr/local/bin"),
                                    QStringLiteral("/usr/bin"),
                                    QStringLiteral("/bin"),
                                    places.path};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("PATH"), searchPath.join(QLatin1Char(':')));

    QProcess lookup;
    lookup.setProcessEnvironment(environment);
    lookup.start(places.whichProgram, {QStringLiteral("whisper")});
    if (!lookup.waitForStarted(-1))
        return std::nullopt;
    lookup.waitForFinished(-1);
    const std::optional<QString> output = strictUtf8(lookup.readAllStandardOutput());
    if (!output)
        return std::nullopt;
    return output->trimmed();
}

// Whisper names its output after the audio file with only the last extension dropped:
// "My Song.final.mp3" gives "My Song.final.json".
QString outputFileName(const QString &audioPath)
{
    QString name = QFileInfo(audioPath).fileName();
    const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
    if (dot > 0)
        name.truncate(dot);
    return name + QStringLiteral(".json");
}

std::optional<TimedChunk> segmentChunk(const QJsonObject &segment)
{
    const QJsonValue text = segment.value(QStringLiteral("text"));
    if (!text.isString())
        return std::nullopt;
    TimedChunk chunk;
    // Blanks around the words go, but a line break whisper kept inside the text stays.
    chunk.text = trimBlanks(text.toString());
    if (chunk.text.isEmpty())
        return std::nullopt;
    const QJsonValue start = segment.value(QStringLiteral("start"));
    const QJsonValue end = segment.value(QStringLiteral("end"));
    chunk.start = start.isDouble() ? start.toDouble() : 0;
    chunk.end = end.isDouble() ? end.toDouble() : chunk.start;
    // A chunk never ends before it starts, whatever whisper reported.
    chunk.end = std::max(chunk.end, chunk.start);
    return chunk;
}

// A fresh folder per run, so two transcriptions at once never read each other's output.
QString createRunFolder()
{
    const QString folder = QDir::tempPath() + QStringLiteral("/qv-whisper-")
                           + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
    if (!QDir().mkpath(folder))
        throw Error(QStringLiteral("Could not create the temporary folder %1.").arg(folder));
    return folder;
}

// Reads and throws away what the process writes, so a chatty whisper never fills a pipe and
// stalls. Both streams stay pipes: whisper behaves as it does when nobody watches a terminal.
void discardOutput(QProcess &process)
{
    QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                     [&process] { process.readAllStandardOutput(); });
    QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                     [&process] { process.readAllStandardError(); });
}

} // namespace

WhisperPlaces WhisperPlaces::forUser()
{
    WhisperPlaces places;
    places.home = QDir::homePath();
    places.runtimeDirectory = locations::whisperRuntimeFolder();
    places.path = qEnvironmentVariable("PATH");
    return places;
}

LocalWhisperTranscriber::LocalWhisperTranscriber(QString model, WhisperPlaces places)
    : m_model(std::move(model))
    , m_places(std::move(places))
{
}

QCoro::Task<TranscriptionResult> LocalWhisperTranscriber::transcribe(QString audioPath, std::function<void(QString)>,
                                                                     CancelToken cancel)
{
    const std::optional<QString> executable = resolveExecutable();
    if (!executable)
        throw TranscriptionError::noEngineAvailable();
    cancel.throwIfCancelled();

    const QString runFolder = createRunFolder();
    // Declared before the process, so a process still running is ended before its folder goes.
    const auto removeRunFolder = qScopeGuard([runFolder] { QDir(runFolder).removeRecursively(); });

    QProcess whisper;
    discardOutput(whisper);
    whisper.start(*executable, {QFileInfo(audioPath).absoluteFilePath(), QStringLiteral("--model"), m_model,
                                QStringLiteral("--output_format"), QStringLiteral("json"),
                                QStringLiteral("--output_dir"), runFolder, QStringLiteral("--fp16"),
                                QStringLiteral("False")});
    if (!whisper.waitForStarted(-1))
        throw Error(whisper.errorString());

    // No time limit: a whole song on a slow machine takes minutes. Only the user stops it.
    while (whisper.state() != QProcess::NotRunning) {
        if (cancel.isCancelled()) {
            whisper.kill();
            whisper.waitForFinished(-1);
            throw Cancelled();
        }
        co_await qCoro(whisper).waitForFinished(cancelPollMilliseconds);
    }

    // Whisper's exit status says nothing useful: only the file it wrote counts.
    QFile output(runFolder + QLatin1Char('/') + outputFileName(audioPath));
    if (!output.open(QIODevice::ReadOnly))
        throw TranscriptionError::failed(QStringLiteral("Whisper produced no output."));
    co_return parseWhisperJSON(output.readAll());
}

std::optional<QString> LocalWhisperTranscriber::resolveExecutable() const
{
    for (const QString &candidate : candidatePaths()) {
        if (isExecutableFile(candidate))
            return candidate;
    }
    const std::optional<QString> found = lookUpCommand(m_places);
    if (found && isExecutableFile(*found))
        return found;
    return std::nullopt;
}

QStringList LocalWhisperTranscriber::candidatePaths() const
{
    const QString &home = m_places.home;
    QStringList candidates = {m_places.runtimeDirectory + QStringLiteral("/venv/bin/whisper")};
    if (const std::optional<QString> resolved = resolvedRuntimePath(m_places.runtimeDirectory))
        candidates << *resolved;
    candidates << m_places.systemPlaces;
    candidates << home + QStringLiteral("/.local/bin/whisper")
               << home + QStringLiteral("/.local/pipx/venvs/openai-whisper/bin/whisper")
               << home + QStringLiteral("/.pyenv/shims/whisper");
    for (const QString &root : {QStringLiteral("miniconda3"), QStringLiteral("anaconda3"),
                                QStringLiteral("miniforge3"), QStringLiteral("mambaforge")}) {
        const QString condaRoot = home + QLatin1Char('/') + root;
        candidates << condaRoot + QStringLiteral("/bin/whisper");
        for (const QString &environment : folderEntries(condaRoot + QStringLiteral("/envs")))
            candidates << condaRoot + QStringLiteral("/envs/") + environment + QStringLiteral("/bin/whisper");
    }
    return candidates;
}

TranscriptionResult LocalWhisperTranscriber::parseWhisperJSON(const QByteArray &bytes)
{
    // Whatever shape the file has, a readable file is a transcription: at worst an empty one.
    const QJsonObject top = QJsonDocument::fromJson(bytes).object();
    TranscriptionResult result;
    result.text = top.value(QStringLiteral("text")).toString().trimmed();

    const QJsonArray segments = top.value(QStringLiteral("segments")).toArray();
    const bool allObjects = std::all_of(segments.begin(), segments.end(),
                                        [](const QJsonValue &segment) { return segment.isObject(); });
    if (!allObjects)
        return result;
    for (const QJsonValue &segment : segments) {
        if (std::optional<TimedChunk> chunk = segmentChunk(segment.toObject()))
            result.chunks << *std::move(chunk);
    }
    return result;
}

} // namespace quillvane
