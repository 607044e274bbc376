#pragma once

#include "store/ProjectStore.h"

#include <QObject>
#include <QQmlEngine>
#include <QStringList>
#include <QUrl>

namespace quillvane::ui {

// The motion and export settings of the project and the last stages' counts, for the
// motion, preview and export screens (Store.media in QML). Edits go straight into the
// project; every value follows the store.
class MediaSettings : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(double intensity READ intensity WRITE setIntensity NOTIFY changed)
    Q_PROPERTY(double zoom READ zoom WRITE setZoom NOTIFY changed)
    Q_PROPERTY(double duration READ duration WRITE setDuration NOTIFY changed)
    Q_PROPERTY(int fps READ fps WRITE setFps NOTIFY changed)
    Q_PROPERTY(bool loop READ loop WRITE setLoop NOTIFY changed)
    Q_PROPERTY(bool followsSong READ followsSong WRITE setFollowsSong NOTIFY changed)
    Q_PROPERTY(int resolution READ resolution WRITE setResolution NOTIFY changed)
    Q_PROPERTY(int container READ container WRITE setContainer NOTIFY changed)
    Q_PROPERTY(bool includeAudio READ includeAudio WRITE setIncludeAudio NOTIFY changed)
    Q_PROPERTY(bool subtitles READ subtitles WRITE setSubtitles NOTIFY changed)
    Q_PROPERTY(QString destination READ destination WRITE setDestination NOTIFY changed)
    Q_PROPERTY(QStringList resolutionLabels READ resolutionLabels CONSTANT)
    Q_PROPERTY(QStringList containerLabels READ containerLabels CONSTANT)
    Q_PROPERTY(int renderedCount READ renderedCount NOTIFY changed)
    Q_PROPERTY(double projectDuration READ projectDuration NOTIFY changed)
    Q_PROPERTY(QString audioURL READ audioURL NOTIFY changed)

public:
    explicit MediaSettings(ProjectStore &store, QObject *parent = nullptr);

    double intensity() const { return motion().intensity; }
    void setIntensity(double value);
    double zoom() const { return motion().zoom; }
    void setZoom(double value);
    double duration() const { return motion().durationSeconds; }
    void setDuration(double value);
    int fps() const { return int(motion().fps); }
    void setFps(int value);
    bool loop() const { return motion().loop; }
    void setLoop(bool value);
    // Clip timing: each clip lasts while its words are sung, else durationSeconds.
    bool followsSong() const { return motion().clipTiming == ClipTiming::followSong; }
    void setFollowsSong(bool value);
    int resolution() const { return int(exportSettings().resolution); }
    void setResolution(int index);
    int container() const { return int(exportSettings().container); }
    void setContainer(int index);
    bool includeAudio() const { return exportSettings().includeOriginalAudio; }
    bool subtitles() const { return exportSettings().subtitles; }
    void setSubtitles(bool value);
    void setIncludeAudio(bool value);
    QString destination() const { return exportSettings().destinationFolder; }
    void setDestination(const QString &folder);
    QStringList resolutionLabels() const;
    QStringList containerLabels() const;
    // Chunks whose frame has a motion clip.
    int renderedCount() const;
    // How long the exported video runs (its clips end to end); without clips, the track's
    // length when the clips follow the song and it is known, else the transcript's end.
    double projectDuration() const;
    QString audioURL() const;

    // The chunk whose clip is on screen `seconds` into the video (the last one past its end);
    // empty without clips.
    Q_INVOKABLE QString chunkAt(double seconds) const;
    // Where the chunk's clip starts in the video, in seconds; 0 for an unknown chunk.
    Q_INVOKABLE double clipStart(const QString &chunkId) const;

    // "%d:%05.2f": minutes and seconds with two decimals (1:05.30).
    Q_INVOKABLE static QString chunkTime(double seconds);
    // "%d:%02d": minutes and whole seconds, cut (3:07).
    Q_INVOKABLE static QString durationTime(double seconds);
    Q_INVOKABLE static bool fileExists(const QString &url);

Q_SIGNALS:
    void changed();

private:
    const DepthFlowSettings &motion() const { return m_store.project().motion; }
    const ExportSettings &exportSettings() const { return m_store.project().exportSettings; }
    void editMotion(const std::function<void(DepthFlowSettings &)> &edit);
    void editExport(const std::function<void(ExportSettings &)> &edit);

    ProjectStore &m_store;
};

} // namespace quillvane::ui
