// Commands that bring a track in and time its lyrics.

#include "pipeline/IntakeOperations.h"
#include "audio/Lyrics.h"
#include "cli/Command.h"
#include "model/ProjectJson.h"
#include "model/TimeFormat.h"

#include <QFile>

#include <cmath>
#include <cstdio>

namespace quillvane::cli {

namespace {

QCoro::Task<int> engine(CommandContext context)
{
    const Transcriber *transcriber = context.store.services().transcriber.get();
    const QString name = transcriber ? transcriber->name() : QStringLiteral("None");
    const bool available = transcriber && transcriber->isAvailable();
    const LyricsAligner *aligner = context.store.services().aligner.get();
    if (context.globals.json) {
        QJsonObject object{{QStringLiteral("engine"), name}, {QStringLiteral("available"), available}};
        if (aligner) {
            object.insert(QStringLiteral("aligner"), aligner->name());
            object.insert(QStringLiteral("alignerAvailable"), aligner->isAvailable());
        }
        context.out.json(object);
    } else {
        context.out.line(name);
        if (aligner)
            context.out.line(QStringLiteral("Word aligner: %1%2").arg(aligner->name(), aligner->isAvailable() ? QString()
                                                                       : QStringLiteral(" (not available)")));
    }
    co_return 0;
}

QCoro::Task<int> import(CommandContext context)
{
    auto importing = startImport(context.store, context.args.positional.first());
    const Done imported = co_await importing;
    if (!imported.isDone())
        co_return stoppedStatus(context.out, imported);
    const auto source = context.store.project().lyricsSource;
    if (context.globals.json) {
        QJsonObject object;
        if (source)
            object.insert(QStringLiteral("lyricsSource"), caseName(*source));
        context.out.json(object);
    } else if (source) {
        context.out.line(label(*source));
    }
    co_return 0;
}

QString readAll(FILE *stream)
{
    QFile input;
    if (!input.open(stream, QIODevice::ReadOnly))
        throw Error(QStringLiteral("Could not read the lyrics from standard input."));
    return QString::fromUtf8(input.readAll());
}

QCoro::Task<int> lyrics(CommandContext context)
{
    const ParsedArgs &args = context.args;
    QString text;
    if (const auto file = args.value(QStringLiteral("file"))) {
        QFile input(*file);
        if (!input.open(QIODevice::ReadOnly))
            throw Error(QStringLiteral("Could not read the lyrics file %1: %2").arg(*file, input.errorString()));
        text = QString::fromUtf8(input.readAll());
    } else if (const auto given = args.value(QStringLiteral("text"))) {
        text = *given;
    } else {
        text = readAll(stdin);
    }
    setLyrics(context.store.document(), text);
    const int lines = nonBlankLineCount(context.store.project().rawLyrics);
    if (context.globals.json)
        context.out.json({{QStringLiteral("lines"), lines}});
    else
        context.out.line(lines == 1 ? QStringLiteral("1 line") : QStringLiteral("%1 lines").arg(lines));
    co_return 0;
}

void checkLyricsSource(const ParsedArgs &args)
{
    const int sources = int(args.has(QStringLiteral("file"))) + int(args.has(QStringLiteral("text")))
        + int(args.positional.contains(QStringLiteral("-")));
    if (sources != 1 || (!args.positional.isEmpty() && args.positional != QStringList{QStringLiteral("-")}))
        throw UsageError(QStringLiteral("give the lyrics with exactly one of --file F, --text T or -"));
}

QString segmentLine(qsizetype number, const TranscriptSegment &segment)
{
    return QStringLiteral("%1  %2–%3  %4")
        .arg(number)
        .arg(clockText(segment.start, ClockUnit::hundredths), clockText(segment.end, ClockUnit::hundredths))
        .arg(segment.text);
}

qsizetype segmentIndex(const ParsedArgs &args)
{
    return countingNumber(args.positional.first(), QStringLiteral("INDEX must be a segment number from 1")) - 1;
}

// The value of --NAME as seconds, when given.
std::optional<double> secondsOption(const ParsedArgs &args, const QString &name)
{
    const auto text = args.value(name);
    if (!text)
        return std::nullopt;
    bool ok = false;
    const double seconds = text->toDouble(&ok);
    if (!ok || !std::isfinite(seconds))
        throw UsageError(QStringLiteral("--%1 needs a time in seconds").arg(name));
    return seconds;
}

double shiftSeconds(const ParsedArgs &args)
{
    bool ok = false;
    const double seconds = args.positional.first().toDouble(&ok);
    if (!ok || !std::isfinite(seconds))
        throw UsageError(QStringLiteral("SECONDS must be a number of seconds, such as -0.5"));
    return seconds;
}

QCoro::Task<int> shift(CommandContext context)
{
    const Done shifted = shiftTranscript(context.store.document(), shiftSeconds(context.args));
    if (shifted.isFailed())
        throw Error(shifted.failure());
    const QList<TranscriptSegment> &lines = context.store.project().transcript;
    if (context.globals.json) {
        QJsonArray array;
        for (const TranscriptSegment &line : lines)
            array.append(toJson(line));
        context.out.json(QJsonObject{{QStringLiteral("transcript"), array}});
    } else {
        for (qsizetype i = 0; i < lines.size(); ++i)
            context.out.line(segmentLine(i + 1, lines.at(i)));
    }
    co_return 0;
}

QCoro::Task<int> segment(CommandContext context)
{
    const qsizetype index = segmentIndex(context.args);
    const qsizetype count = context.store.project().transcript.size();
    Q_UNUSED(count)
    const Done edit = editSegment(context.store.document(), index, context.args.value(QStringLiteral("text")),
                                                secondsOption(context.args, QStringLiteral("start")),
                                                secondsOption(context.args, QStringLiteral("end")));
    if (edit.isFailed())
        throw Error(edit.failure());
    const TranscriptSegment &edited = context.store.project().transcript.at(index);
    if (context.globals.json)
        context.out.json(toJson(edited));
    else
        context.out.line(segmentLine(index + 1, edited));
    co_return 0;
}

QCoro::Task<int> timing(CommandContext context)
{
    auto timing = startTiming(context.store);
    const Done timed = co_await timing;
    if (!timed.isDone())
        co_return stoppedStatus(context.out, timed);
    const auto &transcript = context.store.project().transcript;
    if (context.globals.json) {
        context.out.json({{QStringLiteral("segments"), transcript.size()}});
        co_return 0;
    }
    for (qsizetype i = 0; i < transcript.size(); ++i)
        context.out.line(segmentLine(i + 1, transcript.at(i)));
    co_return 0;
}

} // namespace

QList<Command> audioCommands()
{
    return {
        {QStringLiteral("engine"), {}, QStringLiteral("show the transcription engine in use"), {}, 0, 0, engine},
        {QStringLiteral("import"), QStringLiteral("FILE"),
         QStringLiteral("import an audio track: tags, lyrics (checked or transcribed)"), {}, 1, 1, import},
        {QStringLiteral("lyrics"), QStringLiteral("(--file F | --text T | -)"),
         QStringLiteral("replace the lyrics (the transcript is made again by timing)"),
         {{QStringLiteral("file"), QStringLiteral("F"), QStringLiteral("read the lyrics from a UTF-8 file")},
          {QStringLiteral("text"), QStringLiteral("T"), QStringLiteral("the lyrics as one argument")}},
         0, 1, lyrics, checkLyricsSource},
        {QStringLiteral("segment"), QStringLiteral("INDEX [--text T] [--start SECONDS] [--end SECONDS]"),
         QStringLiteral("show or correct one timed line (INDEX counts from 1; lines stay in time order)"),
         {{QStringLiteral("text"), QStringLiteral("T"), QStringLiteral("the line's text")},
          {QStringLiteral("start"), QStringLiteral("SECONDS"), QStringLiteral("the line's start time")},
          {QStringLiteral("end"), QStringLiteral("SECONDS"), QStringLiteral("the line's end time")}},
         1, 1, segment,
         [](const ParsedArgs &args) {
             segmentIndex(args);
             secondsOption(args, QStringLiteral("start"));
             secondsOption(args, QStringLiteral("end"));
         }},
        {QStringLiteral("shift"), QStringLiteral("SECONDS"),
         QStringLiteral("move every timed line by SECONDS (negative: sooner)"), {}, 1, 1, shift,
         [](const ParsedArgs &args) { shiftSeconds(args); }},
        {QStringLiteral("timing"), {}, QStringLiteral("time every lyric line against the track"), {}, 0, 0, timing},
    };
}

} // namespace quillvane::cli
