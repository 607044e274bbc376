// The whole road of one track in one command: import, timing, character, plan, elements and
// frames, then (when every frame may be accepted unseen) motion and export.

#include "audio/AudioImport.h"
#include "audio/TimingRun.h"
#include "cli/Command.h"
#include "generation/FrameGeneration.h"
#include "generation/FrameReview.h"
#include "generation/Planning.h"
#include "media/MediaRuns.h"
#include "model/PipelineConfig.h"

#include <QDir>
#include <QFileInfo>

namespace quillvane::cli {

namespace {

QString absolute(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

void checkRun(const ParsedArgs &args)
{
    if (args.has(QStringLiteral("character")) != args.has(QStringLiteral("image")))
        throw UsageError(QStringLiteral("--character and --image go together"));
    if (const auto text = args.value(QStringLiteral("resolution")); text && !exportResolutionFromText(*text))
        throw UsageError(QStringLiteral("--resolution needs 720p, 1080p, 1440p or 4K"));
    if (const auto text = args.value(QStringLiteral("container"));
        text && *text != QLatin1String("mp4") && *text != QLatin1String("mov"))
        throw UsageError(QStringLiteral("--container needs mp4 or mov"));
}

QCoro::Task<int> runRoad(CommandContext context)
{
    ProjectStore &store = context.store;
    const ParsedArgs &args = context.args;
    // Every track gets a project of its own.
    store.setProject(Project{});

    auto importing = startImport(store, absolute(args.positional.first()));
    co_await importing;
    if (store.lastError())
        co_return 1;
    auto timing = startTiming(store);
    co_await timing;
    if (store.lastError())
        co_return 1;
    if (const auto name = args.value(QStringLiteral("character"))) {
        if (const auto id = store.addCharacter(*name))
            store.addReferenceImages(*id, {absolute(*args.value(QStringLiteral("image")))});
    }
    if (!store.project().hasReferencedCharacter())
        throw PipelineError(PipelineError::Case::missingCharacter);

    auto planning = startPlanning(store);
    co_await planning;
    if (store.lastError())
        co_return 1;
    auto elements = startRenderElements(store);
    co_await elements;
    if (store.lastError())
        co_return 1;
    auto frames = startGenerateMissingFrames(store);
    co_await frames;
    if (store.lastError())
        co_return 1;

    if (!args.has(QStringLiteral("accept-all"))) {
        context.out.note(QStringLiteral("%1 frames are ready for review: tick them with 'quillvane-cli review N --all' "
                                        "(or in the app), then run 'quillvane-cli export'.")
                             .arg(store.project().chunks.size()));
        co_return 0;
    }
    QList<QUuid> chunkIDs;
    for (const StoryboardChunk &chunk : store.project().chunks)
        chunkIDs.append(chunk.id);
    for (const QUuid &id : chunkIDs) {
        for (ReviewCheck check : allReviewChecks)
            setReviewCheck(store, id, check, true);
    }
    store.editProject([&args](Project &project) {
        if (const auto folder = args.value(QStringLiteral("to")))
            project.exportSettings.destinationFolder = absolute(*folder);
        if (const auto text = args.value(QStringLiteral("resolution")))
            project.exportSettings.resolution = *exportResolutionFromText(*text);
        if (const auto text = args.value(QStringLiteral("container")))
            project.exportSettings.container = *text == QLatin1String("mov") ? ExportContainer::mov : ExportContainer::mp4;
    });
    auto motion = startRenderMotion(store);
    co_await motion;
    if (store.lastError())
        co_return 1;
    auto exporting = startExportVideo(store);
    const std::optional<QString> path = co_await exporting;
    if (!path || store.lastError())
        co_return 1;
    context.out.line(*path);
    co_return 0;
}

} // namespace

QList<Command> runCommands()
{
    return {
        {QStringLiteral("run"),
         QStringLiteral("AUDIO [--character NAME --image PATH] [--accept-all] [--to DIR] [--resolution R] [--container C]"),
         QStringLiteral("the whole road of one track, from import to frames (and with --accept-all to the video)"),
         {{QStringLiteral("character"), QStringLiteral("NAME"), QStringLiteral("cast a character for this track")},
          {QStringLiteral("image"), QStringLiteral("PATH"), QStringLiteral("the character's reference image")},
          {QStringLiteral("accept-all"), {}, QStringLiteral("accept every frame unseen, then render and export")},
          {QStringLiteral("to"), QStringLiteral("DIR"), QStringLiteral("folder to export into")},
          {QStringLiteral("resolution"), QStringLiteral("R"), QStringLiteral("720p, 1080p, 1440p or 4K")},
          {QStringLiteral("container"), QStringLiteral("C"), QStringLiteral("mp4 or mov")}},
         1, 1, runRoad, checkRun},
    };
}

} // namespace quillvane::cli
