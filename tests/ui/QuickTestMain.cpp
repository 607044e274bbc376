// Qt Quick Test entry for the QML tests in qml/: the module from the application's
// resources, and a store with a small project behind the Store singleton, under a temporary
// HOME like every other test.

#include "support/Fixtures.h"
#include "support/TestHome.h"
#include "ui/AppStore.h"
#include "ui/IconProvider.h"

#include <QQmlContext>
#include <QQmlEngine>
#include <QtQml/QQmlExtensionPlugin>
#include <QtQuickTest>

#include <memory>

Q_IMPORT_QML_PLUGIN(QuillvanePlugin)

using namespace quillvane;

class Setup : public QObject {
    Q_OBJECT

public Q_SLOTS:
    void applicationAvailable()
    {
        m_home = test::enterTestHome();
        m_library = std::make_unique<test::TempLibrary>();
        Project project;
        for (int i = 0; i < 3; ++i) {
            StoryboardChunk chunk = test::chunkWithFrame(i == 0);
            chunk.index = i;
            chunk.chunkNumber = i + 1;
            project.chunks.append(chunk);
        }
        m_store = std::make_unique<ProjectStore>(m_library->library(), project);
        m_bridge = std::make_unique<ui::AppStore>(*m_store);
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
        engine->rootContext()->setContextProperty(QStringLiteral("firstChunkID"),
                                                  uuidText(m_store->project().chunks.first().id));
    }

    void cleanupTestCase()
    {
        m_bridge.reset();
        m_store.reset();
        m_library.reset();
        test::leaveTestHome(m_home);
    }

private:
    std::string m_home;
    std::unique_ptr<test::TempLibrary> m_library;
    std::unique_ptr<ProjectStore> m_store;
    std::unique_ptr<ui::AppStore> m_bridge;
};

QUICK_TEST_MAIN_WITH_SETUP(quillvane_qml, Setup)

#include "QuickTestMain.moc"
