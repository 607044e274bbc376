// The demo song: a backing band synthesised here (pad chords, bass, kick and hats in A minor
// at 120 bpm) with each lyric line spoken by espeak-ng at a known time, then encoded to MP3
// and tagged like a track from a shop, lyrics included.

#include "studio/DemoAssets.h"

#include "av/Encoding.h"
#include "av/FfmpegHandles.h"
#include "av/InputFiles.h"

#include <QFile>
#include <QProcess>

#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/unsynchronizedlyricsframe.h>

extern "C" {
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <cmath>
#include <numbers>

namespace quillvane::studio {

const QList<DemoLine> &demoLines()
{
    static const QList<DemoLine> lines = {
        {QStringLiteral("City lights are burning low"), 2.0},    {QStringLiteral("Down the road we used to know"), 6.5},
        {QStringLiteral("Hold my hand and don't let go"), 11.0}, {QStringLiteral("We are letters in the snow"), 15.5},
        {QStringLiteral("Paint the morning on the wall"), 20.5}, {QStringLiteral("Every colour, one and all"), 25.0},
        {QStringLiteral("When the quiet night is gone"), 29.5},  {QStringLiteral("We will carry every song"), 34.0},
    };
    return lines;
}

namespace {

constexpr double twoPi = 2.0 * std::numbers::pi;
constexpr double beatSeconds = 0.5; // 120 bpm
constexpr double barSeconds = 4 * beatSeconds;
// The band stays under the voice so the speech engine can hear where each line begins.
constexpr double backingGain = 0.2;

double noteHz(int midi)
{
    return 440.0 * std::pow(2.0, (midi - 69) / 12.0);
}

// Am F C G, one chord per bar, as MIDI notes (root first).
constexpr int chords[4][3] = {{57, 60, 64}, {53, 57, 60}, {48, 52, 55}, {55, 59, 62}};

void addBacking(std::vector<float> &out, int rate)
{
    uint32_t noise = 0x2545F491u; // fixed seed: the song is the same on every machine
    for (size_t i = 0; i < out.size(); ++i) {
        const double t = double(i) / rate;
        const auto bar = size_t(t / barSeconds);
        const int *chord = chords[bar % 4];
        const double inBar = t - double(bar) * barSeconds;
        const double inBeat = std::fmod(t, beatSeconds);

        // Pad: the chord with a slow swell in every bar and a soft second harmonic.
        const double swell = std::min(1.0, inBar / 0.3) * std::min(1.0, (barSeconds - inBar) / 0.2);
        double pad = 0;
        for (int n = 0; n < 3; ++n) {
            const double f = noteHz(chord[n]);
            pad += std::sin(twoPi * f * t) + 0.25 * std::sin(twoPi * 2 * f * t);
        }
        double sample = 0.045 * swell * pad;
        // Bass: the root two octaves down on every beat, plucked.
        sample += 0.16 * std::exp(-inBeat * 6) * std::sin(twoPi * noteHz(chord[0] - 24) * t);
        // Kick on beats one and three: a falling sine.
        const double inHalf = std::fmod(t, 2 * beatSeconds);
        if (inHalf < 0.18)
            sample += 0.35 * std::exp(-inHalf * 22) * std::sin(twoPi * (50 + 70 * std::exp(-inHalf * 30)) * inHalf);
        // Hats on the off-beats: short bursts of noise.
        noise = noise * 1664525u + 1013904223u;
        const double offBeat = std::fmod(t + beatSeconds / 2, beatSeconds);
        if (offBeat < 0.05)
            sample += 0.03 * std::exp(-offBeat * 90) * (double(noise >> 8) / double(1u << 24) * 2 - 1);
        out[i] += float(backingGain * sample);
    }
}

QString speak(const QString &folder, int index, const QString &text)
{
    const QString path = folder + QStringLiteral("/line-%1.wav").arg(index);
    QProcess espeak;
    espeak.start(QStringLiteral("espeak-ng"),
                 {QStringLiteral("-v"), QStringLiteral("en-us"), QStringLiteral("-s"), QStringLiteral("145"),
                  QStringLiteral("-p"), QStringLiteral("60"), QStringLiteral("-w"), path, text});
    if (!espeak.waitForStarted())
        throw DemoError::voiceMissing();
    if (!espeak.waitForFinished(60000) || espeak.exitStatus() != QProcess::NormalExit || espeak.exitCode() != 0)
        throw DemoError::voiceMissing();
    return path;
}

std::uint32_t little(const QByteArray &bytes, qsizetype at, int size)
{
    std::uint32_t value = 0;
    for (int b = size - 1; b >= 0; --b)
        value = (value << 8) | std::uint8_t(bytes.at(at + b));
    return value;
}

// espeak-ng writes 16-bit mono PCM WAV; its samples as floats at its own rate.
std::vector<float> readWav(const QString &path, int &rate)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw DemoError::voiceMissing();
    const QByteArray bytes = file.readAll();
    if (bytes.size() < 12 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE")
        throw DemoError::voiceMissing();
    int channels = 0;
    int bits = 0;
    for (qsizetype at = 12; at + 8 <= bytes.size();) {
        const QByteArray id = bytes.mid(at, 4);
        // espeak-ng writing to a file leaves the data size open; it runs to the end.
        qsizetype size = qsizetype(little(bytes, at + 4, 4));
        if (id == "data" && (size == 0 || size == 0xFFFFFFFF || at + 8 + size > bytes.size()))
            size = bytes.size() - at - 8;
        if (id == "fmt " && size >= 16) {
            channels = int(little(bytes, at + 10, 2));
            rate = int(little(bytes, at + 12, 4));
            bits = int(little(bytes, at + 22, 2));
        } else if (id == "data") {
            if (channels != 1 || bits != 16 || rate <= 0)
                throw DemoError::voiceMissing();
            std::vector<float> samples(size_t(size / 2));
            for (size_t i = 0; i < samples.size(); ++i)
                samples[i] = float(std::int16_t(little(bytes, at + 8 + qsizetype(i) * 2, 2))) / 32768.0f;
            return samples;
        }
        at += 8 + size + (size & 1);
    }
    throw DemoError::voiceMissing();
}

// Lays a spoken line into the song at `start`, resampled linearly to the song's rate.
void addVoice(std::vector<float> &out, int rate, const std::vector<float> &voice, int voiceRate, double start)
{
    const double step = double(voiceRate) / rate;
    const auto first = size_t(start * rate);
    for (size_t i = 0; first + i < out.size(); ++i) {
        const double at = double(i) * step;
        const auto index = size_t(at);
        if (index + 1 >= voice.size())
            break;
        const double frac = at - double(index);
        out[first + i] += float(0.9 * ((1 - frac) * voice[index] + frac * voice[index + 1]));
    }
}

void finish(std::vector<float> &out, int rate)
{
    const auto fadeIn = size_t(0.4 * rate);
    const auto fadeOut = size_t(2.0 * rate);
    for (size_t i = 0; i < out.size(); ++i) {
        double gain = 1;
        if (i < fadeIn)
            gain = double(i) / double(fadeIn);
        if (out.size() - i < fadeOut)
            gain = std::min(gain, double(out.size() - i) / double(fadeOut));
        out[i] = float(std::tanh(out[i] * gain)); // a soft limit instead of clipping
    }
}

void check(int status, const QString &path)
{
    if (status < 0)
        throw DemoError::cannotWrite(path);
}

// Encodes the samples as mono MP3 into the file `name`; the file is closed on return, so the
// tagger then sees every byte.
void encodeMp3(const QString &path, const QByteArray &name, const std::vector<float> &samples, int sampleRate)
{
    AVFormatContext *raw = nullptr;
    check(avformat_alloc_output_context2(&raw, nullptr, "mp3", name.constData()), path);
    const ffmpeg::OutputFile output(raw);
    const AVCodec *encoder = avcodec_find_encoder(AV_CODEC_ID_MP3);
    if (!encoder)
        throw DemoError::cannotWrite(path);
    AVStream *stream = avformat_new_stream(output.get(), nullptr);
    const ffmpeg::Codec codec(avcodec_alloc_context3(encoder));
    if (!stream || !codec)
        throw DemoError::cannotWrite(path);
    codec->sample_rate = sampleRate;
    codec->bit_rate = 160000;
    av_channel_layout_default(&codec->ch_layout, 1);
    codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    if (encoder->sample_fmts) { // not every MP3 encoder takes float; fall back to what it takes
        bool takesFloat = false;
        for (const AVSampleFormat *f = encoder->sample_fmts; *f != AV_SAMPLE_FMT_NONE; ++f)
            takesFloat = takesFloat || *f == AV_SAMPLE_FMT_FLTP;
        if (!takesFloat)
            codec->sample_fmt = AV_SAMPLE_FMT_S16P;
    }
    codec->time_base = {1, sampleRate};
    check(avcodec_open2(codec.get(), encoder, nullptr), path);
    check(avcodec_parameters_from_context(stream->codecpar, codec.get()), path);
    stream->time_base = codec->time_base;
    check(avio_open(&output->pb, name.constData(), AVIO_FLAG_WRITE), path);
    check(avformat_write_header(output.get(), nullptr), path);

    const ffmpeg::Frame frame(av_frame_alloc());
    const ffmpeg::Packet packet(av_packet_alloc());
    if (!frame || !packet)
        throw DemoError::cannotWrite(path);
    const int frameSize = codec->frame_size > 0 ? codec->frame_size : 1152;
    for (size_t at = 0; at < samples.size(); at += size_t(frameSize)) {
        const int count = int(std::min(samples.size() - at, size_t(frameSize)));
        av_frame_unref(frame.get());
        frame->nb_samples = frameSize; // the last frame is padded with silence
        frame->format = codec->sample_fmt;
        frame->sample_rate = sampleRate;
        check(av_channel_layout_copy(&frame->ch_layout, &codec->ch_layout), path);
        check(av_frame_get_buffer(frame.get(), 0), path);
        for (int i = 0; i < frameSize; ++i) {
            const float value = i < count ? samples[at + size_t(i)] : 0.0f;
            if (codec->sample_fmt == AV_SAMPLE_FMT_FLTP)
                reinterpret_cast<float *>(frame->data[0])[i] = value;
            else
                reinterpret_cast<std::int16_t *>(frame->data[0])[i] = std::int16_t(std::lround(value * 32767.0f));
        }
        frame->pts = std::int64_t(at);
        check(ffmpeg::encodeFrame(codec.get(), frame.get(), packet.get(), output.get(), stream), path);
    }
    check(ffmpeg::encodeFrame(codec.get(), nullptr, packet.get(), output.get(), stream), path);
    check(av_write_trailer(output.get()), path);
}

} // namespace

std::vector<float> mixDemoSong(const QString &scratchFolder, int sampleRate)
{
    std::vector<float> song(size_t(demoSongSeconds * sampleRate), 0.0f);
    addBacking(song, sampleRate);
    const auto &lines = demoLines();
    for (qsizetype i = 0; i < lines.size(); ++i) {
        int voiceRate = 0;
        const QString wav = speak(scratchFolder, int(i), lines.at(i).text);
        const std::vector<float> voice = readWav(wav, voiceRate);
        QFile::remove(wav);
        addVoice(song, sampleRate, voice, voiceRate, lines.at(i).start);
    }
    finish(song, sampleRate);
    return song;
}

void writeTaggedMp3(const QString &path, const std::vector<float> &samples, int sampleRate)
{
    const QByteArray name = ffmpeg::fileName(path);
    encodeMp3(path, name, samples, sampleRate);

    TagLib::MPEG::File file(name.constData());
    if (!file.isValid())
        throw DemoError::cannotWrite(path);
    TagLib::ID3v2::Tag *tag = file.ID3v2Tag(true);
    tag->setTitle(TagLib::String(demoTitle, TagLib::String::UTF8));
    tag->setArtist(TagLib::String(demoArtist, TagLib::String::UTF8));
    QStringList lyrics;
    for (const DemoLine &line : demoLines())
        lyrics.append(line.text);
    auto *frame = new TagLib::ID3v2::UnsynchronizedLyricsFrame(TagLib::String::UTF8);
    frame->setLanguage("eng");
    frame->setText(TagLib::String(lyrics.join(QLatin1Char('\n')).toStdString(), TagLib::String::UTF8));
    tag->addFrame(frame); // the tag owns it from here
    if (!file.save())
        throw DemoError::cannotWrite(path);
}

} // namespace quillvane::studio
