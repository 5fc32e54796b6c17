#include "report/PrinterFont.h"

#include <mutex>

void PrinterFont::installSubstitutions()
{
    static std::once_flag once;
    std::call_once(once, [] {
        const QString substitute = QString::fromLatin1(substituteFamily);
        const QString base = QString::fromLatin1(family);
        QFont::insertSubstitution(base, substitute);
        // Face names used as family names still reach the substitute face.
        for (const char* suffix : { "-Regular", "-Bold", "-Italic", "-BoldItalic", "-Medium", "-Light" })
            QFont::insertSubstitution(base + QLatin1String(suffix), substitute);
    });
}

QFont PrinterFont::fontWithName(const QString& name, double pointSize)
{
    installSubstitutions();
    QString familyName = name;
    QFont::Weight weight = QFont::Normal;
    bool italic = false;
    const qsizetype dash = name.lastIndexOf(u'-');
    if (dash > 0) {
        const QString style = name.mid(dash + 1).toLower();
        familyName = name.left(dash);
        if (style.contains(QLatin1String("bold")))
            weight = QFont::Bold;
        else if (style.contains(QLatin1String("medium")))
            weight = QFont::Medium;
        else if (style.contains(QLatin1String("light")))
            weight = QFont::Light;
        italic = style.contains(QLatin1String("italic")) || style.contains(QLatin1String("oblique"));
    }
    QFont font(familyName);
    font.setPointSizeF(pointSize > 0 ? pointSize : 12);
    font.setWeight(weight);
    font.setItalic(italic);
    return font;
}

QFont PrinterFont::systemFont(double pointSize, bool bold)
{
    return fontWithName(
        QString::fromLatin1(family) + (bold ? QLatin1String("-Bold") : QLatin1String("-Regular")), pointSize);
}

QFont PrinterFont::defaultFont()
{
    return systemFont(12);
}

QTextCharFormat PrinterFont::format(const QFont& font, const QColor& color)
{
    QTextCharFormat result;
    result.setFont(font, QTextCharFormat::FontPropertiesSpecifiedOnly);
    if (color.isValid())
        result.setForeground(color);
    return result;
}
