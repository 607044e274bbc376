// Commands that plan the storyboard.

#include "pipeline/GenerationOperations.h"
#include "cli/Command.h"

namespace quillvane::cli {

namespace {

QCoro::Task<int> plan(CommandContext context)
{
    auto planning = startPlanning(context.store);
    const Done planned = co_await planning;
    if (!planned.isDone())
        co_return stoppedStatus(context.out, planned);
    const Project &project = context.store.project();
    const qsizetype chunks = project.chunks.size();
    const qsizetype elements = project.plan ? project.plan->elements.size() : 0;
    if (context.globals.json) {
        context.out.json({{QStringLiteral("chunks"), chunks}, {QStringLiteral("elements"), elements}});
    } else {
        context.out.line(QStringLiteral("%1 %2, %3 %4")
                             .arg(chunks)
                             .arg(chunks == 1 ? QStringLiteral("chunk") : QStringLiteral("chunks"))
                             .arg(elements)
                             .arg(elements == 1 ? QStringLiteral("element") : QStringLiteral("elements")));
    }
    co_return 0;
}

} // namespace

QList<Command> planCommands()
{
    return {
        {QStringLiteral("plan"), {}, QStringLiteral("plan the storyboard from the timed lyrics and the characters"), {},
         0, 0, plan},
    };
}

} // namespace quillvane::cli
