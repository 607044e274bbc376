#include "model/Error.h"

namespace quillvane {

Error::Error(QString description)
    : m_description(std::move(description))
    , m_utf8(m_description.toUtf8())
{
}

QString userFacingDescription(const std::exception &error)
{
    if (const auto *typed = dynamic_cast<const Error *>(&error))
        return typed->description();
    const QString detail = QString::fromUtf8(error.what()).trimmed();
    if (detail.isEmpty())
        return QStringLiteral("The operation couldn’t be completed.");
    return QStringLiteral("The operation couldn’t be completed. (%1)").arg(detail);
}

} // namespace quillvane
