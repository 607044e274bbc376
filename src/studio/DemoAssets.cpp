// The demo character's portrait and the preparation of the demo's files.

#include "studio/DemoAssets.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QSaveFile>
#include <QTemporaryDir>

namespace quillvane::studio {

DemoError DemoError::voiceMissing()
{
    return DemoError(QStringLiteral("The demo song is sung by espeak-ng, which is not installed. "
                                    "Install it (sudo apt install espeak-ng) and run the demo again."));
}

DemoError DemoError::cannotWrite(const QString &folder)
{
    return DemoError(QStringLiteral("The demo's files could not be written to %1. "
                                    "Check that the folder is writable and the disk is not full.")
                         .arg(folder));
}

namespace {

constexpr int side = 1024;
constexpr int songRate = 44100;

// Juno from the shoulders up: dark bob, red jacket with a raised collar, silver earring, in
// front of a dusk sky, so the painter has a face, a silhouette and colours to carry over.
QImage portrait()
{
    QImage image(side, side, QImage::Format_RGB32);
    QPainter p(&image);
    p.setRenderHint(QPainter::Antialiasing);
    QLinearGradient sky(0, 0, 0, side);
    sky.setColorAt(0, QColor(0x2a, 0x1b, 0x4d));
    sky.setColorAt(0.6, QColor(0xc8, 0x4b, 0x5a));
    sky.setColorAt(1, QColor(0xf2, 0x9e, 0x4c));
    p.fillRect(image.rect(), sky);
    QRadialGradient glow(QPointF(side * 0.5, side * 0.42), side * 0.45);
    glow.setColorAt(0, QColor(255, 220, 170, 110));
    glow.setColorAt(1, QColor(255, 220, 170, 0));
    p.fillRect(image.rect(), glow);
    p.setPen(Qt::NoPen);

    // Jacket: shoulders and the collar's two flaps.
    QPainterPath jacket;
    jacket.moveTo(120, side);
    jacket.cubicTo(140, 800, 250, 700, 420, 680);
    jacket.lineTo(604, 680);
    jacket.cubicTo(774, 700, 884, 800, 904, side);
    jacket.closeSubpath();
    p.setBrush(QColor(0xc6, 0x1f, 0x2b));
    p.drawPath(jacket);
    p.setBrush(QColor(0x8f, 0x12, 0x1c));
    p.drawPolygon(QPolygonF({QPointF(420, 680), QPointF(512, 860), QPointF(470, 1024), QPointF(380, 760)}));
    p.drawPolygon(QPolygonF({QPointF(604, 680), QPointF(512, 860), QPointF(554, 1024), QPointF(644, 760)}));
    // Neck and the shirt under the collar.
    p.setBrush(QColor(0x1d, 0x1d, 0x24));
    p.drawPolygon(QPolygonF({QPointF(452, 690), QPointF(572, 690), QPointF(512, 850)}));
    const QColor skin(0xe8, 0xb8, 0x94);
    p.setBrush(skin.darker(112));
    p.drawRect(QRectF(462, 560, 100, 150));

    // Head, ears and the earring.
    p.setBrush(skin);
    p.drawEllipse(QRectF(362, 250, 300, 360));
    p.drawEllipse(QRectF(344, 410, 50, 80));
    p.drawEllipse(QRectF(630, 410, 50, 80));
    p.setBrush(QColor(0xd8, 0xdc, 0xe4));
    p.drawEllipse(QRectF(646, 486, 20, 20));

    // Hair: a dark bob with a fringe swept to one side.
    QPainterPath hair;
    hair.moveTo(340, 520);
    hair.cubicTo(300, 300, 400, 200, 520, 205);
    hair.cubicTo(650, 210, 720, 300, 690, 520);
    hair.cubicTo(670, 430, 640, 360, 600, 330);
    hair.cubicTo(540, 380, 440, 360, 400, 340);
    hair.cubicTo(370, 390, 360, 450, 340, 520);
    p.setBrush(QColor(0x1a, 0x14, 0x18));
    p.drawPath(hair);

    // Face: eyes, brows, nose and a small smile.
    p.setBrush(QColor(0x26, 0x1c, 0x1c));
    p.drawEllipse(QRectF(435, 430, 34, 22));
    p.drawEllipse(QRectF(555, 430, 34, 22));
    p.setPen(QPen(QColor(0x26, 0x1c, 0x1c), 9, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(428, 410), QPointF(476, 402));
    p.drawLine(QPointF(548, 402), QPointF(596, 410));
    p.setPen(QPen(skin.darker(130), 6, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(QPointF(512, 450), QPointF(500, 510));
    p.setPen(QPen(QColor(0xa8, 0x3a, 0x3a), 8, Qt::SolidLine, Qt::RoundCap));
    QPainterPath smile;
    smile.moveTo(470, 545);
    smile.quadTo(512, 572, 554, 545);
    p.setBrush(Qt::NoBrush);
    p.drawPath(smile);
    p.end();
    return image;
}

QString makeSong(const QString &folder, const QString &path)
{
    QTemporaryDir scratch(folder + QStringLiteral("/.making-XXXXXX"));
    if (!scratch.isValid())
        throw DemoError::cannotWrite(folder);
    const std::vector<float> samples = mixDemoSong(scratch.path(), songRate);
    const QString made = scratch.filePath(QStringLiteral("song.mp3"));
    writeTaggedMp3(made, samples, songRate);
    QFile::remove(path);
    if (!QFile::rename(made, path))
        throw DemoError::cannotWrite(folder);
    return path;
}

} // namespace

void drawDemoCharacter(const QString &path)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !portrait().save(&file, "PNG") || !file.commit())
        throw DemoError::cannotWrite(QFileInfo(path).absolutePath());
}

DemoAssets ensureDemoAssets(const QString &folder)
{
    if (!QDir().mkpath(folder))
        throw DemoError::cannotWrite(folder);
    const DemoAssets assets{folder + QStringLiteral("/Neon Overpass.mp3"), folder + QStringLiteral("/Juno.png")};
    if (!QFile::exists(assets.song))
        makeSong(folder, assets.song);
    if (!QFile::exists(assets.character))
        drawDemoCharacter(assets.character);
    return assets;
}

} // namespace quillvane::studio
