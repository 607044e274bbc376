#include "media/LetteringOverlay.h"

#include "media/MotionGeometry.h"
#include "media/StillImage.h"

#include <QFontDatabase>
#include <QGuiApplication>
#include <QPainter>

extern "C" {
#include <libavutil/frame.h>
}

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillvane {

struct LetteringOverlay::Sprite {
    int width = 0; // both even, so the chroma samples line up with the frame's
    int height = 0;
    std::vector<uint8_t> alpha;       // width x height
    std::vector<uint8_t> chromaAlpha; // width/2 x height/2
    // Premultiplied by the coverage; the unlit and lit shades share it.
    struct Shade {
        std::vector<uint8_t> y, cb, cr;
    };
    Shade unlit, lit;
    // The covered columns [first, end) of every luma and chroma row, so blending skips the rest.
    std::vector<std::pair<int, int>> rows, chromaRows;
    // Rows of text as bands of sprite rows: band i runs from bands[i] to bands[i + 1].
    std::vector<int> bands;
    // Where each word sits, in the bands it spans: [x0, x1), even.
    struct Piece {
        int band = 0;
        int x0 = 0;
        int x1 = 0;
    };
    std::vector<std::vector<Piece>> words;
};

namespace {

using Sprite = LetteringOverlay::Sprite;

int evenDown(double value)
{
    return int(std::floor(value / 2)) * 2;
}

int evenUp(double value)
{
    return int(std::ceil(value / 2)) * 2;
}

// The wanted family when it is installed (the display face is carried by the app), else the
// system's own; Qt falls back per script from either for letters the face lacks.
QString letteringFamily(const QString &wanted)
{
    static const bool carried = QFontDatabase::addApplicationFont(QStringLiteral(":/quillvane-media/Anton-Regular.ttf")) >= 0;
    Q_UNUSED(carried);
    if (!wanted.isEmpty() && QFontDatabase::hasFamily(wanted))
        return wanted;
    return QFontDatabase::systemFont(QFontDatabase::GeneralFont).family();
}

QColor colourOr(const QString &text, const QString &fallback)
{
    const QColor colour = QColor::fromString(text);
    return colour.isValid() ? colour.toRgb() : QColor::fromString(fallback);
}

// The darkest, middle and lightest of the picture's colours within area (5th, 50th and 95th
// percentiles by luminance): what the letters must stand out from.
QList<QColor> backgroundColours(const QImage &picture, const QRect &area)
{
    QList<QColor> colours;
    const QRect inside = area.intersected(picture.rect());
    for (int y = inside.top(); y <= inside.bottom(); ++y)
        for (int x = inside.left(); x <= inside.right(); ++x)
            colours.append(picture.pixelColor(x, y));
    if (colours.isEmpty())
        return {};
    std::sort(colours.begin(), colours.end(),
              [](const QColor &a, const QColor &b) { return relativeLuminance(a) < relativeLuminance(b); });
    const auto at = [&](double share) { return colours[qsizetype(share * double(colours.size() - 1))]; };
    return {at(0.05), at(0.5), at(0.95)};
}

// The Y'CbCr planes of a premultiplied ARGB picture, premultiplied as well.
Sprite::Shade shadeOf(const QImage &image)
{
    const YuvColour zero = yuvFromRgb(0, 0, 0);
    const YuvColour red = yuvFromRgb(1, 0, 0), green = yuvFromRgb(0, 1, 0), blue = yuvFromRgb(0, 0, 1);
    const auto channel = [&](float YuvColour::*part, float offset, QRgb px) {
        const double a = qAlpha(px) / 255.0;
        return offset * a + ((red.*part - offset) * qRed(px) + (green.*part - offset) * qGreen(px)
                             + (blue.*part - offset) * qBlue(px)) / 255.0;
    };
    const int width = image.width(), height = image.height();
    Sprite::Shade shade;
    shade.y.resize(size_t(width) * size_t(height));
    shade.cb.resize(size_t(width / 2) * size_t(height / 2));
    shade.cr.resize(shade.cb.size());
    const auto byte = [](double value) { return uint8_t(std::clamp(std::lround(value), 0L, 255L)); };
    for (int y = 0; y < height; ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(image.constScanLine(y));
        for (int x = 0; x < width; ++x)
            shade.y[size_t(y) * size_t(width) + size_t(x)] = byte(channel(&YuvColour::y, zero.y, row[x]));
    }
    for (int y = 0; y < height / 2; ++y) {
        const auto *top = reinterpret_cast<const QRgb *>(image.constScanLine(2 * y));
        const auto *bottom = reinterpret_cast<const QRgb *>(image.constScanLine(2 * y + 1));
        for (int x = 0; x < width / 2; ++x) {
            double cb = 0, cr = 0;
            for (const QRgb px : {top[2 * x], top[2 * x + 1], bottom[2 * x], bottom[2 * x + 1]}) {
                cb += channel(&YuvColour::cb, zero.cb, px);
                cr += channel(&YuvColour::cr, zero.cr, px);
            }
            const size_t at = size_t(y) * size_t(width / 2) + size_t(x);
            shade.cb[at] = byte(cb / 4);
            shade.cr[at] = byte(cr / 4);
        }
    }
    return shade;
}

std::vector<std::pair<int, int>> coveredColumns(const std::vector<uint8_t> &alpha, int width, int height)
{
    std::vector<std::pair<int, int>> rows(size_t(height), {0, 0});
    for (int y = 0; y < height; ++y) {
        const uint8_t *row = alpha.data() + size_t(y) * size_t(width);
        int first = 0, end = width;
        while (first < width && row[first] == 0)
            ++first;
        while (end > first && row[end - 1] == 0)
            --end;
        rows[size_t(y)] = {first, end};
    }
    return rows;
}

struct Look {
    QFont font;
    QColor fill, lit, outline;
    double band = 0; // opacity of the band behind the words
};

std::unique_ptr<Sprite> drawSprite(const LineCue &cue, const Look &look, const LetteringArea &area)
{
    const double boxWidth = area.box.width();
    const FittedText fit = fitText(cue.text, look.font, QSizeF(boxWidth, area.box.height() / 2.0), area.pixelSize);
    QTextLayout layout(cue.text, look.font);
    layOut(layout, fit, boxWidth);
    QRectF text;
    for (int i = 0; i < layout.lineCount(); ++i)
        text |= layout.lineAt(i).naturalTextRect();
    const double em = fit.pixelSize;
    const double outline = std::max(1.0, std::round(em * 0.06));
    const double shadow = std::max(1.0, std::round(em * 0.05));
    const double bandX = std::round(em * 0.3), bandY = std::round(em * 0.1);
    const double padX = outline + shadow + bandX, padY = outline + shadow + bandY;

    auto sprite = std::make_unique<Sprite>();
    sprite->width = std::max(2, evenUp(text.width() + 2 * padX));
    sprite->height = std::max(2, evenUp(text.height() + 2 * padY));
    const QPointF origin(padX - text.left(), padY - text.top());
    const auto blank = [&] {
        QImage image(sprite->width, sprite->height, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        return image;
    };
    const auto glyphs = [&](const QColor &colour) {
        QImage image = blank();
        QPainter painter(&image);
        painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
        painter.setPen(colour);
        layout.draw(&painter, origin);
        return image;
    };
    const QImage unlit = glyphs(look.fill);
    const QImage lit = glyphs(look.lit);
    QImage mask = unlit;
    {
        QPainter painter(&mask);
        painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
        painter.fillRect(mask.rect(), look.outline);
    }
    // What lies behind the letters: the band when the picture needs one, a soft drop shadow,
    // then the outline as the letters' shape stamped around a circle.
    QImage back = blank();
    {
        QPainter painter(&back);
        painter.setRenderHint(QPainter::Antialiasing);
        if (look.band > 0) {
            QColor band = look.outline;
            band.setAlphaF(float(look.band));
            painter.setPen(Qt::NoPen);
            painter.setBrush(band);
            painter.drawRoundedRect(text.translated(origin).adjusted(-bandX, -bandY, bandX, bandY), em * 0.2, em * 0.2);
        }
        painter.setOpacity(0.5);
        painter.drawImage(QPointF(shadow, shadow), mask);
        painter.setOpacity(1);
        const int steps = outline > 2 ? 16 : 8;
        for (const double radius : {outline, outline / 2}) {
            for (int i = 0; i < steps; ++i) {
                const double angle = 2 * std::numbers::pi * i / steps;
                painter.drawImage(QPointF(radius * std::cos(angle), radius * std::sin(angle)), mask);
            }
        }
    }
    const auto over = [&](const QImage &letters) {
        QImage image = back;
        QPainter(&image).drawImage(0, 0, letters);
        return image;
    };
    const QImage unlitSprite = over(unlit);
    sprite->unlit = shadeOf(unlitSprite);
    sprite->lit = shadeOf(over(lit));

    const int width = sprite->width, height = sprite->height;
    sprite->alpha.resize(size_t(width) * size_t(height));
    sprite->chromaAlpha.resize(size_t(width / 2) * size_t(height / 2));
    for (int y = 0; y < height; ++y) {
        const auto *row = reinterpret_cast<const QRgb *>(unlitSprite.constScanLine(y));
        for (int x = 0; x < width; ++x)
            sprite->alpha[size_t(y) * size_t(width) + size_t(x)] = uint8_t(qAlpha(row[x]));
    }
    for (int y = 0; y < height / 2; ++y)
        for (int x = 0; x < width / 2; ++x) {
            const auto a = [&](int dx, int dy) { return int(sprite->alpha[size_t(2 * y + dy) * size_t(width) + size_t(2 * x + dx)]); };
            sprite->chromaAlpha[size_t(y) * size_t(width / 2) + size_t(x)] = uint8_t((a(0, 0) + a(1, 0) + a(0, 1) + a(1, 1) + 2) / 4);
        }
    sprite->rows = coveredColumns(sprite->alpha, width, height);
    sprite->chromaRows = coveredColumns(sprite->chromaAlpha, width / 2, height / 2);

    sprite->bands.push_back(0);
    for (int i = 1; i < layout.lineCount(); ++i)
        sprite->bands.push_back(std::clamp(evenDown(layout.lineAt(i).y() + origin.y()), sprite->bands.back(), height));
    sprite->bands.push_back(height);
    const double wordPad = outline + shadow;
    for (const WordCue &word : cue.words) {
        std::vector<Sprite::Piece> pieces;
        for (int i = 0; i < layout.lineCount(); ++i) {
            const QTextLine row = layout.lineAt(i);
            const int from = int(std::max<qsizetype>(word.from, row.textStart()));
            const int to = int(std::min<qsizetype>(word.from + word.length, row.textStart() + row.textLength()));
            if (from >= to)
                continue;
            const double a = row.cursorToX(from), b = row.cursorToX(to);
            pieces.push_back({i, std::clamp(evenDown(std::min(a, b) + origin.x() - wordPad), 0, width),
                              std::clamp(evenUp(std::max(a, b) + origin.x() + wordPad), 0, width)});
        }
        sprite->words.push_back(std::move(pieces));
    }
    return sprite;
}

// `value` over the frame's sample, both premultiplied by coverage `a`.
inline uint8_t over(uint8_t under, uint8_t value, uint8_t a)
{
    unsigned kept = unsigned(under) * (255u - a) + 128u;
    kept = (kept + (kept >> 8)) >> 8;
    return uint8_t(std::min(255u, value + kept));
}

struct Placed {
    const Sprite *sprite = nullptr;
    int x = 0; // the sprite's top left in the frame, even
    int y = 0;
    int opacity = 256; // of 256
};

// Blends one plane's rows [top, bottom) and columns [left, right) of a sprite, in that plane's
// own samples.
void blendPlane(const std::vector<uint8_t> &value, const std::vector<uint8_t> &alpha,
                const std::vector<std::pair<int, int>> &rows, int spriteWidth, int left, int right, int top,
                int bottom, int atX, int atY, uint8_t *plane, int stride, int planeWidth, int planeHeight,
                int opacity)
{
    top = std::max(top, -atY);
    bottom = std::min(bottom, planeHeight - atY);
    for (int y = top; y < bottom; ++y) {
        const int from = std::max({left, rows[size_t(y)].first, -atX});
        const int to = std::min({right, rows[size_t(y)].second, planeWidth - atX});
        const uint8_t *v = value.data() + size_t(y) * size_t(spriteWidth);
        const uint8_t *a = alpha.data() + size_t(y) * size_t(spriteWidth);
        uint8_t *out = plane + ptrdiff_t(atY + y) * stride + atX;
        if (opacity >= 256) {
            for (int x = from; x < to; ++x)
                out[x] = over(out[x], v[x], a[x]);
        } else {
            for (int x = from; x < to; ++x)
                out[x] = over(out[x], uint8_t((v[x] * opacity) >> 8), uint8_t((a[x] * opacity) >> 8));
        }
    }
}

// One rectangle of the sprite (even bounds) in one shade, in all three planes.
void blendRect(const Placed &at, const Sprite::Shade &shade, int left, int right, int top, int bottom, AVFrame *frame)
{
    const Sprite &s = *at.sprite;
    blendPlane(shade.y, s.alpha, s.rows, s.width, left, right, top, bottom, at.x, at.y, frame->data[0],
               frame->linesize[0], frame->width, frame->height, at.opacity);
    for (int plane = 1; plane <= 2; ++plane)
        blendPlane(plane == 1 ? shade.cb : shade.cr, s.chromaAlpha, s.chromaRows, s.width / 2, left / 2, right / 2,
                   top / 2, bottom / 2, at.x / 2, at.y / 2, frame->data[plane], frame->linesize[plane],
                   frame->width / 2, frame->height / 2, at.opacity);
}

} // namespace

LetteringOverlay::LetteringOverlay(const MotionClip &clip, const QImage &still, int width, int height, int fps,
                                   qint64 frameCount)
    : m_songStart(clip.songStart)
    , m_fps(std::max(fps, 1))
    , m_width(width)
    , m_height(height)
{
    if (clip.lyrics.isEmpty() || !qobject_cast<QGuiApplication *>(QCoreApplication::instance()) || still.isNull())
        return;
    m_cues = lineCues(clip.lyrics);
    if (m_cues.isEmpty())
        return;

    // The picture in small, where the frame's areas are measured: where the still sits half
    // way through the push-in.
    const QImage small = still.scaled(QSize(192, 192), Qt::KeepAspectRatio, Qt::SmoothTransformation)
                             .convertToFormat(QImage::Format_RGB32);
    const StillPlacement place = placeStill(frameCount / 2, std::max<qint64>(frameCount, 1), width, height,
                                            still.width(), still.height(), clip.settings);
    const double scaleX = small.width() / place.width, scaleY = small.height() / place.height;
    const auto inSmall = [&](const QRect &box) {
        return QRectF(QPointF((box.left() - place.x0) * scaleX, (box.top() - place.top(height)) * scaleY),
                      QSizeF(box.width() * scaleX, box.height() * scaleY))
            .toAlignedRect();
    };
    const QSize frame(width, height);
    const double upper = edgeEnergy(small, inSmall(letteringArea(frame, LetteringThird::upper).box));
    const double lower = edgeEnergy(small, inSmall(letteringArea(frame, LetteringThird::lower).box));
    m_area = letteringArea(frame, calmerThird(upper, lower));

    const LetteringStyle defaults;
    Look look;
    look.outline = colourOr(clip.lettering.outline, defaults.outline);
    look.fill = reaching(colourOr(clip.lettering.fill, defaults.fill), look.outline);
    look.lit = reaching(colourOr(clip.lettering.lit, defaults.lit), look.outline);
    look.band = bandOpacity({look.fill, look.lit}, look.outline, backgroundColours(small, inSmall(m_area.box)));
    look.font = QFont(letteringFamily(clip.lettering.family));
    look.font.setStyleStrategy(QFont::PreferAntialias);
    for (const LineCue &cue : m_cues)
        m_sprites.push_back(drawSprite(cue, look, m_area));
}

LetteringOverlay::~LetteringOverlay() = default;

void LetteringOverlay::draw(qint64 k, AVFrame *frame) const
{
    if (m_sprites.empty())
        return;
    const double time = m_songStart + double(k) / m_fps;
    const QList<CueOnScreen> on = cuesAt(m_cues, time);
    // The older line sits above the newer; the pair rests on the box's bottom in the lower
    // third and hangs from its top in the upper.
    int stacked = 0;
    for (const CueOnScreen &line : on)
        stacked += m_sprites[size_t(line.cue)]->height;
    int y = m_area.fromBottom ? m_area.box.bottom() + 1 - stacked : m_area.box.top();
    std::vector<std::pair<int, int>> lit;
    for (const CueOnScreen &line : on) {
        const Sprite &sprite = *m_sprites[size_t(line.cue)];
        const Placed at{&sprite, evenDown((m_width - sprite.width) / 2.0), evenDown(y),
                        int(std::lround(line.opacity * 256))};
        y += sprite.height;
        const QList<WordCue> &words = m_cues[line.cue].words;
        for (size_t band = 0; band + 1 < sprite.bands.size(); ++band) {
            lit.clear();
            for (qsizetype w = 0; w < words.size(); ++w)
                if (words[w].start <= time)
                    for (const Sprite::Piece &piece : sprite.words[size_t(w)])
                        if (size_t(piece.band) == band)
                            lit.emplace_back(piece.x0, piece.x1);
            std::sort(lit.begin(), lit.end());
            const int top = sprite.bands[band], bottom = sprite.bands[band + 1];
            int x = 0;
            for (const auto &[from, to] : lit) {
                if (to <= x)
                    continue;
                if (from > x)
                    blendRect(at, sprite.unlit, x, from, top, bottom, frame);
                blendRect(at, sprite.lit, std::max(from, x), to, top, bottom, frame);
                x = to;
            }
            if (x < sprite.width)
                blendRect(at, sprite.unlit, x, sprite.width, top, bottom, frame);
        }
    }
}

} // namespace quillvane
