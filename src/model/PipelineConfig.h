#pragma once

// Which remote workflows the pipeline calls and through which proxy, the preference keys of
// the three user settings, and the errors raised when a stage is started too early.

#include "model/Error.h"
#include "model/Records.h"

#include <QJsonObject>
#include <QString>

#include <optional>

namespace quillvane {

// Deployment values of the service operator.
namespace deployment {
inline constexpr auto defaultProxyURL = "https://studio.quillvane.app/api/fal";
inline constexpr auto retiredProxyHost = "proxy.quillvane.app";
inline constexpr auto mediaHost = "fal.media";
inline constexpr auto directRunHost = "fal.run";
inline constexpr auto brandCaption = "LYRIC VIDEO STUDIO";
} // namespace deployment

// Keys of the per-user preference store.
namespace preferenceKeys {
inline constexpr auto lastProjectID = "lastProjectID";
inline constexpr auto generationModel = "generationModel";
inline constexpr auto editWorkflow = "editWorkflow";
inline constexpr auto proxyBaseURL = "proxyBaseURL";
// "service" (the remote generation service) or "offline" (the built-in studio).
inline constexpr auto generationBackend = "generationBackend";
// "words" (lyric words aligned to the audio) or "proportional" (lines laid over the chunks).
inline constexpr auto timingMethod = "timingMethod";
} // namespace preferenceKeys

// Where generation runs: the remote generation service, or the built-in offline studio.
enum class Backend { service, offline };
// How the timing run places lyric lines: words aligned to the audio, or lines laid over the
// transcribed chunks by proportion.
enum class TimingMethod { words, proportional };

// The names the preferences and the command line use ("service", "offline", "words",
// "proportional"); an unknown name is nullopt.
QString settingName(Backend backend);
QString settingName(TimingMethod method);
std::optional<Backend> backendNamed(const QString &name);
std::optional<TimingMethod> timingMethodNamed(const QString &name);

// How the lyrics reach the picture for this project: its own choice, or else what the
// backend's pictures call for (the service paints words well; the offline studio's stills
// carry none, so the lettering layer sets them).
LyricsOnScreen lyricsOnScreen(const StyleGuidance &style, Backend backend);
// "Painted in the scene", "Set as sung" or "Both", as the screens and the listings name it.
QString label(LyricsOnScreen lyrics);
// The sentence for an unknown name on the command line.
inline const QString lyricsOnScreenUsage = QStringLiteral("--lyrics needs painted, sung or both");

struct PipelineConfig {
    QString planWorkflow = QStringLiteral("workflows/brackenfold/lyric-video-planner-character");
    QString elementWorkflow = QStringLiteral("workflows/brackenfold/element-image");
    QString frameWorkflow = QStringLiteral("workflows/brackenfold/lyric-video-frames-character");
    QString editWorkflow = QStringLiteral("workflows/brackenfold/lyric-video-edit-frame");
    QString generationModel = QStringLiteral("fal-ai/flux/dev");
    QString proxyBaseURL = QString::fromUtf8(deployment::defaultProxyURL);

    bool operator==(const PipelineConfig &) const = default;
};

QJsonObject toJson(const PipelineConfig &config);
// All six keys are required; throws DocumentError otherwise.
PipelineConfig pipelineConfigFromJson(const QJsonValue &value);

// The proxy base URL a setting really means: an https URL, never on the retired host, with
// the default host's path made "/api/fal" and one trailing slash dropped elsewhere. Anything
// unusable becomes the (trimmed) fallback, or the built-in default when that is empty.
QString normaliseProxyURL(const std::optional<QString> &raw, const QString &fallback);

class PipelineError : public Error {
public:
    enum class Case { missingAudio, emptyLyrics, missingCharacter, noChunks, notReviewed };

    explicit PipelineError(Case kind);

    Case kind() const { return m_kind; }
    static QString message(Case kind);
    bool operator==(const PipelineError &other) const { return m_kind == other.m_kind; }

private:
    Case m_kind;
};

} // namespace quillvane
