#include "generation/FrameReview.h"

namespace quillvane {

QString caseName(ReviewCheck check)
{
    switch (check) {
    case ReviewCheck::spellingCorrect:
        return QStringLiteral("spellingCorrect");
    case ReviewCheck::readable:
        return QStringLiteral("readable");
    case ReviewCheck::placementOK:
        return QStringLiteral("placementOK");
    case ReviewCheck::characterConsistent:
        return QStringLiteral("characterConsistent");
    case ReviewCheck::styleContinuous:
        return QStringLiteral("styleContinuous");
    }
    Q_UNREACHABLE();
}

std::optional<ReviewCheck> reviewCheckNamed(const QString &name)
{
    for (ReviewCheck check : allReviewChecks) {
        if (caseName(check) == name)
            return check;
    }
    return std::nullopt;
}

QString label(ReviewCheck check)
{
    switch (check) {
    case ReviewCheck::spellingCorrect:
        return QStringLiteral("Spelling correct");
    case ReviewCheck::readable:
        return QStringLiteral("Readable");
    case ReviewCheck::placementOK:
        return QStringLiteral("Placement OK");
    case ReviewCheck::characterConsistent:
        return QStringLiteral("Character consistent");
    case ReviewCheck::styleContinuous:
        return QStringLiteral("Style continuous");
    }
    Q_UNREACHABLE();
}

bool setAsSung(ReviewCheck check, LyricsOnScreen lyrics)
{
    // The checks that pass with nothing ticked are the ones the lettering layer answers.
    return value(effectiveReview(ReviewChecklist{}, lyrics), check);
}

bool &field(ReviewChecklist &review, ReviewCheck check)
{
    switch (check) {
    case ReviewCheck::spellingCorrect:
        return review.spellingCorrect;
    case ReviewCheck::readable:
        return review.readable;
    case ReviewCheck::placementOK:
        return review.placementOK;
    case ReviewCheck::characterConsistent:
        return review.characterConsistent;
    case ReviewCheck::styleContinuous:
        return review.styleContinuous;
    }
    Q_UNREACHABLE();
}

bool value(const ReviewChecklist &review, ReviewCheck check)
{
    ReviewChecklist copy = review;
    return field(copy, check);
}

bool setCheck(Project &project, const QUuid &chunkID, ReviewCheck check, bool value)
{
    StoryboardChunk *chunk = project.chunkWithID(chunkID);
    if (!chunk || !chunk->frame)
        return false;
    field(chunk->frame->review, check) = value;
    return true;
}

QString reviewSummary(const ReviewChecklist &checklist, LyricsOnScreen lyrics)
{
    const ReviewChecklist review = effectiveReview(checklist, lyrics);
    return review.allPassed() ? QStringLiteral("Accepted") : QStringLiteral("%1/5 checks").arg(review.passedCount());
}

} // namespace quillvane
