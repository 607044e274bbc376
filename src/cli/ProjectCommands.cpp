// Commands that read the project or edit its plain fields and the settings.

#include "cli/Command.h"
#include "model/PipelineStage.h"
#include "model/ProjectJson.h"

#include <QFile>
#include <QJsonArray>

namespace quillvane::cli {

namespace {

QCoro::Task<int> status(CommandContext context)
{
    const Project &project = context.store.project();
    if (context.globals.json) {
        QJsonObject stages;
        for (const PipelineStage stage : allPipelineStages())
            stages.insert(caseName(stage), caseName(context.store.status(stage)));
        QJsonObject object{{QStringLiteral("title"), project.title},
                           {QStringLiteral("artist"), project.artist},
                           {QStringLiteral("segments"), project.transcript.size()},
                           {QStringLiteral("chunks"), project.chunks.size()},
                           {QStringLiteral("framed"), project.framedCount()},
                           {QStringLiteral("accepted"), project.acceptedCount(context.store.lyricsOnScreen())},
                           {QStringLiteral("clipTiming"), textValue(project.motion.clipTiming)},
                           {QStringLiteral("stages"), stages}};
        if (project.lyricsSource)
            object.insert(QStringLiteral("lyricsSource"), caseName(*project.lyricsSource));
        context.out.json(object);
        co_return 0;
    }

    const auto orDash = [](const QString &text) { return text.isEmpty() ? QStringLiteral("—") : text; };
    const auto &out = context.out;
    out.line(QStringLiteral("Title:       %1").arg(orDash(project.title)));
    out.line(QStringLiteral("Artist:      %1").arg(orDash(project.artist)));
    out.line(QStringLiteral("Lyrics:      %1").arg(project.lyricsSource ? label(*project.lyricsSource)
                                                                       : QStringLiteral("—")));
    out.line(QStringLiteral("Transcript:  %1 lines").arg(project.transcript.size()));
    out.line(QStringLiteral("Chunks:      %1 (%2 framed, %3 accepted)")
                 .arg(project.chunks.size())
                 .arg(project.framedCount())
                 .arg(project.acceptedCount(context.store.lyricsOnScreen())));
    out.line(QStringLiteral("Stages:"));
    for (const PipelineStage stage : allPipelineStages()) {
        const StageStatus state = context.store.status(stage);
        const QString word = state == StageStatus::inProgress ? QStringLiteral("in progress") : caseName(state);
        out.line(QStringLiteral("  %1 %2").arg(title(stage), -12).arg(word));
    }
    co_return 0;
}

QCoro::Task<int> show(CommandContext context)
{
    // The document exactly as saved: write what is waiting first, then print the file.
    context.store.document().flushPendingSave();
    QFile file(context.store.document().media().projectFile());
    if (!file.open(QIODevice::ReadOnly))
        throw Error(QStringLiteral("The project document could not be read: %1").arg(file.errorString()));
    context.out.raw(file.readAll());
    co_return 0;
}

QCoro::Task<int> settings(CommandContext context)
{
    ProjectStore &store = context.store;
    const ParsedArgs &args = context.args;
    if (const auto backend = args.value(QStringLiteral("backend")))
        store.settings().setGenerationBackend(*backendNamed(*backend));
    if (const auto timing = args.value(QStringLiteral("timing")))
        store.settings().setTimingMethod(*timingMethodNamed(*timing));
    if (const auto model = args.value(QStringLiteral("model")))
        store.settings().setGenerationModel(*model);
    if (const auto workflow = args.value(QStringLiteral("edit-workflow")))
        store.settings().setEditWorkflow(*workflow);
    if (const auto proxy = args.value(QStringLiteral("proxy-url")))
        store.settings().setProxyBaseURL(*proxy);

    if (context.globals.json) {
        context.out.json({{QStringLiteral("generationModel"), store.settings().generationModel()},
                          {QStringLiteral("editWorkflow"), store.settings().editWorkflow()},
                          {QStringLiteral("proxyBaseURL"), store.settings().proxyBaseURL()}});
    } else {
        context.out.line(QStringLiteral("Generation model: %1").arg(store.settings().generationModel()));
        context.out.line(QStringLiteral("Edit workflow:    %1").arg(store.settings().editWorkflow()));
        context.out.line(QStringLiteral("Proxy base URL:   %1").arg(store.settings().proxyBaseURL()));
        context.out.line(QStringLiteral("Generation:       %1").arg(store.settings().generationBackend() == Backend::offline ? QStringLiteral("offline studio")
                                                                                             : QStringLiteral("Quillvane service")));
        context.out.line(QStringLiteral("Timing:           %1").arg(store.settings().timingMethod() == TimingMethod::words
                                                                        ? QStringLiteral("align words")
                                                                        : QStringLiteral("by proportion")));
    }
    co_return 0;
}

// title, artist and concept: one text field each, edited as a screen would edit it.
Command textFieldCommand(const QString &name, const QString &argument, const QString &summary,
                         const QString &jsonKey, QString Project::*field)
{
    Command command{name, argument, summary, {}, 1, 1, {}};
    command.run = [jsonKey, field](CommandContext context) -> QCoro::Task<int> {
        const QString value = context.args.positional.first();
        context.store.editProject([&](Project &project) { project.*field = value; });
        if (context.globals.json)
            context.out.json({{jsonKey, value}});
        co_return 0;
    };
    return command;
}

struct StyleOption {
    const char *option;
    const char *label;
    QString StyleGuidance::*field;
};

const StyleOption styleOptions[] = {
    {"palette", "Palette", &StyleGuidance::paletteName},
    {"mood", "Mood", &StyleGuidance::mood},
    {"medium", "Medium", &StyleGuidance::medium},
    {"continuity", "Continuity", &StyleGuidance::continuityNotes},
    {"negative", "Negative", &StyleGuidance::negativePrompts},
};

QCoro::Task<int> style(CommandContext context)
{
    context.store.editProject([&context](Project &project) {
        for (const auto &option : styleOptions) {
            if (const auto value = context.args.value(QString::fromUtf8(option.option)))
                project.style.*option.field = *value;
        }
        if (const auto lyrics = lyricsChoice(context.args))
            project.style.lyricsOnScreen = lyrics;
    });
    const StyleGuidance &current = context.store.project().style;
    // Chosen by the project, or else what the generation backend calls for.
    const LyricsOnScreen lyrics = context.store.lyricsOnScreen();
    if (context.globals.json) {
        QJsonObject object = toJson(current);
        object.insert(QStringLiteral("lyricsShown"), textValue(lyrics));
        context.out.json(object);
        co_return 0;
    }
    for (const auto &option : styleOptions)
        context.out.line(QStringLiteral("%1 %2").arg(QString::fromUtf8(option.label) + QLatin1Char(':'), -12)
                             .arg(current.*option.field));
    context.out.line(QStringLiteral("%1 %2%3").arg(QStringLiteral("Lyrics:"), -12).arg(label(lyrics),
                         current.lyricsOnScreen ? QString() : QStringLiteral(" (the backend's default)")));
    co_return 0;
}

} // namespace

OptionSpec lyricsOption()
{
    return {QStringLiteral("lyrics"), QStringLiteral("painted|sung|both"),
            QStringLiteral("paint the lyrics into the scene, set them over the video as they are sung, or both")};
}

std::optional<LyricsOnScreen> lyricsChoice(const ParsedArgs &args)
{
    const auto text = args.value(QStringLiteral("lyrics"));
    if (!text)
        return std::nullopt;
    const auto lyrics = lyricsOnScreenFromText(*text);
    if (!lyrics)
        throw UsageError(lyricsOnScreenUsage);
    return lyrics;
}

QList<Command> projectCommands()
{
    QList<OptionSpec> styleSpecs;
    for (const auto &option : styleOptions)
        styleSpecs.append({QString::fromUtf8(option.option), QStringLiteral("TEXT"),
                           QStringLiteral("set the style's %1").arg(QString::fromUtf8(option.label).toLower())});
    // How the lyrics reach the picture, a choice rather than text.
    styleSpecs.append(lyricsOption());
    return {
        {QStringLiteral("status"), {}, QStringLiteral("show the project and the status of all nine stages"), {}, 0, 0,
         status},
        {QStringLiteral("show"), {}, QStringLiteral("print the project document exactly as it is saved"), {}, 0, 0,
         show},
        {QStringLiteral("settings"), QStringLiteral("[--model M] [--edit-workflow W] [--proxy-url U] [--backend service|offline] [--timing words|proportional]"),
         QStringLiteral("show or change the generation and timing settings"),
         {{QStringLiteral("backend"), QStringLiteral("service|offline"),
           QStringLiteral("generate with the Quillvane service or the built-in offline studio")},
          {QStringLiteral("model"), QStringLiteral("M"), QStringLiteral("image model identifier")},
          {QStringLiteral("edit-workflow"), QStringLiteral("W"), QStringLiteral("frame edit workflow")},
          {QStringLiteral("proxy-url"), QStringLiteral("U"), QStringLiteral("generation proxy base URL")},
          {QStringLiteral("timing"), QStringLiteral("words|proportional"),
           QStringLiteral("time lyrics by aligning their words to the audio, or lay lines out by proportion")}},
         0, 0, settings,
         [](const ParsedArgs &args) {
             const auto backend = args.value(QStringLiteral("backend"));
             if (backend && !backendNamed(*backend))
                 throw UsageError(QStringLiteral("--backend needs service or offline"));
             const auto timing = args.value(QStringLiteral("timing"));
             if (timing && !timingMethodNamed(*timing))
                 throw UsageError(QStringLiteral("--timing needs words or proportional"));
         }},
        textFieldCommand(QStringLiteral("title"), QStringLiteral("TITLE"), QStringLiteral("set the track title"),
                         QStringLiteral("title"), &Project::title),
        textFieldCommand(QStringLiteral("artist"), QStringLiteral("ARTIST"), QStringLiteral("set the artist"),
                         QStringLiteral("artist"), &Project::artist),
        textFieldCommand(QStringLiteral("concept"), QStringLiteral("TEXT"),
                         QStringLiteral("set the concept sent to the planner"), QStringLiteral("conceptPrompt"),
                         &Project::conceptPrompt),
        {QStringLiteral("style"),
         QStringLiteral("[--palette P] [--mood M] [--medium M] [--continuity C] [--negative N] [--lyrics painted|sung|both]"),
         QStringLiteral("show or change the style guidance"), styleSpecs, 0, 0, style, [](const ParsedArgs &args) { lyricsChoice(args); }},
    };
}

} // namespace quillvane::cli
