#include "ui/Symbols.h"

#include <QStringList>

#include <array>
#include <utility>

namespace quillvane::ui {

namespace {

struct SymbolIcon {
    const char *symbol;
    const char *file;
};

constexpr std::array symbolIcons{
    // Stages
    SymbolIcon{"square.and.arrow.down.on.square", "file-import"},
    SymbolIcon{"waveform", "waveform"},
    SymbolIcon{"person.crop.rectangle.stack", "id-badge-2"},
    SymbolIcon{"rectangle.grid.1x2", "layout-rows"},
    SymbolIcon{"photo.on.rectangle.angled", "library-photo"},
    SymbolIcon{"paintpalette", "palette"},
    SymbolIcon{"cube.transparent", "cube-3d-sphere"},
    SymbolIcon{"play.rectangle", "movie"},
    SymbolIcon{"square.and.arrow.up", "file-export"},
    // Actions and states
    SymbolIcon{"square.and.arrow.up.fill", "upload"},
    SymbolIcon{"exclamationmark.triangle.fill", "alert-triangle-filled"},
    SymbolIcon{"waveform.badge.plus", "music-plus"},
    SymbolIcon{"person.fill", "user-filled"},
    SymbolIcon{"person.badge.plus", "user-plus"},
    SymbolIcon{"sparkles", "sparkles"},
    SymbolIcon{"arrow.right", "arrow-right"},
    SymbolIcon{"wand.and.stars", "wand"},
    SymbolIcon{"wand.and.rays", "wand"},
    SymbolIcon{"map", "map"},
    SymbolIcon{"cube", "cube"},
    SymbolIcon{"arrow.up.left.and.arrow.down.right.magnifyingglass", "zoom-in"},
    SymbolIcon{"arrow.clockwise", "refresh"},
    SymbolIcon{"arrow.uturn.backward", "arrow-back-up"},
    SymbolIcon{"arrow.uturn.forward", "arrow-forward-up"},
    SymbolIcon{"xmark", "x"},
    SymbolIcon{"paperplane.fill", "send-filled"},
    SymbolIcon{"lock.fill", "lock-filled"},
    SymbolIcon{"checkmark.seal.fill", "rosette-discount-check-filled"},
    SymbolIcon{"cpu", "cpu"},
    SymbolIcon{"lock.shield", "shield-lock"},
    SymbolIcon{"gearshape", "settings"},
    SymbolIcon{"clock", "clock"},
    SymbolIcon{"photo", "photo"},
    SymbolIcon{"folder", "folder"},
    SymbolIcon{"plus", "plus"},
    SymbolIcon{"play.fill", "player-play-filled"},
    SymbolIcon{"pause.fill", "player-pause-filled"},
    SymbolIcon{"doc.on.doc", "copy"},
    SymbolIcon{"trash", "trash"},
    SymbolIcon{"checkmark.circle", "checks"},
    // Window controls of the title-bar-less window
    SymbolIcon{"window.minimize", "minus"},
    SymbolIcon{"window.maximize", "square"},
    // The running-task spinner
    SymbolIcon{"progress.spinner", "loader-2"},
};

} // namespace

QString iconFileFor(const QString &symbol)
{
    for (const SymbolIcon &entry : symbolIcons) {
        if (symbol == QLatin1String(entry.symbol))
            return QStringLiteral(":/quillvane/icons/%1.svg").arg(QLatin1String(entry.file));
    }
    return {};
}

QStringList knownSymbols()
{
    QStringList symbols;
    for (const SymbolIcon &entry : symbolIcons)
        symbols.append(QLatin1String(entry.symbol));
    return symbols;
}

} // namespace quillvane::ui
