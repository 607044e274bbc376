#pragma once

#include "store/TapAlong.h"
#include "ui/ProjectModels.h"
#include "ui/TrackOutline.h"

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

#include <memory>

namespace quillvane::ui {

// The intake screen's view of the project (Intake in QML): the track, its title, artist and
// lyrics with where they came from, and importing a track and timing its lyrics.
class IntakeBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(QString title READ title WRITE setTitle NOTIFY titleChanged)
    Q_PROPERTY(QString artist READ artist WRITE setArtist NOTIFY artistChanged)
    Q_PROPERTY(QString lyrics READ lyrics WRITE setLyrics NOTIFY lyricsChanged)
    Q_PROPERTY(bool hasAudio READ hasAudio NOTIFY hasAudioChanged)
    Q_PROPERTY(QString audioFileName READ audioFileName NOTIFY audioFileNameChanged)
    // The track as a URL for a media player; empty without one.
    Q_PROPERTY(QString audioURL READ audioURL NOTIFY audioURLChanged)
    Q_PROPERTY(QString lyricsSourceLabel READ lyricsSourceLabel NOTIFY lyricsSourceLabelChanged)
    // The chip intent of the lyrics' source, as the kit names it ("good", "neutral", ...).
    Q_PROPERTY(QString lyricsSourceIntent READ lyricsSourceIntent NOTIFY lyricsSourceIntentChanged)
    Q_PROPERTY(int lyricLineCount READ lyricLineCount NOTIFY lyricLineCountChanged)
    Q_PROPERTY(bool hasTranscript READ hasTranscript NOTIFY hasTranscriptChanged)

public:
    explicit IntakeBridge(ProjectStore &store, QObject *parent = nullptr);

    QString title() const { return m_title; }
    void setTitle(const QString &title);
    QString artist() const { return m_artist; }
    void setArtist(const QString &artist);
    QString lyrics() const { return m_lyrics; }
    void setLyrics(const QString &text) { quillvane::setLyrics(m_store.document(), text); }
    bool hasAudio() const { return m_hasAudio; }
    QString audioFileName() const { return m_audioFileName; }
    QString audioURL() const { return m_audioURL; }
    QString lyricsSourceLabel() const { return m_lyricsSourceLabel; }
    QString lyricsSourceIntent() const { return m_lyricsSourceIntent; }
    int lyricLineCount() const { return m_lyricLineCount; }
    bool hasTranscript() const { return m_hasTranscript; }

    Q_INVOKABLE void importAudio(const QUrl &file);
    // Aligns the timing, then moves to the timing stage when the run left no error.
    Q_INVOKABLE void alignTimingAndContinue();

Q_SIGNALS:
    void titleChanged();
    void artistChanged();
    void lyricsChanged();
    void hasAudioChanged();
    void audioFileNameChanged();
    void audioURLChanged();
    void lyricsSourceLabelChanged();
    void lyricsSourceIntentChanged();
    void lyricLineCountChanged();
    void hasTranscriptChanged();

private:
    void refresh();

    ProjectStore &m_store;
    QString m_title;
    QString m_artist;
    QString m_lyrics;
    bool m_hasAudio = false;
    QString m_audioFileName;
    QString m_audioURL;
    QString m_lyricsSourceLabel;
    QString m_lyricsSourceIntent;
    int m_lyricLineCount = 0;
    bool m_hasTranscript = false;
};

// The timing screen's view (Timing in QML): the timed lines, the track's outline, the line
// being sung at the playhead, tapping along and shifting every line at once. A refusal goes
// to the banner.
class TimingBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(QAbstractListModel *transcript READ transcript CONSTANT)
    Q_PROPERTY(QObject *outline READ outline CONSTANT)
    // The latest end among the lines, 0 without any.
    Q_PROPERTY(double length READ length NOTIFY lengthChanged)
    // Where the song is playing, in seconds; the screen's player sets it.
    Q_PROPERTY(double playhead READ playhead WRITE setPlayhead NOTIFY playheadChanged)
    // The line being sung at the playhead: the last one started by then, -1 before the first.
    Q_PROPERTY(int currentLine READ currentLine NOTIFY currentLineChanged)
    Q_PROPERTY(bool tapping READ tapping NOTIFY tappingChanged)
    // The line the next tap starts; the number of lines once every line is tapped, -1 when
    // not tapping.
    Q_PROPERTY(int nextTapLine READ nextTapLine NOTIFY nextTapLineChanged)

public:
    explicit TimingBridge(ProjectStore &store, QObject *parent = nullptr);
    ~TimingBridge() override;

    QAbstractListModel *transcript() const { return m_transcript; }
    QObject *outline() const { return m_outline; }
    double length() const { return m_length; }
    double playhead() const { return m_playhead; }
    void setPlayhead(double seconds);
    int currentLine() const { return m_currentLine; }
    bool tapping() const { return m_tapping; }
    int nextTapLine() const { return m_nextTapLine; }

    // Starts tapping at the first line at or after the playhead (seconds); stops it.
    Q_INVOKABLE void startTapping(double playhead);
    Q_INVOKABLE void stopTapping();
    // A tap at `seconds` of the song.
    Q_INVOKABLE bool tap(double seconds);
    Q_INVOKABLE bool untap();
    // Every line moved by `seconds`.
    Q_INVOKABLE bool shiftTimes(double seconds);

Q_SIGNALS:
    void lengthChanged();
    void playheadChanged();
    void currentLineChanged();
    void tappingChanged();
    void nextTapLineChanged();

private:
    void refresh();

    ProjectStore &m_store;
    TranscriptModel *m_transcript;
    TrackOutline *m_outline;
    std::unique_ptr<TapAlong> m_tapAlong;
    double m_length = 0;
    double m_playhead = 0;
    int m_currentLine = -1;
    bool m_tapping = false;
    int m_nextTapLine = -1;
};

} // namespace quillvane::ui
