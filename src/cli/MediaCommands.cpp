// Commands of the last two stages: the motion settings, the motion run and the export.

#include "cli/Command.h"
#include "media/MediaErrors.h"
#include "pipeline/MediaOperations.h"
#include "media/MotionGeometry.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

#include <cmath>

namespace quillvane::cli {

namespace {

std::optional<double> finiteOption(const ParsedArgs &args, const QString &name, const QString &problem)
{
    const std::optional<QString> text = args.value(name);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const double number = text->toDouble(&ok);
    if (!ok || !std::isfinite(number))
        throw UsageError(problem);
    return number;
}

// The motion settings with the command's options applied; throws UsageError.
DepthFlowSettings requestedMotion(const ParsedArgs &args, DepthFlowSettings settings)
{
    if (const auto intensity = finiteOption(args, QStringLiteral("intensity"), QStringLiteral("--intensity needs a number")))
        settings.intensity = *intensity;
    if (const auto zoom = finiteOption(args, QStringLiteral("zoom"), QStringLiteral("--zoom needs a number")))
        settings.zoom = *zoom;
    if (const auto duration = finiteOption(args, QStringLiteral("duration"),
                                           QStringLiteral("--duration needs a length in seconds")))
        settings.durationSeconds = *duration;
    if (const auto fps = args.value(QStringLiteral("fps"))) {
        bool ok = false;
        settings.fps = fps->toLongLong(&ok);
        if (!ok)
            throw UsageError(QStringLiteral("--fps needs a whole number of frames per second"));
    }
    if (const auto timing = args.value(QStringLiteral("timing"))) {
        const std::optional<ClipTiming> parsed = clipTimingFromText(*timing);
        if (!parsed)
            throw UsageError(QStringLiteral("--timing needs song or fixed"));
        settings.clipTiming = *parsed;
    }
    if (const auto loop = args.value(QStringLiteral("loop"))) {
        if (*loop != QLatin1String("true") && *loop != QLatin1String("false"))
            throw UsageError(QStringLiteral("--loop needs true or false"));
        settings.loop = *loop == QLatin1String("true");
    }
    // How one clip gives way to the next.
    if (const auto transition = args.value(QStringLiteral("transition"))) {
        const std::optional<ClipTransition> parsed = clipTransitionFromText(*transition);
        if (!parsed)
            throw UsageError(QStringLiteral("--transition needs crossfade or cut"));
        settings.transition = *parsed;
    }
    try {
        clipFrames(settings);
    } catch (const MotionError &error) {
        throw UsageError(QStringLiteral("--duration and --fps give more frames than a clip can hold"));
    }
    return settings;
}

void checkMotionSettings(const ParsedArgs &args)
{
    requestedMotion(args, {});
}

QCoro::Task<int> motionSettings(CommandContext context)
{
    const DepthFlowSettings settings = requestedMotion(context.args, context.store.project().motion);
    context.store.editProject([&settings](Project &project) { project.motion = settings; });
    if (context.globals.json) {
        context.out.json({{QStringLiteral("intensity"), settings.intensity},
                          {QStringLiteral("zoom"), settings.zoom},
                          {QStringLiteral("durationSeconds"), settings.durationSeconds},
                          {QStringLiteral("fps"), settings.fps},
                          {QStringLiteral("loop"), settings.loop},
                          {QStringLiteral("clipTiming"), textValue(settings.clipTiming)},
                          {QStringLiteral("transition"), textValue(settings.transition)}});
    } else {
        const QString length = settings.clipTiming == ClipTiming::followSong
                                   ? QStringLiteral("clips follow the song")
                                   : QStringLiteral("%1 s clips").arg(settings.durationSeconds);
        context.out.line(QStringLiteral("intensity %1, zoom %2, %3 at %4 fps, loop %5, %6 between clips")
                             .arg(settings.intensity)
                             .arg(settings.zoom)
                             .arg(length)
                             .arg(settings.fps)
                             .arg(settings.loop ? QStringLiteral("on") : QStringLiteral("off"))
                             .arg(textValue(settings.transition)));
    }
    co_return 0;
}

QCoro::Task<int> motion(CommandContext context)
{
    auto rendering = startRenderMotion(context.store);
    const Done rendered = co_await rendering;
    if (!rendered.isDone())
        co_return stoppedStatus(context.out, rendered);
    qsizetype clips = 0;
    for (const StoryboardChunk &chunk : context.store.project().chunks)
        clips += chunk.isAccepted(context.store.lyricsOnScreen()) && chunk.frame->motionClipPath ? 1 : 0;
    const QString folder = context.store.document().media().clipsFolder();
    if (context.globals.json)
        context.out.json({{QStringLiteral("clips"), clips}, {QStringLiteral("folder"), folder}});
    else
        context.out.line(QStringLiteral("%1 %2 in %3").arg(clips).arg(clips == 1 ? QStringLiteral("clip") : QStringLiteral("clips"), folder));
    co_return 0;
}

// The export settings with the command's options applied; throws UsageError.
ExportSettings requestedExport(const ParsedArgs &args, ExportSettings settings)
{
    if (const auto text = args.value(QStringLiteral("resolution"))) {
        const auto resolution = exportResolutionFromText(*text);
        if (!resolution)
            throw UsageError(QStringLiteral("--resolution needs 720p, 1080p, 1440p or 4K"));
        settings.resolution = *resolution;
    }
    if (const auto text = args.value(QStringLiteral("container"))) {
        if (*text == QLatin1String("mp4"))
            settings.container = ExportContainer::mp4;
        else if (*text == QLatin1String("mov"))
            settings.container = ExportContainer::mov;
        else
            throw UsageError(QStringLiteral("--container needs mp4 or mov"));
    }
    if (args.has(QStringLiteral("no-audio")) && args.has(QStringLiteral("audio")))
        throw UsageError(QStringLiteral("give --audio or --no-audio, not both"));
    if (args.has(QStringLiteral("no-subtitles")) && args.has(QStringLiteral("subtitles")))
        throw UsageError(QStringLiteral("give --subtitles or --no-subtitles, not both"));
    if (args.has(QStringLiteral("no-subtitles")))
        settings.subtitles = false;
    if (args.has(QStringLiteral("subtitles")))
        settings.subtitles = true;
    if (args.has(QStringLiteral("no-audio")))
        settings.includeOriginalAudio = false;
    if (args.has(QStringLiteral("audio")))
        settings.includeOriginalAudio = true;
    if (const auto folder = args.value(QStringLiteral("to"))) {
        if (folder->isEmpty())
            throw UsageError(QStringLiteral("--to needs a folder"));
        settings.destinationFolder = QDir::cleanPath(QFileInfo(*folder).absoluteFilePath());
    }
    return settings;
}

void checkExport(const ParsedArgs &args)
{
    requestedExport(args, {});
    shapeOption(args);
}

// "Shape 9:16: 17 frames will be repainted."
QString shapeChanged(VideoShape shape, qsizetype repainted)
{
    const QString name = textValue(shape);
    if (repainted == 0)
        return QStringLiteral("Shape %1: no frames to repaint.").arg(name);
    return QStringLiteral("Shape %1: %2 %3 repainted.")
        .arg(name)
        .arg(repainted)
        .arg(repainted == 1 ? QStringLiteral("frame will be") : QStringLiteral("frames will be"));
}

QCoro::Task<int> exportVideo(CommandContext context)
{
    const ExportSettings settings = requestedExport(context.args, context.store.project().exportSettings);
    context.store.editProject([&settings](Project &project) { project.exportSettings = settings; });
    // A new shape sends the frames back to be painted again; the export then says what is missing.
    if (const auto shape = shapeOption(context.args); shape && *shape != context.store.project().exportSettings.shape)
        context.out.note(shapeChanged(*shape, setVideoShape(context.store.document(), *shape)));
    auto exporting = startExportVideo(context.store);
    const Outcome<QString> exported = co_await exporting;
    if (!exported.isDone())
        co_return stoppedStatus(context.out, exported);
    if (context.globals.json)
        context.out.json({{QStringLiteral("path"), exported.value()}});
    else
        context.out.line(exported.value());
    co_return 0;
}

QCoro::Task<int> lyricsFile(CommandContext context)
{
    const QString path = QDir::cleanPath(QFileInfo(context.args.positional.first()).absoluteFilePath());
    writeLyricsFile(context.store.project(), path);
    if (context.globals.json)
        context.out.json({{QStringLiteral("path"), path}});
    else
        context.out.line(path);
    co_return 0;
}

} // namespace

std::optional<VideoShape> shapeOption(const ParsedArgs &args)
{
    const std::optional<QString> text = args.value(QStringLiteral("shape"));
    if (!text)
        return std::nullopt;
    const std::optional<VideoShape> shape = videoShapeFromText(*text);
    if (!shape)
        throw UsageError(QStringLiteral("--shape needs 16:9 (wide), 9:16 (tall) or 1:1 (square), not %1").arg(*text));
    return shape;
}

OptionSpec shapeOptionSpec()
{
    return {QStringLiteral("shape"), QStringLiteral("16:9|9:16|1:1"),
            QStringLiteral("the video's shape: wide, tall (phones) or square; frames painted in another are painted again")};
}

QList<Command> mediaCommands()
{
    return {
        {QStringLiteral("motion-settings"),
         QStringLiteral("[--timing song|fixed] [--intensity X] [--zoom Z] [--duration S] [--fps N] [--loop true|false] "
                        "[--transition crossfade|cut]"),
         QStringLiteral("change the parallax motion of the clips"),
         {{QStringLiteral("intensity"), QStringLiteral("X"), QStringLiteral("strength of the enlargement and drift")},
          {QStringLiteral("zoom"), QStringLiteral("Z"), QStringLiteral("extra enlargement reached at the clip's end")},
          {QStringLiteral("timing"), QStringLiteral("song|fixed"),
           QStringLiteral("each clip lasts while its words are sung (song) or --duration seconds (fixed)")},
          {QStringLiteral("duration"), QStringLiteral("S"), QStringLiteral("clip length in seconds, with --timing fixed")},
          {QStringLiteral("fps"), QStringLiteral("N"), QStringLiteral("frames per second")},
          {QStringLiteral("loop"), QStringLiteral("true|false"), QStringLiteral("whether clips loop")},
          // Clip transitions.
          {QStringLiteral("transition"), QStringLiteral("crossfade|cut"),
           QStringLiteral("a short cross-fade from each clip into the next, or a hard cut")}},
         0, 0, motionSettings, checkMotionSettings},
        {QStringLiteral("motion"), {}, QStringLiteral("render a motion clip for every accepted frame"), {}, 0, 0, motion},
        {QStringLiteral("export"), QStringLiteral("[--resolution 720p|1080p|1440p|4K] [--container mp4|mov] [--no-audio] [--no-subtitles] [--to DIR] [--shape 16:9|9:16|1:1]"),
         QStringLiteral("export the video (renders clips still missing first) and print its path"),
         {{QStringLiteral("resolution"), QStringLiteral("R"), QStringLiteral("720p, 1080p, 1440p or 4K")},
          {QStringLiteral("container"), QStringLiteral("C"), QStringLiteral("mp4 or mov")},
          {QStringLiteral("no-audio"), {}, QStringLiteral("leave the track's audio out")},
          {QStringLiteral("audio"), {}, QStringLiteral("put the track's audio back in")},
          {QStringLiteral("no-subtitles"), {}, QStringLiteral("write no NAME.srt and NAME.lrc beside the video")},
          {QStringLiteral("subtitles"), {}, QStringLiteral("write NAME.srt and NAME.lrc beside the video again")},
          {QStringLiteral("to"), QStringLiteral("DIR"), QStringLiteral("folder to write the video into")},
          // The video's shape.
          shapeOptionSpec()},
         0, 0, exportVideo, checkExport},
        {QStringLiteral("lyrics-file"), QStringLiteral("PATH.lrc|PATH.srt"),
         QStringLiteral("write the timed lyrics alone, as LRC or SubRip by the file's suffix"), {}, 1, 1, lyricsFile},
    };
}

} // namespace quillvane::cli
