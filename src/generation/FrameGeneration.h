#pragma once

// Painting the storyboard: the plan's element images, then one frame per chunk, each a job on
// the generation service whose picture is downloaded into the project's media folder.

#include "generation/FalClient.h"
#include "model/Records.h"
#include "storage/MediaLibrary.h"
#include "store/TaskReport.h"

namespace quillvane {

inline const QString renderElementsLabel = QStringLiteral("Rendering elements");

// "Rendering element 2/6: neon-sign", with the element's place in the whole plan.
QString elementLabel(qsizetype position, qsizetype count, const QString &elementID);
// "Generating frame 3" for the chunk at index 2.
QString frameLabel(const StoryboardChunk &chunk);
// The sentence for a chunk whose frame would have nothing to keep it consistent with.
QString noReferenceMessage(const StoryboardChunk &chunk);

// What the planner and the painter are told when the lyrics are only set over the video as
// sung: the stills carry no words of their own, which the lettering layer would fight with.
inline const QString noWordsInPlan =
    QStringLiteral("No text, no lettering, no signs with words in any frame: the lyrics are set over the video as they are sung.");
inline const QString noWordsInFrame = QStringLiteral("No text, no lettering, no signs with words anywhere in the picture.");
inline const QString wordsToAvoid = QStringLiteral("text, lettering, letters, words, captions, signs with words");

// The image prompt of a chunk: mood and medium, the lyric text on its surface (or, when the
// lyrics are only sung, no words at all), the character (when given), continuity notes (when
// any) and the palette, as sentences joined by blanks.
QString composeFramePrompt(const StoryboardChunk &chunk, const StyleGuidance &style, LyricsOnScreen lyrics,
                           const CharacterReference *character = nullptr);
// The prompt a chunk's frame is painted from: the planner's, else the composed one. When the
// lyrics are only sung it asks for no words, and a planner's prompt that still names the
// chunk's words (planned before the choice) gives way to the composed one.
QString framePrompt(const StoryboardChunk &chunk, const StyleGuidance &style, LyricsOnScreen lyrics);
// The words a frame must keep out, sent only when the lyrics are only sung (empty otherwise,
// leaving the request as the service has always had it): the style's negatives and any text.
QString frameNegativePrompt(const StyleGuidance &style, LyricsOnScreen lyrics);

// The references sent with a chunk's frame job: the rendered images of the elements it uses,
// then the characters' reference images (data URLs made once per operation, see
// characterReferenceURLs); each string once, first place kept.
QStringList referenceImageURLs(const Project &project, const StoryboardChunk &chunk, const QStringList &characterURLs);
// Whether the chunk could have any reference at all, judged from the project alone: the
// images themselves are read only once the frame's task is showing.
bool mayHaveReference(const Project &project, const StoryboardChunk &chunk);

bool isPending(const PlanElement &element);
bool hasPendingElements(const Project &project);

// One plan element rendered and kept on disk.
struct ElementImage {
    QString elementID;
    QString remoteURL;
    QString localPath;
};

// Renders one element of the plan (its raw JSON is the shot plan) and downloads the picture to
// destination.
QCoro::Task<ElementImage> renderElement(FalClient &client, QString workflow, QString shotPlan, QString elementID,
                                        QString destination, TaskReport report, CancelToken cancel);
// Gives the plan's element with that id its image; false when the plan has no such element.
bool keepElementImage(Project &project, const ElementImage &image);

// What one frame job sends, taken from the project when its task starts.
struct FrameJob {
    QString prompt;
    QString stylePreset;
    QStringList references;      // referenceImageURLs of the chunk
    QList<PlanElement> elements; // the plan's, to find the files of elements the built-in studio made

    // The video's shape: the picture is asked for in it, so the motion need not crop it.
    VideoShape shape = VideoShape::landscape;
    // What the picture must not show (frameNegativePrompt); not sent when empty.
    QString negativePrompt;
};

// Paints the frame of the chunk with chunkID and downloads it into the media folder: a fresh
// frame, every review check off.
QCoro::Task<GeneratedFrame> generateFrame(FalClient &client, QString workflow, FrameJob job, MediaLibrary media,
                                          QUuid chunkID, TaskReport report, CancelToken cancel);

// Runs one image job on the service (submit, wait with the queue position reported, fetch the
// result) and returns the URL of the image it made; no image fails with noImageInResponse.
// Shared by frame generation and editing.
QCoro::Task<QString> runImageJob(FalClient &client, QString workflow, QJsonObject input, TaskReport report,
                                 CancelToken cancel);

// Downloads a made image as a new frame of the chunk (a fresh id, every check off); a failed
// download throws before anything is kept. Shared by generation and editing.
QCoro::Task<GeneratedFrame> downloadFrame(FalClient &client, QString imageURL, QString prompt,
                                          std::optional<QString> editRequest, MediaLibrary media, QUuid chunkID);

// Makes the frame the current one of the chunk with that id: the previous frame pushed onto
// the undo stack, the redo stack emptied. Touches updatedAt, also when no chunk matched.
void applyNewFrame(Project &project, const QUuid &chunkID, GeneratedFrame frame);

} // namespace quillvane
