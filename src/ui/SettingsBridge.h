#pragma once

#include "store/ProjectStore.h"

#include <QObject>
#include <QQmlEngine>

namespace quillvane::ui {

// The settings window's view of the preferences (AppSettings in QML): the generation models,
// the service's address or the built-in offline studio, and how lyrics are timed. The next
// generation operation goes where they say.
class SettingsBridge : public QObject {
    Q_OBJECT
    QML_ANONYMOUS

    Q_PROPERTY(QString generationModel READ generationModel WRITE setGenerationModel NOTIFY generationModelChanged)
    Q_PROPERTY(QString editWorkflow READ editWorkflow WRITE setEditWorkflow NOTIFY editWorkflowChanged)
    Q_PROPERTY(QString proxyBaseURL READ proxyBaseURL WRITE setProxyBaseURL NOTIFY proxyBaseURLChanged)
    Q_PROPERTY(bool offlineStudio READ offlineStudio WRITE setOfflineStudio NOTIFY offlineStudioChanged)
    // True when lyric words are aligned to the audio, false when lines go by proportion.
    Q_PROPERTY(bool alignsWords READ alignsWords WRITE setAlignsWords NOTIFY alignsWordsChanged)

public:
    explicit SettingsBridge(ProjectStore &store, QObject *parent = nullptr);

    QString generationModel() const { return m_generationModel; }
    void setGenerationModel(const QString &value) { m_store.settings().setGenerationModel(value); }
    QString editWorkflow() const { return m_editWorkflow; }
    void setEditWorkflow(const QString &value) { m_store.settings().setEditWorkflow(value); }
    QString proxyBaseURL() const { return m_proxyBaseURL; }
    void setProxyBaseURL(const QString &value) { m_store.settings().setProxyBaseURL(value); }
    bool offlineStudio() const { return m_offlineStudio; }
    void setOfflineStudio(bool offline);
    bool alignsWords() const { return m_alignsWords; }
    void setAlignsWords(bool words);

    // The transcriber's name, "None" without one.
    Q_INVOKABLE QString engineName() const;

Q_SIGNALS:
    void generationModelChanged();
    void editWorkflowChanged();
    void proxyBaseURLChanged();
    void offlineStudioChanged();
    void alignsWordsChanged();

private:
    void refresh();

    ProjectStore &m_store;
    QString m_generationModel;
    QString m_editWorkflow;
    QString m_proxyBaseURL;
    bool m_offlineStudio = false;
    bool m_alignsWords = false;
};

} // namespace quillvane::ui
