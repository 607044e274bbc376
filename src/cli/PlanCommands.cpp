#include "cli/Command.h"

namespace quillvane::cli {

QList<Command> planCommands()
{
    return {};
}

} // namespace quillvane::cli
