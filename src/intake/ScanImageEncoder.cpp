#include "intake/ScanImageEncoder.h"

#include <csetjmp>
#include <cstdio>

// libjpeg's header needs size_t and FILE declared first.
#include <jpeglib.h>
#include <zlib.h>

ScanImageEncoder::ScanImageEncoder(Output output)
    : m_output(std::move(output))
{
}

ScanImageEncoder::~ScanImageEncoder() = default;

bool ScanImageEncoder::send(const char* data, qsizetype length)
{
    m_written += length;
    if (m_output(data, length))
        return true;
    m_error = QStringLiteral("write failed");
    return false;
}

namespace {

/// Grey and colour pages: baseline JPEG through libjpeg.
class JpegEncoder : public ScanImageEncoder
{
public:
    explicit JpegEncoder(Output output)
        : ScanImageEncoder(std::move(output))
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
        m_error = QStringLiteral("JPEG compression failed: %1").arg(QString::fromLatin1(m_message));
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
class FlateEncoder : public ScanImageEncoder
{
public:
    explicit FlateEncoder(Output output)
        : ScanImageEncoder(std::move(output))
    {
    }
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
            m_error = QStringLiteral("deflate could not start");
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
                m_error = QStringLiteral("deflate failed");
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

std::unique_ptr<ScanImageEncoder> ScanImageEncoder::create(ScanLineAssembler::Kind kind, Output output)
{
    if (kind == ScanLineAssembler::Kind::Lineart)
        return std::make_unique<FlateEncoder>(std::move(output));
    return std::make_unique<JpegEncoder>(std::move(output));
}
