#include "store/ProjectEdits.h"

#include <algorithm>
#include <cmath>

namespace quillvane {

std::optional<QUuid> addCharacter(ProjectDocument &document, const QString &name)
{
    const QString trimmed = name.trimmed();
    if (trimmed.isEmpty())
        return std::nullopt;
    Project changed = document.project();
    CharacterReference character;
    character.name = trimmed;
    changed.characters.append(character);
    changed.updatedAt = now();
    document.setProject(changed);
    return character.id;
}

void appendReferenceImages(ProjectDocument &document, const QUuid &characterID, const QStringList &paths)
{
    Project changed = document.project();
    CharacterReference *character = changed.characterWithID(characterID);
    if (!character)
        return;
    character->referenceImagePaths.append(paths);
    document.setProject(changed);
}

bool removeCharacter(ProjectDocument &document, const QUuid &characterID)
{
    Project changed = document.project();
    const auto removed = std::remove_if(changed.characters.begin(), changed.characters.end(),
                                        [&characterID](const auto &c) { return c.id == characterID; });
    if (removed == changed.characters.end())
        return false;
    changed.characters.erase(removed, changed.characters.end());
    for (StoryboardChunk &chunk : changed.chunks) {
        if (chunk.characterID == characterID)
            chunk.characterID.reset();
    }
    changed.updatedAt = now();
    document.setProject(changed);
    return true;
}

bool removeReferenceImage(ProjectDocument &document, const QUuid &characterID, const QString &path)
{
    Project changed = document.project();
    CharacterReference *character = changed.characterWithID(characterID);
    if (!character || !character->referenceImagePaths.removeOne(path))
        return false;
    changed.updatedAt = now();
    document.setProject(changed);
    return true;
}

void setLyrics(ProjectDocument &document, const QString &text)
{
    if (text == document.project().rawLyrics)
        return;
    document.editProject([&text](Project &project) {
        project.rawLyrics = text;
        project.lyricsSource = LyricsSource::manual;
        project.transcript.clear();
    });
}

Done editSegment(ProjectDocument &document, qsizetype index, const std::optional<QString> &text,
                               const std::optional<double> &start, const std::optional<double> &end)
{
    const QList<TranscriptSegment> &lines = document.project().transcript;
    if (index < 0 || index >= lines.size())
        return Done::failed(QStringLiteral("There is no line %1; the transcript has %2.").arg(index + 1).arg(lines.size()));
    const TranscriptSegment &line = lines.at(index);
    const double newStart = start.value_or(line.start);
    const double newEnd = end.value_or(line.end);
    const auto seconds = [](double value) { return QString::number(value, 'f', 2); };
    if (!std::isfinite(newStart) || !std::isfinite(newEnd) || newStart < 0)
        return Done::failed(QStringLiteral("Line %1 cannot start before the song.").arg(index + 1));
    if (start && index > 0 && newStart < lines.at(index - 1).start)
        return Done::failed(QStringLiteral("Line %1 cannot start before line %2 (at %3 s).")
                                .arg(index + 1)
                                .arg(index)
                                .arg(seconds(lines.at(index - 1).start)));
    if (start && index + 1 < lines.size() && newStart > lines.at(index + 1).start)
        return Done::failed(QStringLiteral("Line %1 cannot start after line %2 (at %3 s).")
                                .arg(index + 1)
                                .arg(index + 2)
                                .arg(seconds(lines.at(index + 1).start)));
    if (newEnd < newStart)
        return Done::failed(QStringLiteral("Line %1 cannot end (%2 s) before it starts (%3 s).")
                                .arg(index + 1)
                                .arg(seconds(newEnd), seconds(newStart)));
    document.editProject([&](Project &project) {
        TranscriptSegment &segment = project.transcript[index];
        if (text)
            segment.text = *text;
        segment.start = newStart;
        segment.end = newEnd;
    });
    return Done::done();
}

Done shiftTranscript(ProjectDocument &document, double seconds)
{
    if (document.project().transcript.isEmpty())
        return Done::failed(QStringLiteral("There are no timed lines to shift; align the timing first."));
    if (!std::isfinite(seconds) || document.project().transcript.first().start + seconds < 0)
        return Done::failed(QStringLiteral("Shifting by %1 s would move the first line before the start of the song.")
                                .arg(QString::number(seconds, 'f', 2)));
    document.editProject([seconds](Project &project) {
        for (TranscriptSegment &segment : project.transcript) {
            segment.start += seconds;
            segment.end += seconds;
            for (TimedWord &word : segment.words) {
                word.start = std::max(0.0, word.start + seconds);
                word.end = std::max(0.0, word.end + seconds);
            }
        }
    });
    return Done::done();
}

qsizetype setVideoShape(ProjectDocument &document, VideoShape shape)
{
    if (document.project().exportSettings.shape == shape)
        return 0;
    const qsizetype moved = document.project().framedCount();
    document.editProject([shape](Project &project) {
        project.exportSettings.shape = shape;
        for (StoryboardChunk &chunk : project.chunks) {
            if (!chunk.frame)
                continue;
            chunk.undoStack.append(*chunk.frame);
            chunk.redoStack.clear();
            chunk.frame.reset();
        }
    });
    return moved;
}

} // namespace quillvane
