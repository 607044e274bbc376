#include "media/FfmpegMotionRenderer.h"

#include "av/Encoding.h"
#include "av/InputFiles.h"
#include "av/OffThread.h"
#include "media/LetteringOverlay.h"
#include "media/MediaErrors.h"
#include "media/MotionGeometry.h"
#include "media/Resampler.h"
#include "media/StillImage.h"
#include "media/TitleCard.h"
#include "media/VideoEncoding.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <cmath>
#include <condition_variable>
#include <exception>
#include <limits>
#include <mutex>
#include <thread>

namespace quillvane {

namespace {

using namespace ffmpeg;

// The near-black teal that shows wherever the picture does not reach.
const YuvColour fillColour = yuvFromRgb(0.01, 0.06, 0.06);

// A width x height Y'CbCr 4:2:0 frame with its own buffer.
Frame frameBuffer(int width, int height)
{
    Frame frame(av_frame_alloc());
    if (!frame)
        throw MotionError::pixelBufferFailed();
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = width;
    frame->height = height;
    if (av_frame_get_buffer(frame.get(), 0) < 0)
        throw MotionError::pixelBufferFailed();
    return frame;
}

// Draws the frames of one clip into Y'CbCr 4:2:0 frame buffers: the title card's frames
// first when there is one, then the still's, each with a push-in over its own frames.
class FrameDrawer {
public:
    struct Part {
        const PreparedStill *still = nullptr;
        qint64 frameCount = 0;
        SubjectFocus subject;
    };

    FrameDrawer(Part card, Part still, int width, int height, const DepthFlowSettings &settings)
        : m_card(card)
        , m_still(still)
        , m_width(width)
        , m_height(height)
        , m_settings(settings)
    {
    }

    // `frames` frames from frame `start` cross-fade from another picture, its push-in carried
    // on past its last frame: the previous clip's still from the clip's first frame, or the
    // title card into the still it opens.
    void fadeFrom(Part previous, qint64 frames, qint64 start = 0)
    {
        m_previous = previous;
        m_fadeFrames = frames;
        m_fadeStart = start;
    }

    void draw(qint64 k, AVFrame *frame)
    {
        if (k < m_card.frameCount)
            draw(m_card, k, frame);
        else
            draw(m_still, k - m_card.frameCount, frame);
        if (k >= m_fadeStart && k - m_fadeStart < m_fadeFrames)
            fadeIn(k - m_fadeStart, frame);
        // Lettering: the sung lyrics over the finished picture, the fade included.
        if (m_lettering)
            m_lettering->draw(k, frame);
    }

    // Lettering: drawn over every frame from now on; must outlive the drawing.
    void letterWith(const LetteringOverlay *lettering) { m_lettering = lettering; }

private:
    // Frame k of the fade: the previous clip's picture drawn aside, then each sample of the
    // frame moved from it toward this clip's by (k + 1) / (fade + 1), so neither picture is
    // ever shown alone in the fade and its steps are even on both sides.
    void fadeIn(qint64 k, AVFrame *frame)
    {
        if (!m_previousFrame)
            m_previousFrame = frameBuffer(m_width, m_height);
        draw(m_previous, m_previous.frameCount + k, m_previousFrame.get());
        const float weight = float(k + 1) / float(m_fadeFrames + 1);
        for (int plane = 0; plane < 3; ++plane) {
            const int rows = plane == 0 ? m_height : m_height / 2;
            const int columns = plane == 0 ? m_width : m_width / 2;
            for (int y = 0; y < rows; ++y) {
                uint8_t *out = frame->data[plane] + ptrdiff_t(y) * frame->linesize[plane];
                const uint8_t *before = m_previousFrame->data[plane] + ptrdiff_t(y) * m_previousFrame->linesize[plane];
                for (int x = 0; x < columns; ++x)
                    out[x] = uint8_t(std::lround(float(before[x]) + weight * float(int(out[x]) - int(before[x]))));
            }
        }
    }

    void draw(const Part &part, qint64 k, AVFrame *frame)
    {
        const PreparedStill &still = *part.still;
        const qint64 frameCount = part.frameCount;
        const StillPlacement place = placeStill(k, frameCount, m_width, m_height, still.width, still.height,
                                                m_settings, part.subject);
        const double top = place.top(m_height);
        const auto axis = [](int count, double firstCentre, double spacing, double start, double length,
                             int sourceLength, double sourceUnits) {
            return axisWeights({count, firstCentre, spacing, start, length, sourceLength, sourceUnits});
        };
        const AxisWeights lumaColumns = axis(m_width, 0.5, 1, place.x0, place.width, still.width, still.width);
        const AxisWeights lumaRows = axis(m_height, 0.5, 1, top, place.height, still.height, still.height);
        resampleRows(still.luma, lumaColumns, lumaRows, still.fill.y, frame->data[0], frame->linesize[0], 0,
                     m_height, m_scratch);

        // Chroma samples sit on the even luma columns and between the luma rows (MPEG-2
        // siting, what decoders assume when a stream does not say).
        const FloatPlane &blue = still.blueDifference;
        const AxisWeights chromaColumns
            = axis(m_width / 2, 0.5, 2, place.x0, place.width, blue.width, still.width / 2.0);
        const AxisWeights chromaRows = axis(m_height / 2, 1, 2, top, place.height, blue.height, still.height / 2.0);
        resampleRows(blue, chromaColumns, chromaRows, still.fill.cb, frame->data[1], frame->linesize[1], 0,
                     m_height / 2, m_scratch);
        resampleRows(still.redDifference, chromaColumns, chromaRows, still.fill.cr, frame->data[2],
                     frame->linesize[2], 0, m_height / 2, m_scratch);
    }

    const Part m_card;
    const Part m_still;
    const int m_width;
    const int m_height;
    const DepthFlowSettings m_settings;
    std::vector<float> m_scratch;
    Part m_previous;
    qint64 m_fadeFrames = 0;
    qint64 m_fadeStart = 0;
    Frame m_previousFrame;
    const LetteringOverlay *m_lettering = nullptr;
};

// The clip's muxer and encoder; removes a half-written file unless finished.
class ClipWriter {
public:
    ClipWriter(const QString &path, int width, int height, int fps, const QString &key)
        : m_path(path)
    {
        const QByteArray name = fileName(path);
        AVFormatContext *raw = nullptr;
        if (avformat_alloc_output_context2(&raw, nullptr, "mov", name.constData()) < 0)
            throw MotionError::writerSetupFailed();
        m_output.reset(raw);
        m_encoder = encoding::openVideoEncoder(width, height, AVRational{1, fps}, AVRational{fps, 1}, true);
        if (!m_encoder)
            throw MotionError::writerSetupFailed();
        m_stream = avformat_new_stream(m_output.get(), nullptr);
        if (!m_stream || avcodec_parameters_from_context(m_stream->codecpar, m_encoder.get()) < 0)
            throw MotionError::writerSetupFailed();
        m_stream->time_base = m_encoder->time_base;
        m_stream->avg_frame_rate = AVRational{fps, 1};
        if (!key.isEmpty())
            av_dict_set(&m_output->metadata, "comment", key.toUtf8().constData(), 0);
        if (avio_open(&m_output->pb, name.constData(), AVIO_FLAG_WRITE) < 0)
            throw MotionError::writerSetupFailed();
        m_opened = true;
        if (avformat_write_header(m_output.get(), nullptr) < 0)
            throw MotionError::writerSetupFailed();
        m_packet.reset(av_packet_alloc());
        if (!m_packet)
            throw MotionError::writerSetupFailed();
    }

    ~ClipWriter()
    {
        if (m_opened && !m_finished) {
            m_output.reset();
            QFile::remove(m_path);
        }
    }

    AVCodecContext *encoder() const { return m_encoder.get(); }

    // A null frame drains the encoder.
    void encode(const AVFrame *frame)
    {
        const int status = encodeFrame(m_encoder.get(), frame, m_packet.get(), m_output.get(), m_stream);
        if (status < 0)
            throw failure(status);
    }

    void finish()
    {
        encode(nullptr);
        const int status = av_write_trailer(m_output.get());
        if (status < 0 || avio_closep(&m_output->pb) < 0)
            throw failure(status);
        m_finished = true;
    }

private:
    Error failure(int status) const
    {
        return Error(QStringLiteral("Could not write the motion clip %1: %2.").arg(m_path, errorText(status)));
    }

    QString m_path;
    OutputFile m_output;
    Codec m_encoder;
    AVStream *m_stream = nullptr;
    Packet m_packet;
    bool m_opened = false;
    bool m_finished = false;
};

// Draws the frames on a thread of its own, a couple of frames ahead of the encoder, so
// drawing overlaps the time the calling thread waits for the encoder to take a frame.
class DrawingAhead {
public:
    DrawingAhead(FrameDrawer &drawer, int width, int height, qint64 frameCount, const CancelToken &cancel)
        : m_drawer(drawer)
        , m_frameCount(frameCount)
        , m_cancel(cancel)
    {
        for (Frame &frame : m_frames)
            frame = frameBuffer(width, height);
        m_thread = std::thread([this] { drawAll(); });
    }

    ~DrawingAhead()
    {
        {
            const std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_changed.notify_all();
        m_thread.join();
    }

    // Frame k, drawn; valid until the next call. Throws what drawing threw.
    AVFrame *next(qint64 k)
    {
        std::unique_lock lock(m_mutex);
        if (k > 0) {
            ++m_consumed; // the previous frame's buffer is free again
            m_changed.notify_all();
        }
        m_changed.wait(lock, [&] { return m_drawn > k || m_failure; });
        if (m_failure)
            std::rethrow_exception(m_failure);
        return m_frames[size_t(k % ahead)].get();
    }

private:
    static constexpr qint64 ahead = 3;

    void drawAll()
    {
        try {
            for (qint64 k = 0; k < m_frameCount; ++k) {
                {
                    std::unique_lock lock(m_mutex);
                    m_changed.wait(lock, [&] { return m_stopping || k - m_consumed < ahead; });
                    if (m_stopping)
                        return;
                }
                m_cancel.throwIfCancelled();
                AVFrame *frame = m_frames[size_t(k % ahead)].get();
                // The encoder may still hold a reference; then a fresh buffer is drawn into.
                if (av_frame_make_writable(frame) < 0)
                    throw MotionError::pixelBufferFailed();
                m_drawer.draw(k, frame);
                frame->pts = k;
                {
                    const std::lock_guard lock(m_mutex);
                    m_drawn = k + 1;
                }
                m_changed.notify_all();
            }
        } catch (...) {
            {
                const std::lock_guard lock(m_mutex);
                m_failure = std::current_exception();
            }
            m_changed.notify_all();
        }
    }

    FrameDrawer &m_drawer;
    const qint64 m_frameCount;
    const CancelToken m_cancel;
    std::array<Frame, ahead> m_frames;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    qint64 m_drawn = 0;
    qint64 m_consumed = 0;
    bool m_stopping = false;
    std::exception_ptr m_failure;
    std::thread m_thread;
};

} // namespace

FfmpegMotionRenderer::FfmpegMotionRenderer(qint64 width, qint64 height)
    : m_width(width)
    , m_height(height)
{
}

QCoro::Task<> FfmpegMotionRenderer::render(MotionClip clip, QString outputPath,
                                           std::function<void(double)> onProgress, CancelToken cancel)
{
    auto rendering = onWorkerThread([this, clip, outputPath, onProgress, cancel] {
        renderNow(clip, outputPath, onProgress, cancel);
    });
    co_await rendering;
}

void FfmpegMotionRenderer::renderNow(const QString &imagePath, const DepthFlowSettings &settings,
                                     const QString &outputPath, const std::function<void(double)> &onProgress,
                                     const CancelToken &cancel) const
{
    MotionClip clip;
    clip.imagePath = imagePath;
    clip.settings = settings;
    renderNow(clip, outputPath, onProgress, cancel);
}

void FfmpegMotionRenderer::renderNow(const MotionClip &clip, const QString &outputPath,
                                     const std::function<void(double)> &onProgress, const CancelToken &cancel) const
{
    const std::optional<QImage> image = loadStill(clip.imagePath);
    if (!image)
        throw MotionError::cannotLoadImage(clip.imagePath);
    // A clip of a given length takes only its frame rate from the settings.
    DepthFlowSettings rate = clip.settings;
    if (clip.frameCount > 0)
        rate.durationSeconds = 1;
    const ClipFrames timing = clipFrames(rate);
    const qint64 frameCount = clip.frameCount > 0 ? clip.frameCount : timing.frameCount;
    const qint64 introFrames = std::clamp<qint64>(clip.introFrames, 0, frameCount);
    const qint64 wide = clip.frameSize.isEmpty() ? m_width : clip.frameSize.width();
    const qint64 high = clip.frameSize.isEmpty() ? m_height : clip.frameSize.height();
    if (wide <= 0 || high <= 0 || wide > std::numeric_limits<int>::max() / 4 || high > std::numeric_limits<int>::max() / 4)
        throw MotionError::writerSetupFailed();
    const int width = int(wide);
    const int height = int(high);

    QFile::remove(outputPath);
    ensureParentFolder(outputPath);
    ClipWriter writer(outputPath, width, height, timing.fps, clip.key);

    const PreparedStill still = prepareStill(*image, fillColour);
    std::optional<PreparedStill> card;
    if (introFrames > 0)
        card = prepareStill(titleCard(*image, QSize(width, height), clip.title, clip.artist), fillColour);
    FrameDrawer drawer({.still = card ? &*card : nullptr, .frameCount = introFrames, .subject = {}},
                       {.still = &still, .frameCount = frameCount - introFrames, .subject = subjectOf(*image)}, width,
                       height, clip.settings);

    // The cross-fade from the clip before: crossfadeSeconds of frames, at most half the clip.
    std::optional<PreparedStill> previous;
    const qint64 fadeFrames = std::min<qint64>(std::llround(crossfadeSeconds * timing.fps), frameCount / 2);
    if (clip.settings.transition == ClipTransition::crossfade && !clip.previousImagePath.isEmpty() && fadeFrames > 0) {
        const std::optional<QImage> before = loadStill(clip.previousImagePath);
        if (!before)
            throw MotionError::cannotLoadImage(clip.previousImagePath);
        previous = prepareStill(*before, fillColour);
        drawer.fadeFrom({.still = &*previous, .frameCount = std::max<qint64>(clip.previousFrameCount, 1),
                         .subject = subjectOf(*before)},
                        fadeFrames);
    }
    // The title card gives way to the still the same way.
    const qint64 cardFade = std::min(fadeFrames, (frameCount - introFrames) / 2);
    if (clip.settings.transition == ClipTransition::crossfade && card && cardFade > 0)
        drawer.fadeFrom({.still = &*card, .frameCount = introFrames, .subject = {}}, cardFade, introFrames);
    const LetteringOverlay lettering(clip, *image, width, height, timing.fps, frameCount);
    drawer.letterWith(&lettering);
    DrawingAhead frames(drawer, width, height, frameCount, cancel);
    for (qint64 k = 0; k < frameCount; ++k) {
        cancel.throwIfCancelled();
        writer.encode(frames.next(k));
        if (onProgress)
            onProgress(double(k) / double(frameCount));
    }
    writer.finish();
    if (onProgress)
        onProgress(1.0);
}

} // namespace quillvane
