#include "generation/PlanParser.h"

#include "model/Text.h"

#include "model/PipelineConfig.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>

namespace quillvane::PlanParser {

namespace {

// The style presets the image service accepts. The planner is asked to pick one, but a model
// may invent a name or change its case; an unknown name would make every frame request fail,
// so only these exact names are taken.
const QSet<QString> &stylePresets()
{
    static const QSet<QString> names = {
        QStringLiteral("80S_ILLUSTRATION"), QStringLiteral("90S_NOSTALGIA"), QStringLiteral("ABSTRACT_ORGANIC"),
        QStringLiteral("ANALOG_NOSTALGIA"), QStringLiteral("ART_BRUT"), QStringLiteral("ART_DECO"),
        QStringLiteral("ART_POSTER"), QStringLiteral("AURA"), QStringLiteral("AVANT_GARDE"),
        QStringLiteral("BAUHAUS"), QStringLiteral("BLUEPRINT"), QStringLiteral("BLURRY_MOTION"),
        QStringLiteral("BRIGHT_ART"), QStringLiteral("C4D_CARTOON"), QStringLiteral("CHILDRENS_BOOK"),
        QStringLiteral("COLLAGE"), QStringLiteral("COLORING_BOOK_I"), QStringLiteral("COLORING_BOOK_II"),
        QStringLiteral("CUBISM"), QStringLiteral("DARK_AURA"), QStringLiteral("DOODLE"),
        QStringLiteral("DOUBLE_EXPOSURE"), QStringLiteral("DRAMATIC_CINEMA"), QStringLiteral("EDITORIAL"),
        QStringLiteral("EMOTIONAL_MINIMAL"), QStringLiteral("ETHEREAL_PARTY"), QStringLiteral("EXPIRED_FILM"),
        QStringLiteral("FLAT_ART"), QStringLiteral("FLAT_VECTOR"), QStringLiteral("FOREST_REVERIE"),
        QStringLiteral("GEO_MINIMALIST"), QStringLiteral("GLASS_PRISM"), QStringLiteral("GOLDEN_HOUR"),
        QStringLiteral("GRAFFITI_I"), QStringLiteral("GRAFFITI_II"), QStringLiteral("HALFTONE_PRINT"),
        QStringLiteral("HIGH_CONTRAST"), QStringLiteral("HIPPIE_ERA"), QStringLiteral("ICONIC"),
        QStringLiteral("JAPANDI_FUSION"), QStringLiteral("JAZZY"), QStringLiteral("LONG_EXPOSURE"),
        QStringLiteral("MAGAZINE_EDITORIAL"), QStringLiteral("MINIMAL_ILLUSTRATION"), QStringLiteral("MIXED_MEDIA"),
        QStringLiteral("MONOCHROME"), QStringLiteral("NIGHTLIFE"), QStringLiteral("OIL_PAINTING"),
        QStringLiteral("OLD_CARTOONS"), QStringLiteral("PAINT_GESTURE"), QStringLiteral("POP_ART"),
        QStringLiteral("RETRO_ETCHING"), QStringLiteral("RIVIERA_POP"), QStringLiteral("SPOTLIGHT_80S"),
        QStringLiteral("STYLIZED_RED"), QStringLiteral("SURREAL_COLLAGE"), QStringLiteral("TRAVEL_POSTER"),
        QStringLiteral("VINTAGE_GEO"), QStringLiteral("VINTAGE_POSTER"), QStringLiteral("WATERCOLOR"),
        QStringLiteral("WEIRD"), QStringLiteral("WOODBLOCK_PRINT"),
    };
    return names;
}

// Models like to wrap JSON in a code fence or a sentence of prose, and workflows often pass a
// node's output on as text. Reading from the first "{" to the last "}" recovers the object in
// both cases; anything that still does not parse as an object is not a plan.
std::optional<QJsonObject> embeddedObject(const QString &text)
{
    const qsizetype first = text.indexOf(QLatin1Char('{'));
    const qsizetype last = text.lastIndexOf(QLatin1Char('}'));
    if (first < 0 || last < first)
        return std::nullopt;
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(text.mid(first, last - first + 1).toUtf8(), &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    return document.object();
}

// The first object, depth first, that has `key` as a member.
std::optional<QJsonObject> findContainer(const QString &key, const QJsonValue &value)
{
    if (value.isObject()) {
        const QJsonObject object = value.toObject();
        if (object.contains(key))
            return object;
        for (auto it = object.begin(); it != object.end(); ++it) {
            if (auto hit = findContainer(key, it.value()))
                return hit;
        }
    } else if (value.isArray()) {
        for (const QJsonValue element : value.toArray()) {
            if (auto hit = findContainer(key, element))
                return hit;
        }
    } else if (value.isString()) {
        if (auto embedded = embeddedObject(value.toString()))
            return findContainer(key, *embedded);
    }
    return std::nullopt;
}

// The style preset is usually chosen by a separate style-director step whose output lands
// beside the plan, not in it, so the whole document is searched, its likely homes first.
std::optional<QString> findStylePreset(const QJsonValue &value)
{
    if (value.isArray()) {
        for (const QJsonValue element : value.toArray()) {
            if (auto hit = findStylePreset(element))
                return hit;
        }
        return std::nullopt;
    }
    if (value.isString()) {
        if (auto embedded = embeddedObject(value.toString()))
            return findStylePreset(*embedded);
        return std::nullopt;
    }
    if (!value.isObject())
        return std::nullopt;

    const QJsonObject object = value.toObject();
    const QString preset = object.value(QStringLiteral("ideogramStylePreset")).toString().trimmed();
    if (stylePresets().contains(preset))
        return preset;

    // A key searched here without a hit cannot give one in the sweep over all values below, so
    // that sweep skips it; searching it twice would double the work at every nested level.
    QSet<QString> searched;
    for (const QString &key :
         {QStringLiteral("style_director_json"), QStringLiteral("styleDirectorJson"), QStringLiteral("styleDirector")}) {
        if (auto hit = findStylePreset(object.value(key)))
            return hit;
        searched.insert(key);
    }
    const QString resultsKey = QStringLiteral("results");
    if (object.value(resultsKey).isString()) {
        if (auto hit = findStylePreset(object.value(resultsKey)))
            return hit;
        searched.insert(resultsKey);
    }
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (searched.contains(it.key()))
            continue;
        if (auto hit = findStylePreset(it.value()))
            return hit;
    }
    return std::nullopt;
}

// An empty array counts: it is a list of objects that happens to have none.
bool isObjectArray(const QJsonValue &value)
{
    if (!value.isArray())
        return false;
    const QJsonArray array = value.toArray();
    return std::all_of(array.begin(), array.end(), [](const QJsonValue &element) { return element.isObject(); });
}

QList<QJsonObject> objectsOf(const QJsonValue &value)
{
    QList<QJsonObject> objects;
    for (const QJsonValue element : value.toArray())
        objects.append(element.toObject());
    return objects;
}

// A list holding anything but strings is not taken at all, rather than partly.
std::optional<QStringList> stringArray(const QJsonValue &value)
{
    if (!value.isArray())
        return std::nullopt;
    QStringList texts;
    for (const QJsonValue element : value.toArray()) {
        if (!element.isString())
            return std::nullopt;
        texts.append(element.toString());
    }
    return texts;
}

QString stringOf(const QJsonObject &object, const QString &key)
{
    return object.value(key).toString();
}

std::optional<double> numberOf(const QJsonObject &object, const QString &key)
{
    const QJsonValue value = object.value(key);
    if (!value.isDouble())
        return std::nullopt;
    return value.toDouble();
}

// Frame numbers may come as 3.0 or 3.5; the fraction is cut off. Absurd magnitudes are
// clamped so the conversion stays defined.
qint64 wholeNumber(double number)
{
    constexpr double limit = 9.0e18;
    return static_cast<qint64>(std::clamp(number, -limit, limit));
}

// Planners give the palette either as a list or as one comma-separated line.
QStringList paletteOf(const QJsonValue &value)
{
    if (auto list = stringArray(value))
        return *list;
    QStringList palette;
    if (!value.isString())
        return palette;
    for (const QString &piece : value.toString().split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        // Blanks and tabs only: a palette entry keeps any line break the planner put inside it.
        const QString colour = trimBlanks(piece);
        if (!colour.isEmpty())
            palette.append(colour);
    }
    return palette;
}

QList<PlanElement> elementsOf(const QJsonObject &container, const QJsonObject &json)
{
    const QString key = QStringLiteral("elementIds");
    QJsonValue list = container.value(key);
    if (!isObjectArray(list)) {
        const auto elsewhere = findContainer(key, json);
        list = elsewhere ? elsewhere->value(key) : QJsonValue();
    }
    QList<PlanElement> elements;
    if (!isObjectArray(list))
        return elements;
    for (const QJsonObject &object : objectsOf(list)) {
        // Frames refer to elements by id, so an element without one could never be used.
        const QString id = stringOf(object, QStringLiteral("id"));
        if (id.isEmpty())
            continue;
        PlanElement element;
        element.id = id;
        element.type = stringOf(object, QStringLiteral("type"));
        element.continuityDescription = stringOf(object, QStringLiteral("continuityDescription"));
        element.textToImagePrompt = stringOf(object, QStringLiteral("textToImagePrompt"));
        elements.append(element);
    }
    return elements;
}

StoryboardPlan planOf(const QJsonObject &container, const QJsonObject &json)
{
    StoryboardPlan plan;
    plan.artDirectionStatement = stringOf(container, QStringLiteral("artDirectionStatement"));
    plan.ideogramStylePreset = findStylePreset(json).value_or(QString());
    plan.palette = paletteOf(container.value(QStringLiteral("palette")));
    plan.motif = stringOf(container, QStringLiteral("motif"));
    plan.storyline = stringOf(container, QStringLiteral("storyline"));
    plan.emotionalArc = stringOf(container, QStringLiteral("emotionalArc"));
    plan.visualAnchor = stringOf(container, QStringLiteral("visualAnchor"));
    plan.elements = elementsOf(container, json);
    // The plan as the planner wrote it, sorted so the same plan always gives the same text.
    plan.rawJSON = QString::fromUtf8(QJsonDocument(container).toJson(QJsonDocument::Compact));
    return plan;
}

StoryboardChunk chunkOf(const QJsonObject &frame, qsizetype position)
{
    StoryboardChunk chunk;
    chunk.id = QUuid::createUuid();
    auto number = numberOf(frame, QStringLiteral("chunkNumber"));
    if (!number)
        number = numberOf(frame, QStringLiteral("frameNumber"));
    chunk.chunkNumber = number ? wholeNumber(*number) : position + 1;
    chunk.index = chunk.chunkNumber - 1;
    chunk.start = numberOf(frame, QStringLiteral("startTime")).value_or(0);
    // A frame never ends before it starts, whatever the planner wrote.
    chunk.end = std::max(chunk.start, numberOf(frame, QStringLiteral("endTime")).value_or(chunk.start));
    chunk.elementIdsUsed = stringArray(frame.value(QStringLiteral("elementIdsUsed"))).value_or(QStringList());
    // When the planner leaves the flag out, a frame that uses no recurring element is taken
    // to be built around the character.
    const QJsonValue primary = frame.value(QStringLiteral("primaryCharacterInFrame"));
    chunk.primaryCharacterInFrame = primary.isBool() ? primary.toBool() : chunk.elementIdsUsed.isEmpty();
    chunk.lyricExcerpt = stringOf(frame, QStringLiteral("lyricExcerpt"));
    chunk.renderedText = stringOf(frame, QStringLiteral("renderedText"));
    chunk.imagePrompt = stringOf(frame, QStringLiteral("imagePrompt"));
    chunk.videoPrompt = stringOf(frame, QStringLiteral("videoPrompt"));
    return chunk;
}

// The frame list goes by either name, depending on the planner workflow.
QList<QJsonObject> framesOf(const QJsonObject &container)
{
    for (const QString &key : {QStringLiteral("frames"), QStringLiteral("chunks")}) {
        const QJsonValue list = container.value(key);
        if (isObjectArray(list))
            return objectsOf(list);
    }
    return {};
}

} // namespace

Parsed parse(const QJsonObject &json)
{
    auto container = findContainer(QStringLiteral("frames"), json);
    if (!container)
        container = findContainer(QStringLiteral("chunks"), json);
    if (!container)
        throw PipelineError(PipelineError::Case::noChunks);

    const QList<QJsonObject> frames = framesOf(*container);
    if (frames.isEmpty())
        throw PipelineError(PipelineError::Case::noChunks);

    Parsed parsed;
    parsed.plan = planOf(*container, json);
    for (qsizetype i = 0; i < frames.size(); ++i)
        parsed.chunks.append(chunkOf(frames.at(i), i));
    return parsed;
}

} // namespace quillvane::PlanParser
