#include "app/style/AppFonts.h"

QString AppFonts::archiveFamily()
{
    return QStringLiteral("WriteSans");
}

QStringList AppFonts::substitutes()
{
    return { QStringLiteral("Inter"), QStringLiteral("DejaVu Sans") };
}

void AppFonts::install()
{
    // Face names of the original font files are accepted too; their weight
    // comes from archiveFont(), since a substitution cannot carry one.
    const QString family = archiveFamily();
    const QStringList names = { family, family + QStringLiteral("-Regular"), family + QStringLiteral("-Bold") };
    for (const QString& name : names) {
        // Qt keeps family names in lower case.
        if (QFont::substitutes(name).join(u',') == substitutes().join(u',').toLower())
            continue;
        QFont::removeSubstitutions(name);
        QFont::insertSubstitutions(name, substitutes());
    }
}

QFont AppFonts::archiveFont(qreal pointSize, bool bold)
{
    install();
    QFont font(archiveFamily());
    font.setPointSizeF(pointSize);
    font.setWeight(bold ? QFont::Bold : QFont::Normal);
    return font;
}
