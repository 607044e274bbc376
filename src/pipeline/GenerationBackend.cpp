#include "pipeline/GenerationBackend.h"

#include "studio/OfflineStudio.h"

#include <mutex>

namespace quillvane {

namespace {

constexpr std::chrono::milliseconds studioPollInterval{50};

} // namespace

// The open project's image folders, read by the studio's thread while the UI thread changes
// the project.
struct GenerationBackend::Folders {
    std::mutex mutex;
    QStringList list;
};

GenerationBackend::GenerationBackend(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_folders(std::make_shared<Folders>())
{
    const auto follow = [this] {
        const MediaLibrary media = m_store.media();
        const std::lock_guard lock(m_folders->mutex);
        m_folders->list = {media.framesFolder(), media.elementsFolder()};
    };
    follow();
    connect(&store, &ProjectStore::projectChanged, this, follow);
}

GenerationBackend::~GenerationBackend() = default;

void GenerationBackend::use(bool offline, const std::optional<QUrl> &serviceURL)
{
    if (!offline) {
        m_studio.reset();
        m_store.setServiceURLOverride(serviceURL);
        m_store.setGenerationPollInterval(StoreOptions{}.generationPollInterval);
        return;
    }
    if (!m_studio) {
        m_studio = std::make_unique<studio::OfflineStudio>([folders = m_folders] {
            const std::lock_guard lock(folders->mutex);
            return folders->list;
        });
    }
    m_store.setServiceURLOverride(m_studio->baseURL());
    m_store.setGenerationPollInterval(studioPollInterval);
}

} // namespace quillvane
