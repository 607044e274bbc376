// Qt Quick Test entry for the QML tests in qml/: the module from the application's
// resources, and a store with an empty project behind the bridges, under a temporary
// HOME like every other test.

#include "support/Fixtures.h"
#include "support/TestHome.h"
#include "ui/Bridges.h"
#include "ui/IconProvider.h"

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
        m_store = std::make_unique<ProjectStore>(m_library->library(), Project{});
        m_bridges = std::make_unique<ui::Bridges>(*m_store);
    }

    void qmlEngineAvailable(QQmlEngine *engine)
    {
        m_bridges->expose(*engine);
        engine->addImportPath(QStringLiteral("qrc:/qt/qml"));
        engine->addImageProvider(QStringLiteral("symbol"), new ui::IconProvider);
    }

    void cleanupTestCase()
    {
        m_bridges.reset();
        m_store.reset();
        m_library.reset();
        test::leaveTestHome(m_home);
    }

private:
    std::string m_home;
    std::unique_ptr<test::TempLibrary> m_library;
    std::unique_ptr<ProjectStore> m_store;
    std::unique_ptr<ui::Bridges> m_bridges;
};

QUICK_TEST_MAIN_WITH_SETUP(quillvane_qml, Setup)

#include "QuickTestMain.moc"
