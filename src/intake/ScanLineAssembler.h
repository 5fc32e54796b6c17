#pragma once

#include "intake/ScannerBackend.h"

#include <QByteArray>
#include <functional>

/// Turns the bytes of one frame, in whatever chunks the device hands them
/// out, into whole image lines of one of three plain kinds: packed line art
/// (1 bit per pixel, a set bit is black, as scanners deliver it), 8-bit grey
/// or 8-bit RGB. 16-bit samples (in the machine's byte order) keep their high
/// byte; 1-bit colour becomes 0 or 255 per channel. Only one line is held.
class ScanLineAssembler
{
public:
    enum class Kind { Lineart, Gray, Rgb };

    /// Receives each finished line; returning false stops feeding.
    using LineSink = std::function<bool(const unsigned char* line)>;

    explicit ScanLineAssembler(const ScanFrame& frame);

    /// False for frames this class cannot read (separate colour passes, odd depths).
    bool isSupported() const { return m_supported; }
    Kind kind() const { return m_kind; }
    int width() const { return m_frame.pixelsPerLine; }
    /// Bytes of one output line.
    int lineBytes() const { return m_output.size(); }
    qint64 linesDone() const { return m_linesDone; }

    /// Adds bytes read from the device; false when the sink refused a line.
    bool feed(const unsigned char* data, int length, const LineSink& sink);

    /// A line that reads as blank paper in this kind.
    QByteArray whiteLine() const;
    /// The kind a frame turns into.
    static Kind kindOf(const ScanFrame& frame);

private:
    void convertLine();

    ScanFrame m_frame;
    Kind m_kind;
    bool m_supported;
    QByteArray m_input; ///< the line being filled, in the device's layout
    int m_filled = 0;
    QByteArray m_output;
    qint64 m_linesDone = 0;
};
