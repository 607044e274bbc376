#pragma once

#include <QStringList>

namespace quillvane::cli {

// Runs quillvane-cli with its arguments (without the program name) against the user's
// library and returns the exit status: 0 success, 1 an operation error, 2 a usage error.
int runCli(const QStringList &arguments);

} // namespace quillvane::cli
