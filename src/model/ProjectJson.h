#pragma once

// The project document: how every record becomes JSON and back.
//
// Writing: every field under its own name; optional fields that hold nothing are left out
// (never null); UUIDs upper case; dates ISO 8601 with seconds and "Z"; enumerations as their
// text values; keys sorted by UTF-8 bytes at every level; pretty-printed.
//
// Reading is tolerant for the project, the plan and the chunks (every key may be missing and
// takes its default) and strict for every other record (each non-optional key must be there).
// A key that is present with the wrong type, an unknown enumeration text or a malformed date
// fails the whole read. Unknown keys are ignored. A member holding null reads as absent.

#include "model/JsonFields.h"
#include "model/JsonWriter.h"
#include "model/Records.h"

#include <QByteArray>
#include <QJsonObject>

namespace quillvane {

// The document-level entry points used by the library. readProjectDocument throws
// DocumentError; writeProjectDocument throws EncodingError only for non-finite times.
QByteArray writeProjectDocument(const Project &project);
Project readProjectDocument(const QByteArray &bytes);

// Streaming encoders, used to write the document.
void encode(JsonWriter &writer, const TimedWord &word);
void encode(JsonWriter &writer, const TranscriptSegment &segment);
void encode(JsonWriter &writer, const PlanElement &element);
void encode(JsonWriter &writer, const StoryboardPlan &plan);
void encode(JsonWriter &writer, const ReviewChecklist &review);
void encode(JsonWriter &writer, const GeneratedFrame &frame);
void encode(JsonWriter &writer, const StoryboardChunk &chunk);
void encode(JsonWriter &writer, const CharacterReference &character);
void encode(JsonWriter &writer, const StyleGuidance &style);
void encode(JsonWriter &writer, const DepthFlowSettings &motion);
void encode(JsonWriter &writer, const ExportSettings &exportSettings);
void encode(JsonWriter &writer, const Project &project);

// The same records as JSON objects, for callers that print or embed them.
QJsonObject toJson(const TranscriptSegment &segment);
QJsonObject toJson(const PlanElement &element);
QJsonObject toJson(const StoryboardPlan &plan);
QJsonObject toJson(const ReviewChecklist &review);
QJsonObject toJson(const GeneratedFrame &frame);
QJsonObject toJson(const StoryboardChunk &chunk);
QJsonObject toJson(const CharacterReference &character);
QJsonObject toJson(const StyleGuidance &style);
QJsonObject toJson(const DepthFlowSettings &motion);
QJsonObject toJson(const ExportSettings &exportSettings);
QJsonObject toJson(const Project &project);

// Decoders by record type; `path` names the value's place in the document for error text.
template <typename T>
T fromJson(const QJsonValue &value, const QString &path = {});

template <> TimedWord fromJson(const QJsonValue &, const QString &);
template <> TranscriptSegment fromJson(const QJsonValue &, const QString &);
template <> PlanElement fromJson(const QJsonValue &, const QString &);
template <> StoryboardPlan fromJson(const QJsonValue &, const QString &);
template <> ReviewChecklist fromJson(const QJsonValue &, const QString &);
template <> GeneratedFrame fromJson(const QJsonValue &, const QString &);
template <> StoryboardChunk fromJson(const QJsonValue &, const QString &);
template <> CharacterReference fromJson(const QJsonValue &, const QString &);
template <> StyleGuidance fromJson(const QJsonValue &, const QString &);
template <> DepthFlowSettings fromJson(const QJsonValue &, const QString &);
template <> ExportSettings fromJson(const QJsonValue &, const QString &);
template <> Project fromJson(const QJsonValue &, const QString &);

} // namespace quillvane
