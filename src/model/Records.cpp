#include "model/Records.h"

#include <algorithm>
#include <array>

namespace quillvane {

QDateTime now()
{
    return QDateTime::fromSecsSinceEpoch(QDateTime::currentSecsSinceEpoch(), Qt::UTC);
}

QString uuidText(const QUuid &id)
{
    return id.toString(QUuid::WithoutBraces).toUpper();
}

namespace {

struct LyricsSourceInfo {
    LyricsSource source;
    const char *caseName;
    const char *label;
    ChipIntent intent;
};

constexpr std::array<LyricsSourceInfo, 7> lyricsSources{{
    {LyricsSource::embeddedVerified, "embeddedVerified", "Lyrics from file · verified", ChipIntent::good},
    {LyricsSource::embeddedUnverified, "embeddedUnverified", "Lyrics from file", ChipIntent::neutral},
    {LyricsSource::embeddedMismatch, "embeddedMismatch", "Lyrics may not match audio", ChipIntent::bad},
    {LyricsSource::transcribed, "transcribed", "Transcribed with Whisper", ChipIntent::accent},
    {LyricsSource::manual, "manual", "Edited manually", ChipIntent::neutral},
    {LyricsSource::syncedFile, "syncedFile", "Timed lyrics from .lrc file", ChipIntent::good},
    {LyricsSource::syncedTag, "syncedTag", "Timed lyrics from file", ChipIntent::good},
}};

const LyricsSourceInfo &info(LyricsSource source)
{
    return *std::find_if(lyricsSources.begin(), lyricsSources.end(),
                         [source](const auto &entry) { return entry.source == source; });
}

struct ResolutionInfo {
    ExportResolution resolution;
    const char *text;
};

constexpr std::array<ResolutionInfo, 4> resolutions{{
    {ExportResolution::p720, "720p"},
    {ExportResolution::p1080, "1080p"},
    {ExportResolution::p1440, "1440p"},
    {ExportResolution::p2160, "4K"},
}};

struct ContainerInfo {
    ExportContainer container;
    const char *text;
    const char *extension;
};

constexpr std::array<ContainerInfo, 2> containers{{
    {ExportContainer::mp4, "MP4 (H.264)", "mp4"},
    {ExportContainer::mov, "MOV (ProRes)", "mov"},
}};

} // namespace

QString textValue(ClipTiming timing)
{
    return timing == ClipTiming::fixedLength ? QStringLiteral("fixed") : QStringLiteral("song");
}

std::optional<ClipTiming> clipTimingFromText(const QString &text)
{
    if (text == QLatin1String("song"))
        return ClipTiming::followSong;
    if (text == QLatin1String("fixed"))
        return ClipTiming::fixedLength;
    return std::nullopt;
}

namespace {

// One enumeration's words as the document and the command line write them.
template <typename Enum, size_t N>
std::optional<Enum> named(const std::array<std::pair<Enum, const char *>, N> &names, const QString &text)
{
    for (const auto &[value, name] : names) {
        if (text == QLatin1String(name))
            return value;
    }
    return std::nullopt;
}

template <typename Enum, size_t N>
QString nameOf(const std::array<std::pair<Enum, const char *>, N> &names, Enum value)
{
    for (const auto &[candidate, name] : names) {
        if (candidate == value)
            return QString::fromLatin1(name);
    }
    return {};
}

constexpr std::array<std::pair<LyricsOnScreen, const char *>, 3> lyricsNames{
    {{LyricsOnScreen::painted, "painted"}, {LyricsOnScreen::sung, "sung"}, {LyricsOnScreen::both, "both"}}};
constexpr std::array<std::pair<ClipTransition, const char *>, 2> transitionNames{
    {{ClipTransition::crossfade, "crossfade"}, {ClipTransition::cut, "cut"}}};
constexpr std::array<std::pair<VideoShape, const char *>, 3> shapeNames{
    {{VideoShape::landscape, "16:9"}, {VideoShape::portrait, "9:16"}, {VideoShape::square, "1:1"}}};

} // namespace

QString textValue(LyricsOnScreen lyrics)
{
    return nameOf(lyricsNames, lyrics);
}

std::optional<LyricsOnScreen> lyricsOnScreenFromText(const QString &text)
{
    return named(lyricsNames, text);
}

QString textValue(ClipTransition transition)
{
    return nameOf(transitionNames, transition);
}

std::optional<ClipTransition> clipTransitionFromText(const QString &text)
{
    return named(transitionNames, text);
}

QString textValue(VideoShape shape)
{
    return nameOf(shapeNames, shape);
}

std::optional<VideoShape> videoShapeFromText(const QString &text)
{
    return named(shapeNames, text);
}

QList<VideoShape> allVideoShapes()
{
    return {VideoShape::landscape, VideoShape::portrait, VideoShape::square};
}

QSize frameSize(VideoShape shape, ExportResolution resolution)
{
    const int shortSide = resolution == ExportResolution::p720    ? 720
                        : resolution == ExportResolution::p1440 ? 1440
                        : resolution == ExportResolution::p2160 ? 2160
                                                                 : 1080;
    const int longSide = shortSide * 16 / 9;
    switch (shape) {
    case VideoShape::portrait:
        return {shortSide, longSide};
    case VideoShape::square:
        return {shortSide, shortSide};
    case VideoShape::landscape:
        break;
    }
    return {longSide, shortSide};
}

QString caseName(LyricsSource source)
{
    return QString::fromUtf8(info(source).caseName);
}

std::optional<LyricsSource> lyricsSourceFromCaseName(const QString &name)
{
    for (const auto &entry : lyricsSources) {
        if (name == QLatin1String(entry.caseName))
            return entry.source;
    }
    return std::nullopt;
}

QString label(LyricsSource source)
{
    return QString::fromUtf8(info(source).label);
}

ChipIntent chipIntent(LyricsSource source)
{
    return info(source).intent;
}

int ReviewChecklist::passedCount() const
{
    return int(spellingCorrect) + int(readable) + int(placementOK) + int(characterConsistent)
        + int(styleContinuous);
}

ReviewChecklist effectiveReview(ReviewChecklist review, LyricsOnScreen lyrics)
{
    if (!paintsWords(lyrics)) {
        review.spellingCorrect = true;
        review.readable = true;
    }
    return review;
}

bool StoryboardChunk::isAccepted(LyricsOnScreen lyrics) const
{
    return frame && effectiveReview(frame->review, lyrics).allPassed();
}

QList<ExportResolution> allExportResolutions()
{
    QList<ExportResolution> all;
    for (const auto &entry : resolutions)
        all.append(entry.resolution);
    return all;
}

QList<ExportContainer> allExportContainers()
{
    QList<ExportContainer> all;
    for (const auto &entry : containers)
        all.append(entry.container);
    return all;
}

QString textValue(ExportResolution resolution)
{
    for (const auto &entry : resolutions) {
        if (entry.resolution == resolution)
            return QString::fromUtf8(entry.text);
    }
    return {};
}

QString textValue(ExportContainer container)
{
    for (const auto &entry : containers) {
        if (entry.container == container)
            return QString::fromUtf8(entry.text);
    }
    return {};
}

QString fileExtension(ExportContainer container)
{
    for (const auto &entry : containers) {
        if (entry.container == container)
            return QString::fromUtf8(entry.extension);
    }
    return {};
}

std::optional<ExportResolution> exportResolutionFromText(const QString &text)
{
    for (const auto &entry : resolutions) {
        if (text == QLatin1String(entry.text))
            return entry.resolution;
    }
    return std::nullopt;
}

std::optional<ExportContainer> exportContainerFromText(const QString &text)
{
    for (const auto &entry : containers) {
        if (text == QString::fromUtf8(entry.text))
            return entry.container;
    }
    return std::nullopt;
}

int Project::framedCount() const
{
    return int(std::count_if(chunks.begin(), chunks.end(), [](const auto &c) { return c.isFramed(); }));
}

int Project::acceptedCount(LyricsOnScreen lyrics) const
{
    return int(std::count_if(chunks.begin(), chunks.end(), [lyrics](const auto &c) { return c.isAccepted(lyrics); }));
}

bool Project::hasReferencedCharacter() const
{
    return std::any_of(characters.begin(), characters.end(),
                       [](const CharacterReference &c) { return !c.referenceImagePaths.isEmpty(); });
}

namespace {

template <typename List>
auto *withID(List &list, const QUuid &id)
{
    const auto found = std::find_if(list.begin(), list.end(), [&id](const auto &item) { return item.id == id; });
    return found == list.end() ? nullptr : &*found;
}

} // namespace

StoryboardChunk *Project::chunkWithID(const QUuid &chunkID)
{
    return withID(chunks, chunkID);
}

const StoryboardChunk *Project::chunkWithID(const QUuid &chunkID) const
{
    return withID(chunks, chunkID);
}

CharacterReference *Project::characterWithID(const QUuid &characterID)
{
    return withID(characters, characterID);
}

const CharacterReference *Project::characterWithID(const QUuid &characterID) const
{
    return withID(characters, characterID);
}

bool Project::allChunksAccepted(LyricsOnScreen lyrics) const
{
    return !chunks.isEmpty() && acceptedCount(lyrics) == chunks.size();
}

} // namespace quillvane
