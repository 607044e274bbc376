#include "media/TitleCard.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPainter>

#include <algorithm>

namespace quillvane {

namespace {

QString displayFamily()
{
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(QStringLiteral(":/quillvane-media/Anton-Regular.ttf"));
        const QStringList families = id < 0 ? QStringList() : QFontDatabase::applicationFontFamilies(id);
        return families.value(0, QStringLiteral("Sans Serif"));
    }();
    return family;
}

// A wide, soft blur that leaves no painted letter readable: down to a few dozen pixels
// across, then back up in two smooth steps so the blocks melt into gradients.
QImage blurred(const QImage &image)
{
    const QSize small = image.size().scaled(32, 32, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    const QSize middle = image.size().scaled(160, 160, Qt::KeepAspectRatio).expandedTo(QSize(1, 1));
    return image.scaled(small, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(middle, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
        .scaled(image.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
}

// The largest pixel size, up to `largest`, at which text fits within width.
int fittingSize(const QString &family, const QString &text, double width, int largest)
{
    QFont font(family);
    int size = std::max(largest, 8);
    for (; size > 8; size -= std::max(1, size / 12)) {
        font.setPixelSize(size);
        if (QFontMetricsF(font).horizontalAdvance(text) <= width)
            break;
    }
    return size;
}

// The still scaled to cover `size` without squashing, its middle cut out.
QImage covering(const QImage &still, const QSize &size)
{
    if (still.size() == size || size.isEmpty())
        return still;
    const QImage scaled = still.scaled(size, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    return scaled.copy((scaled.width() - size.width()) / 2, (scaled.height() - size.height()) / 2, size.width(),
                       size.height());
}

} // namespace

QImage titleCard(const QImage &still, const QSize &size, const QString &title, const QString &artist)
{
    QImage card = blurred(covering(still, size).convertToFormat(QImage::Format_ARGB32_Premultiplied));
    QPainter painter(&card);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.fillRect(card.rect(), QColor(0, 0, 0, 150));
    // Letters need the font machinery of a GUI application; without one the card stays bare.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance()))
        return card;

    const double width = card.width();
    const double height = card.height();
    // Letters scale with the short side: a tall frame's height would make them overrun it.
    const double shortSide = std::min(width, height);
    const QString family = displayFamily();
    const QString heading = (title.trimmed().isEmpty() ? QStringLiteral("Untitled") : title.trimmed()).toUpper();
    QFont titleFont(family);
    titleFont.setPixelSize(fittingSize(family, heading, width * 0.84, int(shortSide * 0.16)));
    painter.setFont(titleFont);
    painter.setPen(QColor(0xF7, 0xEC, 0xD2)); // cream
    const double titleHeight = QFontMetricsF(titleFont).height();
    const QRectF titleBox(0, height * 0.46 - titleHeight, width, titleHeight);
    painter.drawText(titleBox, Qt::AlignHCenter | Qt::AlignBottom, heading);

    if (!artist.trimmed().isEmpty()) {
        const QString byline = artist.trimmed().toUpper();
        QFont artistFont(family);
        artistFont.setPixelSize(fittingSize(family, byline, width * 0.7, int(shortSide * 0.06)));
        artistFont.setLetterSpacing(QFont::PercentageSpacing, 112);
        painter.setFont(artistFont);
        painter.setPen(QColor(0xFF, 0x67, 0x48)); // coral
        painter.drawText(QRectF(0, height * 0.5, width, QFontMetricsF(artistFont).height() * 1.2),
                         Qt::AlignHCenter | Qt::AlignTop, byline);
    }
    painter.end();
    return card;
}

} // namespace quillvane
