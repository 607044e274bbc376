#pragma once

#include <QQuickImageProvider>

namespace quillvane::ui {

// Serves "image://symbol/<symbol name>?color=<#rrggbb>": the symbol's icon drawn in that
// colour at the requested size. The icons draw in "currentColor", which is replaced before
// the SVG is rendered, so one file serves every tint.
class IconProvider : public QQuickImageProvider {
public:
    IconProvider();
    QImage requestImage(const QString &id, QSize *size, const QSize &requestedSize) override;
};

} // namespace quillvane::ui
