#include "store/ProjectHistory.h"

namespace quillvane {

ProjectHistory::ProjectHistory(std::chrono::milliseconds mergeWindow, qsizetype limit)
    : m_mergeWindow(mergeWindow)
    , m_limit(std::max<qsizetype>(1, limit))
{
}

quint32 ProjectHistory::changedParts(const Project &before, const Project &after)
{
    quint32 parts = 0;
    int bit = 0;
    const auto part = [&](bool differs) {
        parts |= differs ? (1u << bit) : 0u;
        ++bit;
    };
    part(before.title != after.title);
    part(before.artist != after.artist);
    part(before.rawLyrics != after.rawLyrics || before.lyricsSource != after.lyricsSource);
    part(before.transcript != after.transcript);
    part(before.characters != after.characters);
    part(before.style != after.style);
    part(before.chunks != after.chunks);
    part(before.motion != after.motion);
    part(before.exportSettings != after.exportSettings);
    part(before.audioPath != after.audioPath);
    return parts;
}

void ProjectHistory::record(const Project &before, const Project &after, quint64 operation)
{
    const quint32 parts = changedParts(before, after);
    const bool sameOperation = operation != 0 && operation == m_lastOperation;
    const bool burst = operation == 0 && m_lastOperation == 0 && parts == m_lastParts && m_sinceLast.isValid()
        && m_sinceLast.elapsed() < m_mergeWindow.count();
    m_sinceLast.start();
    m_lastParts = parts;
    m_lastOperation = operation;
    m_future.clear();
    if ((sameOperation || burst) && !m_past.isEmpty())
        return;
    m_past.append(before);
    while (m_past.size() > m_limit)
        m_past.removeFirst();
}

std::optional<Project> ProjectHistory::undo(const Project &current)
{
    return step(m_past, m_future, current);
}

std::optional<Project> ProjectHistory::redo(const Project &current)
{
    return step(m_future, m_past, current);
}

std::optional<Project> ProjectHistory::step(QList<Project> &from, QList<Project> &to, const Project &current)
{
    if (from.isEmpty())
        return std::nullopt;
    to.append(current);
    // The next edit starts a step of its own, however soon it comes.
    m_lastParts = 0;
    m_lastOperation = 0;
    m_sinceLast.invalidate();
    return from.takeLast();
}

} // namespace quillvane
