#pragma once

// A long song's project for the benchmarks: `chunks` timed lines, each with its chunk, which
// `dress` then gives its frames and history.

#include "model/Records.h"

#include <functional>

namespace quillvane {

inline Project longSong(int chunks, const std::function<void(StoryboardChunk &)> &dress)
{
    Project project;
    project.title = QStringLiteral("Neon Overpass");
    project.artist = QStringLiteral("The Marker Kids");
    project.rawLyrics = QStringLiteral("City lights are burning low\n").repeated(chunks);
    for (int i = 0; i < chunks; ++i) {
        project.transcript.append({QUuid::createUuid(), QStringLiteral("City lights are burning low"), i * 2.0, i * 2.0 + 2, {}});
        StoryboardChunk chunk;
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = i * 2.0;
        chunk.end = i * 2.0 + 2;
        chunk.lyricExcerpt = chunk.renderedText = QStringLiteral("City lights are burning low");
        chunk.surface = QStringLiteral("a wet brick wall");
        chunk.imagePrompt = QStringLiteral("A long still-image prompt describing the scene in detail. ").repeated(4);
        dress(chunk);
        project.chunks.append(chunk);
    }
    return project;
}

} // namespace quillvane
