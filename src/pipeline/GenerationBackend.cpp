#include "pipeline/GenerationBackend.h"

#include "studio/OfflineStudio.h"

namespace quillvane {

GenerationEndpoint generationEndpoint(const ProjectStore &store)
{
    const StoreOptions &options = store.options();
    if (store.settings().generationBackend() != Backend::offline)
        return {store.settings().serviceURL(), options.generationPollInterval, options.generationTimeout};
    LocalGenerationHost *studio = store.services().offlineStudio.get();
    if (!studio)
        throw Error(QStringLiteral("The offline studio is not part of this build; choose the generation service in "
                                   "Settings."));
    const MediaLibrary media = store.document().media();
    return {studio->serve({media.framesFolder(), media.elementsFolder()}), studio->pollInterval(),
            options.generationTimeout};
}

OfflineStudioHost::OfflineStudioHost()
    : m_folders(std::make_shared<Folders>())
{
}

OfflineStudioHost::~OfflineStudioHost() = default;

QUrl OfflineStudioHost::serve(const QStringList &folders)
{
    {
        const std::lock_guard lock(m_folders->mutex);
        m_folders->list = folders;
    }
    if (!m_studio) {
        m_studio = std::make_unique<studio::OfflineStudio>([folders = m_folders] {
            const std::lock_guard lock(folders->mutex);
            return folders->list;
        });
    }
    return m_studio->baseURL();
}

} // namespace quillvane
