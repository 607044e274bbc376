#pragma once

#include <QString>

namespace quillvane::ui {

// The one table from the symbol names the screens use to the icon files the application
// carries (Tabler Icons, in :/quillvane/icons). An unknown name gives an empty string.
QString iconFileFor(const QString &symbol);

// Every symbol name in the table, for checks that each file is there.
QStringList knownSymbols();

} // namespace quillvane::ui
