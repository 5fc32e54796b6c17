#pragma once

#include <QByteArray>
#include <QRegularExpression>
#include <QSizeF>
#include <QStringList>
#include <poppler-qt6.h>

#include <memory>

// Reads generated PDFs back for the report, export and log-report tests
// (header only: just those tests link poppler).

/// The text of every page, normalized so ligatures compare as letters.
inline QStringList pageTexts(const QByteArray& pdf, QList<QSizeF>* sizes = nullptr)
{
    QStringList texts;
    std::unique_ptr<Poppler::Document> document = Poppler::Document::loadFromData(pdf);
    for (int i = 0; document && i < document->numPages(); ++i) {
        std::unique_ptr<Poppler::Page> page = document->page(i);
        texts << page->text(QRectF()).normalized(QString::NormalizationForm_KC);
        if (sizes)
            *sizes << page->pageSizeF();
    }
    return texts;
}

/// Text without any white space, so lines wrapped by the layout still compare.
inline QString squeezed(const QString& value)
{
    static const QRegularExpression space(QStringLiteral("\\s+"));
    return value.normalized(QString::NormalizationForm_KC).remove(space);
}
