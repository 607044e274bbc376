#include "store/TapAlong.h"

#include "store/ProjectStore.h"

#include <algorithm>
#include <cmath>

namespace quillvane {

TapAlong::TapAlong(ProjectStore &store, double playhead)
    : m_store(store)
{
    const QList<TranscriptSegment> &lines = store.project().transcript;
    while (m_next < lines.size() && lines.at(m_next).start < playhead - 0.05)
        ++m_next;
}

Done TapAlong::tap(double seconds)
{
    const QList<TranscriptSegment> &lines = m_store.project().transcript;
    if (m_next >= lines.size())
        return Done::failed(QStringLiteral("Every line has its tap; take one back with Backspace to tap it again."));
    if (!std::isfinite(seconds) || seconds < 0 || (m_next > 0 && seconds < lines.at(m_next - 1).start))
        return Done::failed(QStringLiteral("A tap cannot come before the line before it starts."));
    const qsizetype line = m_next;
    m_before.append(lines);
    m_store.editProject([&](Project &project) {
        QList<TranscriptSegment> &segments = project.transcript;
        TranscriptSegment &tapped = segments[line];
        const double length = std::max(0.0, tapped.end - tapped.start);
        tapped.start = seconds;
        tapped.end = std::max(tapped.end, seconds + std::min(length, 1.0));
        if (line > 0)
            segments[line - 1].end = seconds;
        for (qsizetype later = line + 1; later < segments.size() && segments[later].start < seconds; ++later) {
            segments[later].start = seconds;
            segments[later].end = std::max(segments[later].end, seconds);
        }
    });
    ++m_next;
    return Done::done();
}

bool TapAlong::takeBack()
{
    if (m_before.isEmpty())
        return false;
    const QList<TranscriptSegment> before = m_before.takeLast();
    m_store.editProject([&](Project &project) { project.transcript = before; });
    --m_next;
    return true;
}

} // namespace quillvane
