#pragma once

#include <QImage>
#include <QSize>
#include <QString>

/// The few things intake needs from a PDF file: its text layer and a bitmap of
/// its first page. Locked, damaged and empty documents give nothing.
class PdfPages
{
public:
    /// The text of every page joined with "\n"; false when the document cannot
    /// be opened (damaged, locked by a password, no pages).
    static bool text(const QString& path, QString* text);

    /// The first page rendered at its natural size (72 dpi, one pixel per
    /// point); pages too large to be sensible are rendered smaller. Null on failure.
    static QImage renderFirstPage(const QString& path);

    /// The first page rendered to fit into bounds on white paper; null on failure.
    static QImage firstPageFitting(const QString& path, const QSize& bounds);
};
