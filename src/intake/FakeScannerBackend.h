#pragma once

#include "intake/ScannerBackend.h"

#include <QMutex>

/// A scanner that exists only in memory, for the cases a real device rarely
/// shows on demand: a device that vanishes in the middle of a page, one that
/// refuses to start, a feeder that runs empty, a scan that stalls until it is
/// cancelled, data in chunks that do not follow line ends.
///
/// Pages are a fixed pattern, so what was scanned can be checked afterwards:
/// grey value (x + y) mod 256; colour (x, y, x + y) mod 256 per channel;
/// line art a checkerboard of 8-pixel squares, black where (x/8 + y/8) is odd.
/// The settings may be changed between scans from any thread.
class FakeScannerBackend : public ScannerBackend
{
public:
    enum class Failure {
        None,
        OpenFails, ///< the device cannot be opened
        StartFails, ///< starting a frame gives a device error
        DeviceGone, ///< reading fails after failAfterLines lines
        Stall ///< after failAfterLines lines no more data comes until cancel
    };

    FakeScannerBackend();

    void setDevices(const QList<ScannerDevice>& devices);
    void setFailure(Failure failure, int afterLines = 0);
    /// Page size in millimetres (default A4).
    void setPageSize(double widthMm, double heightMm);
    /// Bytes handed out per read at most (default 4096).
    void setChunkSize(int bytes);
    /// 16 bits per sample for grey and colour (reduced to 8 by the reader).
    void setSixteenBit(bool on);
    /// The device cannot tell the page height before the end (hand scanner).
    void setLinesUnknown(bool on);
    /// Pages in the feeder; the flatbed always has one.
    void setFeederPages(int pages);

    /// How often cancel() was called, and the device now open ("" when none).
    int cancelCount() const;
    QString openDeviceName() const;
    /// The settings of the last applySettings().
    ScanSettings lastSettings() const;

    bool listDevices(QList<ScannerDevice>* devices, QString* error) override;
    bool openDevice(const QString& name, QString* error) override;
    void closeDevice() override;
    bool readOptions(ScannerOptions* options, QString* error) override;
    bool applySettings(const ScanSettings& settings, QString* error) override;
    Status startFrame(ScanFrame* frame, QString* error) override;
    Status readData(unsigned char* buffer, int maxLength, int* length, QString* error) override;
    void cancel() override;

    /// The bytes of one line of the pattern in the frame's own layout.
    static QByteArray patternLine(const ScanFrame& frame, int y);

private:
    mutable QMutex m_lock;
    QList<ScannerDevice> m_devices;
    Failure m_failure = Failure::None;
    int m_failAfterLines = 0;
    double m_widthMm = 210;
    double m_heightMm = 297;
    int m_chunkSize = 4096;
    bool m_sixteenBit = false;
    bool m_linesUnknown = false;
    int m_feederPages = 3;

    QString m_openDevice;
    ScannerOptions m_options;
    ScanSettings m_lastSettings;
    int m_cancelCount = 0;
    int m_feederLeft = 0;
    bool m_running = false;
    ScanFrame m_frame;
    int m_totalLines = 0;
    qint64 m_offset = 0; ///< bytes of the frame handed out so far
};
