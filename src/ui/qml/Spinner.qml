import QtQuick

// A small turning arc for work whose length is unknown.
SymbolIcon {
    symbol: "progress.spinner"
    tint: Theme.lime
    size: 16

    RotationAnimator on rotation {
        from: 0
        to: 360
        duration: 900
        loops: Animation.Infinite
        running: visible
    }
}
