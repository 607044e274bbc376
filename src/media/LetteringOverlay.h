#pragma once

// The lettering layer of one clip: the sung lyrics set over its frames. Every line is drawn
// once, when the clip starts, as two sprites (all words unlit, all words lit) in the frame's
// own Y'CbCr 4:2:0 layout with coverage, premultiplied; a frame then only blends the sprites
// of the lines on screen into its planes, the lit words as pieces of the lit sprite.

#include "media/Lettering.h"
#include "store/Engines.h"

#include <QImage>

#include <memory>
#include <vector>

struct AVFrame;

namespace quillvane {

class LetteringOverlay {
public:
    // Nothing is drawn when the clip has no lyrics, or without a GUI application (letters
    // need its font machinery). `still` is the clip's picture, measured for the calmer third
    // and for the band that keeps the letters readable.
    LetteringOverlay(const MotionClip &clip, const QImage &still, int width, int height, int fps,
                     qint64 frameCount);
    ~LetteringOverlay();
    LetteringOverlay(const LetteringOverlay &) = delete;
    LetteringOverlay &operator=(const LetteringOverlay &) = delete;

    bool isEmpty() const { return m_sprites.empty(); }
    // Blends the lines on screen at frame k of the clip into a YUV 4:2:0 frame of the size given.
    void draw(qint64 k, AVFrame *frame) const;

    struct Sprite;

private:
    QList<LineCue> m_cues;
    std::vector<std::unique_ptr<Sprite>> m_sprites; // one per cue
    LetteringArea m_area;
    double m_songStart = 0;
    int m_fps = 1;
    int m_width = 0;
    int m_height = 0;
};

} // namespace quillvane
