#include "ui/AppStore.h"

#include "audio/AudioImport.h"
#include "audio/TimingRun.h"
#include "generation/FrameEditing.h"
#include "generation/FrameGeneration.h"
#include "generation/FrameReview.h"
#include "generation/Planning.h"
#include "media/MediaRuns.h"

namespace quillvane::ui {

namespace {

QUuid idFrom(const QString &text)
{
    return QUuid::fromString(text);
}

QCoro::Task<> exportAndTell(ProjectStore &store, QPointer<AppStore> bridge)
{
    auto exporting = startExportVideo(store);
    const std::optional<QString> path = co_await exporting;
    if (path && bridge)
        Q_EMIT bridge->exported(QUrl::fromLocalFile(*path));
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
{
    connect(&store, &ProjectStore::projectChanged, this, &AppStore::projectChanged);
    connect(&store, &ProjectStore::selectedStageChanged, this, &AppStore::selectedStageChanged);
    connect(&store, &ProjectStore::runningTaskChanged, this, &AppStore::runningTaskChanged);
    connect(&store, &ProjectStore::taskProgressChanged, this, &AppStore::taskProgressChanged);
    connect(&store, &ProjectStore::lastErrorChanged, this, &AppStore::lastErrorChanged);
    connect(&store, &ProjectStore::generationModelChanged, this, &AppStore::generationModelChanged);
    connect(&store, &ProjectStore::editWorkflowChanged, this, &AppStore::editWorkflowChanged);
    connect(&store, &ProjectStore::proxyBaseURLChanged, this, &AppStore::proxyBaseURLChanged);
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

void AppStore::launch(QCoro::Task<> operation)
{
    QCoro::connect(std::move(operation), this, [] {});
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
        m_store.setSelectedStage(*chosen);
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
    return m_store.addCharacter(name).has_value();
}

void AppStore::addReferenceImages(const QString &characterID, const QList<QUrl> &files)
{
    QStringList paths;
    for (const QUrl &file : files)
        paths.append(file.isLocalFile() ? file.toLocalFile() : file.toString());
    m_store.addReferenceImages(idFrom(characterID), paths);
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
    launch(startGenerateMissingFrames(m_store));
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
