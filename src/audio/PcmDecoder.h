#pragma once

// Any audio FFmpeg can read, as the 16 kHz mono signed 16-bit samples a speech recognizer
// takes (or, asked for two channels, left and right interleaved, for telling the middle of the
// mix from its sides), handed out a block at a time so that a long song never sits in memory
// whole.

#include <QString>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

namespace quillvane {

class PcmDecoder {
public:
    static constexpr int sampleRate = 16000;

    // Opens the file's main audio stream; failed() tells whether that worked.
    explicit PcmDecoder(const QString &path, int channels = 1);
    ~PcmDecoder();
    PcmDecoder(const PcmDecoder &) = delete;
    PcmDecoder &operator=(const PcmDecoder &) = delete;

    // The next `count` samples (each channel's sample counts, so a stereo read of 2n holds n
    // instants); fewer only at the end of the audio, none once it is reached.
    std::vector<int16_t> read(std::size_t count);
    // True when the file could not be opened, holds no audio stream FFmpeg can decode, or
    // its samples could not be converted; read() then gives nothing more.
    bool failed() const;

private:
    struct Stream;
    std::unique_ptr<Stream> m_stream;
};

} // namespace quillvane
