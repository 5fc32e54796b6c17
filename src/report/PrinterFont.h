#pragma once

#include <QColor>
#include <QFont>
#include <QTextCharFormat>

/// Fonts of the reports. Reports name their faces "WriteSans-Regular",
/// "WriteSans-Bold" and so on; the family "WriteSans" is not installed on the
/// machine but mapped onto an installed sans face (DejaVu Sans), so reports look
/// the same everywhere and their PDFs embed a real font.
class PrinterFont
{
public:
    static constexpr const char* family = "WriteSans";
    static constexpr const char* substituteFamily = "DejaVu Sans";

    /// Registers the family substitutions once; safe to call from any thread.
    static void installSubstitutions();

    /// The face of a name such as "WriteSans-Bold" or "WriteSans-BoldItalic" at
    /// a size in points. A name without a style suffix is taken as the family.
    static QFont fontWithName(const QString& name, double pointSize);
    /// The regular or bold system face of the reports at a size in points.
    static QFont systemFont(double pointSize, bool bold = false);
    /// The font used for text that carries no font of its own (12 points).
    static QFont defaultFont();

    /// A character format with the font and, when valid, the colour.
    static QTextCharFormat format(const QFont& font, const QColor& color = QColor());
};
