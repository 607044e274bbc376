#pragma once

// The list models QML sees the project through: stages, transcript, characters, plan
// elements and chunks. Each follows the store (rows update in place, see RecordModel) and
// writes edits back through setData, which goes to the store; nothing here keeps a copy of
// the project that could drift from it.

#include "store/ProjectStore.h"
#include "ui/RecordModel.h"

#include <QPointer>

namespace quillvane::ui {

class StageListModel : public RecordModel {
    Q_OBJECT
public:
    enum Role { StageRole = Qt::UserRole + 1, TitleRole, SymbolRole, StatusRole, SelectedRole };

    explicit StageListModel(ProjectStore &store, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;

private:
    struct Row {
        int stage = 0;
        QString status;
        bool selected = false;
        int id() const { return stage; }
        bool operator==(const Row &) const = default;
    };
    void refresh();

    ProjectStore &m_store;
    QList<Row> m_rows;
};

class TranscriptModel : public RecordModel {
    Q_OBJECT
public:
    enum Role { SegmentIDRole = Qt::UserRole + 1, TextRole, StartRole, EndRole };

    explicit TranscriptModel(ProjectStore &store, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // "text" and "end" edit the segment in place.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QHash<int, QByteArray> roleNames() const override;

private:
    ProjectStore &m_store;
    QList<TranscriptSegment> m_rows;
};

class CharacterListModel : public RecordModel {
    Q_OBJECT
public:
    enum Role {
        CharacterIDRole = Qt::UserRole + 1,
        NameRole,
        NotesRole,
        ReferenceImagesRole,
        ReferenceCountRole,
        ThumbnailRole,
        FrameCountRole,
    };

    explicit CharacterListModel(ProjectStore &store, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // "name" and "notes" edit the character.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QHash<int, QByteArray> roleNames() const override;

private:
    struct Row {
        CharacterReference character;
        int frameCount = 0;
        QUuid id() const { return character.id; }
        bool operator==(const Row &) const = default;
    };
    ProjectStore &m_store;
    QList<Row> m_rows;
};

class ElementListModel : public RecordModel {
    Q_OBJECT
    Q_PROPERTY(int renderedCount READ renderedCount NOTIFY renderedCountChanged)
public:
    enum Role { ElementIDRole = Qt::UserRole + 1, TypeRole, DescriptionRole, PromptRole, ImageRole, RenderedRole };

    explicit ElementListModel(ProjectStore &store, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QHash<int, QByteArray> roleNames() const override;
    int renderedCount() const;

Q_SIGNALS:
    void renderedCountChanged();

private:
    ProjectStore &m_store;
    QList<PlanElement> m_rows;
};

class ChunkListModel : public RecordModel {
    Q_OBJECT
public:
    enum Role {
        ChunkIDRole = Qt::UserRole + 1,
        ChunkNumberRole,
        StartRole,
        EndRole,
        LyricExcerptRole,
        RenderedTextRole,
        SurfaceRole,
        ImagePromptRole,
        HasFrameRole,
        FramePathRole,
        AcceptedRole,
        PassedCountRole,
        ChecksRole,
        UndoCountRole,
        RedoCountRole,
        ClipPathRole,
        EditRequestRole,
        ElementIDsRole,
        FeaturesCharacterRole,
        // Per check, whether the lettering layer answers it under the project's lyrics (then
        // "checks", "passedCount" and "accepted" count it as passed).
        SungChecksRole,
    };

    explicit ChunkListModel(ProjectStore &store, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    // "renderedText" and "imagePrompt" write straight into the chunk.
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    QHash<int, QByteArray> roleNames() const override;

private:
    // Re-reads the rows, and all of their review when the lyrics on screen changed.
    void refresh();

    ProjectStore &m_store;
    QList<StoryboardChunk> m_rows;
    LyricsOnScreen m_lyrics;
};

} // namespace quillvane::ui
