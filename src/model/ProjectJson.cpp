#include "model/ProjectJson.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace quillvane {

namespace {

QJsonValue number(double value, const char *field)
{
    if (!std::isfinite(value))
        throw EncodingError(QString::fromUtf8(field));
    return value;
}

void putOptional(QJsonObject &object, const QString &key, const std::optional<QString> &value)
{
    if (value)
        object.insert(key, *value);
}

template <typename T>
QJsonArray arrayOf(const QList<T> &items)
{
    QJsonArray array;
    for (const auto &item : items)
        array.append(toJson(item));
    return array;
}

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

} // namespace

QJsonObject toJson(const TranscriptSegment &segment)
{
    return {{QStringLiteral("id"), uuidText(segment.id)},
            {QStringLiteral("text"), segment.text},
            {QStringLiteral("start"), number(segment.start, "segment start")},
            {QStringLiteral("end"), number(segment.end, "segment end")}};
}

QJsonObject toJson(const PlanElement &element)
{
    QJsonObject object{{QStringLiteral("id"), element.id},
                       {QStringLiteral("type"), element.type},
                       {QStringLiteral("continuityDescription"), element.continuityDescription},
                       {QStringLiteral("textToImagePrompt"), element.textToImagePrompt}};
    putOptional(object, QStringLiteral("imageRemoteURL"), element.imageRemoteURL);
    putOptional(object, QStringLiteral("imageLocalPath"), element.imageLocalPath);
    return object;
}

QJsonObject toJson(const StoryboardPlan &plan)
{
    return {{QStringLiteral("artDirectionStatement"), plan.artDirectionStatement},
            {QStringLiteral("ideogramStylePreset"), plan.ideogramStylePreset},
            {QStringLiteral("palette"), QJsonArray::fromStringList(plan.palette)},
            {QStringLiteral("motif"), plan.motif},
            {QStringLiteral("storyline"), plan.storyline},
            {QStringLiteral("emotionalArc"), plan.emotionalArc},
            {QStringLiteral("visualAnchor"), plan.visualAnchor},
            {QStringLiteral("elements"), arrayOf(plan.elements)},
            {QStringLiteral("rawJSON"), plan.rawJSON}};
}

QJsonObject toJson(const ReviewChecklist &review)
{
    return {{QStringLiteral("spellingCorrect"), review.spellingCorrect},
            {QStringLiteral("readable"), review.readable},
            {QStringLiteral("placementOK"), review.placementOK},
            {QStringLiteral("characterConsistent"), review.characterConsistent},
            {QStringLiteral("styleContinuous"), review.styleContinuous}};
}

QJsonObject toJson(const GeneratedFrame &frame)
{
    QJsonObject object{{QStringLiteral("id"), uuidText(frame.id)},
                       {QStringLiteral("localPath"), frame.localPath},
                       {QStringLiteral("prompt"), frame.prompt},
                       {QStringLiteral("review"), toJson(frame.review)},
                       {QStringLiteral("createdAt"), formatInternetDate(frame.createdAt)}};
    putOptional(object, QStringLiteral("remoteURL"), frame.remoteURL);
    putOptional(object, QStringLiteral("editRequest"), frame.editRequest);
    putOptional(object, QStringLiteral("motionClipPath"), frame.motionClipPath);
    return object;
}

QJsonObject toJson(const StoryboardChunk &chunk)
{
    QJsonObject object{{QStringLiteral("id"), uuidText(chunk.id)},
                       {QStringLiteral("index"), chunk.index},
                       {QStringLiteral("chunkNumber"), chunk.chunkNumber},
                       {QStringLiteral("start"), number(chunk.start, "chunk start")},
                       {QStringLiteral("end"), number(chunk.end, "chunk end")},
                       {QStringLiteral("lyricExcerpt"), chunk.lyricExcerpt},
                       {QStringLiteral("renderedText"), chunk.renderedText},
                       {QStringLiteral("surface"), chunk.surface},
                       {QStringLiteral("primaryCharacterInFrame"), chunk.primaryCharacterInFrame},
                       {QStringLiteral("elementIdsUsed"), QJsonArray::fromStringList(chunk.elementIdsUsed)},
                       {QStringLiteral("imagePrompt"), chunk.imagePrompt},
                       {QStringLiteral("videoPrompt"), chunk.videoPrompt},
                       {QStringLiteral("undoStack"), arrayOf(chunk.undoStack)},
                       {QStringLiteral("redoStack"), arrayOf(chunk.redoStack)}};
    if (chunk.characterID)
        object.insert(QStringLiteral("characterID"), uuidText(*chunk.characterID));
    if (chunk.frame)
        object.insert(QStringLiteral("frame"), toJson(*chunk.frame));
    return object;
}

QJsonObject toJson(const CharacterReference &character)
{
    return {{QStringLiteral("id"), uuidText(character.id)},
            {QStringLiteral("name"), character.name},
            {QStringLiteral("notes"), character.notes},
            {QStringLiteral("referenceImagePaths"), QJsonArray::fromStringList(character.referenceImagePaths)}};
}

QJsonObject toJson(const StyleGuidance &style)
{
    return {{QStringLiteral("paletteName"), style.paletteName},
            {QStringLiteral("mood"), style.mood},
            {QStringLiteral("medium"), style.medium},
            {QStringLiteral("negativePrompts"), style.negativePrompts},
            {QStringLiteral("continuityNotes"), style.continuityNotes}};
}

QJsonObject toJson(const DepthFlowSettings &motion)
{
    return {{QStringLiteral("intensity"), number(motion.intensity, "motion intensity")},
            {QStringLiteral("zoom"), number(motion.zoom, "motion zoom")},
            {QStringLiteral("durationSeconds"), number(motion.durationSeconds, "motion duration")},
            {QStringLiteral("fps"), motion.fps},
            {QStringLiteral("loop"), motion.loop}};
}

QJsonObject toJson(const ExportSettings &exportSettings)
{
    return {{QStringLiteral("resolution"), textValue(exportSettings.resolution)},
            {QStringLiteral("container"), textValue(exportSettings.container)},
            {QStringLiteral("includeOriginalAudio"), exportSettings.includeOriginalAudio},
            {QStringLiteral("destinationFolder"), exportSettings.destinationFolder}};
}

QJsonObject toJson(const Project &project)
{
    QJsonObject object{{QStringLiteral("id"), uuidText(project.id)},
                       {QStringLiteral("title"), project.title},
                       {QStringLiteral("artist"), project.artist},
                       {QStringLiteral("audioPath"), project.audioPath},
                       {QStringLiteral("rawLyrics"), project.rawLyrics},
                       {QStringLiteral("transcript"), arrayOf(project.transcript)},
                       {QStringLiteral("conceptPrompt"), project.conceptPrompt},
                       {QStringLiteral("chunks"), arrayOf(project.chunks)},
                       {QStringLiteral("characters"), arrayOf(project.characters)},
                       {QStringLiteral("style"), toJson(project.style)},
                       {QStringLiteral("motion"), toJson(project.motion)},
                       {QStringLiteral("export"), toJson(project.exportSettings)},
                       {QStringLiteral("createdAt"), formatInternetDate(project.createdAt)},
                       {QStringLiteral("updatedAt"), formatInternetDate(project.updatedAt)}};
    if (project.lyricsSource)
        object.insert(QStringLiteral("lyricsSource"), caseName(*project.lyricsSource));
    if (project.plan)
        object.insert(QStringLiteral("plan"), toJson(*project.plan));
    return object;
}

template <>
TranscriptSegment fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.uuid(QStringLiteral("id")), r.string(QStringLiteral("text")), r.number(QStringLiteral("start")),
            r.number(QStringLiteral("end"))};
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
            r.string(QStringLiteral("continuityNotes"))};
}

template <>
DepthFlowSettings fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {r.number(QStringLiteral("intensity")), r.number(QStringLiteral("zoom")),
            r.number(QStringLiteral("durationSeconds")), r.integer(QStringLiteral("fps")),
            r.boolean(QStringLiteral("loop"))};
}

template <>
ExportSettings fromJson(const QJsonValue &value, const QString &path)
{
    const FieldReader r(value, path);
    return {enumeration(r, QStringLiteral("resolution"), &exportResolutionFromText),
            enumeration(r, QStringLiteral("container"), &exportContainerFromText),
            r.boolean(QStringLiteral("includeOriginalAudio")), r.string(QStringLiteral("destinationFolder"))};
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
    return writeSortedJson(toJson(project));
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
