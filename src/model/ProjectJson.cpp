#include "model/ProjectJson.h"

#include <QJsonDocument>

namespace quillvane {

namespace {

template <typename T>
std::function<T(const QJsonValue &, const QString &)> decoder()
{
    return [](const QJsonValue &value, const QString &path) { return fromJson<T>(value, path); };
}

template <typename Enum>
Enum enumeration(const FieldReader &reader, const QString &key, std::optional<Enum> (*parse)(const QString &),
                 std::optional<Enum> fallback = std::nullopt)
{
    const auto value = reader.member(key);
    if (!value) {
        if (fallback)
            return *fallback;
        reader.fail(key, QStringLiteral("missing"));
    }
    if (!value->isString())
        reader.fail(key, QStringLiteral("expected a string"));
    const auto parsed = parse(value->toString());
    if (!parsed)
        reader.fail(key, QStringLiteral("unknown value \"%1\"").arg(value->toString()));
    return *parsed;
}

// Each encoder writes its keys in ascending UTF-8 byte order; JsonWriter checks it.

void optional(JsonWriter &w, const char *key, const std::optional<QString> &value)
{
    if (value)
        w.key(key).string(*value);
}

// A date the reader would refuse must not be written: the save fails instead and the
// previous document stays, rather than a document that no longer opens.
void date(JsonWriter &w, const char *key, const QDateTime &value)
{
    const int year = value.toUTC().date().year();
    if (!value.isValid() || year < 1 || year > 9999)
        throw EncodingError(QString::fromUtf8(key));
    w.key(key).string(formatInternetDate(value));
}

template <typename T>
void list(JsonWriter &w, const QList<T> &items)
{
    w.beginArray();
    for (const auto &item : items)
        encode(w, item);
    w.endArray();
}

template <typename T>
QJsonObject asObject(const T &record)
{
    JsonWriter w;
    encode(w, record);
    return QJsonDocument::fromJson(w.take()).object();
}

} // namespace

void encode(JsonWriter &w, const TimedWord &word)
{
    w.beginObject();
    w.key("end").number(word.end, "word end");
    w.key("start").number(word.start, "word start");
    w.key("text").string(word.text);
    w.endObject();
}

void encode(JsonWriter &w, const TranscriptSegment &segment)
{
    w.beginObject();
    w.key("end").number(segment.end, "segment end");
    w.key("id").string(uuidText(segment.id));
    w.key("start").number(segment.start, "segment start");
    w.key("text").string(segment.text);
    // Absent rather than empty, so a line timed by proportion reads as it always has.
    if (!segment.words.isEmpty()) {
        w.key("words");
        list(w, segment.words);
    }
    w.endObject();
}

void encode(JsonWriter &w, const PlanElement &element)
{
    w.beginObject();
    w.key("continuityDescription").string(element.continuityDescription);
    w.key("id").string(element.id);
    optional(w, "imageLocalPath", element.imageLocalPath);
    optional(w, "imageRemoteURL", element.imageRemoteURL);
    w.key("textToImagePrompt").string(element.textToImagePrompt);
    w.key("type").string(element.type);
    w.endObject();
}

void encode(JsonWriter &w, const StoryboardPlan &plan)
{
    w.beginObject();
    w.key("artDirectionStatement").string(plan.artDirectionStatement);
    w.key("elements");
    list(w, plan.elements);
    w.key("emotionalArc").string(plan.emotionalArc);
    w.key("ideogramStylePreset").string(plan.ideogramStylePreset);
    w.key("motif").string(plan.motif);
    w.key("palette").stringArray(plan.palette);
    w.key("rawJSON").string(plan.rawJSON);
    w.key("storyline").string(plan.storyline);
    w.key("visualAnchor").string(plan.visualAnchor);
    w.endObject();
}

void encode(JsonWriter &w, const ReviewChecklist &review)
{
    w.beginObject();
    w.key("characterConsistent").boolean(review.characterConsistent);
    w.key("placementOK").boolean(review.placementOK);
    w.key("readable").boolean(review.readable);
    w.key("spellingCorrect").boolean(review.spellingCorrect);
    w.key("styleContinuous").boolean(review.styleContinuous);
    w.endObject();
}

void encode(JsonWriter &w, const GeneratedFrame &frame)
{
    w.beginObject();
    date(w, "createdAt", frame.createdAt);
    optional(w, "editRequest", frame.editRequest);
    w.key("id").string(uuidText(frame.id));
    w.key("localPath").string(frame.localPath);
    optional(w, "motionClipPath", frame.motionClipPath);
    w.key("prompt").string(frame.prompt);
    optional(w, "remoteURL", frame.remoteURL);
    w.key("review");
    encode(w, frame.review);
    w.endObject();
}

void encode(JsonWriter &w, const StoryboardChunk &chunk)
{
    w.beginObject();
    if (chunk.characterID)
        w.key("characterID").string(uuidText(*chunk.characterID));
    w.key("chunkNumber").integer(chunk.chunkNumber);
    w.key("elementIdsUsed").stringArray(chunk.elementIdsUsed);
    w.key("end").number(chunk.end, "chunk end");
    if (chunk.frame) {
        w.key("frame");
        encode(w, *chunk.frame);
    }
    w.key("id").string(uuidText(chunk.id));
    w.key("imagePrompt").string(chunk.imagePrompt);
    w.key("index").integer(chunk.index);
    w.key("lyricExcerpt").string(chunk.lyricExcerpt);
    w.key("primaryCharacterInFrame").boolean(chunk.primaryCharacterInFrame);
    w.key("redoStack");
    list(w, chunk.redoStack);
    w.key("renderedText").string(chunk.renderedText);
    w.key("start").number(chunk.start, "chunk start");
    w.key("surface").string(chunk.surface);
    w.key("undoStack");
    list(w, chunk.undoStack);
    w.key("videoPrompt").string(chunk.videoPrompt);
    w.endObject();
}

void encode(JsonWriter &w, const CharacterReference &character)
{
    w.beginObject();
    w.key("id").string(uuidText(character.id));
    w.key("name").string(character.name);
    w.key("notes").string(character.notes);
    w.key("referenceImagePaths").stringArray(character.referenceImagePaths);
    w.endObject();
}

void encode(JsonWriter &w, const StyleGuidance &style)
{
    w.beginObject();
    w.key("continuityNotes").string(style.continuityNotes);
    if (style.lyricsOnScreen)
        w.key("lyricsOnScreen").string(textValue(*style.lyricsOnScreen));
    w.key("medium").string(style.medium);
    w.key("mood").string(style.mood);
    w.key("negativePrompts").string(style.negativePrompts);
    w.key("paletteName").string(style.paletteName);
    w.endObject();
}

void encode(JsonWriter &w, const DepthFlowSettings &motion)
{
    w.beginObject();
    w.key("clipTiming").string(textValue(motion.clipTiming));
    w.key("durationSeconds").number(motion.durationSeconds, "motion duration");
    w.key("fps").integer(motion.fps);
    w.key("intensity").number(motion.intensity, "motion intensity");
    w.key("loop").boolean(motion.loop);
    w.key("transition").string(textValue(motion.transition));
    w.key("zoom").number(motion.zoom, "motion zoom");
    w.endObject();
}

void encode(JsonWriter &w, const ExportSettings &exportSettings)
{
    w.beginObject();
    w.key("container").string(textValue(exportSettings.container));
    w.key("destinationFolder").string(exportSettings.destinationFolder);
    w.key("includeOriginalAudio").boolean(exportSettings.includeOriginalAudio);
    w.key("resolution").string(textValue(exportSettings.resolution));
    w.key("shape").string(textValue(exportSettings.shape));
    w.key("subtitles").boolean(exportSettings.subtitles);
    w.endObject();
}

void encode(JsonWriter &w, const Project &project)
{
    w.beginObject();
    w.key("artist").string(project.artist);
    w.key("audioDuration").number(project.audioDuration, "audio duration");
    w.key("audioPath").string(project.audioPath);
    w.key("characters");
    list(w, project.characters);
    w.key("chunks");
    list(w, project.chunks);
    w.key("conceptPrompt").string(project.conceptPrompt);
    date(w, "createdAt", project.createdAt);
    w.key("export");
    encode(w, project.exportSettings);
    w.key("id").string(uuidText(project.id));
    if (project.lyricsSource)
        w.key("lyricsSource").string(caseName(*project.lyricsSource));
    w.key("motion");
    encode(w, project.motion);
    if (project.plan) {
        w.key("plan");
        encode(w, *project.plan);
    }
    w.key("rawLyrics").string(project.rawLyrics);
    w.key("style");
    encode(w, project.style);
    w.key("title").string(project.title);
    w.key("transcript");
    list(w, project.transcript);
    date(w, "updatedAt", project.updatedAt);
    w.endObject();
}

QJsonObject toJson(const TranscriptSegment &segment) { return asObject(segment); }
QJsonObject toJson(const PlanElement &element) { return asObject(element); }
QJsonObject toJson(const StoryboardPlan &plan) { return asObject(plan); }
QJsonObject toJson(const ReviewChecklist &review) { return asObject(review); }
QJsonObject toJson(const GeneratedFrame &frame) { return asObject(frame); }
QJsonObject toJson(const StoryboardChunk &chunk) { return asObject(chunk); }
QJsonObject toJson(const CharacterReference &character) { return asObject(character); }
QJsonObject toJson(const StyleGuidance &style) { return asObject(style); }
QJsonObject toJson(const DepthFlowSettings &motion) { return asObject(motion); }
QJsonObject toJson(const ExportSettings &exportSettings) { return asObject(exportSettings); }
QJsonObject toJson(const Project &project) { return asObject(project); }

template <>
TimedWord fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.string(QStringLiteral("text")), r.number(QStringLiteral("start")), r.number(QStringLiteral("end"))};
}

template <>
TranscriptSegment fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.uuid(QStringLiteral("id")), r.string(QStringLiteral("text")), r.number(QStringLiteral("start")),
            r.number(QStringLiteral("end")), r.list<TimedWord>(QStringLiteral("words"), decoder<TimedWord>(), false)};
}

template <>
PlanElement fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.string(QStringLiteral("id")),
            r.string(QStringLiteral("type")),
            r.string(QStringLiteral("continuityDescription")),
            r.string(QStringLiteral("textToImagePrompt")),
            r.optionalString(QStringLiteral("imageRemoteURL")),
            r.optionalString(QStringLiteral("imageLocalPath"))};
}

template <>
StoryboardPlan fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    const QString empty;
    return {r.string(QStringLiteral("artDirectionStatement"), empty),
            r.string(QStringLiteral("ideogramStylePreset"), empty),
            r.stringList(QStringLiteral("palette"), {}),
            r.string(QStringLiteral("motif"), empty),
            r.string(QStringLiteral("storyline"), empty),
            r.string(QStringLiteral("emotionalArc"), empty),
            r.string(QStringLiteral("visualAnchor"), empty),
            r.list<PlanElement>(QStringLiteral("elements"), decoder<PlanElement>(), false),
            r.string(QStringLiteral("rawJSON"), empty)};
}

template <>
ReviewChecklist fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.boolean(QStringLiteral("spellingCorrect")), r.boolean(QStringLiteral("readable")),
            r.boolean(QStringLiteral("placementOK")), r.boolean(QStringLiteral("characterConsistent")),
            r.boolean(QStringLiteral("styleContinuous"))};
}

template <>
GeneratedFrame fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.uuid(QStringLiteral("id")),
            r.string(QStringLiteral("localPath")),
            r.optionalString(QStringLiteral("remoteURL")),
            r.string(QStringLiteral("prompt")),
            r.optionalString(QStringLiteral("editRequest")),
            r.optionalString(QStringLiteral("motionClipPath")),
            fromJson<ReviewChecklist>(r.requiredMember(QStringLiteral("review")), r.childPath(QStringLiteral("review"))),
            r.date(QStringLiteral("createdAt"))};
}

template <>
StoryboardChunk fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    StoryboardChunk chunk;
    if (auto id = r.optionalUuid(QStringLiteral("id")))
        chunk.id = *id;
    chunk.index = r.integer(QStringLiteral("index"), 0);
    chunk.chunkNumber = r.integer(QStringLiteral("chunkNumber"), chunk.index + 1);
    chunk.start = r.number(QStringLiteral("start"), 0);
    chunk.end = r.number(QStringLiteral("end"), 0);
    chunk.lyricExcerpt = r.string(QStringLiteral("lyricExcerpt"), {});
    chunk.renderedText = r.string(QStringLiteral("renderedText"), {});
    chunk.surface = r.string(QStringLiteral("surface"), {});
    chunk.primaryCharacterInFrame = r.boolean(QStringLiteral("primaryCharacterInFrame"), false);
    chunk.elementIdsUsed = r.stringList(QStringLiteral("elementIdsUsed"), {});
    chunk.imagePrompt = r.string(QStringLiteral("imagePrompt"), {});
    chunk.videoPrompt = r.string(QStringLiteral("videoPrompt"), {});
    chunk.characterID = r.optionalUuid(QStringLiteral("characterID"));
    if (auto frame = r.member(QStringLiteral("frame")))
        chunk.frame = fromJson<GeneratedFrame>(*frame, r.childPath(QStringLiteral("frame")));
    chunk.undoStack = r.list<GeneratedFrame>(QStringLiteral("undoStack"), decoder<GeneratedFrame>(), false);
    chunk.redoStack = r.list<GeneratedFrame>(QStringLiteral("redoStack"), decoder<GeneratedFrame>(), false);
    return chunk;
}

template <>
CharacterReference fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.uuid(QStringLiteral("id")), r.string(QStringLiteral("name")), r.string(QStringLiteral("notes")),
            r.stringList(QStringLiteral("referenceImagePaths"))};
}

template <>
StyleGuidance fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.string(QStringLiteral("paletteName")), r.string(QStringLiteral("mood")),
            r.string(QStringLiteral("medium")), r.string(QStringLiteral("negativePrompts")),
            r.string(QStringLiteral("continuityNotes")),
            r.member(QStringLiteral("lyricsOnScreen"))
                ? std::optional(enumeration(r, QStringLiteral("lyricsOnScreen"), &lyricsOnScreenFromText))
                : std::nullopt};
}

template <>
DepthFlowSettings fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.number(QStringLiteral("intensity")), r.number(QStringLiteral("zoom")),
            r.number(QStringLiteral("durationSeconds")), r.integer(QStringLiteral("fps")),
            r.boolean(QStringLiteral("loop")),
            // Documents from before the setting follow the song.
            enumeration(r, QStringLiteral("clipTiming"), &clipTimingFromText, std::optional(ClipTiming::followSong)),
            enumeration(r, QStringLiteral("transition"), &clipTransitionFromText, std::optional(ClipTransition::crossfade))};
}

template <>
ExportSettings fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {enumeration(r, QStringLiteral("resolution"), &exportResolutionFromText),
            enumeration(r, QStringLiteral("container"), &exportContainerFromText),
            r.boolean(QStringLiteral("includeOriginalAudio")), r.string(QStringLiteral("destinationFolder")),
            // Documents from before the setting write them.
            r.boolean(QStringLiteral("subtitles"), true),
            // Documents from before shapes were wide.
            enumeration(r, QStringLiteral("shape"), &videoShapeFromText, std::optional(VideoShape::landscape))};
}

template <>
Project fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    const auto nested = [&r]<typename T>(const QString &key, T fallback) {
        const auto member = r.member(key);
        return member ? fromJson<T>(*member, r.childPath(key)) : fallback;
    };
    const QDateTime readTime = now();
    Project project;
    if (auto id = r.optionalUuid(QStringLiteral("id")))
        project.id = *id;
    project.title = r.string(QStringLiteral("title"), {});
    project.artist = r.string(QStringLiteral("artist"), {});
    project.audioPath = r.string(QStringLiteral("audioPath"), {});
    project.audioDuration = r.number(QStringLiteral("audioDuration"), 0);
    project.rawLyrics = r.string(QStringLiteral("rawLyrics"), {});
    project.transcript = r.list<TranscriptSegment>(QStringLiteral("transcript"), decoder<TranscriptSegment>(), false);
    if (r.member(QStringLiteral("lyricsSource")))
        project.lyricsSource = enumeration(r, QStringLiteral("lyricsSource"), &lyricsSourceFromCaseName);
    if (auto plan = r.member(QStringLiteral("plan")))
        project.plan = fromJson<StoryboardPlan>(*plan, r.childPath(QStringLiteral("plan")));
    project.conceptPrompt = r.string(QStringLiteral("conceptPrompt"), {});
    project.chunks = r.list<StoryboardChunk>(QStringLiteral("chunks"), decoder<StoryboardChunk>(), false);
    project.characters = r.list<CharacterReference>(QStringLiteral("characters"), decoder<CharacterReference>(), false);
    project.style = nested(QStringLiteral("style"), StyleGuidance{});
    project.motion = nested(QStringLiteral("motion"), DepthFlowSettings{});
    project.exportSettings = nested(QStringLiteral("export"), ExportSettings{});
    project.createdAt = r.optionalDate(QStringLiteral("createdAt")).value_or(readTime);
    project.updatedAt = r.optionalDate(QStringLiteral("updatedAt")).value_or(readTime);
    return project;
}

QByteArray writeProjectDocument(const Project &project)
{
    JsonWriter writer;
    encode(writer, project);
    return writer.take();
}

Project readProjectDocument(const QByteArray &bytes)
{
    QJsonParseError parseError;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &parseError);
    if (parseError.error != QJsonParseError::NoError)
        throw DocumentError(QStringLiteral("offset %1").arg(parseError.offset), parseError.errorString());
    if (!document.isObject())
        throw DocumentError(QStringLiteral("document"), QStringLiteral("expected an object"));
    return fromJson<Project>(document.object());
}

} // namespace quillvane
