#pragma once

// Where generation runs, decided in one place for the app and the command line: the service
// behind its URL, or the built-in studio, started when chosen and polled far more often than
// the service because it answers at once.

#include "store/ProjectStore.h"

#include <QObject>

#include <memory>
#include <optional>

namespace quillvane {

namespace studio {
class OfflineStudio;
}

class GenerationBackend : public QObject {
public:
    explicit GenerationBackend(ProjectStore &store, QObject *parent = nullptr);
    ~GenerationBackend() override;

    // Points the store's generation client at the studio (started if it is not running) or at
    // the service: serviceURL for this run when given, else the stored setting. Throws Error
    // when the studio cannot start; the client is then left on the service.
    void use(bool offline, const std::optional<QUrl> &serviceURL = std::nullopt);

    bool isOffline() const { return m_studio != nullptr; }

private:
    struct Folders;

    ProjectStore &m_store;
    std::shared_ptr<Folders> m_folders;
    std::unique_ptr<studio::OfflineStudio> m_studio;
};

} // namespace quillvane
