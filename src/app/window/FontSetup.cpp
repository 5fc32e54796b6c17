#include "app/window/FontSetup.h"

#include <QFont>
#include <QStringList>

void FontSetup::installApplicationFonts()
{
    static bool installed = false;
    if (installed)
        return;
    installed = true;
    const QStringList families = { QStringLiteral("Inter"), QStringLiteral("DejaVu Sans") };
    for (const char* name : { "WriteSans", "WriteSans-Regular", "WriteSans-Bold" })
        QFont::insertSubstitutions(QString::fromLatin1(name), families);
}
