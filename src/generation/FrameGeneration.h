#pragma once

#include "generation/FalClient.h"
#include "store/ProjectStore.h"

namespace quillvane {

// Downloads the image into the project's frames folder and makes it the chunk's current
// frame: a fresh frame with every review check off, the previous frame pushed onto the undo
// stack, the redo stack emptied, updatedAt set. Shared by generation and editing.
QCoro::Task<> applyNewFrame(ProjectStore &store, FalClient &client, QUuid chunkID, QString imageURL, QString prompt,
                            std::optional<QString> editRequest);

} // namespace quillvane
