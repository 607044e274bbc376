#include "ScriptedTranscriber.h"
#include "pipeline/IntakeOperations.h"
#include "audio/TranscriptionError.h"
#include "model/PipelineConfig.h"
#include "store/BlockingWait.h"
#include "support/Fixtures.h"

#include <gtest/gtest.h>

#include <functional>

using namespace quillvane;

namespace {

struct Fixture {
    explicit Fixture(const Project &project, std::shared_ptr<LyricsAligner> aligner = {})
        : store(temp.library(), project, PipelineServices{engine, {}, {}, {}, std::move(aligner), {}})
    {
    }

    test::TempLibrary temp;
    std::shared_ptr<test::ScriptedTranscriber> engine = std::make_shared<test::ScriptedTranscriber>();
    ProjectStore store;
};

Project withLyrics(const QString &lyrics, const QString &audioPath = QStringLiteral("/music/missing.mp3"))
{
    Project project;
    project.audioPath = audioPath;
    project.rawLyrics = lyrics;
    project.lyricsSource = LyricsSource::embeddedVerified;
    project.updatedAt = QDateTime(QDate(2020, 1, 1), QTime(0, 0), Qt::UTC);
    return project;
}

TranscriptSegment line(const QString &text, double start, double end, const QList<TimedWord> &words = {})
{
    return {QUuid::createUuid(), text, start, end, words};
}

} // namespace

TEST(TimingRun, LaysTheLyricLinesOverTheHeardChunks)
{
    Fixture f(withLyrics(QStringLiteral("one\ntwo\r\nthree\nfour")));
    f.engine->statusLine = QStringLiteral("Transcribing with Local Whisper");
    std::optional<QString> labelWhileTranscribing;
    f.engine->respond = [&f, &labelWhileTranscribing](const QString &) {
        labelWhileTranscribing = f.store.session().runningTask();
        return TranscriptionResult{QStringLiteral("not used"), {{QStringLiteral("a"), 0, 5}, {QStringLiteral("b"), 5, 10}}};
    };
    const Project before = f.store.project();
    blockingWait(startTiming(f.store));

    EXPECT_FALSE(f.store.session().lastError()) << f.store.session().lastError()->toStdString();
    EXPECT_EQ(labelWhileTranscribing, QStringLiteral("Transcribing with Local Whisper"));
    const Project &after = f.store.project();
    ASSERT_EQ(after.transcript.size(), 4);
    EXPECT_EQ(after.transcript.at(1).text, QStringLiteral("two"));
    EXPECT_EQ(after.transcript.at(1).end, 10);
    EXPECT_EQ(after.rawLyrics, before.rawLyrics);
    EXPECT_GT(after.updatedAt, before.updatedAt);
    EXPECT_EQ(f.engine->calls, QStringList{QStringLiteral("/music/missing.mp3")});
    EXPECT_FALSE(f.store.session().runningTask());
}

// Nothing runs on a project that cannot be timed or already is, and a failed transcription
// leaves the project as it was.
TEST(TimingRun, StopsOrFailsWithoutTouchingTheProject)
{
    Project timed = withLyrics(QStringLiteral("one"));
    timed.transcript = {line(QStringLiteral("one"), 1, 2)};
    const QString empty = PipelineError::message(PipelineError::Case::emptyLyrics);
    const struct {
        const char *name;
        Project project;
        std::optional<QString> error;
        qsizetype transcriptions;
    } cases[] = {
        {"no audio", withLyrics(QStringLiteral("one"), QString()), PipelineError::message(PipelineError::Case::missingAudio), 0},
        {"no lyrics", withLyrics(QString()), empty, 0},
        {"only blank lines", withLyrics(QStringLiteral("  \n\t\n \r\n")), empty, 0},
        {"a transcript already exists", timed, std::nullopt, 0},
        {"the transcription fails", withLyrics(QStringLiteral("one\ntwo")),
         QStringLiteral("Transcription failed: Whisper produced no output."), 1},
    };
    for (const auto &c : cases) {
        Fixture f(c.project);
        f.engine->respond = [](const QString &) -> TranscriptionResult {
            throw TranscriptionError::failed(QStringLiteral("Whisper produced no output."));
        };
        blockingWait(startTiming(f.store));
        EXPECT_EQ(f.store.session().lastError(), c.error) << c.name;
        EXPECT_EQ(f.store.project(), c.project) << c.name;
        EXPECT_EQ(f.engine->calls.size(), c.transcriptions) << c.name;
    }
}

TEST(TimingRun, WithTheAlignerEachLineSpansItsWordsOrFallsBackToProportionWhenNotFound)
{
    const auto words = [](const QStringList &) {
        return QList<QList<AlignedWord>>{{{QStringLiteral("one"), 1.0, 1.4, 1}, {QStringLiteral("more"), 1.5, 2.0, 1}},
                                         {{QStringLiteral("two"), 1.8, 3.0, 0}}};
    };
    const auto notFound = [](const QStringList &) -> QList<QList<AlignedWord>> { throw AlignmentError::notFound(); };
    const struct {
        const char *name;
        TimingMethod method;
        bool available;
        std::function<QList<QList<AlignedWord>>(const QStringList &)> respond;
        bool aligned;
        bool saysItFellBack;
    } cases[] = {
        {"aligned words", TimingMethod::words, true, words, true, false},
        {"lyrics not found", TimingMethod::words, true, notFound, false, true},
        {"aligner not available", TimingMethod::words, false, words, false, false},
        {"timing by proportion", TimingMethod::proportional, true, words, false, false},
    };
    for (const auto &c : cases) {
        auto aligner = std::make_shared<test::ScriptedAligner>();
        aligner->available = c.available;
        aligner->respond = c.respond;
        Fixture f(withLyrics(QStringLiteral("one more\ntwo")), aligner);
        f.store.settings().setTimingMethod(c.method);
        QStringList statuses;
        QObject::connect(&f.store.session(), &TaskSession::runningTaskChanged, [&] {
            statuses << f.store.session().runningTask().value_or(QString());
        });
        blockingWait(startTiming(f.store));

        EXPECT_FALSE(f.store.session().lastError()) << c.name;
        const QList<TranscriptSegment> &transcript = f.store.project().transcript;
        ASSERT_EQ(transcript.size(), 2) << c.name;
        EXPECT_EQ(f.engine->calls.size(), 1) << c.name << ": the track is heard beside the alignment";
        EXPECT_EQ(statuses.contains(proportionalFallbackNote), c.saysItFellBack) << c.name;
        if (c.aligned) {
            // The first line ends where the second starts, however long its last word lasted.
            EXPECT_EQ(transcript[0].words.back(), (TimedWord{QStringLiteral("more"), 1.5, 1.8})) << c.name;
            EXPECT_EQ((QList<double>{transcript[0].start, transcript[0].end, transcript[1].start, transcript[1].end}),
                      (QList<double>{1.0, 1.8, 1.8, 3.0})) << c.name;
        } else {
            EXPECT_TRUE(transcript[0].words.isEmpty()) << c.name;
        }
    }
}

// A line whose words come back earlier than the line before starts where that one starts.
TEST(TimingRun, SegmentsFromWordsNeverRunBackwards)
{
    const QList<TranscriptSegment> segments = segmentsFromWords(
        {QStringLiteral("a b"), QStringLiteral("c"), QStringLiteral("d")},
        {{{QStringLiteral("a"), 5, 6, 1}, {QStringLiteral("b"), 6, 7, 1}}, {{QStringLiteral("c"), 2, 3, 1}}, {}});
    QList<double> times;
    for (const TranscriptSegment &segment : segments)
        times << segment.start << segment.end;
    EXPECT_EQ(times, (QList<double>{5, 6, 6, 6, 6, 6}));
    EXPECT_TRUE(segments.value(2).words.isEmpty());
}

TEST(Lyrics, EditingTheTextThrowsTheTranscriptAwayButTheSameTextChangesNothing)
{
    Project timed = withLyrics(QStringLiteral("City lights"));
    timed.transcript = {line(QStringLiteral("City lights"), 0, 4)};
    Fixture f(timed);

    setLyrics(f.store.document(), QStringLiteral("City lights"));
    EXPECT_EQ(f.store.project(), timed);

    setLyrics(f.store.document(), QStringLiteral("City light"));
    EXPECT_EQ(f.store.project().rawLyrics, QStringLiteral("City light"));
    EXPECT_EQ(f.store.project().lyricsSource, LyricsSource::manual);
    EXPECT_TRUE(f.store.project().transcript.isEmpty());
    EXPECT_EQ(f.store.project().updatedAt, timed.updatedAt);
}

// A done edit changes only the fields given of that one line; a refused one changes nothing.
TEST(Lyrics, ALineIsRetimedInPlaceAndLinesStayInTimeOrder)
{
    Project timed = withLyrics(QStringLiteral("a\nb\nc"));
    timed.transcript = {line(QStringLiteral("a"), 0, 4), line(QStringLiteral("b"), 4, 8), line(QStringLiteral("c"), 8, 12)};
    const struct {
        const char *name;
        qsizetype index;
        std::optional<QString> text;
        std::optional<double> start, end;
        const char *refusal; // nullptr: done
    } cases[] = {
        {"new text", 1, QStringLiteral("B!"), {}, {}, nullptr},
        {"a later start", 1, {}, 5.25, {}, nullptr},
        {"a start on the next line's", 1, {}, 8.0, {}, nullptr},
        {"start and end together", 2, {}, 9.0, 15.5, nullptr},
        {"an end that overlaps the next line", 0, {}, {}, 6.0, nullptr},
        {"a start inside the line before", 1, {}, 3.9, {}, nullptr},
        {"a start before the line before", 2, {}, 3.5, {}, "Line 3 cannot start before line 2 (at 4.00 s)."},
        {"a start after the next line", 1, {}, 8.5, {}, "Line 2 cannot start after line 3 (at 8.00 s)."},
        {"a start past its own end", 2, {}, 12.5, {}, "Line 3 cannot end (12.00 s) before it starts (12.50 s)."},
        {"an end before the start", 1, QStringLiteral("B!"), {}, 3.0, "Line 2 cannot end (3.00 s) before it starts (4.00 s)."},
        {"a start before the song", 0, {}, -0.5, {}, "Line 1 cannot start before the song."},
        {"no such line", 3, QStringLiteral("none"), {}, {}, "There is no line 4; the transcript has 3."},
        {"a negative index", -1, QStringLiteral("none"), {}, {}, "There is no line 0; the transcript has 3."},
    };
    for (const auto &c : cases) {
        Fixture f(timed);
        const Done outcome = editSegment(f.store.document(), c.index, c.text, c.start, c.end);
        Project expected = timed;
        if (!c.refusal) {
            TranscriptSegment &edited = expected.transcript[c.index];
            edited.text = c.text.value_or(edited.text);
            edited.start = c.start.value_or(edited.start);
            edited.end = c.end.value_or(edited.end);
        }
        EXPECT_EQ(outcome, c.refusal ? Done::failed(QString::fromUtf8(c.refusal)) : Done::done()) << c.name;
        EXPECT_EQ(f.store.project(), expected) << c.name;
    }
}

TEST(Lyrics, ShiftMovesEveryLineAndItsWordsOrNothing)
{
    Project timed = withLyrics(QStringLiteral("a b\nc"));
    timed.transcript = {line(QStringLiteral("a b"), 1.5, 4, {{QStringLiteral("a"), 1.5, 2}, {QStringLiteral("b"), 2, 4}}),
                        line(QStringLiteral("c"), 4, 8)};
    for (const double seconds : {2.25, -1.5}) {
        Fixture f(timed);
        EXPECT_TRUE(shiftTranscript(f.store.document(), seconds).isDone()) << seconds;
        const QList<TranscriptSegment> &lines = f.store.project().transcript;
        for (qsizetype i = 0; i < lines.size(); ++i) {
            EXPECT_DOUBLE_EQ(lines[i].start, timed.transcript[i].start + seconds) << seconds;
            EXPECT_DOUBLE_EQ(lines[i].end, timed.transcript[i].end + seconds) << seconds;
        }
        EXPECT_DOUBLE_EQ(lines[0].words[1].start, 2 + seconds) << seconds;
    }
    Fixture f(timed);
    EXPECT_EQ(shiftTranscript(f.store.document(), -1.6),
              Done::failed(QStringLiteral("Shifting by -1.60 s would move the first line before the start of the song.")));
    EXPECT_EQ(f.store.project(), timed);
    Fixture empty(withLyrics(QStringLiteral("a")));
    EXPECT_TRUE(shiftTranscript(empty.store.document(), 1).isFailed());
}
