#include "ui/ProjectModels.h"

#include "generation/FrameReview.h"
#include "model/PipelineStage.h"

#include <QUrl>

namespace quillvane::ui {

namespace {

template <typename Row>
const Row *rowAt(const QList<Row> &rows, const QModelIndex &index)
{
    return index.isValid() && index.row() >= 0 && index.row() < rows.size() ? &rows[index.row()] : nullptr;
}

// Image paths go to QML as file URLs, which Image loads without guessing.
QString fileURL(const QString &path)
{
    return path.isEmpty() ? QString() : QUrl::fromLocalFile(path).toString();
}

} // namespace

// Stages ---------------------------------------------------------------------------------

StageListModel::StageListModel(ProjectStore &store, QObject *parent)
    : RecordModel(parent)
    , m_store(store)
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &StageListModel::refresh);
    connect(&store.session(), &TaskSession::selectedStageChanged, this, &StageListModel::refresh);
    // What counts as accepted follows the lyrics on screen, which follow the backend.
    connect(&store.settings(), &GenerationSettings::generationBackendChanged, this, &StageListModel::refresh);
}

void StageListModel::refresh()
{
    QList<Row> rows;
    for (PipelineStage stage : allPipelineStages())
        rows.append({int(stage), caseName(m_store.status(stage)), stage == m_store.session().selectedStage()});
    syncRows(m_rows, rows, [](const Row &row) { return row.id(); });
}

int StageListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant StageListModel::data(const QModelIndex &index, int role) const
{
    const Row *row = rowAt(m_rows, index);
    if (!row)
        return {};
    const auto stage = PipelineStage(row->stage);
    switch (role) {
    case StageRole:
        return row->stage;
    case TitleRole:
        return title(stage);
    case SymbolRole:
        return symbolName(stage);
    case StatusRole:
        return row->status;
    case SelectedRole:
        return row->selected;
    }
    return {};
}

QHash<int, QByteArray> StageListModel::roleNames() const
{
    return {{StageRole, "stage"}, {TitleRole, "title"}, {SymbolRole, "symbol"}, {StatusRole, "status"},
            {SelectedRole, "selected"}};
}

// Transcript -----------------------------------------------------------------------------

TranscriptModel::TranscriptModel(ProjectStore &store, QObject *parent)
    : RecordModel(parent)
    , m_store(store)
{
    m_rows = store.project().transcript;
    connect(&store.document(), &ProjectDocument::projectChanged, this, [this] {
        syncRows(m_rows, m_store.project().transcript, [](const TranscriptSegment &s) { return s.id; });
    });
}

int TranscriptModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant TranscriptModel::data(const QModelIndex &index, int role) const
{
    const TranscriptSegment *segment = rowAt(m_rows, index);
    if (!segment)
        return {};
    switch (role) {
    case SegmentIDRole:
        return uuidText(segment->id);
    case TextRole:
        return segment->text;
    case StartRole:
        return segment->start;
    case EndRole:
        return segment->end;
    }
    return {};
}

bool TranscriptModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    if (!rowAt(m_rows, index))
        return false;
    Done edited = Done::failed({});
    if (role == TextRole)
        edited = editSegment(m_store.document(), index.row(), value.toString(), std::nullopt, std::nullopt);
    else if (role == StartRole)
        edited = editSegment(m_store.document(), index.row(), std::nullopt, value.toDouble(), std::nullopt);
    else if (role == EndRole)
        edited = editSegment(m_store.document(), index.row(), std::nullopt, std::nullopt, value.toDouble());
    else
        return false;
    // A refused time says why in the banner; the row keeps its time.
    if (edited.isFailed())
        m_store.session().setLastError(edited.failure());
    return edited.isDone();
}

QHash<int, QByteArray> TranscriptModel::roleNames() const
{
    return {{SegmentIDRole, "segmentId"}, {TextRole, "text"}, {StartRole, "start"}, {EndRole, "end"}};
}

// Characters -----------------------------------------------------------------------------

CharacterListModel::CharacterListModel(ProjectStore &store, QObject *parent)
    : RecordModel(parent)
    , m_store(store)
{
    const auto rowsOf = [this] {
        // The planner flags the frames the main character appears in without naming it, so
        // every card shows the same count.
        const auto &chunks = m_store.project().chunks;
        const int frames = int(std::count_if(chunks.begin(), chunks.end(),
                                             [](const StoryboardChunk &chunk) { return chunk.primaryCharacterInFrame; }));
        QList<Row> rows;
        for (const CharacterReference &character : m_store.project().characters)
            rows.append({character, frames});
        return rows;
    };
    m_rows = rowsOf();
    connect(&store.document(), &ProjectDocument::projectChanged, this,
            [this, rowsOf] { syncRows(m_rows, rowsOf(), [](const Row &row) { return row.id(); }); });
}

int CharacterListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant CharacterListModel::data(const QModelIndex &index, int role) const
{
    const Row *row = rowAt(m_rows, index);
    if (!row)
        return {};
    const CharacterReference &character = row->character;
    switch (role) {
    case CharacterIDRole:
        return uuidText(character.id);
    case NameRole:
        return character.name;
    case NotesRole:
        return character.notes;
    case ReferenceImagesRole:
        return character.referenceImagePaths;
    case ReferenceCountRole:
        return int(character.referenceImagePaths.size());
    case ThumbnailRole:
        return fileURL(character.referenceImagePaths.value(0));
    case FrameCountRole:
        return row->frameCount;
    }
    return {};
}

bool CharacterListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const Row *row = rowAt(m_rows, index);
    if (!row || (role != NameRole && role != NotesRole))
        return false;
    const QUuid id = row->character.id;
    const QString text = value.toString();
    m_store.editProject([&](Project &project) {
        if (CharacterReference *character = project.characterWithID(id))
            (role == NameRole ? character->name : character->notes) = text;
    });
    return true;
}

QHash<int, QByteArray> CharacterListModel::roleNames() const
{
    return {{CharacterIDRole, "characterId"},        {NameRole, "name"},
            {NotesRole, "notes"},                    {ReferenceImagesRole, "referenceImages"},
            {ReferenceCountRole, "referenceCount"},  {ThumbnailRole, "thumbnail"},
            {FrameCountRole, "frameCount"}};
}

// Plan elements --------------------------------------------------------------------------

ElementListModel::ElementListModel(ProjectStore &store, QObject *parent)
    : RecordModel(parent)
    , m_store(store)
{
    const auto elementsOf = [this] {
        return m_store.project().plan ? m_store.project().plan->elements : QList<PlanElement>{};
    };
    m_rows = elementsOf();
    connect(&store.document(), &ProjectDocument::projectChanged, this, [this, elementsOf] {
        const int before = renderedCount();
        syncRows(m_rows, elementsOf(), [](const PlanElement &element) { return element.id; });
        if (renderedCount() != before)
            Q_EMIT renderedCountChanged();
    });
}

int ElementListModel::renderedCount() const
{
    return int(std::count_if(m_rows.begin(), m_rows.end(), [](const PlanElement &e) { return e.imageRemoteURL.has_value(); }));
}

int ElementListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant ElementListModel::data(const QModelIndex &index, int role) const
{
    const PlanElement *element = rowAt(m_rows, index);
    if (!element)
        return {};
    switch (role) {
    case ElementIDRole:
        return element->id;
    case TypeRole:
        return element->type;
    case DescriptionRole:
        return element->continuityDescription;
    case PromptRole:
        return element->textToImagePrompt;
    case ImageRole:
        return fileURL(element->imageLocalPath.value_or(QString()));
    case RenderedRole:
        return element->imageRemoteURL.has_value();
    }
    return {};
}

QHash<int, QByteArray> ElementListModel::roleNames() const
{
    return {{ElementIDRole, "elementId"}, {TypeRole, "type"},   {DescriptionRole, "description"},
            {PromptRole, "prompt"},       {ImageRole, "image"}, {RenderedRole, "rendered"}};
}

// Chunks ---------------------------------------------------------------------------------

ChunkListModel::ChunkListModel(ProjectStore &store, QObject *parent)
    : RecordModel(parent)
    , m_store(store)
    , m_lyrics(store.lyricsOnScreen())
{
    m_rows = store.project().chunks;
    connect(&store.document(), &ProjectDocument::projectChanged, this, &ChunkListModel::refresh);
    connect(&store.settings(), &GenerationSettings::generationBackendChanged, this, &ChunkListModel::refresh);
}

void ChunkListModel::refresh()
{
    syncRows(m_rows, m_store.project().chunks, [](const StoryboardChunk &chunk) { return chunk.id; });
    if (const LyricsOnScreen lyrics = m_store.lyricsOnScreen(); lyrics != m_lyrics) {
        m_lyrics = lyrics;
        if (!m_rows.isEmpty())
            Q_EMIT dataChanged(index(0), index(int(m_rows.size()) - 1),
                               {AcceptedRole, PassedCountRole, ChecksRole, SungChecksRole});
    }
}

int ChunkListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_rows.size());
}

QVariant ChunkListModel::data(const QModelIndex &index, int role) const
{
    const StoryboardChunk *chunk = rowAt(m_rows, index);
    if (!chunk)
        return {};
    const std::optional<GeneratedFrame> &frame = chunk->frame;
    switch (role) {
    case ChunkIDRole:
        return uuidText(chunk->id);
    case ChunkNumberRole:
        return chunk->chunkNumber;
    case StartRole:
        return chunk->start;
    case EndRole:
        return chunk->end;
    case LyricExcerptRole:
        return chunk->lyricExcerpt;
    case RenderedTextRole:
        return chunk->renderedText;
    case SurfaceRole:
        return chunk->surface;
    case ImagePromptRole:
        return chunk->imagePrompt;
    case HasFrameRole:
        return frame.has_value();
    case FramePathRole:
        return fileURL(frame ? frame->localPath : QString());
    case AcceptedRole:
        return chunk->isAccepted(m_lyrics);
    case PassedCountRole:
        return frame ? effectiveReview(frame->review, m_lyrics).passedCount() : 0;
    case ChecksRole: {
        const ReviewChecklist review = effectiveReview(frame ? frame->review : ReviewChecklist{}, m_lyrics);
        return QVariantList{review.spellingCorrect, review.readable, review.placementOK, review.characterConsistent,
                            review.styleContinuous};
    }
    case SungChecksRole: {
        QVariantList sung;
        for (const ReviewCheck check : allReviewChecks)
            sung.append(setAsSung(check, m_lyrics));
        return sung;
    }
    case UndoCountRole:
        return int(chunk->undoStack.size());
    case RedoCountRole:
        return int(chunk->redoStack.size());
    case ClipPathRole:
        return frame && frame->motionClipPath ? fileURL(*frame->motionClipPath) : QString();
    case EditRequestRole:
        return frame ? frame->editRequest.value_or(QString()) : QString();
    case ElementIDsRole:
        return chunk->elementIdsUsed;
    case FeaturesCharacterRole:
        return chunk->primaryCharacterInFrame;
    }
    return {};
}

bool ChunkListModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    const StoryboardChunk *chunk = rowAt(m_rows, index);
    if (!chunk || (role != RenderedTextRole && role != ImagePromptRole))
        return false;
    const QUuid id = chunk->id;
    const QString text = value.toString();
    m_store.editProject([&](Project &project) {
        for (StoryboardChunk &candidate : project.chunks) {
            if (candidate.id == id)
                (role == RenderedTextRole ? candidate.renderedText : candidate.imagePrompt) = text;
        }
    });
    return true;
}

QHash<int, QByteArray> ChunkListModel::roleNames() const
{
    return {{ChunkIDRole, "chunkId"},
            {ChunkNumberRole, "chunkNumber"},
            {StartRole, "start"},
            {EndRole, "end"},
            {LyricExcerptRole, "lyricExcerpt"},
            {RenderedTextRole, "renderedText"},
            {SurfaceRole, "surface"},
            {ImagePromptRole, "imagePrompt"},
            {HasFrameRole, "hasFrame"},
            {FramePathRole, "framePath"},
            {AcceptedRole, "accepted"},
            {PassedCountRole, "passedCount"},
            {ChecksRole, "checks"},
            {UndoCountRole, "undoCount"},
            {RedoCountRole, "redoCount"},
            {ClipPathRole, "clipPath"},
            {EditRequestRole, "editRequest"},
            {ElementIDsRole, "elementIds"},
            {FeaturesCharacterRole, "featuresCharacter"},
            {SungChecksRole, "sungChecks"}};
}

} // namespace quillvane::ui
