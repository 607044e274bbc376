#include "ui/SettingsBridge.h"

#include "model/PipelineConfig.h"
#include "ui/BridgeSupport.h"

namespace quillvane::ui {

SettingsBridge::SettingsBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
{
    refresh();
    for (const auto signal : {&GenerationSettings::generationModelChanged, &GenerationSettings::editWorkflowChanged,
                              &GenerationSettings::proxyBaseURLChanged, &GenerationSettings::generationBackendChanged,
                              &GenerationSettings::timingMethodChanged})
        connect(&store.settings(), signal, this, &SettingsBridge::refresh);
}

void SettingsBridge::refresh()
{
    follow(this, m_generationModel, m_store.settings().generationModel(), &SettingsBridge::generationModelChanged);
    follow(this, m_editWorkflow, m_store.settings().editWorkflow(), &SettingsBridge::editWorkflowChanged);
    follow(this, m_proxyBaseURL, m_store.settings().proxyBaseURL(), &SettingsBridge::proxyBaseURLChanged);
    follow(this, m_offlineStudio, m_store.settings().generationBackend() == Backend::offline, &SettingsBridge::offlineStudioChanged);
    follow(this, m_alignsWords, m_store.settings().timingMethod() == TimingMethod::words, &SettingsBridge::alignsWordsChanged);
}

void SettingsBridge::setOfflineStudio(bool offline)
{
    m_store.settings().setGenerationBackend(offline ? Backend::offline : Backend::service);
}

void SettingsBridge::setAlignsWords(bool words)
{
    m_store.settings().setTimingMethod(words ? TimingMethod::words : TimingMethod::proportional);
}

QString SettingsBridge::engineName() const
{
    const auto &transcriber = m_store.services().transcriber;
    return transcriber && transcriber->isAvailable() ? transcriber->name() : QStringLiteral("None");
}

} // namespace quillvane::ui
