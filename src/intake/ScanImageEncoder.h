#pragma once

#include "intake/ScanLineAssembler.h"

#include <QByteArray>
#include <QString>
#include <functional>
#include <memory>

/// Compresses one page image line by line as the lines arrive and hands the
/// compressed bytes on at once: baseline JPEG (libjpeg) for grey and colour,
/// deflate (zlib) at one bit per pixel for line art. Only the encoder's own
/// buffers stay in memory.
class ScanImageEncoder
{
public:
    /// Receives compressed bytes; returning false marks a failed write.
    using Output = std::function<bool(const char* data, qsizetype length)>;

    /// The encoder for pages of this kind.
    static std::unique_ptr<ScanImageEncoder> create(ScanLineAssembler::Kind kind, Output output);
    virtual ~ScanImageEncoder();

    virtual bool start(int width, int height, ScanLineAssembler::Kind kind, int quality) = 0;
    virtual bool writeLine(const unsigned char* line) = 0;
    virtual bool finish() = 0;
    /// The PDF filter that decodes the output, e.g. "/DCTDecode".
    virtual QByteArray filter() const = 0;

    /// Compressed bytes handed on so far.
    qint64 written() const { return m_written; }
    QString errorString() const { return m_error; }

protected:
    explicit ScanImageEncoder(Output output);
    bool send(const char* data, qsizetype length);

    QString m_error;

private:
    Output m_output;
    qint64 m_written = 0;
};
