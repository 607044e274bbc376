#include "ui/IconProvider.h"

#include "ui/Symbols.h"

#include <QFile>
#include <QPainter>
#include <QSvgRenderer>
#include <QUrlQuery>

namespace quillvane::ui {

IconProvider::IconProvider()
    : QQuickImageProvider(QQuickImageProvider::Image)
{
}

QImage IconProvider::requestImage(const QString &id, QSize *size, const QSize &requestedSize)
{
    const qsizetype question = id.indexOf(QLatin1Char('?'));
    const QString symbol = id.left(question);
    const QString colour = question < 0 ? QStringLiteral("#f7ecd2")
                                        : QUrlQuery(id.mid(question + 1)).queryItemValue(QStringLiteral("color"));
    const QSize extent(requestedSize.width() > 0 ? requestedSize.width() : 24,
                       requestedSize.height() > 0 ? requestedSize.height() : 24);
    if (size)
        *size = extent;
    QImage image(extent, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QFile file(iconFileFor(symbol));
    if (!file.open(QIODevice::ReadOnly))
        return image;
    QByteArray svg = file.readAll();
    svg.replace("currentColor", colour.toLatin1());
    QSvgRenderer renderer(svg);
    QPainter painter(&image);
    renderer.render(&painter);
    return image;
}

} // namespace quillvane::ui
