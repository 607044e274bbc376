#pragma once

#include "ui/ProjectModels.h"

#include <QObject>
#include <QQmlEngine>
#include <QVariantMap>

namespace quillvane::ui {

// The storyboard and frame screens' view of the project (Storyboard in QML): the plan, its
// elements and chunks, the counts of generated and accepted frames, the chunk being looked
// at, and planning, generating, editing and reviewing frames.
class StoryboardBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(bool hasPlan READ hasPlan NOTIFY hasPlanChanged)
    Q_PROPERTY(QString artDirection READ artDirection NOTIFY artDirectionChanged)
    Q_PROPERTY(QStringList palette READ palette NOTIFY paletteChanged)
    Q_PROPERTY(QString motif READ motif NOTIFY motifChanged)
    Q_PROPERTY(QString storyline READ storyline NOTIFY storylineChanged)
    Q_PROPERTY(QAbstractListModel *elements READ elements CONSTANT)
    Q_PROPERTY(QAbstractListModel *chunks READ chunks CONSTANT)
    Q_PROPERTY(int chunkCount READ chunkCount NOTIFY chunkCountChanged)
    Q_PROPERTY(int framedCount READ framedCount NOTIFY framedCountChanged)
    Q_PROPERTY(int acceptedCount READ acceptedCount NOTIFY acceptedCountChanged)
    Q_PROPERTY(bool allAccepted READ allAccepted NOTIFY allAcceptedChanged)
    // Empty when no chunk is chosen.
    Q_PROPERTY(QString selectedChunkId READ selectedChunkId WRITE setSelectedChunkId NOTIFY selectedChunkIdChanged)
    // The chosen chunk (else the first in stored order) as the chunk list shows it, role by
    // role (chunkId, chunkNumber, hasFrame, framePath, checks, undoCount, clipPath, start,
    // ...); empty without chunks.
    Q_PROPERTY(QVariantMap selectedChunk READ selectedChunk NOTIFY selectedChunkChanged)

public:
    explicit StoryboardBridge(ProjectStore &store, QObject *parent = nullptr);

    bool hasPlan() const { return m_hasPlan; }
    QString artDirection() const { return m_plan.artDirectionStatement; }
    QStringList palette() const { return m_plan.palette; }
    QString motif() const { return m_plan.motif; }
    QString storyline() const { return m_plan.storyline; }
    QAbstractListModel *elements() const { return m_elements; }
    QAbstractListModel *chunks() const { return m_chunks; }
    int chunkCount() const { return m_chunkCount; }
    int framedCount() const { return m_framedCount; }
    int acceptedCount() const { return m_acceptedCount; }
    bool allAccepted() const { return m_allAccepted; }
    QString selectedChunkId() const { return m_selectedChunkId; }
    void setSelectedChunkId(const QString &id);
    QVariantMap selectedChunk() const { return m_selectedChunk; }

    Q_INVOKABLE void planStoryboard();
    Q_INVOKABLE void renderElements();
    Q_INVOKABLE void generateFrame(const QString &chunkID);
    Q_INVOKABLE void generateMissingFrames();
    // Moves to the frames stage and generates every missing frame.
    Q_INVOKABLE void generateAllFrames();
    Q_INVOKABLE void editFrame(const QString &chunkID, const QString &request);
    Q_INVOKABLE void undoFrame(const QString &chunkID);
    Q_INVOKABLE void redoFrame(const QString &chunkID);
    // check: one of the five review field names.
    Q_INVOKABLE void setReviewCheck(const QString &chunkID, const QString &check, bool value);
    // Ticks the five review checks of the chunk at once.
    Q_INVOKABLE void passAllChecks(const QString &chunkID);

Q_SIGNALS:
    void hasPlanChanged();
    void artDirectionChanged();
    void paletteChanged();
    void motifChanged();
    void storylineChanged();
    void chunkCountChanged();
    void framedCountChanged();
    void acceptedCountChanged();
    void allAcceptedChanged();
    void selectedChunkIdChanged();
    void selectedChunkChanged();

private:
    void refresh();
    QVariantMap chunkView(const QString &chunkID) const;

    ProjectStore &m_store;
    ElementListModel *m_elements;
    ChunkListModel *m_chunks;
    bool m_hasPlan = false;
    StoryboardPlan m_plan;
    int m_chunkCount = 0;
    int m_framedCount = 0;
    int m_acceptedCount = 0;
    bool m_allAccepted = false;
    QString m_selectedChunkId;
    QVariantMap m_selectedChunk;
};

} // namespace quillvane::ui
