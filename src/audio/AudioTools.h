#pragma once

// Reading an audio file's tags and cutting a stretch of it into a temporary clip. Stateless;
// the coroutine forms run the work on the thread pool and resume the caller on its thread.

#include "model/Error.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

namespace quillvane {

struct AudioMetadata {
    std::optional<QString> title;  // trimmed; absent when missing or blank
    std::optional<QString> artist; // trimmed; absent when missing or blank
    std::optional<QString> lyrics; // after cleanLyrics, trimmed; absent when none are left
    double duration = 0;           // seconds; 0 when unreadable
    // Lyrics that carry their own times, as LRC text: an ID3v2 SYLT frame, or a lyrics tag
    // written as LRC (most of its lines stamped [mm:ss.xx]).
    std::optional<QString> syncedLyrics;

    bool operator==(const AudioMetadata &) const = default;
};

class AudioToolError : public Error {
public:
    enum class Case { trimFailed, notAudio };

    static AudioToolError trimFailed();
    // fileName: the name the user knows the file by, without its folder.
    static AudioToolError notAudio(const QString &fileName);
    Case kind() const { return m_kind; }
    bool operator==(const AudioToolError &other) const { return m_kind == other.m_kind; }

private:
    AudioToolError(Case kind, const QString &description);
    Case m_kind;
};

namespace AudioTools {

// Never fails: every read failure gives an absent field or a zero duration.
AudioMetadata readMetadataNow(const QString &path);
QCoro::Task<AudioMetadata> readMetadata(QString path);

// Throws AudioToolError::notAudio unless the file holds an audio stream FFmpeg can decode
// at least a moment of; a track is checked this way before it replaces anything.
void probeAudioNow(const QString &path);
QCoro::Task<> probeAudio(QString path);

// Writes [max(start, 0), +duration) of the file as an AAC clip "qv-trim-<UUID>.m4a" in the
// temporary folder and returns its path; the caller deletes it. Throws AudioToolError.
QString trimClipNow(const QString &path, double start, double duration);
QCoro::Task<QString> trimClip(QString path, double start, double duration);

// FFmpeg writes notes of its own to standard error; Quillvane reports failures through its
// errors, so a program calls this once at start to keep its output its own.
void silenceMediaLibraryLogs();

} // namespace AudioTools

} // namespace quillvane
