#include "ui/CastBridge.h"

#include "pipeline/GenerationOperations.h"
#include "pipeline/Road.h"
#include "ui/BridgeSupport.h"

#include <algorithm>

namespace quillvane::ui {

namespace {

// The prompt the first chunk gets, or a sample chunk before there is a storyboard, so the
// style can be judged by what it will ask for.
QString previewPrompt(const Project &project, LyricsOnScreen lyrics)
{
    if (!project.chunks.isEmpty())
        return framePrompt(project.chunks.first(), project.style, lyrics);
    StoryboardChunk sample;
    sample.index = 0;
    sample.chunkNumber = 1;
    sample.start = 0;
    sample.end = 4.0;
    sample.lyricExcerpt = QStringLiteral("City lights are burning low");
    sample.renderedText = sample.lyricExcerpt;
    sample.surface = QStringLiteral("a hand-painted marker sign");
    return composeFramePrompt(sample, project.style, lyrics);
}

} // namespace

CastBridge::CastBridge(ProjectStore &store, QObject *parent)
    : QObject(parent)
    , m_store(store)
    , m_characters(new CharacterListModel(store, this))
{
    refresh();
    connect(&store.document(), &ProjectDocument::projectChanged, this, &CastBridge::refresh);
    // Without a choice of the project's, the lyrics follow the backend.
    connect(&store.settings(), &GenerationSettings::generationBackendChanged, this, &CastBridge::refresh);
}

void CastBridge::refresh()
{
    const Project &project = m_store.project();
    const StyleGuidance &style = project.style;
    const auto featured = std::count_if(project.chunks.begin(), project.chunks.end(),
                                        [](const StoryboardChunk &chunk) { return chunk.primaryCharacterInFrame; });
    follow(this, m_conceptPrompt, project.conceptPrompt, &CastBridge::conceptPromptChanged);
    follow(this, m_featuredFrameCount, int(featured), &CastBridge::featuredFrameCountChanged);
    follow(this, m_hasReferencedCharacter, project.hasReferencedCharacter(), &CastBridge::hasReferencedCharacterChanged);
    follow(this, m_style.paletteName, style.paletteName, &CastBridge::paletteNameChanged);
    follow(this, m_style.mood, style.mood, &CastBridge::moodChanged);
    follow(this, m_style.medium, style.medium, &CastBridge::mediumChanged);
    follow(this, m_style.continuityNotes, style.continuityNotes, &CastBridge::continuityNotesChanged);
    follow(this, m_style.negativePrompts, style.negativePrompts, &CastBridge::negativePromptsChanged);
    const LyricsOnScreen lyrics = m_store.lyricsOnScreen();
    const QString note = style.lyricsOnScreen ? QString()
        : m_store.settings().generationBackend() == Backend::offline ? QStringLiteral("The offline studio's default")
                                                                     : QStringLiteral("The Quillvane service's default");
    if (lyrics != m_lyrics || note != m_lyricsNote) {
        m_lyrics = lyrics;
        m_lyricsNote = note;
        Q_EMIT lyricsOnScreenChanged();
    }
    follow(this, m_promptPreview, previewPrompt(project, lyrics), &CastBridge::promptPreviewChanged);
}

QStringList CastBridge::lyricsLabels() const
{
    QStringList labels;
    for (const LyricsOnScreen lyrics : {LyricsOnScreen::painted, LyricsOnScreen::sung, LyricsOnScreen::both})
        labels.append(label(lyrics));
    return labels;
}

void CastBridge::setLyricsOnScreen(int index)
{
    if (index < 0 || index > int(LyricsOnScreen::both))
        return;
    m_store.editProject([index](Project &project) { project.style.lyricsOnScreen = LyricsOnScreen(index); });
}

void CastBridge::setConceptPrompt(const QString &text)
{
    m_store.editProject([&](Project &project) { project.conceptPrompt = text; });
}

void CastBridge::editStyle(QString StyleGuidance::*field, const QString &text)
{
    m_store.editProject([&](Project &project) { project.style.*field = text; });
}

bool CastBridge::addCharacter(const QString &name)
{
    return quillvane::addCharacter(m_store.document(), name).has_value();
}

void CastBridge::addReferenceImages(const QString &characterID, const QList<QUrl> &files)
{
    QStringList paths;
    for (const QUrl &file : files)
        paths.append(pathFrom(file));
    launch(this, startAddReferenceImages(m_store, idFrom(characterID), paths));
}

void CastBridge::removeCharacter(const QString &characterID)
{
    quillvane::removeCharacter(m_store.document(), idFrom(characterID));
}

void CastBridge::removeReferenceImage(const QString &characterID, const QString &path)
{
    quillvane::removeReferenceImage(m_store.document(), idFrom(characterID), pathFrom(path));
}

void CastBridge::startStoryboard()
{
    if (m_store.project().chunks.isEmpty())
        launch(this, thenSelect(m_store, runRoad(m_store, PipelineStage::storyboard, PipelineStage::storyboard), PipelineStage::storyboard));
    else
        m_store.session().setSelectedStage(PipelineStage::storyboard);
}

} // namespace quillvane::ui
