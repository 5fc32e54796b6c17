#include "intake/ScanSession.h"

#include "intake/ScanLineAssembler.h"
#include "intake/ScanPdfWriter.h"
#include "text/KVLocalizationDictionary.h"
#include "text/Logging.h"
#include "text/StringHelpers.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryFile>
#include <cstring>

namespace {
constexpr int readBufferSize = 64 * 1024;
constexpr int overviewDpi = 75;
} // namespace

ScanSession::ScanSession(ScannerBackend& backend)
    : m_backend(backend)
{
}

int ScanSession::previewResolution(const ScannerOptions& options)
{
    if (options.resolutions.isEmpty())
        return 0;
    return *std::min_element(options.resolutions.begin(), options.resolutions.end(),
        [](int a, int b) { return std::abs(a - overviewDpi) < std::abs(b - overviewDpi); });
}

bool ScanSession::isFeeder(const QString& source)
{
    for (const char* word : { "adf", "feeder", "duplex", "automatic" }) {
        if (source.contains(QLatin1String(word), Qt::CaseInsensitive))
            return true;
    }
    return false;
}

QString ScanSession::scanFilePath(const QString& folder, const QString& title)
{
    QString name = allowedPathString(title).trimmed();
    while (name.startsWith(QLatin1Char('.'))) // never a hidden file
        name.remove(0, 1);
    if (name.isEmpty())
        name = localizedString(QStringLiteral("Untitled"));
    const QDir dir(folder);
    QString path = dir.filePath(name + QStringLiteral(".pdf"));
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = dir.filePath(QStringLiteral("%1 %2.pdf").arg(name).arg(n));
    return path;
}

ScanSession::Result ScanSession::finish(Result result)
{
    m_backend.cancel();
    m_backend.closeDevice();
    return result;
}

ScanSession::Result ScanSession::open(const QString& deviceName, const ScanSettings* settings)
{
    m_errorString.clear();
    m_pageCount = 0;
    if (!m_backend.openDevice(deviceName, &m_errorString))
        return Result::NoScanner;
    if (settings && !m_backend.applySettings(*settings, &m_errorString))
        return finish(Result::Failed);
    return Result::Finished;
}

ScanSession::Result ScanSession::readDeviceOptions(const QString& deviceName, ScannerOptions* options)
{
    const Result opened = open(deviceName, nullptr);
    if (opened != Result::Finished)
        return opened;
    return finish(m_backend.readOptions(options, &m_errorString) ? Result::Finished : Result::Failed);
}

ScanSession::Result ScanSession::readFrame(const ScanFrame& frame, ScanLineAssembler& assembler,
    const std::function<bool(const unsigned char*)>& sink, int page)
{
    if (!assembler.isSupported()) {
        m_errorString = QStringLiteral("the scanner sends %1 frames of depth %2, which cannot be read")
                            .arg(frame.format == ScanFrame::Format::Gray || frame.format == ScanFrame::Format::Rgb
                                    ? QStringLiteral("whole")
                                    : QStringLiteral("single-colour"))
                            .arg(frame.depth);
        return Result::Failed;
    }
    QByteArray buffer(std::max(readBufferSize, frame.bytesPerLine), '\0');
    auto* data = reinterpret_cast<unsigned char*>(buffer.data());
    int lastPercent = -2;
    for (;;) {
        if (interrupted())
            return Result::Cancelled;
        int length = 0;
        const ScannerBackend::Status status = m_backend.readData(data, int(buffer.size()), &length, &m_errorString);
        switch (status) {
        case ScannerBackend::Status::Ok:
            if (!assembler.feed(data, length, sink))
                return Result::Failed;
            break;
        case ScannerBackend::Status::EndOfFrame:
            return Result::Finished;
        case ScannerBackend::Status::Cancelled:
            return Result::Cancelled;
        case ScannerBackend::Status::NoDocuments:
        case ScannerBackend::Status::Failed:
            return Result::Failed;
        }
        const int percent
            = frame.lines > 0 ? int(std::min<qint64>(100, assembler.linesDone() * 100 / frame.lines)) : -1;
        if (percent != lastPercent && m_progress) {
            m_progress(page, percent);
            lastPercent = percent;
        }
    }
}

ScanSession::Result ScanSession::scanPage(const ScanFrame& frame, ScanPdfWriter& writer, int page)
{
    ScanLineAssembler assembler(frame);
    if (frame.lines >= 0) {
        if (assembler.isSupported()
            && !writer.beginPage(assembler.kind(), assembler.width(), frame.lines, frame.resolution, &m_errorString))
            return Result::Failed;
        qint64 lines = 0;
        const Result read = readFrame(
            frame, assembler,
            [&](const unsigned char* line) {
                // Lines past the promised height are dropped; the page size is already written.
                return ++lines > frame.lines || writer.writeLine(line);
            },
            page);
        if (read != Result::Finished) {
            if (read == Result::Failed && m_errorString.isEmpty())
                m_errorString = QStringLiteral("the PDF could not be written to %1").arg(writer.path());
            return read;
        }
        if (lines != frame.lines)
            qCInfo(lcQuillarc).noquote() << QStringLiteral("scanner sent %1 of %2 lines").arg(lines).arg(frame.lines);
        const QByteArray white = assembler.whiteLine();
        for (; lines < frame.lines; ++lines)
            writer.writeLine(reinterpret_cast<const unsigned char*>(white.constData()));
        return writer.endPage(&m_errorString) ? Result::Finished : Result::Failed;
    }

    // The height comes only with the last line: lines wait in a temporary file, not in memory.
    QTemporaryFile spool;
    if (!spool.open()) {
        m_errorString = QStringLiteral("%1: %2").arg(spool.fileTemplate(), spool.errorString());
        return Result::Failed;
    }
    const int lineBytes = assembler.isSupported() ? assembler.lineBytes() : 0;
    const Result read = readFrame(
        frame, assembler,
        [&](const unsigned char* line) {
            return spool.write(reinterpret_cast<const char*>(line), lineBytes) == lineBytes;
        },
        page);
    if (read != Result::Finished) {
        if (read == Result::Failed && m_errorString.isEmpty())
            m_errorString = QStringLiteral("%1: %2").arg(spool.fileName(), spool.errorString());
        return read;
    }
    const int height = int(assembler.linesDone());
    if (!spool.seek(0)
        || !writer.beginPage(assembler.kind(), assembler.width(), height, frame.resolution, &m_errorString))
        return Result::Failed;
    QByteArray line(lineBytes, '\0');
    for (int y = 0; y < height; ++y) {
        if (spool.read(line.data(), lineBytes) != lineBytes
            || !writer.writeLine(reinterpret_cast<const unsigned char*>(line.constData()))) {
            m_errorString = QStringLiteral("the scanned lines could not be read back from %1").arg(spool.fileName());
            return Result::Failed;
        }
    }
    return writer.endPage(&m_errorString) ? Result::Finished : Result::Failed;
}

ScanSession::Result ScanSession::scanDocument(
    const QString& deviceName, const ScanSettings& settings, const QString& pdfPath, int maxPages, const QString& title)
{
    const Result opened = open(deviceName, &settings);
    if (opened != Result::Finished)
        return opened;
    ScanPdfWriter writer(pdfPath);
    writer.setTitle(title);
    if (!writer.open(&m_errorString))
        return finish(Result::Failed);
    for (int page = 1; maxPages <= 0 || page <= maxPages; ++page) {
        if (interrupted())
            return finish(Result::Cancelled);
        ScanFrame frame;
        const ScannerBackend::Status started = m_backend.startFrame(&frame, &m_errorString);
        if (started == ScannerBackend::Status::NoDocuments && page > 1) {
            m_errorString.clear();
            break; // the feeder ran empty after the last page
        }
        if (started == ScannerBackend::Status::NoDocuments)
            return finish(Result::NoDocuments);
        if (started != ScannerBackend::Status::Ok)
            return finish(started == ScannerBackend::Status::Cancelled ? Result::Cancelled : Result::Failed);
        const Result scanned = scanPage(frame, writer, page);
        if (scanned != Result::Finished)
            return finish(scanned);
        m_pageCount = writer.pageCount();
    }
    finish(Result::Finished);
    return writer.finish(&m_errorString) ? Result::Finished : Result::Failed;
}

ScanSession::Result ScanSession::scanPreview(const QString& deviceName, ScanSettings settings, QImage* image)
{
    *image = QImage();
    Result opened = open(deviceName, nullptr);
    if (opened != Result::Finished)
        return opened;
    ScannerOptions options;
    if (!m_backend.readOptions(&options, &m_errorString))
        return finish(Result::Failed);
    settings.preview = true;
    settings.resolution = previewResolution(options);
    if (!m_backend.applySettings(settings, &m_errorString))
        return finish(Result::Failed);
    ScanFrame frame;
    const ScannerBackend::Status started = m_backend.startFrame(&frame, &m_errorString);
    if (started != ScannerBackend::Status::Ok)
        return finish(started == ScannerBackend::Status::NoDocuments ? Result::NoDocuments
                : started == ScannerBackend::Status::Cancelled       ? Result::Cancelled
                                                                     : Result::Failed);
    ScanLineAssembler assembler(frame);
    const bool colour = assembler.kind() == ScanLineAssembler::Kind::Rgb;
    QImage overview(std::max(1, frame.pixelsPerLine), frame.lines > 0 ? frame.lines : 256,
        colour ? QImage::Format_RGB888 : QImage::Format_Grayscale8);
    overview.fill(Qt::white);
    int y = 0;
    const Result read = readFrame(
        frame, assembler,
        [&](const unsigned char* line) {
            if (y >= overview.height()) {
                if (frame.lines > 0)
                    return true; // more than promised: not shown
                overview = overview.copy(0, 0, overview.width(), overview.height() * 2);
            }
            uchar* row = overview.scanLine(y++);
            if (assembler.kind() == ScanLineAssembler::Kind::Lineart) {
                for (int x = 0; x < assembler.width(); ++x)
                    row[x] = (line[x / 8] & (0x80 >> (x % 8))) ? 0 : 255;
            } else {
                std::memcpy(row, line, size_t(assembler.lineBytes()));
            }
            return true;
        },
        1);
    if (read != Result::Finished)
        return finish(read);
    if (frame.lines <= 0)
        overview = overview.copy(0, 0, overview.width(), std::max(1, y));
    *image = overview;
    // The image's own resolution lets a viewer show it at paper size.
    if (frame.resolution > 0) {
        image->setDotsPerMeterX(int(frame.resolution / 0.0254));
        image->setDotsPerMeterY(int(frame.resolution / 0.0254));
    }
    return finish(Result::Finished);
}
