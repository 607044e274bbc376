#include "ui/Fonts.h"

#include <QFontDatabase>
#include <QString>

namespace quillvane::ui {

void registerFonts()
{
    static bool registered = false;
    if (registered)
        return;
    registered = true;
    for (const char *file : {"Anton-Regular.ttf", "PermanentMarker-Regular.ttf"})
        QFontDatabase::addApplicationFont(QStringLiteral(":/quillvane/fonts/") + QLatin1String(file));
}

} // namespace quillvane::ui
