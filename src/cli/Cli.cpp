#include "cli/Cli.h"

#include "cli/Command.h"
#include "cli/InterruptCanceller.h"
#include "cli/ProgressPrinter.h"
#include "pipeline/DefaultServices.h"
#include "storage/LibraryLock.h"
#include "storage/Locations.h"
#include "store/BlockingWait.h"

#include <QJsonDocument>

#include <cstdio>
#include <unistd.h>

namespace quillvane::cli {

void Output::line(const QString &text) const
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stdout);
}

void Output::json(const QJsonObject &object) const
{
    raw(QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n');
}

void Output::raw(const QByteArray &bytes) const
{
    std::fwrite(bytes.constData(), 1, size_t(bytes.size()), stdout);
}

void Output::error(const QString &text) const
{
    note(QStringLiteral("error: ") + text);
}

void Output::note(const QString &text) const
{
    std::fputs((text + QLatin1Char('\n')).toUtf8().constData(), stderr);
}

namespace {

const QString program = QStringLiteral("quillvane-cli");
// A command stopped by Ctrl+C exits as programs stopped by SIGINT do.

QList<OptionSpec> globalOptions()
{
    return {{QStringLiteral("json"), {}, QStringLiteral("print one JSON object instead of text")},
            {QStringLiteral("offline"), {}, QStringLiteral("use the built-in offline studio for generation")},
            {QStringLiteral("service-url"), QStringLiteral("URL"),
             QStringLiteral("use this generation service base URL in this run")},
            {QStringLiteral("help"), {}, QStringLiteral("show help")}};
}

QList<Command> allCommands()
{
    return projectCommands() + audioCommands() + characterCommands() + planCommands() + frameCommands()
        + editCommands() + mediaCommands() + runCommands();
}

QString optionLines(const QList<OptionSpec> &options)
{
    QString text;
    for (const auto &option : options) {
        QString left = QStringLiteral("--") + option.name;
        if (option.takesValue())
            left += QLatin1Char(' ') + option.valueName;
        text += QStringLiteral("  %1 %2\n").arg(left, -24).arg(option.help);
    }
    return text;
}

QString programHelp()
{
    QString text = QStringLiteral("usage: %1 [GLOBAL OPTIONS] COMMAND [ARGS]\n\n"
                                  "Quillvane turns one song into a lyric video; this is its headless front end.\n\n"
                                  "Commands:\n")
                       .arg(program);
    for (const auto &command : allCommands())
        text += QStringLiteral("  %1 %2\n").arg(command.name, -20).arg(command.summary);
    text += QStringLiteral("\nGlobal options:\n") + optionLines(globalOptions());
    text += QStringLiteral("\nRun '%1 COMMAND --help' for a command's arguments.").arg(program);
    return text;
}

QString commandHelp(const Command &command)
{
    QString text = QStringLiteral("usage: %1 %2 %3\n\n%4\n").arg(program, command.name, command.arguments,
                                                                command.summary);
    if (!command.options.isEmpty())
        text += QStringLiteral("\nOptions:\n") + optionLines(command.options);
    text += QStringLiteral("\nGlobal options:\n") + optionLines(globalOptions());
    return text.trimmed();
}

// Usage errors name the command whose help explains the fix.
struct UsageContext {
    QString helpTarget;
};

int usageFailure(const Output &out, const QString &problem, const UsageContext &context)
{
    const QString help = context.helpTarget.isEmpty() ? program : program + QLatin1Char(' ') + context.helpTarget;
    out.note(QStringLiteral("%1: %2. Try '%3 --help'.").arg(program, problem, help));
    return 2;
}

void applyGlobal(GlobalOptions &globals, const ParsedArgs &parsed)
{
    globals.json = globals.json || parsed.has(QStringLiteral("json"));
    globals.offline = globals.offline || parsed.has(QStringLiteral("offline"));
    if (const auto url = parsed.value(QStringLiteral("service-url"))) {
        const QUrl parsedURL(*url, QUrl::StrictMode);
        const QString scheme = parsedURL.scheme().toLower();
        if (!parsedURL.isValid() || parsedURL.host().isEmpty()
            || (scheme != QLatin1String("http") && scheme != QLatin1String("https")))
            throw UsageError(QStringLiteral("--service-url needs an http or https URL"));
        globals.serviceURL = parsedURL;
    }
}


// Runs one command against the user's library: takes the library lock, opens the store,
// runs the command, and flushes a save still waiting so nothing the command did is lost.
int execute(const Command &command, const ParsedArgs &parsed, const GlobalOptions &globals, const Output &out)
{
    try {
        const LibraryLock lock(locations::libraryLockFile());
        ProjectStore store(ProjectLibrary::forUser(), std::nullopt, makeDefaultServices());
        // --offline (or a command that always paints offline) and --service-url choose for
        // this run only; the settings stay as they are.
        store.settings().chooseForThisRun(globals.offline || command.alwaysOffline ? std::optional(Backend::offline)
                                                                                    : std::nullopt,
                                          globals.serviceURL);
        const ProgressPrinter progress(
            store, [](const QString &text) { std::fputs(text.toUtf8().constData(), stderr); }, isatty(STDERR_FILENO));
        const InterruptCanceller interrupt([&store, &out] {
            out.note(QStringLiteral("Cancelling…"));
            store.cancelRunningTasks();
        });
        int status = 0;
        try {
            status = blockingWait(command.run(
                CommandContext{store, globals, parsed, out, [&interrupt] { return interrupt.interrupted(); }}));
        } catch (const UsageError &) {
            throw; // nothing was changed; nothing to save
        } catch (const Error &error) {
            out.error(error.description());
            status = 1;
        }
        store.document().flushPendingSave();
        return status;
    } catch (const UsageError &) {
        throw;
    } catch (const std::exception &error) {
        out.error(userFacingDescription(error));
        return 1;
    }
}

// The leading global options, up to the first word that is not one.
QStringList leadingOptions(const QStringList &arguments, qsizetype &next)
{
    QStringList leading;
    while (next < arguments.size() && arguments.at(next).startsWith(QLatin1String("--"))) {
        leading.append(arguments.at(next++));
        if (leading.last() == QLatin1String("--service-url") && next < arguments.size())
            leading.append(arguments.at(next++));
    }
    return leading;
}

// The subcommands of a group such as "character"; empty when the word is no group.
QList<Command> subcommandsOf(const QList<Command> &commands, const QString &group)
{
    QList<Command> members;
    for (const auto &command : commands) {
        if (command.name.startsWith(group + QLatin1Char(' ')))
            members.append(command);
    }
    return members;
}

QString groupHelp(const QString &group, const QList<Command> &members)
{
    QString text = QStringLiteral("usage: %1 %2 SUBCOMMAND ...\n\nSubcommands:\n").arg(program, group);
    for (const auto &command : members)
        text += QStringLiteral("  %1 %2\n").arg(command.name, -20).arg(command.summary);
    return text.trimmed();
}

const Command &findCommand(const QList<Command> &commands, const QString &name)
{
    const auto command = std::find_if(commands.begin(), commands.end(), [&name](const auto &c) { return c.name == name; });
    if (command == commands.end())
        throw UsageError(QStringLiteral("unknown command \"%1\"").arg(name));
    return *command;
}

void checkArguments(const Command &command, const ParsedArgs &parsed)
{
    const auto count = parsed.positional.size();
    if (count < command.minPositional)
        throw UsageError(QStringLiteral("missing arguments: %1 %2").arg(command.name, command.arguments));
    if (command.maxPositional >= 0 && count > command.maxPositional)
        throw UsageError(QStringLiteral("too many arguments: %1 %2").arg(command.name, command.arguments));
    if (command.check)
        command.check(parsed);
}

} // namespace

int runCli(const QStringList &arguments)
{
    const Output out;
    UsageContext usage;
    try {
        GlobalOptions globals;
        qsizetype next = 0;
        const ParsedArgs leading = parseArgs(leadingOptions(arguments, next), globalOptions());
        if (leading.has(QStringLiteral("help"))) {
            out.line(programHelp());
            return 0;
        }
        applyGlobal(globals, leading);
        if (next >= arguments.size())
            throw UsageError(QStringLiteral("no command given"));

        const QList<Command> commands = allCommands();
        QString name = arguments.at(next++);
        if (const QList<Command> group = subcommandsOf(commands, name); !group.isEmpty()) {
            usage.helpTarget = name;
            if (next < arguments.size() && arguments.at(next) == QLatin1String("--help")) {
                out.line(groupHelp(name, group));
                return 0;
            }
            if (next >= arguments.size())
                throw UsageError(QStringLiteral("%1 needs a subcommand").arg(name));
            name += QLatin1Char(' ') + arguments.at(next++);
        }
        const Command &command = findCommand(commands, name);
        usage.helpTarget = name;

        const ParsedArgs parsed = parseArgs(arguments.mid(next), command.options + globalOptions());
        if (parsed.has(QStringLiteral("help"))) {
            out.line(commandHelp(command));
            return 0;
        }
        applyGlobal(globals, parsed);
        checkArguments(command, parsed);
        return execute(command, parsed, globals, out);
    } catch (const UsageError &error) {
        return usageFailure(out, error.problem(), usage);
    }
}

} // namespace quillvane::cli
