#include "ui/StoryboardBridge.h"

#include "pipeline/GenerationOperations.h"
#include "pipeline/Road.h"
#include "ui/BridgeSupport.h"

namespace quillvane::ui {

StoryboardBridge::StoryboardBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_elements(new ElementListModel(store, this))
    , m_chunks(new ChunkListModel(store, this))
{
    // The models follow the store first, so the chosen chunk is read from rows already new.
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &StoryboardBridge::refresh);
    connect(&store.session(), &TaskSession::selectedChunkIDChanged, this, &StoryboardBridge::refresh);
    // What counts as accepted follows the lyrics on screen, which follow the backend.
    connect(&store.settings(), &GenerationSettings::generationBackendChanged, this, &StoryboardBridge::refresh);
}

void StoryboardBridge::refresh()
{
    const Project &project = m_store.project();
    const StoryboardPlan plan = project.plan.value_or(StoryboardPlan{});
    follow(this, m_hasPlan, project.plan.has_value(), &StoryboardBridge::hasPlanChanged);
    follow(this, m_plan.artDirectionStatement, plan.artDirectionStatement, &StoryboardBridge::artDirectionChanged);
    follow(this, m_plan.palette, plan.palette, &StoryboardBridge::paletteChanged);
    follow(this, m_plan.motif, plan.motif, &StoryboardBridge::motifChanged);
    follow(this, m_plan.storyline, plan.storyline, &StoryboardBridge::storylineChanged);
    follow(this, m_chunkCount, int(project.chunks.size()), &StoryboardBridge::chunkCountChanged);
    follow(this, m_framedCount, project.framedCount(), &StoryboardBridge::framedCountChanged);
    follow(this, m_acceptedCount, project.acceptedCount(m_store.lyricsOnScreen()), &StoryboardBridge::acceptedCountChanged);
    follow(this, m_allAccepted, project.allChunksAccepted(m_store.lyricsOnScreen()), &StoryboardBridge::allAcceptedChanged);
    const auto chosen = m_store.session().selectedChunkID();
    follow(this, m_selectedChunkId, chosen ? uuidText(*chosen) : QString(), &StoryboardBridge::selectedChunkIdChanged);
    QVariantMap view = chunkView(m_selectedChunkId);
    if (view.isEmpty() && !project.chunks.isEmpty())
        view = chunkView(uuidText(project.chunks.first().id));
    follow(this, m_selectedChunk, view, &StoryboardBridge::selectedChunkChanged);
}

QVariantMap StoryboardBridge::chunkView(const QString &chunkID) const
{
    // The chunk list's own row, role by role, so the sheets and the cards read the same values.
    if (chunkID.isEmpty())
        return {};
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

void StoryboardBridge::setSelectedChunkId(const QString &id)
{
    const QUuid parsed = idFrom(id);
    m_store.session().setSelectedChunkID(parsed.isNull() ? std::nullopt : std::optional<QUuid>(parsed));
}

void StoryboardBridge::planStoryboard()
{
    launch(this, startPlanning(m_store));
}

void StoryboardBridge::renderElements()
{
    launch(this, startRenderElements(m_store));
}

void StoryboardBridge::generateFrame(const QString &chunkID)
{
    launch(this, startGenerateFrame(m_store, idFrom(chunkID)));
}

void StoryboardBridge::generateMissingFrames()
{
    launch(this, runRoad(m_store, PipelineStage::frames, PipelineStage::frames));
}

void StoryboardBridge::generateAllFrames()
{
    m_store.session().setSelectedStage(PipelineStage::frames);
    generateMissingFrames();
}

void StoryboardBridge::editFrame(const QString &chunkID, const QString &request)
{
    launch(this, quillvane::editFrame(m_store, idFrom(chunkID), request));
}

void StoryboardBridge::undoFrame(const QString &chunkID)
{
    quillvane::undoFrame(m_store, idFrom(chunkID));
}

void StoryboardBridge::redoFrame(const QString &chunkID)
{
    quillvane::redoFrame(m_store, idFrom(chunkID));
}

void StoryboardBridge::setReviewCheck(const QString &chunkID, const QString &check, bool value)
{
    if (const auto named = reviewCheckNamed(check))
        quillvane::setReviewCheck(m_store, idFrom(chunkID), *named, value);
}

void StoryboardBridge::passAllChecks(const QString &chunkID)
{
    quillvane::passAllChecks(m_store, idFrom(chunkID));
}

} // namespace quillvane::ui
