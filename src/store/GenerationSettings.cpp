#include "store/GenerationSettings.h"

namespace quillvane {

namespace {

QString key(const char *name) { return QString::fromUtf8(name); }

// Writes the preference, then the field, notifying when it changed.
template <typename Value>
void store(const Preferences &preferences, const char *preferenceKey, const QString &stored, Value &field,
           const Value &value, GenerationSettings *settings, void (GenerationSettings::*changed)())
{
    preferences.setString(key(preferenceKey), stored);
    if (value == field)
        return;
    field = value;
    Q_EMIT(settings->*changed)();
}

} // namespace

GenerationSettings::GenerationSettings(Preferences preferences, PipelineConfig defaults, QObject *parent)
    : QObject(parent)
    , m_preferences(std::move(preferences))
    , m_defaults(std::move(defaults))
{
    m_generationModel = m_preferences.string(key(preferenceKeys::generationModel)).value_or(m_defaults.generationModel);
    m_editWorkflow = m_preferences.string(key(preferenceKeys::editWorkflow)).value_or(m_defaults.editWorkflow);
    // An unknown stored name reads as the default.
    m_backend = backendNamed(m_preferences.string(key(preferenceKeys::generationBackend)).value_or(QString()))
                    .value_or(Backend::service);
    m_timingMethod = timingMethodNamed(m_preferences.string(key(preferenceKeys::timingMethod)).value_or(QString()))
                         .value_or(TimingMethod::words);
    const auto storedProxy = m_preferences.string(key(preferenceKeys::proxyBaseURL));
    m_proxyBaseURL = normaliseProxyURL(storedProxy, m_defaults.proxyBaseURL);
    if (storedProxy && *storedProxy != m_proxyBaseURL)
        m_preferences.setString(key(preferenceKeys::proxyBaseURL), m_proxyBaseURL);
}

void GenerationSettings::setGenerationModel(const QString &value)
{
    store(m_preferences, preferenceKeys::generationModel, value, m_generationModel, value, this,
          &GenerationSettings::generationModelChanged);
}

void GenerationSettings::setEditWorkflow(const QString &value)
{
    store(m_preferences, preferenceKeys::editWorkflow, value, m_editWorkflow, value, this,
          &GenerationSettings::editWorkflowChanged);
}

void GenerationSettings::setProxyBaseURL(const QString &value)
{
    const QString normalised = normaliseProxyURL(value, m_defaults.proxyBaseURL);
    store(m_preferences, preferenceKeys::proxyBaseURL, normalised, m_proxyBaseURL, normalised, this,
          &GenerationSettings::proxyBaseURLChanged);
}

void GenerationSettings::setGenerationBackend(Backend backend)
{
    const Backend before = generationBackend();
    m_runBackend.reset();
    m_preferences.setString(key(preferenceKeys::generationBackend), settingName(backend));
    m_backend = backend;
    if (generationBackend() != before)
        Q_EMIT generationBackendChanged();
}

void GenerationSettings::setTimingMethod(TimingMethod method)
{
    store(m_preferences, preferenceKeys::timingMethod, settingName(method), m_timingMethod, method, this,
          &GenerationSettings::timingMethodChanged);
}

QUrl GenerationSettings::serviceURL() const
{
    if (m_runServiceURL)
        return *m_runServiceURL;
    const QUrl url(normaliseProxyURL(m_proxyBaseURL, m_defaults.proxyBaseURL), QUrl::StrictMode);
    if (url.isValid())
        return url;
    return QUrl(QString::fromUtf8(deployment::defaultProxyURL));
}

void GenerationSettings::chooseForThisRun(std::optional<Backend> backend, std::optional<QUrl> serviceURL)
{
    const Backend before = generationBackend();
    m_runBackend = backend;
    m_runServiceURL = std::move(serviceURL);
    if (generationBackend() != before)
        Q_EMIT generationBackendChanged();
}

} // namespace quillvane
