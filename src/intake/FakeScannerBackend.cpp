#include "intake/FakeScannerBackend.h"

#include <QMutexLocker>
#include <QThread>
#include <cmath>
#include <cstring>

namespace {
const QString feederSource = QStringLiteral("Automatic Document Feeder");
}

FakeScannerBackend::FakeScannerBackend()
{
    m_devices = { { QStringLiteral("fake:0"), QStringLiteral("Quillarc"), QStringLiteral("Test Flatbed"),
                      QStringLiteral("flatbed scanner") },
        { QStringLiteral("fake:1"), QStringLiteral("Quillarc"), QStringLiteral("Test Feeder"),
            QStringLiteral("sheetfed scanner") } };
    m_options.sources = { QStringLiteral("Flatbed"), feederSource };
    m_options.modes = { QStringLiteral("Lineart"), QStringLiteral("Gray"), QStringLiteral("Color") };
    m_options.resolutions = { 75, 150, 300, 600 };
    m_options.source = m_options.sources.first();
    m_options.mode = QStringLiteral("Gray");
    m_options.resolution = 150;
}

void FakeScannerBackend::setDevices(const QList<ScannerDevice>& devices)
{
    QMutexLocker locker(&m_lock);
    m_devices = devices;
}

void FakeScannerBackend::setFailure(Failure failure, int afterLines)
{
    QMutexLocker locker(&m_lock);
    m_failure = failure;
    m_failAfterLines = afterLines;
}

void FakeScannerBackend::setPageSize(double widthMm, double heightMm)
{
    QMutexLocker locker(&m_lock);
    m_widthMm = widthMm;
    m_heightMm = heightMm;
}

void FakeScannerBackend::setChunkSize(int bytes)
{
    QMutexLocker locker(&m_lock);
    m_chunkSize = std::max(1, bytes);
}

void FakeScannerBackend::setSixteenBit(bool on)
{
    QMutexLocker locker(&m_lock);
    m_sixteenBit = on;
}

void FakeScannerBackend::setLinesUnknown(bool on)
{
    QMutexLocker locker(&m_lock);
    m_linesUnknown = on;
}

void FakeScannerBackend::setFeederPages(int pages)
{
    QMutexLocker locker(&m_lock);
    m_feederPages = pages;
}

int FakeScannerBackend::cancelCount() const
{
    QMutexLocker locker(&m_lock);
    return m_cancelCount;
}

QString FakeScannerBackend::openDeviceName() const
{
    QMutexLocker locker(&m_lock);
    return m_openDevice;
}

ScanSettings FakeScannerBackend::lastSettings() const
{
    QMutexLocker locker(&m_lock);
    return m_lastSettings;
}

bool FakeScannerBackend::listDevices(QList<ScannerDevice>* devices, QString*)
{
    QMutexLocker locker(&m_lock);
    *devices = m_devices;
    return true;
}

bool FakeScannerBackend::openDevice(const QString& name, QString* error)
{
    QMutexLocker locker(&m_lock);
    const bool known = std::any_of(m_devices.begin(), m_devices.end(), [&](const ScannerDevice& d) { return d.name == name; });
    if (!known || m_failure == Failure::OpenFails) {
        *error = QStringLiteral("%1: Invalid argument").arg(name);
        return false;
    }
    m_openDevice = name;
    m_feederLeft = m_feederPages;
    m_running = false;
    return true;
}

void FakeScannerBackend::closeDevice()
{
    QMutexLocker locker(&m_lock);
    m_openDevice.clear();
    m_running = false;
}

bool FakeScannerBackend::readOptions(ScannerOptions* options, QString* error)
{
    QMutexLocker locker(&m_lock);
    if (m_openDevice.isEmpty()) {
        *error = QStringLiteral("no scanner is open");
        return false;
    }
    *options = m_options;
    return true;
}

bool FakeScannerBackend::applySettings(const ScanSettings& settings, QString* error)
{
    QMutexLocker locker(&m_lock);
    if ((!settings.mode.isEmpty() && !m_options.modes.contains(settings.mode))
        || (!settings.source.isEmpty() && !m_options.sources.contains(settings.source))) {
        *error = QStringLiteral("%1 does not offer that setting").arg(m_openDevice);
        return false;
    }
    m_lastSettings = settings;
    if (!settings.mode.isEmpty())
        m_options.mode = settings.mode;
    if (!settings.source.isEmpty())
        m_options.source = settings.source;
    if (settings.resolution > 0)
        m_options.resolution = settings.resolution;
    return true;
}

ScannerBackend::Status FakeScannerBackend::startFrame(ScanFrame* frame, QString* error)
{
    QMutexLocker locker(&m_lock);
    if (m_openDevice.isEmpty()) {
        *error = QStringLiteral("no scanner is open");
        return Status::Failed;
    }
    if (m_failure == Failure::StartFails) {
        *error = QStringLiteral("%1: Document feeder jammed").arg(m_openDevice);
        return Status::Failed;
    }
    if (m_options.source == feederSource && m_feederLeft-- <= 0) {
        *error = QStringLiteral("%1: Document feeder out of documents").arg(m_openDevice);
        return Status::NoDocuments;
    }
    ScanFrame f;
    const double dpi = m_options.resolution;
    f.resolution = dpi;
    f.pixelsPerLine = int(std::lround(m_widthMm / 25.4 * dpi));
    m_totalLines = int(std::lround(m_heightMm / 25.4 * dpi));
    f.lines = m_linesUnknown ? -1 : m_totalLines;
    const bool lineart = m_options.mode == QLatin1String("Lineart");
    f.format = m_options.mode == QLatin1String("Color") ? ScanFrame::Format::Rgb : ScanFrame::Format::Gray;
    f.depth = lineart ? 1 : (m_sixteenBit ? 16 : 8);
    const int channels = f.format == ScanFrame::Format::Rgb ? 3 : 1;
    f.bytesPerLine = lineart ? (f.pixelsPerLine + 7) / 8 : f.pixelsPerLine * channels * f.depth / 8;
    m_frame = f;
    m_offset = 0;
    m_running = true;
    *frame = f;
    return Status::Ok;
}

ScannerBackend::Status FakeScannerBackend::readData(unsigned char* buffer, int maxLength, int* length, QString* error)
{
    *length = 0;
    QMutexLocker locker(&m_lock);
    if (!m_running)
        return Status::Cancelled;
    const qint64 total = qint64(m_frame.bytesPerLine) * m_totalLines;
    const qint64 limit = qint64(m_frame.bytesPerLine) * m_failAfterLines;
    if (m_failure == Failure::DeviceGone && m_offset >= limit) {
        *error = QStringLiteral("%1: Error during device I/O").arg(m_openDevice);
        m_running = false;
        return Status::Failed;
    }
    if (m_failure == Failure::Stall && m_offset >= limit) {
        // Nothing arrives; the reader is expected to notice a cancel in between.
        locker.unlock();
        QThread::msleep(2);
        return Status::Ok;
    }
    if (m_offset >= total)
        return Status::EndOfFrame;
    qint64 end = std::min({ total, m_offset + std::min(maxLength, m_chunkSize) });
    if ((m_failure == Failure::DeviceGone || m_failure == Failure::Stall) && m_offset < limit)
        end = std::min(end, limit);
    qint64 written = 0;
    while (m_offset < end) {
        const int y = int(m_offset / m_frame.bytesPerLine);
        const int x = int(m_offset % m_frame.bytesPerLine);
        const QByteArray line = patternLine(m_frame, y);
        const int n = int(std::min<qint64>(line.size() - x, end - m_offset));
        std::memcpy(buffer + written, line.constData() + x, size_t(n));
        written += n;
        m_offset += n;
    }
    *length = int(written);
    return Status::Ok;
}

void FakeScannerBackend::cancel()
{
    QMutexLocker locker(&m_lock);
    ++m_cancelCount;
    m_running = false;
}

QByteArray FakeScannerBackend::patternLine(const ScanFrame& frame, int y)
{
    QByteArray line(frame.bytesPerLine, '\0');
    auto* bytes = reinterpret_cast<unsigned char*>(line.data());
    if (frame.depth == 1) {
        for (int x = 0; x < frame.pixelsPerLine; ++x) {
            if ((x / 8 + y / 8) % 2)
                bytes[x / 8] |= 0x80 >> (x % 8);
        }
        return line;
    }
    const int channels = frame.format == ScanFrame::Format::Rgb ? 3 : 1;
    for (int x = 0; x < frame.pixelsPerLine; ++x) {
        const int values[3] = { x % 256, y % 256, (x + y) % 256 };
        for (int c = 0; c < channels; ++c) {
            const int value = channels == 1 ? values[2] : values[c];
            if (frame.depth == 16) {
                // A low byte unlike the high one, so reading the wrong byte shows.
                const quint16 sample = quint16(value << 8 | (255 - value));
                std::memcpy(bytes + (x * channels + c) * 2, &sample, 2); // the machine's own byte order
            } else {
                bytes[x * channels + c] = uchar(value);
            }
        }
    }
    return line;
}
