#pragma once

#include <QFont>
#include <QStringList>

/// The archive window's own typeface. Its texts ask for the family
/// "WriteSans"; the family is mapped to Inter, installed with the system,
/// with DejaVu Sans where Inter is missing. No font file ships with us.
class AppFonts
{
public:
    /// The family name the archive window's texts ask for.
    static QString archiveFamily();

    /// The families tried for archiveFamily(), first match wins.
    static QStringList substitutes();

    /// Registers the substitution for "WriteSans" and its face names
    /// "WriteSans-Regular" and "WriteSans-Bold"; calling it again does nothing.
    static void install();

    /// The archive window's font at @p pointSize, bold or regular.
    static QFont archiveFont(qreal pointSize, bool bold = false);
};
