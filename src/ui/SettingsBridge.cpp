#include "ui/SettingsBridge.h"

#include "model/PipelineConfig.h"
#include "ui/BridgeSupport.h"

namespace quillvane::ui {

SettingsBridge::SettingsBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_generation(store)
{
    applyBackend();
    refresh();
    connect(&store, &ProjectStore::generationBackendChanged, this, &SettingsBridge::applyBackend);
    for (const auto signal : {&ProjectStore::generationModelChanged, &ProjectStore::editWorkflowChanged,
                              &ProjectStore::proxyBaseURLChanged, &ProjectStore::generationBackendChanged,
                              &ProjectStore::timingMethodChanged})
        connect(&store, signal, this, &SettingsBridge::refresh);
}

void SettingsBridge::refresh()
{
    follow(this, m_generationModel, m_store.generationModel(), &SettingsBridge::generationModelChanged);
    follow(this, m_editWorkflow, m_store.editWorkflow(), &SettingsBridge::editWorkflowChanged);
    follow(this, m_proxyBaseURL, m_store.proxyBaseURL(), &SettingsBridge::proxyBaseURLChanged);
    follow(this, m_offlineStudio, m_store.generationBackend() == Backend::offline, &SettingsBridge::offlineStudioChanged);
    follow(this, m_alignsWords, m_store.timingMethod() == TimingMethod::words, &SettingsBridge::alignsWordsChanged);
}

void SettingsBridge::setOfflineStudio(bool offline)
{
    m_store.setGenerationBackend(offline ? Backend::offline : Backend::service);
}

void SettingsBridge::setAlignsWords(bool words)
{
    m_store.setTimingMethod(words ? TimingMethod::words : TimingMethod::proportional);
}

void SettingsBridge::applyBackend()
{
    try {
        m_generation.use(m_store.generationBackend() == Backend::offline);
    } catch (const Error &error) {
        m_store.setLastError(error.description());
    }
}

QString SettingsBridge::engineName() const
{
    const auto &transcriber = m_store.services().transcriber;
    return transcriber && transcriber->isAvailable() ? transcriber->name() : QStringLiteral("None");
}

} // namespace quillvane::ui
