#pragma once

#include "store/ProjectStore.h"

#include <QList>
#include <QObject>
#include <QString>

namespace quillvane::ui {

// The loudness outline of the project's track for the timing screen's waveform strip, worked
// out off the UI thread whenever the track changes; empty until it is ready or without a track.
class TrackOutline : public QObject {
    Q_OBJECT
    Q_PROPERTY(QList<qreal> peaks READ peaks NOTIFY peaksChanged)

public:
    static constexpr int buckets = 400;

    explicit TrackOutline(ProjectStore &store, QObject *parent = nullptr);
    QList<qreal> peaks() const { return m_peaks; }

Q_SIGNALS:
    void peaksChanged();

private:
    void follow();

    ProjectStore &m_store;
    QString m_path;
    QList<qreal> m_peaks;
};

} // namespace quillvane::ui
