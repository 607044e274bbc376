#pragma once

#include "store/ProjectStore.h"

#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QUrl>

namespace quillvane::ui {

// The motion screen's view of the project (Motion in QML): the motion settings, edited
// straight into the project, how many clips are rendered, and rendering them.
class MotionBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(double intensity READ intensity WRITE setIntensity NOTIFY intensityChanged)
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY zoomChanged)
    Q_PROPERTY(double duration READ duration WRITE setDuration NOTIFY durationChanged)
    Q_PROPERTY(int fps READ fps WRITE setFps NOTIFY fpsChanged)
    Q_PROPERTY(bool loop READ loop WRITE setLoop NOTIFY loopChanged)
    // Clip timing: each clip lasts while its words are sung, else `duration`.
    Q_PROPERTY(bool followsSong READ followsSong WRITE setFollowsSong NOTIFY followsSongChanged)
    // Chunks whose frame has a motion clip.
    Q_PROPERTY(int renderedCount READ renderedCount NOTIFY renderedCountChanged)
    // How one clip gives way to the next: a short cross-fade, else a hard cut.
    Q_PROPERTY(bool crossfade READ crossfade WRITE setCrossfade NOTIFY crossfadeChanged)

public:
    explicit MotionBridge(ProjectStore &store, QObject *parent = nullptr);

    double intensity() const { return m_motion.intensity; }
    void setIntensity(double value);
    double zoom() const { return m_motion.zoom; }
    void setZoom(double value);
    double duration() const { return m_motion.durationSeconds; }
    void setDuration(double value);
    int fps() const { return int(m_motion.fps); }
    void setFps(int value);
    bool loop() const { return m_motion.loop; }
    void setLoop(bool value);
    bool followsSong() const { return m_motion.clipTiming == ClipTiming::followSong; }
    void setFollowsSong(bool value);
    int renderedCount() const { return m_renderedCount; }
    // Clip transitions.
    bool crossfade() const { return m_motion.transition == ClipTransition::crossfade; }
    void setCrossfade(bool value);

    Q_INVOKABLE void renderMotion();

Q_SIGNALS:
    void intensityChanged();
    void zoomChanged();
    void durationChanged();
    void fpsChanged();
    void loopChanged();
    void followsSongChanged();
    void renderedCountChanged();
    void crossfadeChanged();

private:
    void refresh();
    void editMotion(const std::function<void(DepthFlowSettings &)> &edit);

    ProjectStore &m_store;
    DepthFlowSettings m_motion;
    int m_renderedCount = 0;
};

// The preview and export screens' view (Export in QML): the export settings, edited straight
// into the project, the video's length, where each clip sits in it, and exporting.
class ExportBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(int resolution READ resolution WRITE setResolution NOTIFY resolutionChanged)
    Q_PROPERTY(int container READ container WRITE setContainer NOTIFY containerChanged)
    Q_PROPERTY(bool includeAudio READ includeAudio WRITE setIncludeAudio NOTIFY includeAudioChanged)
    Q_PROPERTY(bool subtitles READ subtitles WRITE setSubtitles NOTIFY subtitlesChanged)
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY destinationChanged)
    Q_PROPERTY(QStringList resolutionLabels READ resolutionLabels CONSTANT)
    Q_PROPERTY(QStringList containerLabels READ containerLabels CONSTANT)
    // The track's length when the clips follow the song and it is known; else the latest end
    // among the chunks, else of the transcript; 0 without any.
    Q_PROPERTY(double projectDuration READ projectDuration NOTIFY projectDurationChanged)
    // The video's shape, an index into shapeLabels; changed through changeShape, since a
    // change repaints the frames.
    Q_PROPERTY(int shape READ shape NOTIFY shapeChanged)
    Q_PROPERTY(QStringList shapeLabels READ shapeLabels CONSTANT)

public:
    explicit ExportBridge(ProjectStore &store, QObject *parent = nullptr);

    int resolution() const { return int(m_settings.resolution); }
    void setResolution(int index);
    int container() const { return int(m_settings.container); }
    void setContainer(int index);
    bool includeAudio() const { return m_settings.includeOriginalAudio; }
    void setIncludeAudio(bool value);
    bool subtitles() const { return m_settings.subtitles; }
    void setSubtitles(bool value);
    QString destination() const { return m_settings.destinationFolder; }
    // A folder URL from the chooser or a path.
    void setDestination(const QString &folder);
    QStringList resolutionLabels() const;
    QStringList containerLabels() const;
    double projectDuration() const { return m_projectDuration; }
    int shape() const { return int(m_settings.shape); }
    QStringList shapeLabels() const;
    // Gives the video the shape at that index; the frames painted for the old one go into
    // their chunks' histories to be painted again (one undo step).
    Q_INVOKABLE void changeShape(int index);

    // The chunk whose clip is on screen `seconds` into the video (the last one past its end);
    // empty without clips.
    Q_INVOKABLE QString chunkAt(double seconds) const;
    // Where the chunk's clip starts in the video, in seconds; 0 for an unknown chunk.
    Q_INVOKABLE double clipStart(const QString &chunkId) const;
    Q_INVOKABLE static bool fileExists(const QString &url);
    Q_INVOKABLE void exportVideo();

Q_SIGNALS:
    void resolutionChanged();
    void containerChanged();
    void includeAudioChanged();
    void subtitlesChanged();
    void destinationChanged();
    void projectDurationChanged();
    void shapeChanged();
    // A finished export's file, for the export screen to show and reveal.
    void exported(const QUrl &file);

private:
    void refresh();
    void editExport(const std::function<void(ExportSettings &)> &edit);

    ProjectStore &m_store;
    ExportSettings m_settings;
    double m_projectDuration = 0;
};

} // namespace quillvane::ui
