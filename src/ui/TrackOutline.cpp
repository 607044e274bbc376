#include "ui/TrackOutline.h"

#include "audio/Waveform.h"

#include <QFutureWatcher>
#include <QPointer>
#include <QtConcurrent/QtConcurrentRun>

namespace quillvane::ui {

TrackOutline::TrackOutline(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    connect(&store.document(), &ProjectDocument::projectChanged, this, &TrackOutline::follow);
    follow();
}

void TrackOutline::follow()
{
    const QString path = m_store.project().audioPath;
    if (path == m_path)
        return;
    m_path = path;
    if (!m_peaks.isEmpty()) {
        m_peaks.clear();
        Q_EMIT peaksChanged();
    }
    if (path.isEmpty())
        return;
    auto *watcher = new QFutureWatcher<QList<float>>(this);
    connect(watcher, &QFutureWatcher<QList<float>>::finished, this, [this, watcher, path] {
        watcher->deleteLater();
        // A track replaced while this one was read has its own reading under way.
        if (path != m_path)
            return;
        m_peaks.clear();
        for (const float peak : watcher->result())
            m_peaks << qreal(peak);
        Q_EMIT peaksChanged();
    });
    watcher->setFuture(QtConcurrent::run([path] { return waveformPeaks(path, buckets); }));
}

} // namespace quillvane::ui
