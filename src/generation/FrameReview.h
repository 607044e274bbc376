#pragma once

// The person's review of a frame version: five yes-or-no checks that travel with the version
// (undo brings back the checks a version had; a new version starts unchecked). A chunk is
// accepted when its current frame passes all five; see ReviewChecklist and StoryboardChunk.

#include "model/Records.h"

#include <array>
#include <optional>

namespace quillvane {

enum class ReviewCheck { spellingCorrect, readable, placementOK, characterConsistent, styleContinuous };

inline constexpr std::array<ReviewCheck, 5> allReviewChecks{ReviewCheck::spellingCorrect, ReviewCheck::readable,
                                                            ReviewCheck::placementOK, ReviewCheck::characterConsistent,
                                                            ReviewCheck::styleContinuous};

// The checklist field's name, e.g. "placementOK", as the project document and the CLI spell it.
QString caseName(ReviewCheck check);
std::optional<ReviewCheck> reviewCheckNamed(const QString &name);
// "Spelling correct", "Readable", ...
QString label(ReviewCheck check);

// Whether the lettering layer answers the check under these lyrics: painted-word checks while
// the lyrics are only set as sung. Such a check counts as passed (see effectiveReview) and
// is shown ticked, not for the person to change.
bool setAsSung(ReviewCheck check, LyricsOnScreen lyrics);
// How the screens and the command line name such a check's state.
inline const QString setAsSungLabel = QStringLiteral("Set by Quillvane as sung");

bool &field(ReviewChecklist &review, ReviewCheck check);
bool value(const ReviewChecklist &review, ReviewCheck check);

// Ticks or unticks one check on the current frame of the chunk with that id (the undo and redo
// stacks keep theirs); false, and no change, when no chunk with a frame matched.
bool setCheck(Project &project, const QUuid &chunkID, ReviewCheck check, bool value);

// "Accepted", else "N/5 checks", counted as under these lyrics.
QString reviewSummary(const ReviewChecklist &review, LyricsOnScreen lyrics);

} // namespace quillvane
