#include "intake/ScanPdfWriter.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <csetjmp>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <unistd.h>

// libjpeg's header needs size_t and FILE declared first.
#include <jpeglib.h>
#include <zlib.h>

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

bool syncFolder(const QString& path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool synced = ::fsync(fd) == 0;
    ::close(fd);
    return synced;
}

} // namespace

/// Compresses one page image into the PDF as its lines arrive.
struct ScanPdfWriter::ImageEncoder
{
    using Output = std::function<bool(const char* data, qsizetype length)>;
    virtual ~ImageEncoder() = default;
    virtual bool start(int width, int height, ScanLineAssembler::Kind kind, int quality) = 0;
    virtual bool writeLine(const unsigned char* line) = 0;
    virtual bool finish() = 0;
    virtual QByteArray filter() const = 0;

    Output output;
    qint64 written = 0; ///< compressed bytes handed to output
    QString error;

protected:
    bool send(const char* data, qsizetype length)
    {
        written += length;
        if (output(data, length))
            return true;
        error = QStringLiteral("write failed");
        return false;
    }
};

namespace {

/// Grey and colour pages: baseline JPEG through libjpeg.
class JpegEncoder : public ScanPdfWriter::ImageEncoder
{
public:
    JpegEncoder()
    {
        m_compress.err = jpeg_std_error(&m_errors.manager);
        m_errors.manager.error_exit = &JpegEncoder::onError;
        m_compress.client_data = this;
        m_destination.init_destination = &JpegEncoder::initDestination;
        m_destination.empty_output_buffer = &JpegEncoder::emptyBuffer;
        m_destination.term_destination = &JpegEncoder::termDestination;
    }
    ~JpegEncoder() override
    {
        if (m_created)
            jpeg_destroy_compress(&m_compress);
    }

    QByteArray filter() const override { return "/DCTDecode"; }

    // libjpeg reports errors by a jump back here; nothing with a destructor
    // lives between the setjmp and the library calls.
    bool start(int width, int height, ScanLineAssembler::Kind kind, int quality) override
    {
        if (setjmp(m_errors.jump))
            return failed();
        jpeg_create_compress(&m_compress);
        m_created = true;
        m_compress.dest = &m_destination;
        m_compress.image_width = JDIMENSION(width);
        m_compress.image_height = JDIMENSION(height);
        m_compress.input_components = kind == ScanLineAssembler::Kind::Rgb ? 3 : 1;
        m_compress.in_color_space = kind == ScanLineAssembler::Kind::Rgb ? JCS_RGB : JCS_GRAYSCALE;
        jpeg_set_defaults(&m_compress);
        jpeg_set_quality(&m_compress, quality, TRUE);
        jpeg_start_compress(&m_compress, TRUE);
        return !m_writeFailed;
    }

    bool writeLine(const unsigned char* line) override
    {
        if (setjmp(m_errors.jump))
            return failed();
        JSAMPROW row = const_cast<JSAMPROW>(line);
        jpeg_write_scanlines(&m_compress, &row, 1);
        return !m_writeFailed;
    }

    bool finish() override
    {
        if (setjmp(m_errors.jump))
            return failed();
        jpeg_finish_compress(&m_compress);
        return !m_writeFailed;
    }

private:
    struct Errors
    {
        jpeg_error_mgr manager;
        std::jmp_buf jump;
    };

    static JpegEncoder* self(j_common_ptr info) { return static_cast<JpegEncoder*>(info->client_data); }
    static JpegEncoder* self(j_compress_ptr info) { return static_cast<JpegEncoder*>(info->client_data); }

    static void onError(j_common_ptr info)
    {
        char message[JMSG_LENGTH_MAX];
        (*info->err->format_message)(info, message);
        JpegEncoder* encoder = self(info);
        encoder->m_message = message;
        std::longjmp(encoder->m_errors.jump, 1);
    }
    static void initDestination(j_compress_ptr info)
    {
        JpegEncoder* encoder = self(info);
        info->dest->next_output_byte = encoder->m_buffer;
        info->dest->free_in_buffer = sizeof(encoder->m_buffer);
    }
    static boolean emptyBuffer(j_compress_ptr info)
    {
        JpegEncoder* encoder = self(info);
        // A failed write is remembered and checked after the call; the buffer is reused meanwhile.
        if (!encoder->m_writeFailed && !encoder->send(reinterpret_cast<const char*>(encoder->m_buffer), sizeof(encoder->m_buffer)))
            encoder->m_writeFailed = true;
        initDestination(info);
        return TRUE;
    }
    static void termDestination(j_compress_ptr info)
    {
        JpegEncoder* encoder = self(info);
        const qsizetype left = qsizetype(sizeof(encoder->m_buffer) - info->dest->free_in_buffer);
        if (!encoder->m_writeFailed && left > 0 && !encoder->send(reinterpret_cast<const char*>(encoder->m_buffer), left))
            encoder->m_writeFailed = true;
    }

    bool failed()
    {
        error = QStringLiteral("JPEG compression failed: %1").arg(QString::fromLatin1(m_message));
        return false;
    }

    jpeg_compress_struct m_compress {};
    Errors m_errors {};
    jpeg_destination_mgr m_destination {};
    bool m_created = false;
    bool m_writeFailed = false;
    const char* m_message = "";
    unsigned char m_buffer[64 * 1024];
};

/// Line art: one bit per pixel, deflated.
class FlateEncoder : public ScanPdfWriter::ImageEncoder
{
public:
    ~FlateEncoder() override
    {
        if (m_started)
            deflateEnd(&m_stream);
    }
    QByteArray filter() const override { return "/FlateDecode"; }

    bool start(int width, int, ScanLineAssembler::Kind, int) override
    {
        m_lineBytes = (width + 7) / 8;
        m_started = deflateInit(&m_stream, Z_DEFAULT_COMPRESSION) == Z_OK;
        if (!m_started)
            error = QStringLiteral("deflate could not start");
        return m_started;
    }
    bool writeLine(const unsigned char* line) override
    {
        m_stream.next_in = const_cast<Bytef*>(line);
        m_stream.avail_in = uInt(m_lineBytes);
        return pump(Z_NO_FLUSH);
    }
    bool finish() override { return pump(Z_FINISH); }

private:
    bool pump(int flush)
    {
        int status = Z_OK;
        do {
            m_stream.next_out = m_buffer;
            m_stream.avail_out = sizeof(m_buffer);
            status = deflate(&m_stream, flush);
            if (status == Z_STREAM_ERROR) {
                error = QStringLiteral("deflate failed");
                return false;
            }
            const qsizetype produced = qsizetype(sizeof(m_buffer) - m_stream.avail_out);
            if (produced > 0 && !send(reinterpret_cast<const char*>(m_buffer), produced))
                return false;
        } while (m_stream.avail_out == 0 || (flush == Z_FINISH && status != Z_STREAM_END));
        return true;
    }

    z_stream m_stream {};
    bool m_started = false;
    int m_lineBytes = 0;
    unsigned char m_buffer[64 * 1024];
};

} // namespace

ScanPdfWriter::ScanPdfWriter(const QString& path)
    : m_path(path)
    , m_file(path)
{
    // Never fall back to writing the final name directly.
    m_file.setDirectWriteFallback(false);
}

ScanPdfWriter::~ScanPdfWriter()
{
    discard();
}

bool ScanPdfWriter::failed(QString* error)
{
    if (m_error.isEmpty())
        m_error = m_file.errorString();
    *error = QStringLiteral("%1: %2").arg(m_path, m_error);
    discard();
    return false;
}

bool ScanPdfWriter::write(const QByteArray& bytes)
{
    if (!m_error.isEmpty())
        return false;
    if (m_file.write(bytes) != bytes.size()) {
        m_error = m_file.errorString();
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
    if (!m_file.open(QIODevice::WriteOnly))
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
        m_error = QStringLiteral("a page of %1 x %2 pixels at %3 dpi cannot be written").arg(width).arg(height).arg(dpi);
        return failed(error);
    }
    const QByteArray pageWidth = number(width * 72.0 / dpi);
    const QByteArray pageHeight = number(height * 72.0 / dpi);
    const int page = int(m_offsets.size()) + 1;
    m_pageObjects.append(page);
    beginObject();
    write("<< /Type /Page /Parent 2 0 R /MediaBox [0 0 " + pageWidth + ' ' + pageHeight + "]\n   /Resources << /XObject << /Im0 "
        + QByteArray::number(page + 2) + " 0 R >> /ProcSet [/PDF /ImageB /ImageC] >>\n   /Contents "
        + QByteArray::number(page + 1) + " 0 R >>\n");
    endObject();
    const QByteArray content = "q " + pageWidth + " 0 0 " + pageHeight + " 0 0 cm /Im0 Do Q\n";
    beginObject();
    write("<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content + "endstream\n");
    endObject();

    if (kind == ScanLineAssembler::Kind::Lineart)
        m_encoder = std::make_unique<FlateEncoder>();
    else
        m_encoder = std::make_unique<JpegEncoder>();
    m_encoder->output = [this](const char* data, qsizetype length) { return write(QByteArray::fromRawData(data, length)); };
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
            m_error = m_encoder->error;
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
        m_error = m_encoder->error;
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
            m_error = m_encoder->error;
        return failed(error);
    }
    const qint64 length = m_encoder->written;
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
    // commit() flushes, syncs the file and renames it over the final name.
    if (!m_file.commit())
        return failed(error);
    if (!syncFolder(QFileInfo(m_path).absolutePath())) {
        *error = QStringLiteral("%1: the folder could not be flushed to disk").arg(QFileInfo(m_path).absolutePath());
        return false;
    }
    return true;
}

void ScanPdfWriter::discard()
{
    m_encoder.reset();
    if (m_file.isOpen())
        m_file.cancelWriting();
    // Closing a cancelled save file removes its temporary file.
    if (m_file.isOpen())
        m_file.commit();
}
