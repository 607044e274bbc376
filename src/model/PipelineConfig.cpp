#include "model/PipelineConfig.h"

#include "model/JsonFields.h"

#include <QUrl>

namespace quillvane {

QJsonObject toJson(const PipelineConfig &config)
{
    return {{QStringLiteral("planWorkflow"), config.planWorkflow},
            {QStringLiteral("elementWorkflow"), config.elementWorkflow},
            {QStringLiteral("frameWorkflow"), config.frameWorkflow},
            {QStringLiteral("editWorkflow"), config.editWorkflow},
            {QStringLiteral("generationModel"), config.generationModel},
            {QStringLiteral("proxyBaseURL"), config.proxyBaseURL}};
}

PipelineConfig pipelineConfigFromJson(const QJsonValue &value)
{
    const FieldReader r(value, QStringLiteral("config"));
    return {r.string(QStringLiteral("planWorkflow")),    r.string(QStringLiteral("elementWorkflow")),
            r.string(QStringLiteral("frameWorkflow")),   r.string(QStringLiteral("editWorkflow")),
            r.string(QStringLiteral("generationModel")), r.string(QStringLiteral("proxyBaseURL"))};
}

namespace {

QString trimmed(const QString &text)
{
    // Blanks and line breaks only; QString::trimmed would also take other whitespace.
    qsizetype first = 0;
    qsizetype last = text.size();
    const auto isBlank = [](QChar c) {
        return c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('\n') || c == QLatin1Char('\r');
    };
    while (first < last && isBlank(text.at(first)))
        ++first;
    while (last > first && isBlank(text.at(last - 1)))
        --last;
    return text.mid(first, last - first);
}

QString stripSlashes(QString path)
{
    while (path.startsWith(QLatin1Char('/')))
        path.remove(0, 1);
    while (path.endsWith(QLatin1Char('/')))
        path.chop(1);
    return path;
}

} // namespace

QString normaliseProxyURL(const std::optional<QString> &raw, const QString &fallback)
{
    QString f = trimmed(fallback);
    if (f.isEmpty())
        f = QString::fromUtf8(deployment::defaultProxyURL);
    if (!raw)
        return f;
    const QString t = trimmed(*raw);
    if (t.isEmpty())
        return f;

    QUrl url(t, QUrl::StrictMode);
    if (!url.isValid())
        return f;
    if (url.scheme().toLower() != QLatin1String("https"))
        return f;
    const QString host = url.host().toLower();
    if (host.isEmpty())
        return f;
    if (host == QLatin1String(deployment::retiredProxyHost))
        return f;

    const QString defaultHost = QUrl(QString::fromUtf8(deployment::defaultProxyURL)).host().toLower();
    QString path = url.path();
    if (host == defaultHost) {
        const QString p = stripSlashes(path);
        if (p.isEmpty() || p == QLatin1String("api/fal"))
            path = QStringLiteral("/api/fal");
    } else if (path.size() > 1 && path.endsWith(QLatin1Char('/'))) {
        path.chop(1);
    }
    url.setPath(path);
    if (!url.isValid())
        return f;
    return url.toString(QUrl::FullyEncoded);
}

PipelineError::PipelineError(Case kind)
    : Error(message(kind))
    , m_kind(kind)
{
}

QString PipelineError::message(Case kind)
{
    switch (kind) {
    case Case::missingAudio:
        return QStringLiteral("Import an audio track before running timing.");
    case Case::emptyLyrics:
        return QStringLiteral("Add lyrics before planning the storyboard.");
    case Case::missingCharacter:
        return QStringLiteral("Add a character with a reference image before planning — the plan is built around it.");
    case Case::noChunks:
        return QStringLiteral("The planner returned no frames. Check the transcript and try again.");
    case Case::notReviewed:
        return QStringLiteral("Every frame must pass the readability review before export.");
    }
    return {};
}

QString settingName(Backend backend)
{
    return backend == Backend::offline ? QStringLiteral("offline") : QStringLiteral("service");
}

LyricsOnScreen lyricsOnScreen(const StyleGuidance &style, Backend backend)
{
    if (style.lyricsOnScreen)
        return *style.lyricsOnScreen;
    return backend == Backend::offline ? LyricsOnScreen::sung : LyricsOnScreen::painted;
}

QString label(LyricsOnScreen lyrics)
{
    switch (lyrics) {
    case LyricsOnScreen::painted:
        return QStringLiteral("Painted in the scene");
    case LyricsOnScreen::sung:
        return QStringLiteral("Set as sung");
    case LyricsOnScreen::both:
        return QStringLiteral("Both");
    }
    return {};
}

QString settingName(TimingMethod method)
{
    return method == TimingMethod::proportional ? QStringLiteral("proportional") : QStringLiteral("words");
}

std::optional<Backend> backendNamed(const QString &name)
{
    for (const Backend backend : {Backend::service, Backend::offline})
        if (name == settingName(backend))
            return backend;
    return std::nullopt;
}

std::optional<TimingMethod> timingMethodNamed(const QString &name)
{
    for (const TimingMethod method : {TimingMethod::words, TimingMethod::proportional})
        if (name == settingName(method))
            return method;
    return std::nullopt;
}

} // namespace quillvane
