#include "generation/FalClient.h"

// Placeholder until the generation client lands.

namespace quillvane {

FalClient::FalClient(QUrl baseURL, QNetworkAccessManager *network, std::chrono::milliseconds pollInterval)
    : m_baseURL(std::move(baseURL))
    , m_network(network)
    , m_pollInterval(pollInterval)
{
}

} // namespace quillvane
