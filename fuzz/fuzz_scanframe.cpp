// Scanner data is outside input: a driver states a frame's shape, then hands
// out bytes in chunks of any size, and may stop early or send too much. The
// first eight bytes choose the shape, the rest is the frame's data; both an
// overview and a PDF are made from it.
#include "intake/ScanSession.h"

#include <QByteArray>
#include <QDir>
#include <QTemporaryDir>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace {

class ReplayBackend : public ScannerBackend
{
public:
    ReplayBackend(const ScanFrame& frame, QByteArray data, int chunk)
        : m_frame(frame)
        , m_data(std::move(data))
        , m_chunk(chunk)
    {
    }

    bool listDevices(QList<ScannerDevice>* devices, QString*) override
    {
        *devices = { { QStringLiteral("replay:0"), {}, {}, {} } };
        return true;
    }
    bool openDevice(const QString&, QString*) override
    {
        m_offset = 0;
        m_started = false;
        return true;
    }
    void closeDevice() override { }
    bool readOptions(ScannerOptions* options, QString*) override
    {
        options->resolutions = { int(m_frame.resolution) };
        return true;
    }
    bool applySettings(const ScanSettings&, QString*) override { return true; }
    Status startFrame(ScanFrame* frame, QString*) override
    {
        if (m_started)
            return Status::NoDocuments;
        m_started = true;
        *frame = m_frame;
        return Status::Ok;
    }
    Status readData(unsigned char* buffer, int maxLength, int* length, QString*) override
    {
        *length = int(std::min<qsizetype>({ qsizetype(maxLength), qsizetype(m_chunk), m_data.size() - m_offset }));
        if (*length <= 0)
            return Status::EndOfFrame;
        std::memcpy(buffer, m_data.constData() + m_offset, size_t(*length));
        m_offset += *length;
        return Status::Ok;
    }
    void cancel() override { }

private:
    ScanFrame m_frame;
    QByteArray m_data;
    int m_chunk;
    qsizetype m_offset = 0;
    bool m_started = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 8)
        return 0;
    // Finished PDFs are synced to disk: a memory-backed folder keeps runs fast.
    static QTemporaryDir folder(QDir(QStringLiteral("/dev/shm")).exists() ? QStringLiteral("/dev/shm/fuzz-scanframe-XXXXXX")
                                                                          : QDir::tempPath() + QStringLiteral("/fuzz-scanframe-XXXXXX"));
    static const ScanFrame::Format formats[] = { ScanFrame::Format::Gray, ScanFrame::Format::Rgb,
        ScanFrame::Format::Red, ScanFrame::Format::Gray };
    static const int depths[] = { 1, 8, 16, 8, 4 };
    ScanFrame frame;
    frame.format = formats[data[0] % 4];
    frame.depth = depths[data[1] % 5];
    frame.pixelsPerLine = (data[2] | (data[3] & 0x03) << 8); // up to 1023, 0 included
    const int channels = frame.format == ScanFrame::Format::Rgb ? 3 : 1;
    const int needed = (frame.pixelsPerLine * channels * frame.depth + 7) / 8;
    frame.bytesPerLine = needed + int(data[4] % 4) - 1; // one byte short up to two bytes of padding
    frame.lines = data[5] == 0xff ? -1 : data[5];
    frame.resolution = data[6] % 2 ? 75 : 0.5 * data[6];
    const int chunk = 1 + data[7] * 7;
    ReplayBackend backend(frame, QByteArray(reinterpret_cast<const char*>(data + 8), qsizetype(size - 8)), chunk);
    ScanSession session(backend);
    QImage overview;
    session.scanPreview(QStringLiteral("replay:0"), {}, &overview);
    const QString pdf = QDir(folder.path()).filePath(QStringLiteral("scan.pdf"));
    session.scanDocument(QStringLiteral("replay:0"), {}, pdf, 0);
    QFile::remove(pdf);
    return 0;
}
