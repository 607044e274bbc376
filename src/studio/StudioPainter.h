#pragma once

// The offline studio's pictures, made by rules rather than by a model: element emblems and
// frames painted from the prompt's words and palette, with the frame's words lettered on a
// surface in the scene, and edits that apply the colour and light a request names.
// Deterministic: the same request always gives the same picture.

#include <QImage>
#include <QRectF>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

namespace quillvane::studio {

// What a frame shows; kept by the studio so an edit can repaint the words.
struct FrameSpec {
    QString prompt;
    QString text;      // the words lettered on the surface
    QString surface;   // "a hand-painted marker sign", ...
    QStringList palette; // #rrggbb colours
    quint32 variation = 0;
    // The picture's pixels: wide, tall or square, as the video's shape asks.
    QSize size{1920, 1080};
};

// Whether a prompt or guidance asks for no words in the picture ("no text", "no lettering"):
// the lyrics are then set over the video, and the studio letters nothing.
bool asksForNoWords(const QString &prompt);

// A prompt that asks for no words gives a scene without any (no text, no surface to carry it).
FrameSpec frameSpecFromPrompt(const QString &imagePrompt);

// 1024x1024: an emblem of the element in the palette of its prompt.
QImage paintElement(const QString &elementID, const QString &prompt);

// scene.size: the scene, the first reference image (when given) as a framed portrait, and the
// words (when the scene has any) on their surface in perspective. On a tall or square picture
// the surface spans the upper part and the portrait stands below it, so neither falls off the
// edge. Its "Subject" text, kept when saved as PNG, is the portrait's box (else the surface's)
// as "x,y,width,height", centre and size as fractions of the frame, for the motion to keep in
// the picture.
QImage paintFrame(const FrameSpec &scene, const std::optional<QImage> &character = std::nullopt);

// The source changed as the request says: colour and light words (whole words only) tint it;
// a request about the text, words, lettering or spelling letters the scene's words again over
// the source, keeping everything else (when its scene is known); anything else re-rolls the
// scene's variation (when its scene is known, at the source's size) or warms it slightly.
QImage editFrame(const QImage &source, const std::optional<FrameSpec> &scene, const QString &request);

// The rectangles of the frame where the words are lettered and where the portrait hangs (for
// tests and reviews).
QRectF textArea(const FrameSpec &scene);
QRectF portraitArea(const FrameSpec &scene);

} // namespace quillvane::studio
