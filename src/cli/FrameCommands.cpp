// Commands that render the plan's elements and the storyboard's frames.

#include "cli/Command.h"
#include "pipeline/GenerationOperations.h"
#include "pipeline/Road.h"

#include <QJsonArray>

#include <algorithm>

namespace quillvane::cli {

namespace {

std::optional<qint64> chunkNumberArgument(const ParsedArgs &args)
{
    const auto text = args.value(QStringLiteral("chunk"));
    if (!text)
        return std::nullopt;
    return countingNumber(*text, QStringLiteral("--chunk needs a frame number from 1"));
}

QString frameLine(const StoryboardChunk &chunk)
{
    return QStringLiteral("Frame %1  %2").arg(chunk.chunkNumber).arg(chunk.frame ? chunk.frame->localPath
                                                                                  : QStringLiteral("(no frame)"));
}

QCoro::Task<int> elements(CommandContext context)
{
    auto rendering = startRenderElements(context.store);
    const Done outcome = co_await rendering;
    if (!outcome.isDone())
        co_return stoppedStatus(context.out, outcome);
    const auto &plan = context.store.project().plan;
    const QList<PlanElement> all = plan ? plan->elements : QList<PlanElement>();
    const auto rendered = std::count_if(all.begin(), all.end(),
                                        [](const PlanElement &element) { return element.imageRemoteURL.has_value(); });
    if (context.globals.json) {
        context.out.json({{QStringLiteral("elements"), all.size()}, {QStringLiteral("rendered"), qint64(rendered)}});
        co_return 0;
    }
    for (const PlanElement &element : all)
        context.out.line(QStringLiteral("%1  %2").arg(element.id,
                                                      element.imageLocalPath.value_or(QStringLiteral("(pending)"))));
    co_return 0;
}

QCoro::Task<int> frames(CommandContext context)
{
    ProjectStore &store = context.store;
    QList<QUuid> shown;
    if (const auto number = chunkNumberArgument(context.args)) {
        const auto &chunks = store.project().chunks;
        const auto chunk = std::find_if(chunks.begin(), chunks.end(),
                                        [&](const StoryboardChunk &candidate) { return candidate.chunkNumber == *number; });
        if (chunk == chunks.end()) {
            if (chunks.isEmpty())
                throw Error(QStringLiteral("There is no frame %1; the storyboard has no frames yet.").arg(*number));
            throw Error(QStringLiteral("There is no frame %1; the storyboard has frames 1 to %2.")
                            .arg(*number)
                            .arg(chunks.size()));
        }
        shown << chunk->id;
        auto generating = startGenerateFrame(store, chunk->id);
        const Done generated = co_await generating;
        if (!generated.isDone())
            co_return stoppedStatus(context.out, generated);
    } else {
        auto generating = runRoad(store, PipelineStage::frames, PipelineStage::frames);
        const auto generated = co_await generating;
        if (!generated.isDone())
            co_return stoppedStatus(context.out, generated);
        for (const StoryboardChunk &chunk : store.project().chunks)
            shown << chunk.id;
    }

    const Project &project = store.project();
    if (context.globals.json) {
        QJsonArray list;
        for (const StoryboardChunk &chunk : project.chunks) {
            if (!shown.contains(chunk.id))
                continue;
            QJsonObject entry{{QStringLiteral("chunk"), chunk.chunkNumber}};
            if (chunk.frame)
                entry.insert(QStringLiteral("frame"), chunk.frame->localPath);
            list.append(entry);
        }
        context.out.json({{QStringLiteral("frames"), list}, {QStringLiteral("framed"), project.framedCount()}});
        co_return 0;
    }
    for (const StoryboardChunk &chunk : project.chunks)
        if (shown.contains(chunk.id))
            context.out.line(frameLine(chunk));
    co_return 0;
}

} // namespace

QList<Command> frameCommands()
{
    return {
        {QStringLiteral("elements"), {}, QStringLiteral("render every plan element that has no image yet"), {}, 0, 0,
         elements},
        {QStringLiteral("frames"), QStringLiteral("[--chunk N]"),
         QStringLiteral("generate every missing frame (rendering pending elements first), or regenerate frame N"),
         {{QStringLiteral("chunk"), QStringLiteral("N"), QStringLiteral("generate only this frame (numbered from 1)")}},
         0, 0, frames, [](const ParsedArgs &args) { chunkNumberArgument(args); }},
    };
}

} // namespace quillvane::cli
