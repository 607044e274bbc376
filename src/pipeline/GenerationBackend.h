#pragma once

// Where the generation client of the next operation goes: the service behind the settings'
// URL, or the built-in offline studio when the settings choose it (started on first use and
// serving the open project's image folders).

#include "store/ProjectStore.h"

#include <memory>
#include <mutex>

namespace quillvane {

namespace studio {
class OfflineStudio;
}

struct GenerationEndpoint {
    QUrl baseURL;
    std::chrono::milliseconds pollInterval{};
    std::chrono::milliseconds timeout{};
};

// The endpoint for the store's settings. Throws Error when the offline backend is chosen and
// the studio cannot start, or when this build has no studio.
GenerationEndpoint generationEndpoint(const ProjectStore &store);

// The built-in offline studio as the services carry it.
class OfflineStudioHost : public LocalGenerationHost {
public:
    OfflineStudioHost();
    ~OfflineStudioHost() override;

    QUrl serve(const QStringList &folders) override;
    std::chrono::milliseconds pollInterval() const override { return std::chrono::milliseconds(50); }

private:
    // The folders it may serve, read by the studio's thread while the UI thread changes them.
    struct Folders {
        std::mutex mutex;
        QStringList list;
    };

    std::shared_ptr<Folders> m_folders;
    std::unique_ptr<studio::OfflineStudio> m_studio;
};

} // namespace quillvane
