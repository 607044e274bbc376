#include "UiHarness.h"
#include "ui/Bridges.h"
#include "ui/ProjectModels.h"

#include <QSignalSpy>

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

} // namespace
} // namespace quillvane
