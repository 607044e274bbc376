// Save and load of a full-length project: 200 and 500 chunks, each with a frame and five
// earlier versions on its undo stack. The automatic save writes this whole document after every
// burst of edits, so it has to stay cheap.

#include "LongSong.h"
#include "model/ProjectJson.h"
#include "storage/ProjectLibrary.h"

#include <QTemporaryDir>

#include <benchmark/benchmark.h>

#include <map>

using namespace quillvane;

namespace {

GeneratedFrame frame(int chunk, int version)
{
    GeneratedFrame f;
    f.localPath = QStringLiteral("/home/user/.local/share/Quillvane/projects/X/frames/%1_%2.png").arg(chunk).arg(version);
    f.remoteURL = QStringLiteral("https://fal.media/files/elephant/%1-%2.png").arg(chunk).arg(version);
    f.prompt = QStringLiteral("Hand-painted marker letters reading \"CITY LIGHTS ARE BURNING LOW\" on a wet brick wall at "
                              "dusk, recurring red jacket, acid and coral palette, cinematic, version %1")
                   .arg(version);
    if (version > 0)
        f.editRequest = QStringLiteral("make the letters larger and warmer");
    f.motionClipPath = QStringLiteral("/home/user/.local/share/Quillvane/projects/X/clips/%1.mov").arg(chunk);
    f.review = {true, true, version % 2 == 0, true, false};
    return f;
}

Project largeProject(int chunks)
{
    return longSong(chunks, [](StoryboardChunk &chunk) {
        chunk.elementIdsUsed = {QStringLiteral("red-jacket"), QStringLiteral("overpass")};
        chunk.videoPrompt = QStringLiteral("slow push-in with a gentle drift");
        chunk.frame = frame(int(chunk.index), 5);
        for (int v = 0; v < 5; ++v)
            chunk.undoStack.append(frame(int(chunk.index), v));
    });
}

const Project &fixture(int chunks)
{
    static std::map<int, Project> projects;
    auto found = projects.find(chunks);
    if (found == projects.end())
        found = projects.emplace(chunks, largeProject(chunks)).first;
    return found->second;
}

void BM_Encode(benchmark::State &state)
{
    for (auto _ : state)
        benchmark::DoNotOptimize(writeProjectDocument(fixture(int(state.range(0)))));
    state.counters["bytes"] = double(writeProjectDocument(fixture(int(state.range(0)))).size());
}

void BM_Save(benchmark::State &state)
{
    QTemporaryDir dir;
    const ProjectLibrary library(dir.filePath(QStringLiteral("projects")),
                                 Preferences(dir.filePath(QStringLiteral("Quillvane.conf"))));
    for (auto _ : state)
        library.save(fixture(int(state.range(0))));
}

void BM_Decode(benchmark::State &state)
{
    const QByteArray document = writeProjectDocument(fixture(int(state.range(0))));
    for (auto _ : state)
        benchmark::DoNotOptimize(readProjectDocument(document));
}

void BM_Load(benchmark::State &state)
{
    QTemporaryDir dir;
    const ProjectLibrary library(dir.filePath(QStringLiteral("projects")),
                                 Preferences(dir.filePath(QStringLiteral("Quillvane.conf"))));
    library.save(fixture(int(state.range(0))));
    for (auto _ : state) {
        auto loaded = library.loadLastProject();
        if (!loaded)
            state.SkipWithError("the saved project did not load");
        benchmark::DoNotOptimize(loaded);
    }
}

} // namespace

BENCHMARK(BM_Encode)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Save)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Decode)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Load)->Arg(200)->Arg(500)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
