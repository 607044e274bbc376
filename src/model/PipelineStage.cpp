#include "model/PipelineStage.h"

#include <algorithm>
#include <array>

namespace quillvane {

namespace {

struct StageInfo {
    PipelineStage stage;
    const char *caseName;
    const char *title;
    const char *symbol;
};

constexpr std::array<StageInfo, 9> stages{{
    {PipelineStage::intake, "intake", "Project", "square.and.arrow.down.on.square"},
    {PipelineStage::timing, "timing", "Timing", "waveform"},
    {PipelineStage::characters, "characters", "Characters", "person.crop.rectangle.stack"},
    {PipelineStage::storyboard, "storyboard", "Storyboard", "rectangle.grid.1x2"},
    {PipelineStage::frames, "frames", "Frames", "photo.on.rectangle.angled"},
    {PipelineStage::style, "style", "Style", "paintpalette"},
    {PipelineStage::motion, "motion", "Motion", "cube.transparent"},
    {PipelineStage::preview, "preview", "Preview", "play.rectangle"},
    {PipelineStage::exportStage, "export", "Export", "square.and.arrow.up"},
}};

const StageInfo &info(PipelineStage stage)
{
    return stages.at(size_t(stage));
}

} // namespace

QList<PipelineStage> allPipelineStages()
{
    QList<PipelineStage> all;
    for (const auto &entry : stages)
        all.append(entry.stage);
    return all;
}

std::optional<PipelineStage> pipelineStageFromRaw(int raw)
{
    if (raw < 0 || raw >= int(stages.size()))
        return std::nullopt;
    return stages.at(size_t(raw)).stage;
}

QString title(PipelineStage stage) { return QString::fromUtf8(info(stage).title); }
QString symbolName(PipelineStage stage) { return QString::fromUtf8(info(stage).symbol); }
QString caseName(PipelineStage stage) { return QString::fromUtf8(info(stage).caseName); }

QString caseName(StageStatus status)
{
    switch (status) {
    case StageStatus::todo: return QStringLiteral("todo");
    case StageStatus::inProgress: return QStringLiteral("inProgress");
    case StageStatus::complete: return QStringLiteral("complete");
    }
    return {};
}

StageStatus stageStatus(const Project &project, PipelineStage stage, LyricsOnScreen lyrics)
{
    const auto &chunks = project.chunks;
    const bool hasChunks = !chunks.isEmpty();
    const bool allAccepted = project.allChunksAccepted(lyrics);
    switch (stage) {
    case PipelineStage::intake:
        return project.title.isEmpty() || project.rawLyrics.isEmpty() ? StageStatus::todo : StageStatus::complete;
    case PipelineStage::timing:
        return project.transcript.isEmpty() ? StageStatus::todo : StageStatus::complete;
    case PipelineStage::characters: {
        if (project.characters.isEmpty())
            return StageStatus::todo;
        return project.hasReferencedCharacter() ? StageStatus::complete : StageStatus::inProgress;
    }
    case PipelineStage::storyboard:
        if (!hasChunks)
            return StageStatus::todo;
        return project.framedCount() == chunks.size() ? StageStatus::complete : StageStatus::inProgress;
    case PipelineStage::frames:
        if (!hasChunks || (project.acceptedCount(lyrics) == 0 && project.framedCount() == 0))
            return StageStatus::todo;
        return allAccepted ? StageStatus::complete : StageStatus::inProgress;
    case PipelineStage::style:
        return project.style.continuityNotes.isEmpty() ? StageStatus::inProgress : StageStatus::complete;
    case PipelineStage::motion:
        return StageStatus::inProgress;
    case PipelineStage::preview:
        return allAccepted ? StageStatus::complete : StageStatus::todo;
    case PipelineStage::exportStage:
        return allAccepted ? StageStatus::inProgress : StageStatus::todo;
    }
    return StageStatus::todo;
}

} // namespace quillvane
