#include "cli/Command.h"

namespace quillvane::cli {

QList<Command> editCommands()
{
    return {};
}

} // namespace quillvane::cli
