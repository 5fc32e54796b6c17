#include "intake/ScanLineAssembler.h"

#include <cstring>

ScanLineAssembler::ScanLineAssembler(const ScanFrame& frame)
    : m_frame(frame)
    , m_kind(kindOf(frame))
{
    const bool wholeFrame = frame.format == ScanFrame::Format::Gray || frame.format == ScanFrame::Format::Rgb;
    const int channels = frame.format == ScanFrame::Format::Rgb ? 3 : 1;
    const qint64 needed = (qint64(frame.pixelsPerLine) * channels * frame.depth + 7) / 8;
    m_supported = wholeFrame && (frame.depth == 1 || frame.depth == 8 || frame.depth == 16)
        && frame.pixelsPerLine > 0 && frame.bytesPerLine >= needed;
    if (!m_supported)
        return;
    m_input.resize(frame.bytesPerLine);
    const int width = frame.pixelsPerLine;
    m_output.resize(m_kind == Kind::Lineart ? (width + 7) / 8 : width * (m_kind == Kind::Rgb ? 3 : 1));
}

ScanLineAssembler::Kind ScanLineAssembler::kindOf(const ScanFrame& frame)
{
    if (frame.format == ScanFrame::Format::Rgb)
        return Kind::Rgb;
    return frame.depth == 1 ? Kind::Lineart : Kind::Gray;
}

QByteArray ScanLineAssembler::whiteLine() const
{
    return QByteArray(m_output.size(), m_kind == Kind::Lineart ? '\0' : '\xff');
}

bool ScanLineAssembler::feed(const unsigned char* data, int length, const LineSink& sink)
{
    if (!m_supported)
        return false;
    while (length > 0) {
        const int n = std::min(length, int(m_input.size()) - m_filled);
        std::memcpy(m_input.data() + m_filled, data, size_t(n));
        m_filled += n;
        data += n;
        length -= n;
        if (m_filled < m_input.size())
            break;
        m_filled = 0;
        convertLine();
        ++m_linesDone;
        if (!sink(reinterpret_cast<const unsigned char*>(m_output.constData())))
            return false;
    }
    return true;
}

void ScanLineAssembler::convertLine()
{
    const auto* in = reinterpret_cast<const unsigned char*>(m_input.constData());
    auto* out = reinterpret_cast<unsigned char*>(m_output.data());
    const int width = m_frame.pixelsPerLine;
    const int samples = width * (m_kind == Kind::Rgb ? 3 : 1);
    switch (m_frame.depth) {
    case 1:
        if (m_kind == Kind::Lineart) {
            std::memcpy(out, in, size_t(m_output.size()));
            // Bits past the last pixel are padding: keep them white.
            if (width % 8)
                out[m_output.size() - 1] &= uchar(0xff << (8 - width % 8));
        } else {
            for (int i = 0; i < samples; ++i)
                out[i] = (in[i / 8] & (0x80 >> (i % 8))) ? 255 : 0;
        }
        break;
    case 8:
        std::memcpy(out, in, size_t(samples));
        break;
    case 16:
        for (int i = 0; i < samples; ++i) {
            quint16 sample;
            std::memcpy(&sample, in + 2 * i, 2);
            out[i] = uchar(sample >> 8);
        }
        break;
    }
}
