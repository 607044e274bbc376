#include "UiHarness.h"
#include "ui/Bridges.h"
#include "ui/ProjectModels.h"

#include <QMetaProperty>
#include <QSignalSpy>

#include <functional>
#include <memory>

#include <gtest/gtest.h>

namespace quillvane {
namespace {

Project project()
{
    Project project = test::withChunks(4, 0);
    for (const StoryboardChunk &chunk : project.chunks)
        project.transcript.append({QUuid::createUuid(), chunk.renderedText, chunk.index * 2.0, chunk.index * 2.0 + 2, {}});
    project.characters.append({QUuid::createUuid(), QStringLiteral("Mara"), QString(), {}});
    return project;
}

TEST(ProjectModels, AnEditRefreshesOnlyItsRowAReorderRebuildsAndEditsWriteBack)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library(), project());
    ui::ChunkListModel chunks(store);
    ui::TranscriptModel transcript(store);
    ui::CharacterListModel characters(store);
    QSignalSpy resets(&chunks, &QAbstractItemModel::modelReset);
    QSignalSpy changed(&chunks, &QAbstractItemModel::dataChanged);
    const auto text = [&](int row) { return chunks.data(chunks.index(row), ui::ChunkListModel::RenderedTextRole).toString(); };

    store.editProject([](Project &p) { p.chunks[2].renderedText = QStringLiteral("changed"); });
    EXPECT_EQ(resets.size(), 0);
    ASSERT_EQ(changed.size(), 1);
    EXPECT_EQ(changed[0][0].toModelIndex().row(), 2);
    EXPECT_EQ(text(2), QStringLiteral("changed"));
    store.editProject([](Project &p) { std::swap(p.chunks[0], p.chunks[1]); });
    EXPECT_EQ(resets.size(), 1);
    EXPECT_EQ(text(0), QStringLiteral("line 2"));

    EXPECT_TRUE(chunks.setData(chunks.index(1), QStringLiteral("NEW WORDS"), ui::ChunkListModel::RenderedTextRole));
    EXPECT_TRUE(chunks.setData(chunks.index(1), QStringLiteral("chalk on brick"), ui::ChunkListModel::ImagePromptRole));
    EXPECT_TRUE(transcript.setData(transcript.index(3), QStringLiteral("last line, fixed"), ui::TranscriptModel::TextRole));
    EXPECT_TRUE(transcript.setData(transcript.index(3), 9.5, ui::TranscriptModel::EndRole));
    EXPECT_TRUE(characters.setData(characters.index(0), QStringLiteral("Mara Vale"), ui::CharacterListModel::NameRole));
    EXPECT_FALSE(chunks.setData(chunks.index(9), QStringLiteral("nowhere"), ui::ChunkListModel::RenderedTextRole));
    const Project &saved = store.project();
    EXPECT_EQ(saved.chunks[1].renderedText, QStringLiteral("NEW WORDS"));
    EXPECT_EQ(saved.chunks[1].imagePrompt, QStringLiteral("chalk on brick"));
    EXPECT_EQ(saved.transcript[3].text, QStringLiteral("last line, fixed"));
    EXPECT_EQ(saved.transcript[3].end, 9.5);
    EXPECT_EQ(saved.characters[0].name, QStringLiteral("Mara Vale"));
    EXPECT_TRUE(store.document().hasPendingSave());
}

// Every value a bridge announces a change of, as "Bridge.property", each with its spy.
std::vector<std::pair<QString, std::unique_ptr<QSignalSpy>>> announcements(ui::Bridges &b)
{
    std::vector<std::pair<QString, std::unique_ptr<QSignalSpy>>> spies;
    for (auto [name, bridge] : {std::pair<const char *, QObject *>{"Session", &b.session}, {"Intake", &b.intake},
                                {"Timing", &b.timing}, {"Cast", &b.cast}, {"Storyboard", &b.storyboard},
                                {"Motion", &b.motion}, {"Export", &b.exporting}, {"AppSettings", &b.settings}}) {
        const QMetaObject *meta = bridge->metaObject();
        for (int i = meta->propertyOffset(); i < meta->propertyCount(); ++i) {
            if (meta->property(i).hasNotifySignal())
                spies.emplace_back(QStringLiteral("%1.%2").arg(QLatin1String(name), QLatin1String(meta->property(i).name())),
                                   std::make_unique<QSignalSpy>(bridge, meta->property(i).notifySignal()));
        }
    }
    return spies;
}

TEST(Bridges, AChangeAnnouncesOnlyTheValuesItMoved)
{
    test::TempLibrary temp;
    ProjectStore store(temp.library(), project());
    ui::Bridges bridges(store);
    store.editProject([](Project &p) { p.conceptPrompt = QStringLiteral("warm-up: the history has a step"); });
    const auto spies = announcements(bridges);
    const QUuid third = store.project().chunks[2].id;

    const struct {
        const char *change;
        std::function<void()> apply;
        const char *expected; // the values announced, sorted, space-separated
    } rows[] = {
        {"title", [&] { store.editProject([](Project &p) { p.title = QStringLiteral("Snow"); }); }, "Intake.title"},
        {"a chunk not shown", [&] { store.editProject([](Project &p) { p.chunks[3].renderedText = QStringLiteral("x"); }); }, ""},
        {"the shown chunk accepted",
         [&] { store.editProject([](Project &p) { p.chunks[0].frame->review = test::chunkWithFrame(true).frame->review; }); },
         "Storyboard.acceptedCount Storyboard.selectedChunk"},
        {"zoom", [&] { bridges.motion.setZoom(0.4); }, "Motion.zoom"},
        {"fixed-length clips", [&] { bridges.motion.setFollowsSong(false); }, "Export.projectDuration Motion.followsSong"},
        // Its stills carry no words, so the lyrics become sung: the prompt and the review follow.
        {"the offline studio", [&] { bridges.settings.setOfflineStudio(true); },
         "AppSettings.offlineStudio Cast.lyricsNote Cast.lyricsOnScreen Cast.promptPreview Storyboard.selectedChunk"},
        {"a chunk chosen", [&] { store.session().setSelectedChunkID(third); }, "Storyboard.selectedChunk Storyboard.selectedChunkId"},
        {"the playhead past a line's start", [&] { bridges.timing.setPlayhead(2.5); }, "Timing.currentLine Timing.playhead"},
        {"the playhead within the line", [&] { bridges.timing.setPlayhead(3.5); }, "Timing.playhead"},
        {"a task starts", [&] { store.session().setRunningTask(QStringLiteral("Rendering motion")); },
         "Session.busy Session.canUndo Session.runningTask"},
        {"its progress", [&] { store.session().setTaskProgress(0.5); }, "Session.taskProgress"},
    };
    for (const auto &row : rows) {
        row.apply();
        QStringList announced;
        for (const auto &[name, spy] : spies) {
            if (!spy->isEmpty())
                announced << name;
            spy->clear();
        }
        announced.sort();
        EXPECT_EQ(announced.join(QLatin1Char(' ')), QLatin1String(row.expected)) << row.change;
    }
}

} // namespace
} // namespace quillvane
