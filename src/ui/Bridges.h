#pragma once

#include "ui/CastBridge.h"
#include "ui/IntakeBridges.h"
#include "ui/OutputBridges.h"
#include "ui/SessionBridge.h"
#include "ui/SettingsBridge.h"
#include "ui/StoryboardBridge.h"

class QQmlEngine;

namespace quillvane::ui {

// Every bridge over one store, made by whoever owns the store (the application, a test) and
// handed to a QML engine by name: Session, Intake, Timing, Cast, Storyboard, Motion, Export
// and AppSettings. Nothing here is global, so each test builds its own over its own store.
class Bridges {
public:
    explicit Bridges(ProjectStore &store);

    // Names each bridge in the engine's root context; the bridges must outlive the engine's
    // objects.
    void expose(QQmlEngine &engine);

    SessionBridge session;
    IntakeBridge intake;
    TimingBridge timing;
    CastBridge cast;
    StoryboardBridge storyboard;
    MotionBridge motion;
    ExportBridge exporting;
    SettingsBridge settings;
};

} // namespace quillvane::ui
