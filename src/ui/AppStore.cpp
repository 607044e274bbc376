#include "ui/AppStore.h"

#include "pipeline/IntakeOperations.h"
#include "pipeline/GenerationOperations.h"
#include "audio/Lyrics.h"
#include "pipeline/MediaOperations.h"
#include "pipeline/Road.h"
#include "model/PipelineConfig.h"

#include <QFileInfo>

#include <cmath>

namespace quillvane::ui {

namespace {

QUuid idFrom(const QString &text)
{
    return QUuid::fromString(text);
}

// The run, then the next stage when it was done.
template <typename T>
QCoro::Task<> thenSelect(ProjectStore &store, QCoro::Task<T> run, PipelineStage next)
{
    QCoro::Task<T> running = std::move(run);
    const auto outcome = co_await running;
    if (outcome.isDone())
        store.session().setSelectedStage(next);
}

QCoro::Task<> exportAndTell(ProjectStore &store, QPointer<AppStore> bridge)
{
    auto exporting = startExportVideo(store);
    const Outcome<QString> exported = co_await exporting;
    if (exported.isDone() && bridge)
        Q_EMIT bridge->exported(QUrl::fromLocalFile(exported.value()));
}

} // namespace

AppStore::AppStore(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_stages(new StageListModel(store, this))
    , m_transcript(new TranscriptModel(store, this))
    , m_characters(new CharacterListModel(store, this))
    , m_elements(new ElementListModel(store, this))
    , m_chunks(new ChunkListModel(store, this))
    , m_media(new MediaSettings(store, this))
    , m_choosers(new Choosers(store.document().library().preferences(), qmlImportPaths(), this))
    , m_outline(new TrackOutline(store, this))
{
    connect(&store.session(), &TaskSession::selectedChunkIDChanged, this, &AppStore::selectedChunkChanged);
    connect(&store.settings(), &GenerationSettings::generationBackendChanged, this, &AppStore::generationBackendChanged);
    connect(&store.settings(), &GenerationSettings::timingMethodChanged, this, &AppStore::timingMethodChanged);
    connect(&store.document(), &ProjectDocument::projectChanged, this, [this] {
        ++m_revision;
        Q_EMIT projectChanged();
    });
    connect(&store.session(), &TaskSession::selectedStageChanged, this, &AppStore::selectedStageChanged);
    connect(&store.session(), &TaskSession::runningTaskChanged, this, &AppStore::runningTaskChanged);
    connect(&store.document(), &ProjectDocument::historyChanged, this, &AppStore::historyChanged);
    connect(&store.session(), &TaskSession::runningTaskChanged, this, &AppStore::historyChanged);
    connect(&store.session(), &TaskSession::taskProgressChanged, this, &AppStore::taskProgressChanged);
    connect(&store.session(), &TaskSession::lastErrorChanged, this, &AppStore::lastErrorChanged);
    connect(&store.settings(), &GenerationSettings::generationModelChanged, this, &AppStore::generationModelChanged);
    connect(&store.settings(), &GenerationSettings::editWorkflowChanged, this, &AppStore::editWorkflowChanged);
    connect(&store.settings(), &GenerationSettings::proxyBaseURLChanged, this, &AppStore::proxyBaseURLChanged);
    s_current = this;
}

AppStore::~AppStore()
{
    if (s_current == this)
        s_current = nullptr;
}

AppStore *AppStore::create(QQmlEngine *, QJSEngine *)
{
    Q_ASSERT(s_current);
    QJSEngine::setObjectOwnership(s_current, QJSEngine::CppOwnership);
    return s_current;
}

void AppStore::setOfflineStudio(bool offline)
{
    m_store.settings().setGenerationBackend(offline ? Backend::offline : Backend::service);
}

void AppStore::setTitle(const QString &title)
{
    m_store.editProject([&](Project &project) { project.title = title; });
}

void AppStore::setArtist(const QString &artist)
{
    m_store.editProject([&](Project &project) { project.artist = artist; });
}

void AppStore::setConceptPrompt(const QString &text)
{
    m_store.editProject([&](Project &project) { project.conceptPrompt = text; });
}

QString AppStore::lyricsSourceLabel() const
{
    const auto source = m_store.project().lyricsSource;
    return source ? label(*source) : QString();
}

void AppStore::setSelectedStage(int stage)
{
    if (const auto chosen = pipelineStageFromRaw(stage))
        m_store.session().setSelectedStage(*chosen);
}

void AppStore::importAudio(const QUrl &file)
{
    launch(startImport(m_store, file.isLocalFile() ? file.toLocalFile() : file.toString()));
}

void AppStore::alignTiming()
{
    launch(startTiming(m_store));
}

bool AppStore::addCharacter(const QString &name)
{
    return quillvane::addCharacter(m_store.document(), name).has_value();
}

void AppStore::addReferenceImages(const QString &characterID, const QList<QUrl> &files)
{
    QStringList paths;
    for (const QUrl &file : files)
        paths.append(file.isLocalFile() ? file.toLocalFile() : file.toString());
    launch(startAddReferenceImages(m_store, idFrom(characterID), paths));
}

void AppStore::removeCharacter(const QString &characterID)
{
    quillvane::removeCharacter(m_store.document(), idFrom(characterID));
}

void AppStore::removeReferenceImage(const QString &characterID, const QString &path)
{
    const QUrl url(path);
    quillvane::removeReferenceImage(m_store.document(), idFrom(characterID), url.isLocalFile() ? url.toLocalFile() : path);
}

void AppStore::alignTimingAndContinue()
{
    launch(thenSelect(m_store, startTiming(m_store), PipelineStage::timing));
}

void AppStore::startStoryboard()
{
    if (m_store.project().chunks.isEmpty())
        launch(thenSelect(m_store, runRoad(m_store, PipelineStage::storyboard, PipelineStage::storyboard), PipelineStage::storyboard));
    else
        m_store.session().setSelectedStage(PipelineStage::storyboard);
}

QString AppStore::formatTime(double seconds)
{
    const long long whole = std::llround(seconds);
    return QString::asprintf("%lld:%02lld", whole / 60, std::llabs(whole % 60));
}

void AppStore::startTapping(double playhead)
{
    m_tapAlong = std::make_unique<TapAlong>(m_store, playhead);
    Q_EMIT tappingChanged();
}

void AppStore::stopTapping()
{
    if (!m_tapAlong)
        return;
    m_tapAlong.reset();
    Q_EMIT tappingChanged();
}

bool AppStore::tap(double seconds)
{
    if (!m_tapAlong)
        return false;
    const Done tapped = m_tapAlong->tap(seconds);
    if (tapped.isFailed())
        m_store.session().setLastError(tapped.failure());
    Q_EMIT tappingChanged();
    return tapped.isDone();
}

bool AppStore::untap()
{
    const bool takenBack = m_tapAlong && m_tapAlong->takeBack();
    Q_EMIT tappingChanged();
    return takenBack;
}

bool AppStore::shiftTimes(double seconds)
{
    const Done shifted = shiftTranscript(m_store.document(), seconds);
    if (shifted.isFailed())
        m_store.session().setLastError(shifted.failure());
    return shifted.isDone();
}

int AppStore::lineAt(double seconds) const
{
    const QList<TranscriptSegment> &lines = m_store.project().transcript;
    int found = -1;
    for (qsizetype i = 0; i < lines.size() && lines.at(i).start <= seconds; ++i)
        found = int(i);
    return found;
}

double AppStore::parseTime(const QString &text)
{
    double seconds = 0;
    const QStringList parts = text.trimmed().split(QLatin1Char(':'));
    if (parts.size() > 3)
        return std::nan("");
    for (qsizetype i = 0; i < parts.size(); ++i) {
        bool ok = false;
        const double value = parts[i].toDouble(&ok);
        // Only the last part has a fraction; minutes and seconds after a colon stay under 60.
        if (!ok || value < 0 || !std::isfinite(value) || (i + 1 < parts.size() && value != std::floor(value))
            || (i > 0 && value >= 60))
            return std::nan("");
        seconds = seconds * 60 + value;
    }
    return seconds;
}

QString AppStore::audioFileName() const
{
    return QFileInfo(m_store.project().audioPath).fileName();
}

QString AppStore::lyricsSourceIntent() const
{
    const auto source = m_store.project().lyricsSource;
    if (!source)
        return {};
    switch (chipIntent(*source)) {
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

int AppStore::lyricLineCount() const
{
    return nonBlankLineCount(m_store.project().rawLyrics);
}

double AppStore::transcriptLength() const
{
    double latest = 0;
    for (const TranscriptSegment &segment : m_store.project().transcript)
        latest = std::max(latest, segment.end);
    return latest;
}

void AppStore::editStyle(QString StyleGuidance::*field, const QString &text)
{
    m_store.editProject([&](Project &project) { project.style.*field = text; });
}

void AppStore::setPaletteName(const QString &text)
{
    editStyle(&StyleGuidance::paletteName, text);
}

void AppStore::setMood(const QString &text)
{
    editStyle(&StyleGuidance::mood, text);
}

void AppStore::setMedium(const QString &text)
{
    editStyle(&StyleGuidance::medium, text);
}

void AppStore::setContinuityNotes(const QString &text)
{
    editStyle(&StyleGuidance::continuityNotes, text);
}

void AppStore::setNegativePrompts(const QString &text)
{
    editStyle(&StyleGuidance::negativePrompts, text);
}

QString AppStore::promptPreview() const
{
    const Project &project = m_store.project();
    if (!project.chunks.isEmpty())
        return composeFramePrompt(project.chunks.first(), project.style);
    StoryboardChunk sample;
    sample.index = 0;
    sample.chunkNumber = 1;
    sample.start = 0;
    sample.end = 4.0;
    sample.lyricExcerpt = QStringLiteral("City lights are burning low");
    sample.renderedText = sample.lyricExcerpt;
    sample.surface = QStringLiteral("a hand-painted marker sign");
    return composeFramePrompt(sample, project.style);
}

int AppStore::featuredFrameCount() const
{
    const auto &chunks = m_store.project().chunks;
    return int(std::count_if(chunks.begin(), chunks.end(), [](const StoryboardChunk &c) { return c.primaryCharacterInFrame; }));
}

QString AppStore::chunkIdAt(int index) const
{
    const auto &chunks = m_store.project().chunks;
    return index >= 0 && index < chunks.size() ? uuidText(chunks[index].id) : QString();
}

QString AppStore::selectedChunkId() const
{
    const auto id = m_store.session().selectedChunkID();
    return id ? uuidText(*id) : QString();
}

void AppStore::setSelectedChunkId(const QString &id)
{
    const QUuid parsed = idFrom(id);
    m_store.session().setSelectedChunkID(parsed.isNull() ? std::nullopt : std::optional<QUuid>(parsed));
}

QString AppStore::artDirection() const
{
    return m_store.project().plan ? m_store.project().plan->artDirectionStatement : QString();
}

QStringList AppStore::palette() const
{
    return m_store.project().plan ? m_store.project().plan->palette : QStringList();
}

QString AppStore::motif() const
{
    return m_store.project().plan ? m_store.project().plan->motif : QString();
}

QString AppStore::storyline() const
{
    return m_store.project().plan ? m_store.project().plan->storyline : QString();
}

bool AppStore::hasReferencedCharacter() const
{
    return m_store.project().hasReferencedCharacter();
}

void AppStore::generateAllFrames()
{
    m_store.session().setSelectedStage(PipelineStage::frames);
    generateMissingFrames();
}

QVariantMap AppStore::chunkView(const QString &chunkID) const
{
    // The chunk list's own row, role by role, so the sheets and the cards read the same values.
    const QHash<int, QByteArray> roles = m_chunks->roleNames();
    for (int row = 0; row < m_chunks->rowCount(); ++row) {
        const QModelIndex index = m_chunks->index(row);
        if (m_chunks->data(index, ChunkListModel::ChunkIDRole).toString() != chunkID)
            continue;
        QVariantMap view;
        for (auto role = roles.begin(); role != roles.end(); ++role)
            view.insert(QString::fromLatin1(role.value()), m_chunks->data(index, role.key()));
        return view;
    }
    return {};
}

void AppStore::planStoryboard()
{
    launch(startPlanning(m_store));
}

void AppStore::renderElements()
{
    launch(startRenderElements(m_store));
}

void AppStore::generateFrame(const QString &chunkID)
{
    launch(startGenerateFrame(m_store, idFrom(chunkID)));
}

void AppStore::generateMissingFrames()
{
    launch(runRoad(m_store, PipelineStage::frames, PipelineStage::frames));
}

void AppStore::editFrame(const QString &chunkID, const QString &request)
{
    launch(quillvane::editFrame(m_store, idFrom(chunkID), request));
}

void AppStore::undoFrame(const QString &chunkID)
{
    quillvane::undoFrame(m_store, idFrom(chunkID));
}

void AppStore::redoFrame(const QString &chunkID)
{
    quillvane::redoFrame(m_store, idFrom(chunkID));
}

void AppStore::setReviewCheck(const QString &chunkID, const QString &check, bool value)
{
    if (const auto named = reviewCheckNamed(check))
        quillvane::setReviewCheck(m_store, idFrom(chunkID), *named, value);
}

void AppStore::passAllChecks(const QString &chunkID)
{
    quillvane::passAllChecks(m_store, idFrom(chunkID));
}

void AppStore::renderMotion()
{
    launch(startRenderMotion(m_store));
}

void AppStore::exportVideo()
{
    launch(exportAndTell(m_store, this));
}

QString AppStore::engineName() const
{
    const auto &transcriber = m_store.services().transcriber;
    return transcriber && transcriber->isAvailable() ? transcriber->name() : QStringLiteral("None");
}

} // namespace quillvane::ui
