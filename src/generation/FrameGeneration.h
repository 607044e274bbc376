#pragma once

#include "generation/FalClient.h"
#include "store/ProjectStore.h"

namespace quillvane {

inline const QString renderElementsLabel = QStringLiteral("Rendering elements");

// "Rendering element 2/6: neon-sign", with the element's place in the whole plan.
QString elementLabel(qsizetype position, qsizetype count, const QString &elementID);
// "Generating frame 3" for the chunk at index 2.
QString frameLabel(const StoryboardChunk &chunk);

// The image prompt of a chunk: mood and medium, the lyric text on its surface, the character
// (when given), continuity notes (when any) and the palette, as sentences joined by blanks.
QString composeFramePrompt(const StoryboardChunk &chunk, const StyleGuidance &style,
                           const CharacterReference *character = nullptr);

// The references sent with a chunk's frame job: the rendered images of the elements it uses,
// then the characters' reference images (data URLs made once per operation, see
// characterReferenceURLs); each string once, first place kept.
QStringList referenceImageURLs(const Project &project, const StoryboardChunk &chunk, const QStringList &characterURLs);

// Renders each plan element that has no image yet, in plan order, downloading each into the
// elements folder. Each finished element is kept at once, so a failure part-way leaves the
// earlier ones rendered and the rest pending.
QCoro::Task<> runRenderElements(ProjectStore &store, CancelToken cancel);
// runRenderElements through the store's Run wrapper; done at once, with no task shown, when
// nothing is pending.
QCoro::Task<Done> startRenderElements(ProjectStore &store, CancelToken cancel = {});

// Generates (or regenerates) the frame of one chunk through the store's Run wrapper. An
// unknown chunk is done with nothing to do; a chunk without any reference image fails at once
// (its sentence also becomes lastError) and no task starts.
QCoro::Task<Done> startGenerateFrame(ProjectStore &store, QUuid chunkID, CancelToken cancel = {});

// Generates the frame of every chunk that has none, one after another under one token, and
// stops at the first that does not finish: a failure or a cancel, also one made between two
// frames, starts no later frame. Frames already made stay. Pending elements are a stage of
// their own, run before this one by the stage sequence.
QCoro::Task<Done> startGenerateMissingFrames(ProjectStore &store, CancelToken cancel = {});

// Runs one image job on the service (submit, wait with the queue position shown, fetch the
// result) and returns the URL of the image it made; no image fails with noImageInResponse.
// Shared by frame generation and editing.
QCoro::Task<QString> runImageJob(ProjectStore &store, FalClient &client, QString workflow, QJsonObject input,
                                 CancelToken cancel);

// Downloads the image into the project's frames folder and makes it the chunk's current
// frame: a fresh frame with every review check off, the previous frame pushed onto the undo
// stack, the redo stack emptied, updatedAt set. Shared by generation and editing.
QCoro::Task<> applyNewFrame(ProjectStore &store, FalClient &client, QUuid chunkID, QString imageURL, QString prompt,
                            std::optional<QString> editRequest);

} // namespace quillvane
