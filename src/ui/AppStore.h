#pragma once

#include "store/ProjectStore.h"
#include "store/TapAlong.h"
#include "ui/Choosers.h"
#include "ui/MediaSettings.h"
#include "ui/ProjectModels.h"
#include "ui/TrackOutline.h"

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

#include <memory>

namespace quillvane::ui {

// The store as QML sees it (the singleton "Store"): the published fields as properties with
// change signals, the list models for the records shown in lists and grids, and one
// invokable per store action. Actions start their operation and return at once; a failure
// reaches QML only as lastError, never as an exception.
class AppStore : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(Store)
    QML_SINGLETON

    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY projectChanged)
    Q_PROPERTY(QString artist READ artist WRITE setArtist NOTIFY projectChanged)
    Q_PROPERTY(QString audioPath READ audioPath NOTIFY projectChanged)
    Q_PROPERTY(QString rawLyrics READ rawLyrics WRITE setLyrics NOTIFY projectChanged)
    Q_PROPERTY(QString lyricsSourceLabel READ lyricsSourceLabel NOTIFY projectChanged)
    Q_PROPERTY(QString conceptPrompt READ conceptPrompt WRITE setConceptPrompt NOTIFY projectChanged)
    Q_PROPERTY(QString audioFileName READ audioFileName NOTIFY projectChanged)
    Q_PROPERTY(QString lyricsSourceIntent READ lyricsSourceIntent NOTIFY projectChanged)
    Q_PROPERTY(int lyricLineCount READ lyricLineCount NOTIFY projectChanged)
    Q_PROPERTY(bool hasTranscript READ hasTranscript NOTIFY projectChanged)
    Q_PROPERTY(bool hasAudio READ hasAudio NOTIFY projectChanged)
    // Tap-along timing on the timing screen: whether it is on, and the line the next tap starts.
    Q_PROPERTY(bool tapping READ tapping NOTIFY tappingChanged)
    Q_PROPERTY(int nextTapLine READ nextTapLine NOTIFY tappingChanged)
    Q_PROPERTY(double transcriptLength READ transcriptLength NOTIFY projectChanged)
    Q_PROPERTY(QString paletteName READ paletteName WRITE setPaletteName NOTIFY projectChanged)
    Q_PROPERTY(QString mood READ mood WRITE setMood NOTIFY projectChanged)
    Q_PROPERTY(QString medium READ medium WRITE setMedium NOTIFY projectChanged)
    Q_PROPERTY(QString continuityNotes READ continuityNotes WRITE setContinuityNotes NOTIFY projectChanged)
    Q_PROPERTY(QString negativePrompts READ negativePrompts WRITE setNegativePrompts NOTIFY projectChanged)
    Q_PROPERTY(QString promptPreview READ promptPreview NOTIFY projectChanged)
    Q_PROPERTY(int featuredFrameCount READ featuredFrameCount NOTIFY projectChanged)
    Q_PROPERTY(int revision READ revision NOTIFY projectChanged)
    Q_PROPERTY(bool hasPlan READ hasPlan NOTIFY projectChanged)
    Q_PROPERTY(QString artDirection READ artDirection NOTIFY projectChanged)
    Q_PROPERTY(QStringList palette READ palette NOTIFY projectChanged)
    Q_PROPERTY(QString motif READ motif NOTIFY projectChanged)
    Q_PROPERTY(QString storyline READ storyline NOTIFY projectChanged)
    Q_PROPERTY(bool hasReferencedCharacter READ hasReferencedCharacter NOTIFY projectChanged)
    Q_PROPERTY(int chunkCount READ chunkCount NOTIFY projectChanged)
    Q_PROPERTY(int framedCount READ framedCount NOTIFY projectChanged)
    Q_PROPERTY(int acceptedCount READ acceptedCount NOTIFY projectChanged)
    Q_PROPERTY(bool allAccepted READ allAccepted NOTIFY projectChanged)
    Q_PROPERTY(int selectedStage READ selectedStage WRITE setSelectedStage NOTIFY selectedStageChanged)
    Q_PROPERTY(QString runningTask READ runningTask NOTIFY runningTaskChanged)
    Q_PROPERTY(bool busy READ busy NOTIFY runningTaskChanged)
    // Undo and redo are there when the history has a step and no task runs.
    Q_PROPERTY(bool canUndo READ canUndo NOTIFY historyChanged)
    Q_PROPERTY(bool canRedo READ canRedo NOTIFY historyChanged)
    Q_PROPERTY(double taskProgress READ taskProgress NOTIFY taskProgressChanged)
    Q_PROPERTY(QString lastError READ lastError NOTIFY lastErrorChanged)
    Q_PROPERTY(QString generationModel READ generationModel WRITE setGenerationModel NOTIFY generationModelChanged)
    Q_PROPERTY(QString editWorkflow READ editWorkflow WRITE setEditWorkflow NOTIFY editWorkflowChanged)
    Q_PROPERTY(QString proxyBaseURL READ proxyBaseURL WRITE setProxyBaseURL NOTIFY proxyBaseURLChanged)
    Q_PROPERTY(bool offlineStudio READ offlineStudio WRITE setOfflineStudio NOTIFY generationBackendChanged)
    // True when lyric words are aligned to the audio, false when lines go by proportion.
    Q_PROPERTY(bool alignsWords READ alignsWords WRITE setAlignsWords NOTIFY timingMethodChanged)
    Q_PROPERTY(QObject *outline READ outline CONSTANT)
    Q_PROPERTY(QAbstractListModel *stages READ stages CONSTANT)
    Q_PROPERTY(QAbstractListModel *transcript READ transcript CONSTANT)
    Q_PROPERTY(QAbstractListModel *characters READ characters CONSTANT)
    Q_PROPERTY(QAbstractListModel *elements READ elements CONSTANT)
    Q_PROPERTY(QAbstractListModel *chunks READ chunks CONSTANT)
    Q_PROPERTY(quillvane::ui::MediaSettings *media READ media CONSTANT)
    Q_PROPERTY(quillvane::ui::Choosers *choosers READ choosers CONSTANT)
    Q_PROPERTY(QString selectedChunkId READ selectedChunkId WRITE setSelectedChunkId NOTIFY selectedChunkChanged)

public:
    explicit AppStore(ProjectStore &store, QObject *parent = nullptr);
    ~AppStore() override;

    // The instance QML gets; the application makes it before loading any QML.
    static AppStore *create(QQmlEngine *, QJSEngine *);

    ProjectStore &store() const { return m_store; }

    QString title() const { return m_store.project().title; }
    void setTitle(const QString &title);
    QString artist() const { return m_store.project().artist; }
    void setArtist(const QString &artist);
    QString audioPath() const { return m_store.project().audioPath; }
    QString rawLyrics() const { return m_store.project().rawLyrics; }
    void setLyrics(const QString &text) { quillvane::setLyrics(m_store.document(), text); }
    QString lyricsSourceLabel() const;
    QString conceptPrompt() const { return m_store.project().conceptPrompt; }
    void setConceptPrompt(const QString &text);
    QString audioFileName() const;
    // The chip intent of the lyrics' source, as the kit names it ("good", "neutral", ...).
    QString lyricsSourceIntent() const;
    int lyricLineCount() const;
    bool hasTranscript() const { return !m_store.project().transcript.isEmpty(); }
    // The latest end among the transcript's segments, 0 without any.
    double transcriptLength() const;
    QString paletteName() const { return m_store.project().style.paletteName; }
    void setPaletteName(const QString &text);
    QString mood() const { return m_store.project().style.mood; }
    void setMood(const QString &text);
    QString medium() const { return m_store.project().style.medium; }
    void setMedium(const QString &text);
    QString continuityNotes() const { return m_store.project().style.continuityNotes; }
    void setContinuityNotes(const QString &text);
    QString negativePrompts() const { return m_store.project().style.negativePrompts; }
    void setNegativePrompts(const QString &text);
    // The image prompt of the first chunk (or of a sample chunk) under the current style.
    QString promptPreview() const;
    // Chunks the planner put the main character in.
    int featuredFrameCount() const;
    // Counts every change of the project, for bindings that look a record up by id.
    int revision() const { return m_revision; }
    bool hasPlan() const { return m_store.project().plan.has_value(); }
    QString artDirection() const;
    QStringList palette() const;
    QString motif() const;
    QString storyline() const;
    // Whether some character has a reference image (planning needs one).
    bool hasReferencedCharacter() const;
    int chunkCount() const { return int(m_store.project().chunks.size()); }
    int framedCount() const { return m_store.project().framedCount(); }
    int acceptedCount() const { return m_store.project().acceptedCount(); }
    bool allAccepted() const { return m_store.project().allChunksAccepted(); }
    int selectedStage() const { return int(m_store.session().selectedStage()); }
    void setSelectedStage(int stage);
    QString runningTask() const { return m_store.session().runningTask().value_or(QString()); }
    bool busy() const { return m_store.session().runningTask().has_value(); }
    // -1 when the running task's progress is unknown.
    double taskProgress() const { return m_store.session().taskProgress().value_or(-1); }
    QString lastError() const { return m_store.session().lastError().value_or(QString()); }
    QString generationModel() const { return m_store.settings().generationModel(); }
    void setGenerationModel(const QString &value) { m_store.settings().setGenerationModel(value); }
    QString editWorkflow() const { return m_store.settings().editWorkflow(); }
    void setEditWorkflow(const QString &value) { m_store.settings().setEditWorkflow(value); }
    QString proxyBaseURL() const { return m_store.settings().proxyBaseURL(); }
    void setProxyBaseURL(const QString &value) { m_store.settings().setProxyBaseURL(value); }
    // Whether generation runs in the built-in offline studio (kept as a preference).
    bool offlineStudio() const { return m_store.settings().generationBackend() == Backend::offline; }
    void setOfflineStudio(bool offline);
    bool alignsWords() const { return m_store.settings().timingMethod() == TimingMethod::words; }
    void setAlignsWords(bool words)
    {
        m_store.settings().setTimingMethod(words ? TimingMethod::words : TimingMethod::proportional);
    }

    QAbstractListModel *stages() const { return m_stages; }
    QAbstractListModel *transcript() const { return m_transcript; }
    QAbstractListModel *characters() const { return m_characters; }
    QAbstractListModel *elements() const { return m_elements; }
    QAbstractListModel *chunks() const { return m_chunks; }
    MediaSettings *media() const { return m_media; }
    Choosers *choosers() const { return m_choosers; }
    QString selectedChunkId() const;
    void setSelectedChunkId(const QString &id);

    Q_INVOKABLE void dismissError() { m_store.session().dismissError(); }
    // A refusal a screen makes itself (a chooser that cannot open), shown as the banner.
    Q_INVOKABLE void showError(const QString &sentence) { m_store.session().setLastError(sentence); }
    Q_INVOKABLE void cancelTasks() { m_store.cancelRunningTasks(); }
    bool canUndo() const { return m_store.document().canUndo() && !busy(); }
    bool canRedo() const { return m_store.document().canRedo() && !busy(); }
    // A step through the history ends a tap session: its next line and its taps to take back
    // belong to the lines as they were tapped.
    Q_INVOKABLE bool undo()
    {
        stopTapping();
        return m_store.undo();
    }
    Q_INVOKABLE bool redo()
    {
        stopTapping();
        return m_store.redo();
    }
    bool hasAudio() const { return !m_store.project().audioPath.isEmpty(); }
    QObject *outline() const { return m_outline; }
    bool tapping() const { return bool(m_tapAlong); }
    int nextTapLine() const { return m_tapAlong ? int(m_tapAlong->nextLine()) : -1; }
    // Starts tapping at the first line at or after the playhead (seconds); stops it.
    Q_INVOKABLE void startTapping(double playhead);
    Q_INVOKABLE void stopTapping();
    // A tap at `seconds` of the song; a refusal goes to the banner.
    Q_INVOKABLE bool tap(double seconds);
    Q_INVOKABLE bool untap();
    // Every line moved by `seconds`; a refusal goes to the banner.
    Q_INVOKABLE bool shiftTimes(double seconds);
    // The line being sung at `seconds`: the last one started by then, -1 before the first.
    Q_INVOKABLE int lineAt(double seconds) const;
    Q_INVOKABLE void importAudio(const QUrl &file);
    Q_INVOKABLE void alignTiming();
    // Aligns the timing, then moves to the timing stage when the run left no error.
    Q_INVOKABLE void alignTimingAndContinue();
    // With no chunks: plans, renders the pending elements, then moves to the storyboard,
    // stopping at the first error. With chunks: only moves to the storyboard.
    Q_INVOKABLE void startStoryboard();
    // "m:ss", the seconds rounded to the nearest whole (halves away from zero).
    Q_INVOKABLE static QString formatTime(double seconds);
    // A time typed as "m:ss.cc", "ss.cc" or "h:mm:ss.cc"; NaN when it is none.
    Q_INVOKABLE static double parseTime(const QString &text);
    Q_INVOKABLE bool addCharacter(const QString &name);
    // Refuses the whole choice, with a sentence naming the file, when one is not an image.
    Q_INVOKABLE void addReferenceImages(const QString &characterID, const QList<QUrl> &files);
    Q_INVOKABLE void removeCharacter(const QString &characterID);
    Q_INVOKABLE void removeReferenceImage(const QString &characterID, const QString &path);
    Q_INVOKABLE void planStoryboard();
    Q_INVOKABLE void renderElements();
    Q_INVOKABLE void generateFrame(const QString &chunkID);
    Q_INVOKABLE void generateMissingFrames();
    Q_INVOKABLE void editFrame(const QString &chunkID, const QString &request);
    Q_INVOKABLE void undoFrame(const QString &chunkID);
    Q_INVOKABLE void redoFrame(const QString &chunkID);
    // check: one of the five review field names.
    Q_INVOKABLE void setReviewCheck(const QString &chunkID, const QString &check, bool value);
    // Ticks the five review checks of the chunk at once.
    Q_INVOKABLE void passAllChecks(const QString &chunkID);
    Q_INVOKABLE void renderMotion();
    Q_INVOKABLE void exportVideo();
    Q_INVOKABLE QString engineName() const;
    // Moves to the frames stage and generates every missing frame.
    Q_INVOKABLE void generateAllFrames();
    // What the screens show of one chunk, looked up by id: the chunk list's roles by name
    // (chunkNumber, hasFrame, framePath, accepted, checks, undoCount, clipPath, start, ...).
    // Empty when there is no such chunk.
    Q_INVOKABLE QVariantMap chunkView(const QString &chunkID) const;
    // The id of the chunk at that place in stored order; empty past the end.
    Q_INVOKABLE QString chunkIdAt(int index) const;

Q_SIGNALS:
    void projectChanged();
    void historyChanged();
    void tappingChanged();
    void selectedStageChanged();
    void runningTaskChanged();
    void taskProgressChanged();
    void lastErrorChanged();
    void generationModelChanged();
    void editWorkflowChanged();
    void proxyBaseURLChanged();
    void selectedChunkChanged();
    void generationBackendChanged();
    void timingMethodChanged();
    // A finished export's file, for the export screen to show and reveal.
    void exported(const QUrl &file);

private:
    // Keeps the operation alive until it ends: it reports through the store (task strip,
    // banner), and nothing here waits for its outcome.
    template <typename T>
    void launch(QCoro::Task<T> operation)
    {
        QCoro::connect(std::move(operation), this, [](const auto &...) {});
    }
    void editStyle(QString StyleGuidance::*field, const QString &text);
    // Starts or stops the studio to match the setting and points the client at it.

    ProjectStore &m_store;
    int m_revision = 0;
    StageListModel *m_stages;
    TranscriptModel *m_transcript;
    CharacterListModel *m_characters;
    ElementListModel *m_elements;
    ChunkListModel *m_chunks;
    MediaSettings *m_media;
    Choosers *m_choosers;
    std::unique_ptr<TapAlong> m_tapAlong;
    TrackOutline *m_outline;
    static inline AppStore *s_current = nullptr;
};

} // namespace quillvane::ui
