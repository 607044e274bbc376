#pragma once

// The persisted records of one lyric-video project. Every record is a plain value: copying
// copies all of it, equality compares every field, and cross-references go by identifier
// (a chunk names its character by id, its plan elements by their id strings).

#include <QDateTime>
#include <QList>
#include <QSize>
#include <QString>
#include <QStringList>
#include <QUuid>

#include <optional>

namespace quillvane {

// Current time in UTC at whole-second precision: the document keeps dates to the second,
// so records carry no finer time and a saved project reads back equal.
QDateTime now();

// Identifiers as the document writes them: canonical 36-character form, upper case.
QString uuidText(const QUuid &id);

// One lyric word where it is sung, in seconds from the start of the track.
struct TimedWord {
    QString text;
    double start = 0;
    double end = 0;

    bool operator==(const TimedWord &) const = default;
};

struct TranscriptSegment {
    QUuid id = QUuid::createUuid();
    QString text;
    double start = 0;
    double end = 0;
    // The line's words when they were aligned to the audio; empty otherwise.
    QList<TimedWord> words;

    bool operator==(const TranscriptSegment &) const = default;
};

// syncedFile: an .lrc file beside the track; syncedTag: the track's own timed lyrics (a SYLT
// frame or a lyrics tag written as LRC). Both come with their times.
enum class LyricsSource { embeddedVerified, embeddedUnverified, embeddedMismatch, transcribed, manual, syncedFile, syncedTag };

// Visual intent of a status chip; the component kit draws one colour per intent.
enum class ChipIntent { neutral, good, bad, accent, pending };

QString caseName(LyricsSource source);
std::optional<LyricsSource> lyricsSourceFromCaseName(const QString &name);
QString label(LyricsSource source);
ChipIntent chipIntent(LyricsSource source);

struct PlanElement {
    QString id;
    QString type;
    QString continuityDescription;
    QString textToImagePrompt;
    std::optional<QString> imageRemoteURL;
    std::optional<QString> imageLocalPath;

    bool operator==(const PlanElement &) const = default;
};

struct StoryboardPlan {
    QString artDirectionStatement;
    QString ideogramStylePreset;
    QStringList palette;
    QString motif;
    QString storyline;
    QString emotionalArc;
    QString visualAnchor;
    QList<PlanElement> elements;
    QString rawJSON;

    bool operator==(const StoryboardPlan &) const = default;
};

// Declared in full with the style guidance below.
enum class LyricsOnScreen;

struct ReviewChecklist {
    bool spellingCorrect = false;
    bool readable = false;
    bool placementOK = false;
    bool characterConsistent = false;
    bool styleContinuous = false;

    int passedCount() const;
    bool allPassed() const { return passedCount() == 5; }
    bool operator==(const ReviewChecklist &) const = default;
};

// The checklist as it counts under the project's lyrics: when the lyrics are only set as sung,
// the stills carry no words, so spelling and readability are the lettering layer's and pass.
ReviewChecklist effectiveReview(ReviewChecklist review, LyricsOnScreen lyrics);

struct GeneratedFrame {
    QUuid id = QUuid::createUuid();
    QString localPath;
    std::optional<QString> remoteURL;
    QString prompt;
    std::optional<QString> editRequest;
    std::optional<QString> motionClipPath;
    ReviewChecklist review;
    QDateTime createdAt = now();

    bool operator==(const GeneratedFrame &) const = default;
};

struct StoryboardChunk {
    QUuid id = QUuid::createUuid();
    qint64 index = 0;
    qint64 chunkNumber = 1;
    double start = 0;
    double end = 0;
    QString lyricExcerpt;
    QString renderedText;
    QString surface;
    bool primaryCharacterInFrame = false;
    QStringList elementIdsUsed;
    QString imagePrompt;
    QString videoPrompt;
    std::optional<QUuid> characterID;
    std::optional<GeneratedFrame> frame;
    QList<GeneratedFrame> undoStack;
    QList<GeneratedFrame> redoStack;

    // A chunk is framed when it has a frame, accepted when that frame passes all five checks
    // as they count under the project's lyrics (see effectiveReview).
    bool isFramed() const { return frame.has_value(); }
    bool isAccepted(LyricsOnScreen lyrics) const;
    bool operator==(const StoryboardChunk &) const = default;
};

struct CharacterReference {
    QUuid id = QUuid::createUuid();
    QString name;
    QString notes;
    QStringList referenceImagePaths;

    bool operator==(const CharacterReference &) const = default;
};

// How the lyrics reach the picture: painted into each still by the image engine, set over the
// clips by Quillvane as they are sung (the line being sung, its current word lit), or both.
enum class LyricsOnScreen { painted, sung, both };

// "painted", "sung" or "both", as the document and the command line write it.
QString textValue(LyricsOnScreen lyrics);
std::optional<LyricsOnScreen> lyricsOnScreenFromText(const QString &text);
// Whether stills are asked to carry words, and whether the lettering layer is drawn.
inline bool paintsWords(LyricsOnScreen lyrics) { return lyrics != LyricsOnScreen::sung; }
inline bool setsWords(LyricsOnScreen lyrics) { return lyrics != LyricsOnScreen::painted; }

struct StyleGuidance {
    QString paletteName = QStringLiteral("Acid & Coral");
    QString mood = QStringLiteral("Vivid, analog, expressive");
    QString medium = QStringLiteral("Hand-painted marker on physical surfaces");
    QString negativePrompts = QStringLiteral("blurry text, misspelled words, watermark");
    QString continuityNotes;
    // Unset: what the pictures of the chosen backend call for (painted by the service, set as
    // sung over the offline studio's stills).
    std::optional<LyricsOnScreen> lyricsOnScreen;

    bool operator==(const StyleGuidance &) const = default;
};

// How long each clip lasts: while its chunk's words are sung (the clips then tile the song),
// or durationSeconds each, laid end to end.
enum class ClipTiming { followSong, fixedLength };

// "song" or "fixed", as the document and the command line write it.
QString textValue(ClipTiming timing);
std::optional<ClipTiming> clipTimingFromText(const QString &text);

// How one clip gives way to the next: a short blend of both pictures, or a hard cut.
enum class ClipTransition { crossfade, cut };

QString textValue(ClipTransition transition);
std::optional<ClipTransition> clipTransitionFromText(const QString &text);
inline constexpr double crossfadeSeconds = 0.3;

struct DepthFlowSettings {
    double intensity = 0.5;
    double zoom = 0.15;
    double durationSeconds = 4.0;
    qint64 fps = 30;
    bool loop = true;
    ClipTiming clipTiming = ClipTiming::followSong;
    ClipTransition transition = ClipTransition::crossfade;

    bool operator==(const DepthFlowSettings &) const = default;
};

enum class ExportResolution { p720, p1080, p1440, p2160 };
// The picture's shape: wide (the classic video), tall for phone screens, or square.
enum class VideoShape { landscape, portrait, square };
enum class ExportContainer { mp4, mov };

QList<ExportResolution> allExportResolutions();
QList<ExportContainer> allExportContainers();
QString textValue(ExportResolution resolution);
QString textValue(ExportContainer container);
std::optional<ExportResolution> exportResolutionFromText(const QString &text);
std::optional<ExportContainer> exportContainerFromText(const QString &text);
// "16:9", "9:16" or "1:1", as the document, the screens and the command line write it.
QString textValue(VideoShape shape);
std::optional<VideoShape> videoShapeFromText(const QString &text);
QList<VideoShape> allVideoShapes();
// Pixels of a frame: the resolution names the short side, so a tall 1080p frame is 1080x1920.
QSize frameSize(VideoShape shape, ExportResolution resolution);
// File extension of an exported video, without the dot.
QString fileExtension(ExportContainer container);

struct ExportSettings {
    ExportResolution resolution = ExportResolution::p1080;
    ExportContainer container = ExportContainer::mp4;
    bool includeOriginalAudio = true;
    QString destinationFolder;
    // The timed lyrics written beside the video as NAME.srt and NAME.lrc.
    bool subtitles = true;
    VideoShape shape = VideoShape::landscape;

    bool operator==(const ExportSettings &) const = default;
};

struct Project {
    QUuid id = QUuid::createUuid();
    QString title;
    QString artist;
    QString audioPath;
    double audioDuration = 0; // seconds of the track; 0 when not known
    QString rawLyrics;
    QList<TranscriptSegment> transcript;
    std::optional<LyricsSource> lyricsSource;
    std::optional<StoryboardPlan> plan;
    QString conceptPrompt;
    QList<StoryboardChunk> chunks;
    QList<CharacterReference> characters;
    StyleGuidance style;
    DepthFlowSettings motion;
    ExportSettings exportSettings; // "export" in the document; the word is reserved in C++
    QDateTime createdAt = now();
    QDateTime updatedAt = createdAt;

    int framedCount() const;
    // Under the project's effective lyrics (lyricsOnScreen(style, backend)).
    int acceptedCount(LyricsOnScreen lyrics) const;
    bool allChunksAccepted(LyricsOnScreen lyrics) const; // true only when there is at least one chunk
    // Whether some character has a reference image (what planning is built around).
    bool hasReferencedCharacter() const;
    // The chunk or character with that id, or nullptr when the project has none.
    StoryboardChunk *chunkWithID(const QUuid &chunkID);
    const StoryboardChunk *chunkWithID(const QUuid &chunkID) const;
    CharacterReference *characterWithID(const QUuid &characterID);
    const CharacterReference *characterWithID(const QUuid &characterID) const;
    bool operator==(const Project &) const = default;
};

} // namespace quillvane
