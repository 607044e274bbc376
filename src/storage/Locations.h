#pragma once

#include "model/Error.h"

#include <QString>

namespace quillvane {

// Where Quillvane keeps its files for the current user, following the XDG variables so a
// test or a second library can run under another HOME without touching the user's own.
namespace locations {

// <XDG_DATA_HOME or ~/.local/share>/Quillvane; throws when no data folder can be found.
QString dataFolder();
// dataFolder()/projects: one folder per project.
QString projectsFolder();
// dataFolder()/whisper-runtime.
QString whisperRuntimeFolder();
// dataFolder()/demo: the demo song and character, made on first use.
QString demoFolder();
// The file that marks a library as open for writing.
QString libraryLockFile();

} // namespace locations

class NoDataFolderError : public Error {
public:
    NoDataFolderError();
};

} // namespace quillvane
