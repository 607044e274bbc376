// Commands that change a chunk's frame by request, step through its versions, and review it.

#include "cli/Command.h"
#include "pipeline/GenerationOperations.h"

#include <QJsonObject>

#include <utility>

namespace quillvane::cli {

namespace {

qint64 frameNumber(const ParsedArgs &args)
{
    return countingNumber(args.positional.first(), QStringLiteral("N must be a frame number from 1"));
}

const StoryboardChunk &chunkNumbered(const ProjectStore &store, qint64 number)
{
    const auto &chunks = store.project().chunks;
    for (const StoryboardChunk &chunk : chunks) {
        if (chunk.chunkNumber == number)
            return chunk;
    }
    const QString count = chunks.size() == 1 ? QStringLiteral("1 chunk") : QStringLiteral("%1 chunks").arg(chunks.size());
    throw Error(QStringLiteral("There is no frame %1; the storyboard has %2.").arg(number).arg(count));
}

const StoryboardChunk &framedChunk(const ProjectStore &store, qint64 number)
{
    const StoryboardChunk &chunk = chunkNumbered(store, number);
    if (!chunk.frame)
        throw Error(QStringLiteral("Frame %1 has not been generated yet.").arg(number));
    return chunk;
}

// The checks as they count under the project's lyrics (those the lettering layer answers
// are ticked).
QJsonObject reviewJson(const ReviewChecklist &review, LyricsOnScreen lyrics)
{
    QJsonObject object;
    for (ReviewCheck check : allReviewChecks)
        object.insert(caseName(check), value(effectiveReview(review, lyrics), check));
    return object;
}

// The labels of the checks the lettering layer answers, e.g. "Spelling correct, Readable".
QStringList checksSetAsSung(LyricsOnScreen lyrics)
{
    QStringList labels;
    for (ReviewCheck check : allReviewChecks) {
        if (setAsSung(check, lyrics))
            labels.append(label(check));
    }
    return labels;
}

// What every command here prints: the chunk's version and, when it has a frame, its picture
// and review state.
void printFrame(const CommandContext &context, const StoryboardChunk &chunk)
{
    const LyricsOnScreen lyrics = context.store.lyricsOnScreen();
    if (context.globals.json) {
        QJsonObject object{{QStringLiteral("chunk"), chunk.chunkNumber},
                           {QStringLiteral("version"), chunk.undoStack.size() + 1},
                           {QStringLiteral("undo"), chunk.undoStack.size()},
                           {QStringLiteral("redo"), chunk.redoStack.size()},
                           {QStringLiteral("accepted"), chunk.isAccepted(lyrics)}};
        if (chunk.frame) {
            object.insert(QStringLiteral("localPath"), chunk.frame->localPath);
            if (chunk.frame->editRequest)
                object.insert(QStringLiteral("editRequest"), *chunk.frame->editRequest);
            object.insert(QStringLiteral("review"), reviewJson(chunk.frame->review, lyrics));
            object.insert(QStringLiteral("passed"), effectiveReview(chunk.frame->review, lyrics).passedCount());
        }
        context.out.json(object);
        return;
    }
    QString line = QStringLiteral("Frame %1: %2").arg(chunk.chunkNumber).arg(versionLabel(chunk));
    if (chunk.frame) {
        line += QStringLiteral(", %1").arg(reviewSummary(chunk.frame->review, lyrics));
        if (const QStringList sung = checksSetAsSung(lyrics); !sung.isEmpty())
            line += QStringLiteral(" (%1: %2)").arg(sung.join(QStringLiteral(", ")), setAsSungLabel);
        if (!chunk.frame->localPath.isEmpty())
            line += QStringLiteral(", %1").arg(chunk.frame->localPath);
    }
    context.out.line(line);
}

void checkEdit(const ParsedArgs &args)
{
    frameNumber(args);
    if (args.positional.at(1).trimmed().isEmpty())
        throw UsageError(QStringLiteral("REQUEST must describe the change"));
}

QCoro::Task<int> edit(CommandContext context)
{
    const qint64 number = frameNumber(context.args);
    const StoryboardChunk &chunk = framedChunk(context.store, number);
    const QUuid chunkID = chunk.id;
    // A named task: g++ 12 destroys the temporaries of a co_await expression twice.
    auto editing = editFrame(context.store, chunkID, context.args.positional.at(1));
    const Done edited = co_await editing;
    if (!edited.isDone())
        co_return stoppedStatus(context.out, edited);
    printFrame(context, chunkNumbered(context.store, number));
    co_return 0;
}

template <void (*move)(ProjectStore &, QUuid)>
QCoro::Task<int> step(CommandContext context)
{
    const qint64 number = frameNumber(context.args);
    move(context.store, chunkNumbered(context.store, number).id);
    printFrame(context, chunkNumbered(context.store, number));
    co_return 0;
}

// The checks a review command asks for, in the order given; throws UsageError.
QList<std::pair<ReviewCheck, bool>> requestedChecks(const ParsedArgs &args)
{
    const bool all = args.has(QStringLiteral("all"));
    const bool none = args.has(QStringLiteral("none"));
    const QStringList settings = args.values(QStringLiteral("set"));
    if (int(all) + int(none) + int(!settings.isEmpty()) != 1)
        throw UsageError(QStringLiteral("give exactly one of --all, --none or --set CHECK=true|false"));
    QList<std::pair<ReviewCheck, bool>> checks;
    if (all || none) {
        for (ReviewCheck check : allReviewChecks)
            checks.append({check, all});
        return checks;
    }
    for (const QString &setting : settings) {
        const qsizetype equals = setting.indexOf(QLatin1Char('='));
        const auto check = reviewCheckNamed(setting.left(equals));
        const QString text = equals < 0 ? QString() : setting.mid(equals + 1);
        if (!check || (text != QStringLiteral("true") && text != QStringLiteral("false")))
            throw UsageError(QStringLiteral("--set needs CHECK=true|false, CHECK one of spellingCorrect, readable, "
                                            "placementOK, characterConsistent, styleContinuous"));
        checks.append({*check, text == QStringLiteral("true")});
    }
    return checks;
}

void checkReview(const ParsedArgs &args)
{
    frameNumber(args);
    requestedChecks(args);
}

QCoro::Task<int> review(CommandContext context)
{
    const qint64 number = frameNumber(context.args);
    const QUuid chunkID = framedChunk(context.store, number).id;
    for (const auto &[check, checked] : requestedChecks(context.args))
        setReviewCheck(context.store, chunkID, check, checked);
    printFrame(context, chunkNumbered(context.store, number));
    co_return 0;
}

} // namespace

QList<Command> editCommands()
{
    return {
        {QStringLiteral("edit"), QStringLiteral("N REQUEST"),
         QStringLiteral("change frame N as the request describes (a new version)"), {}, 2, 2, edit, checkEdit},
        {QStringLiteral("undo"), QStringLiteral("N"), QStringLiteral("step frame N back one version"), {}, 1, 1,
         step<&undoFrame>, frameNumber},
        {QStringLiteral("redo"), QStringLiteral("N"), QStringLiteral("step frame N forward one version"), {}, 1, 1,
         step<&redoFrame>, frameNumber},
        {QStringLiteral("review"), QStringLiteral("N (--all | --none | --set CHECK=true|false ...)"),
         QStringLiteral("tick or untick the review checks of frame N"),
         {{QStringLiteral("all"), {}, QStringLiteral("tick all five checks")},
          {QStringLiteral("none"), {}, QStringLiteral("untick all five checks")},
          {QStringLiteral("set"), QStringLiteral("CHECK=true|false"), QStringLiteral("set one check"), true}},
         1, 1, review, checkReview},
    };
}

} // namespace quillvane::cli
