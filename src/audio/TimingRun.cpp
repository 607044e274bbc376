#include "audio/TimingRun.h"

#include "audio/AudioTools.h"
#include "audio/Lyrics.h"
#include "audio/TranscriptionError.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <optional>

namespace quillvane {

QCoro::Task<TimedLines> timeLines(QString audioPath, QStringList lines, TimingMethod method,
                                  std::shared_ptr<Transcriber> transcriber, std::shared_ptr<LyricsAligner> aligner,
                                  TaskReport report, CancelToken cancel)
{
    // Tasks are held in named variables before they are awaited: g++ 12 destroys the
    // temporaries of a call inside a co_await expression twice.
    auto reading = AudioTools::readMetadata(audioPath);
    const AudioMetadata metadata = co_await reading;
    cancel.throwIfCancelled();

    const auto status = [report](QString line) { report.say(std::move(line)); };
    QList<TranscriptSegment> segments;
    if (method == TimingMethod::words && aligner && aligner->isAvailable()) {
        // The track is heard beside the alignment, each on a core of its own, so that the
        // proportional layout has its chunks at once when the lyrics cannot be placed; when
        // they can, the hearing is stopped. Both are awaited on every path.
        const CancelToken hearing = cancel.child();
        // The hearing's progress is told only once it is what the run waits for.
        const auto fellBack = std::make_shared<std::atomic_bool>(false);
        const auto hearingStatus = [report, fellBack](QString line) {
            if (fellBack->load())
                report.say(std::move(line));
        };
        const auto fallBack = [report, fellBack] {
            fellBack->store(true);
            report.say(proportionalFallbackNote);
        };
        std::optional<QCoro::Task<TranscriptionResult>> transcription;
        if (transcriber && transcriber->isAvailable())
            transcription.emplace(transcriber->transcribe(audioPath, hearingStatus, hearing));
        std::exception_ptr stopped;
        try {
            auto aligning = timeLyrics(*aligner, audioPath, lines, status, cancel);
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
        if (!transcriber)
            throw TranscriptionError::noEngineAvailable();
        auto transcription = transcriber->transcribe(audioPath, status, cancel);
        const TranscriptionResult heard = co_await transcription;
        cancel.throwIfCancelled();
        segments = alignLines(lines, heard.chunks, metadata.duration);
    }
    co_return TimedLines{segments, metadata.duration};
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

} // namespace quillvane
