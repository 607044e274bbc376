#pragma once

#include "ui/ProjectModels.h"

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

namespace quillvane::ui {

// The characters and style screens' view of the project (Cast in QML): the characters and
// their reference images, the concept, the style guidance with the image prompt it makes,
// and the way on to the storyboard.
class CastBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(QAbstractListModel *characters READ characters CONSTANT)
    Q_PROPERTY(QString conceptPrompt READ conceptPrompt WRITE setConceptPrompt NOTIFY conceptPromptChanged)
    // Chunks the planner put the main character in.
    Q_PROPERTY(int featuredFrameCount READ featuredFrameCount NOTIFY featuredFrameCountChanged)
    // Whether some character has a reference image (planning needs one).
    Q_PROPERTY(bool hasReferencedCharacter READ hasReferencedCharacter NOTIFY hasReferencedCharacterChanged)
    Q_PROPERTY(QString paletteName READ paletteName WRITE setPaletteName NOTIFY paletteNameChanged)
    Q_PROPERTY(QString mood READ mood WRITE setMood NOTIFY moodChanged)
    Q_PROPERTY(QString medium READ medium WRITE setMedium NOTIFY mediumChanged)
    Q_PROPERTY(QString continuityNotes READ continuityNotes WRITE setContinuityNotes NOTIFY continuityNotesChanged)
    Q_PROPERTY(QString negativePrompts READ negativePrompts WRITE setNegativePrompts NOTIFY negativePromptsChanged)
    // The image prompt of the first chunk (or of a sample chunk) under the current style.
    Q_PROPERTY(QString promptPreview READ promptPreview NOTIFY promptPreviewChanged)
    // How the lyrics reach the picture: "Painted in the scene", "Set as sung", "Both", and the
    // index of the effective one (the project's choice, else the backend's); choosing one
    // makes it the project's. The note says whose default it is while the project has none.
    Q_PROPERTY(QStringList lyricsLabels READ lyricsLabels CONSTANT)
    Q_PROPERTY(int lyricsOnScreen READ lyricsOnScreen WRITE setLyricsOnScreen NOTIFY lyricsOnScreenChanged)
    Q_PROPERTY(QString lyricsNote READ lyricsNote NOTIFY lyricsOnScreenChanged)

public:
    explicit CastBridge(ProjectStore &store, QObject *parent = nullptr);

    QAbstractListModel *characters() const { return m_characters; }
    QString conceptPrompt() const { return m_conceptPrompt; }
    void setConceptPrompt(const QString &text);
    int featuredFrameCount() const { return m_featuredFrameCount; }
    bool hasReferencedCharacter() const { return m_hasReferencedCharacter; }
    QString paletteName() const { return m_style.paletteName; }
    void setPaletteName(const QString &text) { editStyle(&StyleGuidance::paletteName, text); }
    QString mood() const { return m_style.mood; }
    void setMood(const QString &text) { editStyle(&StyleGuidance::mood, text); }
    QString medium() const { return m_style.medium; }
    void setMedium(const QString &text) { editStyle(&StyleGuidance::medium, text); }
    QString continuityNotes() const { return m_style.continuityNotes; }
    void setContinuityNotes(const QString &text) { editStyle(&StyleGuidance::continuityNotes, text); }
    QString negativePrompts() const { return m_style.negativePrompts; }
    void setNegativePrompts(const QString &text) { editStyle(&StyleGuidance::negativePrompts, text); }
    QString promptPreview() const { return m_promptPreview; }
    QStringList lyricsLabels() const;
    int lyricsOnScreen() const { return int(m_lyrics); }
    void setLyricsOnScreen(int index);
    QString lyricsNote() const { return m_lyricsNote; }

    // False for a name that is blank once trimmed.
    Q_INVOKABLE bool addCharacter(const QString &name);
    // Refuses the whole choice, with a sentence naming the file, when one is not an image.
    Q_INVOKABLE void addReferenceImages(const QString &characterID, const QList<QUrl> &files);
    Q_INVOKABLE void removeCharacter(const QString &characterID);
    Q_INVOKABLE void removeReferenceImage(const QString &characterID, const QString &path);
    // With no chunks: plans, renders the pending elements, then moves to the storyboard,
    // stopping at the first error. With chunks: only moves to the storyboard.
    Q_INVOKABLE void startStoryboard();

Q_SIGNALS:
    void conceptPromptChanged();
    void featuredFrameCountChanged();
    void hasReferencedCharacterChanged();
    void paletteNameChanged();
    void moodChanged();
    void mediumChanged();
    void continuityNotesChanged();
    void negativePromptsChanged();
    void promptPreviewChanged();
    void lyricsOnScreenChanged();

private:
    void refresh();
    void editStyle(QString StyleGuidance::*field, const QString &text);

    ProjectStore &m_store;
    CharacterListModel *m_characters;
    QString m_conceptPrompt;
    int m_featuredFrameCount = 0;
    bool m_hasReferencedCharacter = false;
    StyleGuidance m_style;
    QString m_promptPreview;
    LyricsOnScreen m_lyrics = LyricsOnScreen::painted;
    QString m_lyricsNote;
};

} // namespace quillvane::ui
