#pragma once

// Version k of a project that grows by one framed chunk per version, built the same way in
// every process, so a test can tell which saved version a document on disk is.

#include "model/Records.h"


namespace quillvane::test {

inline QUuid numberedID(uint kind, uint number)
{
    return QUuid(kind, ushort(number >> 16), ushort(number), 1, 2, 3, 4, 5, 6, 7, 8);
}

inline Project growingProject(int version)
{
    const QDateTime epoch = QDateTime::fromSecsSinceEpoch(1700000000, Qt::UTC);
    Project project;
    project.id = QUuid(QStringLiteral("{6b1f0d52-0a8e-4f57-9a54-7d1c3c9e0b11}"));
    project.title = QStringLiteral("version %1").arg(version);
    project.rawLyrics = QStringLiteral("line\n").repeated(version);
    project.createdAt = epoch;
    project.updatedAt = epoch.addSecs(version);
    for (int i = 0; i < version; ++i) {
        StoryboardChunk chunk;
        chunk.id = numberedID(0xC0, uint(i));
        chunk.index = i;
        chunk.chunkNumber = i + 1;
        chunk.start = i * 4.0;
        chunk.end = i * 4.0 + 4.0;
        chunk.lyricExcerpt = QStringLiteral("Lyric line number %1, long enough to take some bytes").arg(i);
        chunk.imagePrompt = QStringLiteral("A night street, sign reading line %1, wet asphalt, red jacket").arg(i);
        GeneratedFrame frame;
        frame.id = numberedID(0xF0, uint(i));
        frame.localPath = QStringLiteral("/library/frames/%1.png").arg(i);
        frame.prompt = chunk.imagePrompt;
        frame.createdAt = epoch.addSecs(i);
        chunk.frame = frame;
        project.chunks.append(chunk);
    }
    return project;
}

} // namespace quillvane::test
