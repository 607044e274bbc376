#include "cli/Command.h"

namespace quillvane::cli {

QList<Command> frameCommands()
{
    return {};
}

} // namespace quillvane::cli
