#pragma once

#include "cli/ArgParser.h"
#include "store/ProjectStore.h"

#include <QCoro/QCoroTask>
#include <QJsonObject>
#include <QUrl>

#include <functional>
#include <optional>

namespace quillvane::cli {

struct GlobalOptions {
    bool json = false;
    bool offline = false;
    std::optional<QUrl> serviceURL; // used as given, not normalised
};

// Results go to standard output, everything else to standard error.
class Output {
public:
    void line(const QString &text) const;
    void json(const QJsonObject &object) const; // one compact object on one line
    void raw(const QByteArray &bytes) const;
    void error(const QString &text) const;      // "error: TEXT"
    void note(const QString &text) const;
};

struct CommandContext {
    ProjectStore &store;
    const GlobalOptions &globals;
    const ParsedArgs &args;
    const Output &out;
    // True once the user pressed Ctrl+C: a command of several operations stops between them.
    std::function<bool()> interrupted = [] { return false; };
};

// The exit status of a command the user stopped with Ctrl+C.
inline constexpr int cancelledStatus = 130;

// How a command ends when its store operation did not finish: a failure is written as
// "error: SENTENCE" and exits 1, a cancellation says "Cancelled." and exits cancelledStatus.
template <typename T>
int stoppedStatus(const Output &out, const Outcome<T> &outcome)
{
    if (outcome.isCancelled()) {
        out.note(QStringLiteral("Cancelled."));
        return cancelledStatus;
    }
    out.error(outcome.failure());
    return 1;
}

// One command of quillvane-cli. A command returns its exit status; it reports a failure the
// user can act on by throwing quillvane::Error (exit 1) or UsageError (exit 2), and it
// checks its input before changing anything, so a failed command changes nothing.
struct Command {
    QString name;        // "status", "character add"
    QString arguments;   // synopsis after the name, e.g. "NAME [--notes T] [--image PATH]..."
    QString summary;
    QList<OptionSpec> options;
    int minPositional = 0;
    int maxPositional = 0; // -1: no limit
    std::function<QCoro::Task<int>(CommandContext)> run;
    // Checks the arguments before the library is opened; throws UsageError.
    std::function<void(const ParsedArgs &)> check = {};
    // Generates with the offline studio whatever the settings say (the demo).
    bool alwaysOffline = false;
};

// The video's shape, as `export` and `run` take it: --shape 16:9|9:16|1:1 and its row of an
// option table. A word that names no shape throws UsageError.
std::optional<VideoShape> shapeOption(const ParsedArgs &args);
OptionSpec shapeOptionSpec();

QList<Command> projectCommands();
QList<Command> characterCommands();
QList<Command> audioCommands();
QList<Command> planCommands();
QList<Command> frameCommands();
QList<Command> editCommands();
QList<Command> mediaCommands();
QList<Command> runCommands();

// "--lyrics painted|sung|both", shared by style and run: the option, its check (throws
// UsageError for an unknown name) and the choice it names, if given.
OptionSpec lyricsOption();
std::optional<LyricsOnScreen> lyricsChoice(const ParsedArgs &args);

} // namespace quillvane::cli
