#pragma once

// The person's direct edits of the project that have rules of their own. Each is one change of
// the document, all or nothing: a refused edit changes nothing.

#include "store/Outcome.h"
#include "store/ProjectDocument.h"

#include <QStringList>
#include <QUuid>

#include <optional>

namespace quillvane {

// Appends a character with a fresh id and the trimmed name and touches updatedAt; a blank
// name adds nothing. Returns the new character's id.
std::optional<QUuid> addCharacter(ProjectDocument &document, const QString &name);
// Appends the paths to the character with that id; no character, no change.
void appendReferenceImages(ProjectDocument &document, const QUuid &characterID, const QStringList &paths);
// Removes the character and unlinks the chunks that named it, touching updatedAt. False, and
// no change, when there is no such character.
bool removeCharacter(ProjectDocument &document, const QUuid &characterID);
// Removes one reference image path from the character (the file stays on disk). False, and no
// change, when the character or the path is not there.
bool removeReferenceImage(ProjectDocument &document, const QUuid &characterID, const QString &path);

// The lyrics editor's write rule: changed text replaces the lyrics, marks them as edited by
// hand and throws the transcript away (it no longer matches); the same text changes nothing.
void setLyrics(ProjectDocument &document, const QString &text);
// Corrects one transcript segment in place (index from 0): its text, start or end. Lines stay
// in time order, so a start before the line before's start or after the next one's, an end
// before the start, or a time before the song are refused with a sentence; otherwise nothing
// else changes and updatedAt stays.
Done editSegment(ProjectDocument &document, qsizetype index, const std::optional<QString> &text,
                 const std::optional<double> &start, const std::optional<double> &end);
// Moves every line (and its words) by `seconds`; refused with a sentence when there is no
// transcript or the first line would start before the song.
Done shiftTranscript(ProjectDocument &document, double seconds);

// Gives the video another shape. A frame painted for the old shape would lose its sides or its
// top to the new one, so each chunk's frame goes onto its undo stack, as a regenerate's
// predecessor does, and the next frames run paints it again. One change (one undo step);
// the same shape changes nothing. Returns how many frames were moved (the project's
// framedCount before).
qsizetype setVideoShape(ProjectDocument &document, VideoShape shape);

} // namespace quillvane
