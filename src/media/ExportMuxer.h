#pragma once

#include "av/FfmpegHandles.h"
#include "media/ClipProbe.h"

#include <QString>

namespace quillvane {

// The output file of one export: a video stream (copied from the clips or encoded afresh)
// and at most one AAC audio stream copied from a prepared file, written under a temporary
// name in the destination folder with the index at the front. finish() renames it over the
// destination; a muxer destroyed before that removes its temporary file.
class ExportMuxer {
public:
    // Creates the destination's folder (throws FolderError) and the muxer.
    ExportMuxer(const QString &outputPath, ExportContainer container);
    ~ExportMuxer();

    void addCopiedVideo(const ClipInfo &first, AVRational timeBase);
    void addEncodedVideo(const AVCodecContext *encoder);
    void addAudio(const QString &aacFile);
    // Opens the temporary file and writes the header.
    void start();

    AVRational videoTimeBase() const { return m_videoTimeBase; }
    // End of the last video packet written, in seconds.
    double videoSeconds() const { return m_videoSeconds; }

    // Takes the packet's data; its stamps are in timeBase.
    void writeVideo(AVPacket *packet, AVRational timeBase);
    // Writes the audio packets that start before `seconds`.
    void writeAudioUntil(double seconds);
    void finish();

private:
    void write(AVPacket *packet);

    QString m_outputPath;
    QString m_temporaryPath;
    ffmpeg::OutputFile m_output;
    AVStream *m_video = nullptr;
    AVRational m_videoTimeBase{1, 1};
    double m_videoSeconds = 0;
    ffmpeg::InputFile m_audioInput;
    int m_audioIndex = -1;
    AVStream *m_audio = nullptr;
    ffmpeg::Packet m_audioPacket;
    bool m_audioPending = false;
    bool m_started = false;
    bool m_finished = false;
};

} // namespace quillvane
