#include "ui/Bridges.h"

#include <QQmlContext>
#include <QQmlEngine>

namespace quillvane::ui {

Bridges::Bridges(ProjectStore &store)
    : session(store)
    , intake(store)
    , timing(store)
    , cast(store)
    , storyboard(store)
    , motion(store)
    , exporting(store)
    , settings(store)
{
    // A step through the history ends a tap session: its next line and its taps to take back
    // belong to the lines as they were tapped.
    QObject::connect(&session, &SessionBridge::historyStepped, &timing, &TimingBridge::stopTapping);
}

void Bridges::expose(QQmlEngine &engine)
{
    QQmlContext *context = engine.rootContext();
    const std::pair<const char *, QObject *> named[] = {
        {"Session", &session}, {"Intake", &intake},   {"Timing", &timing},   {"Cast", &cast},
        {"Storyboard", &storyboard}, {"Motion", &motion}, {"Export", &exporting}, {"AppSettings", &settings},
    };
    for (const auto &[name, bridge] : named) {
        QJSEngine::setObjectOwnership(bridge, QJSEngine::CppOwnership);
        context->setContextProperty(QString::fromLatin1(name), bridge);
    }
}

} // namespace quillvane::ui
