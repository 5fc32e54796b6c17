#include "intake/ScanPdfWriter.h"

#include "intake/ScanImageEncoder.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace {

QByteArray number(double value)
{
    QByteArray text = QByteArray::number(value, 'f', 4);
    while (text.endsWith('0'))
        text.chop(1);
    if (text.endsWith('.'))
        text.chop(1);
    return text;
}

/// A PDF text string that carries any title: UTF-16 big-endian with a byte order mark, in hex.
QByteArray pdfTextString(const QString& text)
{
    QByteArray hex = "<FEFF";
    for (const QChar c : text)
        hex += QByteArray::number(c.unicode(), 16).rightJustified(4, '0').toUpper();
    return hex + '>';
}

} // namespace

ScanPdfWriter::ScanPdfWriter(const QString& path)
    : m_path(path)
    , m_file(path)
{
}

ScanPdfWriter::~ScanPdfWriter()
{
    discard();
}

bool ScanPdfWriter::failed(QString* error)
{
    if (m_error.isEmpty()) {
        m_error = m_file.errorString();
        m_errorNamesPath = true;
    }
    *error = m_errorNamesPath ? m_error : QStringLiteral("%1: %2").arg(m_path, m_error);
    discard();
    return false;
}

bool ScanPdfWriter::write(const QByteArray& bytes)
{
    if (!m_error.isEmpty())
        return false;
    if (!m_file.write(bytes)) {
        m_error = m_file.errorString();
        m_errorNamesPath = true;
        return false;
    }
    m_position += bytes.size();
    return true;
}

int ScanPdfWriter::beginObject()
{
    m_offsets.append(m_position);
    const int object = int(m_offsets.size());
    write(QByteArray::number(object) + " 0 obj\n");
    return object;
}

void ScanPdfWriter::endObject()
{
    write("endobj\n");
}

bool ScanPdfWriter::open(QString* error)
{
    if (!m_file.open())
        return failed(error);
    write("%PDF-1.4\n%\xe2\xe3\xcf\xd3\n");
    beginObject(); // 1: the catalog
    write("<< /Type /Catalog /Pages 2 0 R >>\n");
    endObject();
    m_offsets.append(-1); // 2: the page tree, written last when every page is known
    beginObject(); // 3: document information
    write("<< /Producer (Quillarc) /CreationDate (D:"
        + QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMddHHmmss")).toLatin1() + "Z)");
    if (!m_title.isEmpty())
        write(" /Title " + pdfTextString(m_title));
    write(" >>\n");
    endObject();
    return m_error.isEmpty() || failed(error);
}

bool ScanPdfWriter::beginPage(ScanLineAssembler::Kind kind, int width, int height, double dpi, QString* error)
{
    if (width <= 0 || height <= 0 || dpi <= 0) {
        m_error
            = QStringLiteral("a page of %1 x %2 pixels at %3 dpi cannot be written").arg(width).arg(height).arg(dpi);
        return failed(error);
    }
    const QByteArray pageWidth = number(width * 72.0 / dpi);
    const QByteArray pageHeight = number(height * 72.0 / dpi);
    const int page = int(m_offsets.size()) + 1;
    m_pageObjects.append(page);
    beginObject();
    write("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + pageWidth + ' ' + pageHeight
        + "]\n   /Resources << /XObject << /Im0 " + QByteArray::number(page + 2)
        + " 0 R >> /ProcSet [/PDF /ImageB /ImageC] >>\n   /Contents " + QByteArray::number(page + 1) + " 0 R >>\n");
    endObject();
    const QByteArray content = "q " + pageWidth + " 0 0 " + pageHeight + " 0 0 cm /Im0 Do Q\n";
    beginObject();
    write("<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content + "endstream\n");
    endObject();

    m_encoder = ScanImageEncoder::create(
        kind, [this](const char* data, qsizetype length) { return write(QByteArray::fromRawData(data, length)); });
    m_imageLengthObject = page + 3;
    beginObject();
    const QByteArray colours = kind == ScanLineAssembler::Kind::Rgb ? "/DeviceRGB" : "/DeviceGray";
    // Scanners mark black with a set bit; PDF's grey calls 0 black, hence the inverted decode.
    const QByteArray bits = kind == ScanLineAssembler::Kind::Lineart ? "1 /Decode [1 0]" : "8";
    write("<< /Type /XObject /Subtype /Image /Width " + QByteArray::number(width) + " /Height "
        + QByteArray::number(height) + " /ColorSpace " + colours + " /BitsPerComponent " + bits + " /Filter "
        + m_encoder->filter() + " /Length " + QByteArray::number(m_imageLengthObject) + " 0 R >>\nstream\n");
    m_linesLeft = height;
    if (!m_error.isEmpty() || !m_encoder->start(width, height, kind, m_quality)) {
        if (m_error.isEmpty())
            m_error = m_encoder->errorString();
        return failed(error);
    }
    return true;
}

bool ScanPdfWriter::writeLine(const unsigned char* line)
{
    if (!m_encoder || m_linesLeft <= 0 || !m_error.isEmpty())
        return false;
    --m_linesLeft;
    if (m_encoder->writeLine(line))
        return true;
    if (m_error.isEmpty())
        m_error = m_encoder->errorString();
    return false;
}

bool ScanPdfWriter::endPage(QString* error)
{
    if (!m_encoder || m_linesLeft != 0) {
        if (m_error.isEmpty())
            m_error = QStringLiteral("the page ended %1 lines early").arg(m_linesLeft);
        return failed(error);
    }
    if (!m_encoder->finish()) {
        if (m_error.isEmpty())
            m_error = m_encoder->errorString();
        return failed(error);
    }
    const qint64 length = m_encoder->written();
    m_encoder.reset();
    write("\nendstream\n");
    endObject();
    beginObject();
    write(QByteArray::number(length) + "\n");
    endObject();
    ++m_pageCount;
    return m_error.isEmpty() || failed(error);
}

bool ScanPdfWriter::finish(QString* error)
{
    if (m_encoder || m_pageCount == 0) {
        m_error = m_encoder ? QStringLiteral("a page is still open") : QStringLiteral("no page was scanned");
        return failed(error);
    }
    m_offsets[1] = m_position;
    QByteArray kids;
    for (int page : std::as_const(m_pageObjects))
        kids += QByteArray::number(page) + " 0 R ";
    write("2 0 obj\n<< /Type /Pages /Kids [" + kids.trimmed() + "] /Count " + QByteArray::number(m_pageCount)
        + " >>\nendobj\n");
    const qint64 xref = m_position;
    QByteArray table = "xref\n0 " + QByteArray::number(m_offsets.size() + 1) + "\n0000000000 65535 f \n";
    for (qint64 offset : std::as_const(m_offsets))
        table += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    write(table);
    write("trailer\n<< /Size " + QByteArray::number(m_offsets.size() + 1) + " /Root 1 0 R /Info 3 0 R >>\nstartxref\n"
        + QByteArray::number(xref) + "\n%%EOF\n");
    if (!m_error.isEmpty())
        return failed(error);
    // commit() syncs the file, renames it over the final name and syncs the folder.
    if (!m_file.commit())
        return failed(error);
    return true;
}

void ScanPdfWriter::discard()
{
    m_encoder.reset();
    m_file.discard();
}
