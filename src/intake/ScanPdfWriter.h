#pragma once

#include "intake/ScanLineAssembler.h"
#include "store/AtomicFile.h"

#include <QList>
#include <QString>
#include <memory>

class ScanImageEncoder;

/// Writes scanned pages as a PDF, one image per page, line by line: grey and
/// colour pages are JPEG-compressed as the lines arrive, line art is deflated
/// at one bit per pixel (ScanImageEncoder). Only the compressed output and one line pass through
/// memory, so a 1200 dpi colour page costs no more memory than a 75 dpi one.
///
/// The file is written under a temporary name beside its final one, and only
/// finish() flushes it to disk, renames it into place and syncs the folder;
/// a writer that is discarded or destroyed before that leaves nothing behind.
class ScanPdfWriter
{
public:
    explicit ScanPdfWriter(const QString& path);
    ~ScanPdfWriter();
    ScanPdfWriter(const ScanPdfWriter&) = delete;
    ScanPdfWriter& operator=(const ScanPdfWriter&) = delete;

    /// The document title stored in the PDF's information dictionary.
    void setTitle(const QString& title) { m_title = title; }
    /// JPEG quality for grey and colour pages (1-100, default 85).
    void setJpegQuality(int quality) { m_quality = quality; }

    bool open(QString* error);
    /// Starts a page of width x height pixels scanned at dpi; its size in
    /// points follows from both.
    bool beginPage(ScanLineAssembler::Kind kind, int width, int height, double dpi, QString* error);
    /// One line of the page, in the layout ScanLineAssembler gives for the kind.
    bool writeLine(const unsigned char* line);
    bool endPage(QString* error);
    /// Completes the file and moves it into place.
    bool finish(QString* error);
    /// Drops everything written; the final path is not touched.
    void discard();

    int pageCount() const { return m_pageCount; }
    QString path() const { return m_path; }

private:
    bool write(const QByteArray& bytes);
    int beginObject();
    void endObject();
    bool failed(QString* error);

    QString m_path;
    QString m_title;
    int m_quality = 85;
    AtomicFile m_file;
    qint64 m_position = 0;
    QList<qint64> m_offsets; ///< file offset of each object, by number - 1
    QList<int> m_pageObjects;
    int m_pageCount = 0;
    int m_imageLengthObject = 0;
    int m_linesLeft = 0;
    std::unique_ptr<ScanImageEncoder> m_encoder;
    QString m_error;
    bool m_errorNamesPath = false; ///< the file's own messages already name the path
};
