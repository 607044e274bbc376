#pragma once

#include "model/PipelineConfig.h"
#include "storage/Preferences.h"

#include <QObject>
#include <QUrl>

#include <optional>

namespace quillvane {

// The person's generation and timing settings, kept in the preferences: the image model, the
// edit workflow, the service's proxy URL, where generation runs and how lines are timed. A
// command may choose the backend or the service URL for its own run only; that choice is
// never stored and ends with the object. Every setter writes the preferences and notifies
// only when the value really changes.
class GenerationSettings : public QObject {
    Q_OBJECT

public:
    // Reads the stored values, the config's defaults standing in for missing ones; a stored
    // proxy URL that normalises to something else is written back.
    GenerationSettings(Preferences preferences, PipelineConfig defaults, QObject *parent = nullptr);

    QString generationModel() const { return m_generationModel; }
    void setGenerationModel(const QString &value);
    QString editWorkflow() const { return m_editWorkflow; }
    void setEditWorkflow(const QString &value);
    QString proxyBaseURL() const { return m_proxyBaseURL; }
    // Stores the normalised form of value.
    void setProxyBaseURL(const QString &value);
    // Where generation runs: this run's choice when one was made, else the stored one.
    Backend generationBackend() const { return m_runBackend.value_or(m_backend); }
    void setGenerationBackend(Backend backend);
    TimingMethod timingMethod() const { return m_timingMethod; }
    void setTimingMethod(TimingMethod method);

    // The service's base URL for the next operation: this run's URL when one was given (a
    // self-hosted or local service; http allowed), else the normalised setting (the built-in
    // default when that does not parse).
    QUrl serviceURL() const;
    void chooseForThisRun(std::optional<Backend> backend, std::optional<QUrl> serviceURL = std::nullopt);

Q_SIGNALS:
    void generationModelChanged();
    void editWorkflowChanged();
    void proxyBaseURLChanged();
    void generationBackendChanged();
    void timingMethodChanged();

private:
    Preferences m_preferences;
    PipelineConfig m_defaults;
    QString m_generationModel;
    QString m_editWorkflow;
    QString m_proxyBaseURL;
    Backend m_backend = Backend::service;
    TimingMethod m_timingMethod = TimingMethod::words;
    std::optional<Backend> m_runBackend;
    std::optional<QUrl> m_runServiceURL;
};

} // namespace quillvane
