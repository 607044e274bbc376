#include "ui/IntakeBridges.h"

#include "audio/Lyrics.h"
#include "pipeline/IntakeOperations.h"
#include "ui/BridgeSupport.h"

#include <QFileInfo>

#include <algorithm>

namespace quillvane::ui {

namespace {

QString intentName(ChipIntent intent)
{
    switch (intent) {
    case ChipIntent::good:
        return QStringLiteral("good");
    case ChipIntent::bad:
        return QStringLiteral("bad");
    case ChipIntent::accent:
        return QStringLiteral("accent");
    case ChipIntent::pending:
        return QStringLiteral("pending");
    case ChipIntent::neutral:
        break;
    }
    return QStringLiteral("neutral");
}

} // namespace

// Intake ---------------------------------------------------------------------------------

IntakeBridge::IntakeBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &IntakeBridge::refresh);
}

void IntakeBridge::refresh()
{
    const Project &project = m_store.project();
    const QString &audio = project.audioPath;
    const auto source = project.lyricsSource;
    follow(this, m_title, project.title, &IntakeBridge::titleChanged);
    follow(this, m_artist, project.artist, &IntakeBridge::artistChanged);
    follow(this, m_lyrics, project.rawLyrics, &IntakeBridge::lyricsChanged);
    follow(this, m_hasAudio, !audio.isEmpty(), &IntakeBridge::hasAudioChanged);
    follow(this, m_audioFileName, QFileInfo(audio).fileName(), &IntakeBridge::audioFileNameChanged);
    follow(this, m_audioURL, audio.isEmpty() ? QString() : QUrl::fromLocalFile(audio).toString(),
           &IntakeBridge::audioURLChanged);
    follow(this, m_lyricsSourceLabel, source ? label(*source) : QString(), &IntakeBridge::lyricsSourceLabelChanged);
    follow(this, m_lyricsSourceIntent, source ? intentName(chipIntent(*source)) : QString(),
           &IntakeBridge::lyricsSourceIntentChanged);
    follow(this, m_lyricLineCount, nonBlankLineCount(project.rawLyrics), &IntakeBridge::lyricLineCountChanged);
    follow(this, m_hasTranscript, !project.transcript.isEmpty(), &IntakeBridge::hasTranscriptChanged);
}

void IntakeBridge::setTitle(const QString &title)
{
    m_store.editProject([&](Project &project) { project.title = title; });
}

void IntakeBridge::setArtist(const QString &artist)
{
    m_store.editProject([&](Project &project) { project.artist = artist; });
}

void IntakeBridge::importAudio(const QUrl &file)
{
    launch(this, startImport(m_store, pathFrom(file)));
}

void IntakeBridge::alignTimingAndContinue()
{
    launch(this, thenSelect(m_store, startTiming(m_store), PipelineStage::timing));
}

// Timing ---------------------------------------------------------------------------------

TimingBridge::TimingBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_transcript(new TranscriptModel(store, this))
    , m_outline(new TrackOutline(store, this))
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &TimingBridge::refresh);
}

TimingBridge::~TimingBridge() = default;

void TimingBridge::refresh()
{
    const QList<TranscriptSegment> &lines = m_store.project().transcript;
    double latest = 0;
    int current = -1;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        latest = std::max(latest, lines.at(i).end);
        if (lines.at(i).start <= m_playhead && current == int(i) - 1)
            current = int(i);
    }
    follow(this, m_length, latest, &TimingBridge::lengthChanged);
    follow(this, m_currentLine, current, &TimingBridge::currentLineChanged);
    follow(this, m_tapping, bool(m_tapAlong), &TimingBridge::tappingChanged);
    follow(this, m_nextTapLine, m_tapAlong ? int(m_tapAlong->nextLine()) : -1, &TimingBridge::nextTapLineChanged);
}

void TimingBridge::setPlayhead(double seconds)
{
    if (seconds == m_playhead)
        return;
    m_playhead = seconds;
    Q_EMIT playheadChanged();
    refresh();
}

void TimingBridge::startTapping(double playhead)
{
    m_tapAlong = std::make_unique<TapAlong>(m_store, playhead);
    refresh();
}

void TimingBridge::stopTapping()
{
    m_tapAlong.reset();
    refresh();
}

bool TimingBridge::tap(double seconds)
{
    if (!m_tapAlong)
        return false;
    const Done tapped = m_tapAlong->tap(seconds);
    if (tapped.isFailed())
        m_store.session().setLastError(tapped.failure());
    refresh();
    return tapped.isDone();
}

bool TimingBridge::untap()
{
    const bool takenBack = m_tapAlong && m_tapAlong->takeBack();
    refresh();
    return takenBack;
}

bool TimingBridge::shiftTimes(double seconds)
{
    const Done shifted = quillvane::shiftTranscript(m_store.document(), seconds);
    if (shifted.isFailed())
        m_store.session().setLastError(shifted.failure());
    return shifted.isDone();
}

} // namespace quillvane::ui
