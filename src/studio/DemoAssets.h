#pragma once

// The demo: a short song and a character that come with Quillvane, so the whole road from a
// track to a finished video can be shown on any machine without a file of the user's own.
// Both are made by this code on first use; nothing is downloaded.

#include "model/Error.h"

#include <QList>
#include <QString>

#include <vector>

namespace quillvane::studio {

struct DemoLine {
    QString text;
    double start = 0; // seconds into the song where the line is sung
};

// The demo song's eight lines at the times they are sung, and its length.
const QList<DemoLine> &demoLines();
constexpr double demoSongSeconds = 40.0;
inline constexpr char demoTitle[] = "Neon Overpass";
inline constexpr char demoArtist[] = "The Marker Kids";
inline constexpr char demoCharacterName[] = "Juno";
inline constexpr char demoCharacterNotes[] = "Short dark hair, red jacket, silver earring.";

struct DemoAssets {
    QString song;      // MP3 tagged with title, artist and the lyrics
    QString character; // PNG portrait of the demo character
};

// Why the demo could not be prepared.
class DemoError : public Error {
public:
    static DemoError voiceMissing();
    static DemoError cannotWrite(const QString &folder);

private:
    using Error::Error;
};

// The demo's files in `folder`, made there first when they are missing. A half-made file
// never takes a finished file's name, so an interrupted first run simply makes them again.
// Throws DemoError.
DemoAssets ensureDemoAssets(const QString &folder);

// The pieces, for tests: the song as mono samples at `sampleRate` (backing and voice mixed),
// and writing samples as a tagged MP3.
std::vector<float> mixDemoSong(const QString &scratchFolder, int sampleRate);
void writeTaggedMp3(const QString &path, const std::vector<float> &samples, int sampleRate);
void drawDemoCharacter(const QString &path);

} // namespace quillvane::studio
