#include "audio/TimingRun.h"

#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"
#include "model/PipelineConfig.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>

namespace quillvane {

namespace {

Transcriber &transcriberOf(const ProjectStore &store)
{
    if (!store.services().transcriber)
        throw TranscriptionError::noEngineAvailable();
    return *store.services().transcriber;
}

} // namespace

QCoro::Task<> runTiming(ProjectStore &store, CancelToken cancel)
{
    const Project &project = store.project();
    if (project.audioPath.isEmpty())
        throw PipelineError(PipelineError::Case::missingAudio);
    // A transcript is never recomputed: it goes only when the lyrics or the track change.
    if (!project.transcript.isEmpty())
        co_return;
    const QStringList lines = lyricLines(project.rawLyrics);
    if (std::all_of(lines.begin(), lines.end(), [](const QString &line) { return line.trimmed().isEmpty(); }))
        throw PipelineError(PipelineError::Case::emptyLyrics);
    const QString audioPath = project.audioPath;

    // Tasks are held in named variables before they are awaited: g++ 12 destroys the
    // temporaries of a call inside a co_await expression twice.
    auto reading = AudioTools::readMetadata(audioPath);
    const AudioMetadata metadata = co_await reading;
    cancel.throwIfCancelled();

    QList<TranscriptSegment> segments;
    const std::shared_ptr<LyricsAligner> aligner = store.services().aligner;
    if (store.settings().timingMethod() == TimingMethod::words && aligner && aligner->isAvailable()) {
        // The track is heard beside the alignment, each on a core of its own, so that the
        // proportional layout has its chunks at once when the lyrics cannot be placed; when
        // they can, the hearing is stopped. Both are awaited on every path.
        const CancelToken hearing = cancel.child();
        // The hearing's progress is told only once it is what the run waits for.
        const auto fellBack = std::make_shared<std::atomic_bool>(false);
        const auto hearingStatus = [sink = store.report().status, fellBack](QString status) {
            if (fellBack->load())
                sink(std::move(status));
        };
        const auto fallBack = [&store, fellBack] {
            fellBack->store(true);
            store.session().setRunningTask(proportionalFallbackNote);
        };
        const std::shared_ptr<Transcriber> transcriber = store.services().transcriber;
        std::optional<QCoro::Task<TranscriptionResult>> transcription;
        if (transcriber && transcriber->isAvailable())
            transcription.emplace(transcriber->transcribe(audioPath, hearingStatus, hearing));
        std::exception_ptr stopped;
        try {
            auto aligning = timeLyrics(*aligner, audioPath, lines, store.report().status, cancel);
            segments = co_await aligning;
        } catch (const AlignmentError &) {
            fallBack();
        } catch (const TranscriptionError &) {
            fallBack();
        } catch (...) {
            stopped = std::current_exception();
        }
        if (stopped || !segments.isEmpty())
            hearing.cancel();
        std::optional<TranscriptionResult> heard;
        std::exception_ptr unheard;
        try {
            if (transcription)
                heard = co_await *transcription;
        } catch (...) {
            unheard = std::current_exception();
        }
        if (stopped)
            std::rethrow_exception(stopped);
        cancel.throwIfCancelled();
        if (segments.isEmpty()) {
            if (unheard)
                std::rethrow_exception(unheard);
            if (!heard)
                throw TranscriptionError::noEngineAvailable();
            segments = alignLines(lines, heard->chunks, metadata.duration);
        }
    } else {
        auto transcription = transcriberOf(store).transcribe(audioPath, store.report().status, cancel);
        const TranscriptionResult heard = co_await transcription;
        cancel.throwIfCancelled();
        segments = alignLines(lines, heard.chunks, metadata.duration);
    }

    Project changed = store.project();
    changed.transcript = segments;
    changed.audioDuration = metadata.duration;
    changed.updatedAt = now();
    store.setProject(changed);
}

QList<TranscriptSegment> segmentsFromWords(const QStringList &lines, const QList<QList<AlignedWord>> &words)
{
    QList<TranscriptSegment> segments;
    double floor = 0;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        TranscriptSegment segment;
        segment.text = lines.at(i);
        const QList<AlignedWord> lineWords = words.value(i);
        for (const AlignedWord &word : lineWords) {
            const double start = std::max(word.start, floor);
            segment.words << TimedWord{word.text, start, std::max(word.end, start)};
            floor = start;
        }
        segment.start = segment.words.isEmpty() ? floor : segment.words.front().start;
        segment.end = segment.words.isEmpty() ? floor : segment.words.back().end;
        if (!segments.isEmpty() && segments.back().end > segment.start) {
            TranscriptSegment &previous = segments.back();
            previous.end = segment.start;
            for (TimedWord &word : previous.words)
                word.end = std::min(word.end, segment.start);
        }
        segments << segment;
    }
    return segments;
}

QCoro::Task<QList<TranscriptSegment>> timeLyrics(LyricsAligner &aligner, QString audioPath, QStringList lines,
                                                 std::function<void(QString)> onStatus, CancelToken cancel)
{
    auto aligning = aligner.align(audioPath, lines, onStatus, cancel);
    const QList<QList<AlignedWord>> words = co_await aligning;
    co_return segmentsFromWords(lines, words);
}

QCoro::Task<Done> startTiming(ProjectStore &store, CancelToken cancel)
{
    return store.run(
        timingLabel, [&store](CancelToken token) { return runTiming(store, std::move(token)); }, cancel);
}

} // namespace quillvane
