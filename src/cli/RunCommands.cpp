// The whole road of one track in one command: import, timing, character, plan, elements and
// frames, then (when every frame may be accepted unseen) motion and export. The demo is the
// same road over the song and character that come with Quillvane.

#include "cli/Command.h"
#include "pipeline/GenerationOperations.h"
#include "pipeline/Road.h"
#include "model/PipelineConfig.h"
#include "storage/Locations.h"
#include "store/SampleProject.h"
#include "studio/DemoAssets.h"

#include <QDir>
#include <QFileInfo>

namespace quillvane::cli {

namespace {

QString absolute(const QString &path)
{
    return QDir::cleanPath(QFileInfo(path).absoluteFilePath());
}

struct Character {
    QString name;
    QString notes;
    QString image;
};

struct Road {
    Project start;                 // the project the track is imported into
    QString audio;
    std::optional<Character> character;
    bool acceptAll = false;
    std::optional<QString> destination;
    std::optional<ExportResolution> resolution;
    std::optional<ExportContainer> container;
    // The road hands over the video alone unless the lyrics files are asked for.
    bool subtitles = false;

    // Set before any frame is painted, so every frame is painted in it.
    std::optional<VideoShape> shape;
};

void checkRun(const ParsedArgs &args)
{
    if (args.has(QStringLiteral("character")) != args.has(QStringLiteral("image")))
        throw UsageError(QStringLiteral("--character and --image go together"));
    if (const auto text = args.value(QStringLiteral("resolution")); text && !exportResolutionFromText(*text))
        throw UsageError(QStringLiteral("--resolution needs 720p, 1080p, 1440p or 4K"));
    if (const auto text = args.value(QStringLiteral("container"));
        text && *text != QLatin1String("mp4") && *text != QLatin1String("mov"))
        throw UsageError(QStringLiteral("--container needs mp4 or mov"));
    shapeOption(args);
    lyricsChoice(args);
}

void cast(ProjectStore &store, const Character &character)
{
    const auto id = addCharacter(store.document(), character.name);
    if (!id)
        return;
    if (!character.notes.isEmpty()) {
        store.editProject([&](Project &project) {
            if (CharacterReference *profile = project.characterWithID(*id))
                profile->notes = character.notes;
        });
    }
    appendReferenceImages(store.document(), *id, {character.image});
}

void acceptEveryFrame(ProjectStore &store)
{
    QList<QUuid> chunkIDs;
    for (const StoryboardChunk &chunk : store.project().chunks)
        chunkIDs.append(chunk.id);
    passAllChecks(store, chunkIDs);
}

// One token for the whole road: a Ctrl+C anywhere, also between two stages, ends it there,
// and what the finished stages made stays in the project.
QCoro::Task<int> travel(CommandContext context, Road road)
{
    ProjectStore &store = context.store;
    store.setProject(road.start);
    const CancelToken cancel;
    const auto held = store.holdCancel(cancel);
    if (road.shape)
        setVideoShape(store.document(), *road.shape);

    // The character is cast first: importing a track keeps the cast.
    if (road.character)
        cast(store, *road.character);
    RoadRequest request{road.audio, road.subtitles};
    auto generating = runRoad(store, PipelineStage::intake, PipelineStage::frames, cancel, request);
    const auto generated = co_await generating;
    if (!generated.isDone())
        co_return stoppedStatus(context.out, generated);

    if (!road.acceptAll) {
        context.out.note(QStringLiteral("%1 frames are ready for review: tick them with 'quillvane-cli review N --all' "
                                        "(or in the app), then run 'quillvane-cli export'.")
                             .arg(store.project().chunks.size()));
        co_return 0;
    }
    acceptEveryFrame(store);
    store.editProject([&road](Project &project) {
        if (road.destination)
            project.exportSettings.destinationFolder = *road.destination;
        if (road.resolution)
            project.exportSettings.resolution = *road.resolution;
        if (road.container)
            project.exportSettings.container = *road.container;
    });
    auto finishing = runRoad(store, PipelineStage::motion, PipelineStage::exportStage, cancel, request);
    const auto finished = co_await finishing;
    if (!finished.isDone())
        co_return stoppedStatus(context.out, finished);
    context.out.line(finished.value().value_or(QString()));
    co_return 0;
}

QCoro::Task<int> runTrack(CommandContext context)
{
    const ParsedArgs &args = context.args;
    Road road;
    road.audio = absolute(args.positional.first());
    if (const auto name = args.value(QStringLiteral("character")))
        road.character = Character{*name, {}, absolute(*args.value(QStringLiteral("image")))};
    // How the track's lyrics reach the picture, before anything is planned.
    road.start.style.lyricsOnScreen = lyricsChoice(args);
    road.acceptAll = args.has(QStringLiteral("accept-all"));
    road.subtitles = args.has(QStringLiteral("subtitles"));
    if (const auto folder = args.value(QStringLiteral("to")))
        road.destination = absolute(*folder);
    if (const auto text = args.value(QStringLiteral("resolution")))
        road.resolution = *exportResolutionFromText(*text);
    if (const auto text = args.value(QStringLiteral("container")))
        road.container = *text == QLatin1String("mov") ? ExportContainer::mov : ExportContainer::mp4;
    road.shape = shapeOption(args);
    return travel(context, road);
}

// The demo starts from the project a first start shows, so its style notes (the red jacket)
// reach the frames, and ends with every frame accepted and the video exported.
QCoro::Task<int> runDemo(CommandContext context)
{
    context.out.note(QStringLiteral("Preparing the demo song…"));
    const studio::DemoAssets assets = studio::ensureDemoAssets(locations::demoFolder());
    Road road;
    road.start = sampleProject();
    road.audio = assets.song;
    road.character = Character{QString::fromUtf8(studio::demoCharacterName),
                               QString::fromUtf8(studio::demoCharacterNotes), assets.character};
    road.acceptAll = true;
    if (const auto folder = context.args.value(QStringLiteral("to")))
        road.destination = absolute(*folder);
    return travel(context, road);
}

} // namespace

QList<Command> runCommands()
{
    Command demo{QStringLiteral("demo"), QStringLiteral("[--to DIR]"),
                 QStringLiteral("render the demo song end to end with the offline studio and print the video's path"),
                 {{QStringLiteral("to"), QStringLiteral("DIR"), QStringLiteral("folder to export into")}},
                 0, 0, runDemo};
    demo.alwaysOffline = true;
    return {
        {QStringLiteral("run"),
         QStringLiteral("AUDIO [--character NAME --image PATH] [--accept-all] [--to DIR] [--resolution R] [--container C] "
                        "[--subtitles] [--shape 16:9|9:16|1:1] [--lyrics painted|sung|both]"),
         QStringLiteral("the whole road of one track, from import to frames (and with --accept-all to the video)"),
         {{QStringLiteral("character"), QStringLiteral("NAME"), QStringLiteral("cast a character for this track")},
          {QStringLiteral("image"), QStringLiteral("PATH"), QStringLiteral("the character's reference image")},
          {QStringLiteral("accept-all"), {}, QStringLiteral("accept every frame unseen, then render and export")},
          {QStringLiteral("to"), QStringLiteral("DIR"), QStringLiteral("folder to export into")},
          {QStringLiteral("resolution"), QStringLiteral("R"), QStringLiteral("720p, 1080p, 1440p or 4K")},
          {QStringLiteral("container"), QStringLiteral("C"), QStringLiteral("mp4 or mov")},
          {QStringLiteral("subtitles"), {}, QStringLiteral("also write NAME.srt and NAME.lrc beside the video")},
          // The video's shape, and how its lyrics are shown.
          shapeOptionSpec(), lyricsOption()},
         1, 1, runTrack, checkRun},
        demo,
    };
}

} // namespace quillvane::cli
