#include "studio/StudioPainter.h"

#include <QCryptographicHash>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QRadialGradient>
#include <QRandomGenerator>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>

namespace quillvane::studio {

namespace {

// Wide pictures keep the classic layout; tall and square ones stack surface over portrait.
bool isWide(const QSize &size)
{
    return size.width() > size.height();
}

quint32 seedOf(const QString &text)
{
    const QByteArray hash = QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1);
    return quint32(uchar(hash[0])) << 24 | quint32(uchar(hash[1])) << 16 | quint32(uchar(hash[2])) << 8 | uchar(hash[3]);
}

QString markerFamily()
{
    static const QString family = [] {
        const int id = QFontDatabase::addApplicationFont(QStringLiteral(":/quillvane-studio/PermanentMarker-Regular.ttf"));
        const QStringList families = id < 0 ? QStringList() : QFontDatabase::applicationFontFamilies(id);
        return families.value(0, QStringLiteral("Sans Serif"));
    }();
    return family;
}

QStringList paletteIn(const QString &text)
{
    QStringList colours;
    static const QRegularExpression hex(QStringLiteral("#[0-9A-Fa-f]{6}"));
    for (auto match = hex.globalMatch(text); match.hasNext();)
        colours.append(match.next().captured());
    if (colours.size() < 4)
        colours = {QStringLiteral("#0F392F"), QStringLiteral("#FF6748"), QStringLiteral("#D6EE27"), QStringLiteral("#F7ECD2")};
    return colours;
}

bool has(const QString &prompt, const char *word)
{
    return prompt.contains(QLatin1String(word), Qt::CaseInsensitive);
}

void paintSky(QPainter &painter, const FrameSpec &scene, const QColor &base)
{
    const double frameWidth = scene.size.width();
    const double frameHeight = scene.size.height();
    QColor top = base.darker(220);
    QColor bottom = base.lighter(130);
    if (has(scene.prompt, "night") || has(scene.prompt, "neon")) {
        top = QColor(8, 12, 38);
        bottom = QColor(40, 30, 90);
    } else if (has(scene.prompt, "sunset") || has(scene.prompt, "golden")) {
        top = QColor(60, 30, 90);
        bottom = QColor(250, 150, 60);
    } else if (has(scene.prompt, "snow") || has(scene.prompt, "winter")) {
        top = QColor(120, 150, 185);
        bottom = QColor(225, 235, 245);
    }
    QLinearGradient sky(0, 0, 0, frameHeight * 0.62);
    sky.setColorAt(0, top);
    sky.setColorAt(1, bottom);
    painter.fillRect(QRectF(0, 0, frameWidth, frameHeight), sky);
}

void paintCity(QPainter &painter, const QSize &size, QRandomGenerator &random, const QColor &colour)
{
    const double frameWidth = size.width();
    const double frameHeight = size.height();
    const double horizon = frameHeight * 0.62;
    double x = 0;
    while (x < frameWidth) {
        const double width = 60 + random.bounded(140);
        const double height = 120 + random.bounded(320);
        painter.fillRect(QRectF(x, horizon - height, width, height), colour);
        // Lit windows.
        painter.setPen(Qt::NoPen);
        for (double wy = horizon - height + 14; wy < horizon - 20; wy += 26) {
            for (double wx = x + 10; wx < x + width - 14; wx += 22) {
                if (random.bounded(3) == 0)
                    painter.fillRect(QRectF(wx, wy, 9, 12), QColor(255, 214, 120, 200));
            }
        }
        x += width + random.bounded(18);
    }
}

void paintGround(QPainter &painter, const FrameSpec &scene, const QColor &colour)
{
    const double frameWidth = scene.size.width();
    const double frameHeight = scene.size.height();
    const double horizon = frameHeight * 0.62;
    QLinearGradient ground(0, horizon, 0, frameHeight);
    ground.setColorAt(0, colour.darker(160));
    ground.setColorAt(1, colour.darker(300));
    painter.fillRect(QRectF(0, horizon, frameWidth, frameHeight - horizon), ground);
    if (has(scene.prompt, "road") || has(scene.prompt, "street")) {
        QPainterPath road;
        road.moveTo(frameWidth * 0.42, horizon);
        road.lineTo(frameWidth * 0.58, horizon);
        road.lineTo(frameWidth * 0.95, frameHeight);
        road.lineTo(frameWidth * 0.05, frameHeight);
        road.closeSubpath();
        painter.fillPath(road, QColor(30, 32, 38));
        painter.setPen(QPen(QColor(240, 220, 140), 6, Qt::DashLine));
        painter.drawLine(QPointF(frameWidth * 0.5, horizon), QPointF(frameWidth * 0.5, frameHeight));
    }
    if (has(scene.prompt, "water") || has(scene.prompt, "river") || has(scene.prompt, "sea")) {
        painter.fillRect(QRectF(0, horizon, frameWidth, frameHeight * 0.12), QColor(40, 90, 140, 180));
    }
}

void paintSnow(QPainter &painter, const QSize &size, QRandomGenerator &random)
{
    const double frameWidth = size.width();
    const double frameHeight = size.height();
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(255, 255, 255, 210));
    for (int i = 0; i < 420; ++i) {
        const double r = 1.5 + random.bounded(4.0);
        painter.drawEllipse(QPointF(random.bounded(frameWidth), random.bounded(frameHeight)), r, r);
    }
}

void paintPortrait(QPainter &painter, const FrameSpec &scene, const QImage &character)
{
    const QRectF frame = portraitArea(scene);
    painter.fillRect(frame.adjusted(-14, -14, 14, 14), QColor(40, 30, 20));
    // Filled without squashing: scaled to cover the frame, then its middle cut out.
    const QSize size = frame.size().toSize();
    const QImage covering = character.scaled(size, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    painter.drawImage(frame.topLeft(), covering.copy((covering.width() - size.width()) / 2,
                                                     (covering.height() - size.height()) / 2, size.width(), size.height()));
}

// Whether the request names the word on its own ("red", not the "red" of "centred").
bool names(const QString &request, const QString &pattern)
{
    return QRegularExpression(QStringLiteral("\\b(") + pattern + QStringLiteral(")\\b"),
                              QRegularExpression::CaseInsensitiveOption)
        .match(request)
        .hasMatch();
}

// The surface, in perspective (its far edge shorter, as if seen from the left), with the
// scene's words lettered on it.
void paintSurface(QPainter &painter, const FrameSpec &scene)
{
    // A scene without words has no sign either: the lyrics are set over it.
    if (scene.text.isEmpty())
        return;
    const QColor accent(scene.palette.value(1));
    const QColor light(scene.palette.value(3));
    const QRectF area = textArea(scene);
    QPolygonF flat; // four corners (a polygon made from a rectangle closes itself with a fifth)
    flat << QPointF(0, 0) << QPointF(area.width(), 0) << QPointF(area.width(), area.height()) << QPointF(0, area.height());
    QPolygonF seen;
    seen << area.topLeft() << QPointF(area.right(), area.top() + area.height() * 0.08)
         << QPointF(area.right(), area.bottom() - area.height() * 0.08) << area.bottomLeft();
    QTransform perspective = QTransform::fromTranslate(area.left(), area.top());
    QTransform::quadToQuad(flat, seen, perspective);
    painter.setTransform(perspective);
    painter.setPen(QPen(light.darker(140), 10));
    painter.setBrush(accent.darker(170));
    painter.drawRoundedRect(QRectF(0, 0, area.width(), area.height()), 18, 18);
    QFont font(markerFamily());
    font.setPixelSize(int(area.height() * 0.26));
    const QRectF inside(30, 20, area.width() - 60, area.height() - 40);
    // Shrink until the words fit the surface.
    while (font.pixelSize() > 18
           && QFontMetricsF(font).boundingRect(inside, Qt::AlignCenter | Qt::TextWordWrap, scene.text).height() > inside.height())
        font.setPixelSize(font.pixelSize() - 4);
    painter.setFont(font);
    painter.setPen(light);
    painter.drawText(inside, Qt::AlignCenter | Qt::TextWordWrap, scene.text);
    painter.resetTransform();
}

} // namespace

bool asksForNoWords(const QString &prompt)
{
    return names(prompt, QStringLiteral("no (text|lettering)"));
}

FrameSpec frameSpecFromPrompt(const QString &imagePrompt)
{
    FrameSpec scene;
    scene.prompt = imagePrompt;
    static const QRegularExpression quoted(QStringLiteral("\"([^\"]+)\""));
    if (!asksForNoWords(imagePrompt)) {
        scene.text = quoted.match(imagePrompt).captured(1);
        if (scene.text.isEmpty())
            scene.text = imagePrompt.section(QLatin1Char('.'), 0, 0).left(40);
    }
    static const QRegularExpression surface(QStringLiteral("(?:present on|painted on) ([^,.]+)"));
    scene.surface = surface.match(imagePrompt).captured(1).trimmed();
    if (scene.surface.isEmpty())
        scene.surface = QStringLiteral("a hand-painted sign");
    scene.palette = paletteIn(imagePrompt);
    scene.variation = seedOf(imagePrompt);
    return scene;
}

QRectF textArea(const FrameSpec &scene)
{
    const double frameWidth = scene.size.width();
    const double frameHeight = scene.size.height();
    // Walls and murals are wide and low; signs and banners sit higher and narrower. On a tall
    // or square picture both span nearly its width, above the portrait.
    const bool wall = scene.surface.contains(QLatin1String("wall")) || scene.surface.contains(QLatin1String("mural"));
    if (!isWide(scene.size))
        return wall ? QRectF(frameWidth * 0.06, frameHeight * 0.20, frameWidth * 0.88, frameHeight * 0.30)
                    : QRectF(frameWidth * 0.10, frameHeight * 0.10, frameWidth * 0.80, frameHeight * 0.26);
    return wall ? QRectF(frameWidth * 0.08, frameHeight * 0.30, frameWidth * 0.56, frameHeight * 0.34)
                : QRectF(frameWidth * 0.12, frameHeight * 0.18, frameWidth * 0.50, frameHeight * 0.30);
}

QRectF portraitArea(const FrameSpec &scene)
{
    const double frameWidth = scene.size.width();
    const double frameHeight = scene.size.height();
    if (isWide(scene.size))
        return {frameWidth * 0.70, frameHeight * 0.20, 420, 520};
    // Lower right, below the surface, shrunk to fit a square picture.
    const double height = std::min(520.0, frameHeight * 0.36);
    const double width = height * 420 / 520;
    return {frameWidth * 0.92 - width, frameHeight * 0.92 - height, width, height};
}

QImage paintFrame(const FrameSpec &scene, const std::optional<QImage> &character)
{
    const double frameWidth = scene.size.width();
    const double frameHeight = scene.size.height();
    QImage image(scene.size, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QRandomGenerator random(scene.variation);
    const QColor base(scene.palette.value(0));

    paintSky(painter, scene, base);
    if (!has(scene.prompt, "forest"))
        paintCity(painter, scene.size, random, base.darker(250));
    else
        for (int i = 0; i < 40; ++i) {
            const double x = random.bounded(frameWidth);
            const double h = 200 + random.bounded(300.0);
            QPolygonF tree({QPointF(x, frameHeight * 0.62 - h), QPointF(x - 50, frameHeight * 0.62), QPointF(x + 50, frameHeight * 0.62)});
            painter.setBrush(QColor(20, 60, 40));
            painter.setPen(Qt::NoPen);
            painter.drawPolygon(tree);
        }
    paintGround(painter, scene, base);
    if (character)
        paintPortrait(painter, scene, *character);

    paintSurface(painter, scene);

    if (has(scene.prompt, "snow") || has(scene.prompt, "winter"))
        paintSnow(painter, scene.size, random);
    painter.end();
    // The motion keeps what the frame is about in the picture while it pushes in: the
    // character when there is one, else the lettered surface.
    const QRectF subject = character ? portraitArea(scene).adjusted(-14, -14, 14, 14) : textArea(scene);
    const double width = scene.size.width();
    const double height = scene.size.height();
    image.setText(QStringLiteral("Subject"), QStringLiteral("%1,%2,%3,%4")
                                                  .arg(subject.center().x() / width, 0, 'f', 4)
                                                  .arg(subject.center().y() / height, 0, 'f', 4)
                                                  .arg(subject.width() / width, 0, 'f', 4)
                                                  .arg(subject.height() / height, 0, 'f', 4));
    return image;
}

QImage paintElement(const QString &elementID, const QString &prompt)
{
    const QStringList palette = paletteIn(prompt);
    QImage image(1024, 1024, QImage::Format_RGB32);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QRadialGradient glow(512, 512, 620);
    glow.setColorAt(0, QColor(palette[3]));
    glow.setColorAt(1, QColor(palette[0]));
    painter.fillRect(image.rect(), glow);
    QRandomGenerator random(seedOf(elementID + prompt));
    painter.setPen(Qt::NoPen);
    for (int ring = 0; ring < 5; ++ring) {
        painter.setBrush(QColor(palette[(ring + 1) % 4]));
        const double r = 380 - ring * 70 + random.bounded(20.0);
        painter.drawEllipse(QPointF(512, 512), r, r);
    }
    // The word is shrunk until it fits whole: a long word wrapped at 96 px ran past the box
    // and lost its first and last letters.
    const QRectF box(80, 380, 864, 264);
    QFont font(markerFamily());
    int size = 96;
    for (;; size -= 4) {
        font.setPixelSize(size);
        const QRectF needed = QFontMetricsF(font).boundingRect(box, Qt::AlignCenter | Qt::TextWordWrap, elementID);
        if (size <= 24 || (needed.width() <= box.width() && needed.height() <= box.height()))
            break;
    }
    painter.setFont(font);
    painter.setPen(QColor(palette[0]));
    painter.drawText(box, Qt::AlignCenter | Qt::TextWordWrap, elementID);
    painter.end();
    return image;
}

QImage editFrame(const QImage &source, const std::optional<FrameSpec> &scene, const QString &request)
{
    QImage edited = source.convertToFormat(QImage::Format_RGB32);
    if (scene && names(request, QStringLiteral("text|spell\\w*|words?|letter\\w*"))) {
        // Only the lettering is done again; the portrait and earlier edits stay.
        QPainter painter(&edited);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::TextAntialiasing);
        paintSurface(painter, *scene);
        return edited;
    }
    struct Tint {
        const char *word;
        QColor colour;
        double strength;
    };
    static const Tint tints[] = {
        {"sunset", QColor(250, 120, 40), 0.35}, {"orange", QColor(250, 140, 40), 0.3}, {"night", QColor(10, 15, 60), 0.45},
        {"warmer", QColor(255, 150, 80), 0.2},  {"colder", QColor(80, 140, 255), 0.2}, {"blue", QColor(40, 90, 230), 0.3},
        {"red", QColor(220, 40, 40), 0.3},      {"green", QColor(40, 180, 90), 0.3},   {"purple", QColor(140, 60, 200), 0.3},
        {"pink", QColor(255, 90, 170), 0.3},    {"gold", QColor(240, 190, 60), 0.3},
    };
    QPainter painter(&edited);
    bool changed = false;
    for (const Tint &tint : tints) {
        if (names(request, QString::fromLatin1(tint.word))) {
            painter.setOpacity(tint.strength);
            painter.fillRect(edited.rect(), tint.colour);
            changed = true;
        }
    }
    if (names(request, QStringLiteral("brighter|lighter"))) {
        painter.setOpacity(0.25);
        painter.fillRect(edited.rect(), Qt::white);
        changed = true;
    }
    if (names(request, QStringLiteral("darker|dim\\w*"))) {
        painter.setOpacity(0.35);
        painter.fillRect(edited.rect(), Qt::black);
        changed = true;
    }
    painter.end();
    if (changed)
        return edited;
    if (scene) {
        FrameSpec rerolled = *scene;
        rerolled.variation = seedOf(QString::number(scene->variation) + request);
        rerolled.size = source.size();
        return paintFrame(rerolled);
    }
    QPainter warm(&edited);
    warm.setOpacity(0.15);
    warm.fillRect(edited.rect(), QColor(255, 170, 90));
    return edited;
}

} // namespace quillvane::studio
