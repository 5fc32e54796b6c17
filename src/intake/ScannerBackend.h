#pragma once

#include <QList>
#include <QString>
#include <QStringList>

/// One scanner as the backend lists it.
struct ScannerDevice
{
    QString name; ///< the name the device is opened by, e.g. "test:0" or "genesys:libusb:001:004"
    QString vendor;
    QString model;
    QString type; ///< "flatbed scanner", "sheetfed scanner", "virtual device", ...

    bool operator==(const ScannerDevice& other) const = default;
};

/// The choices a device offers. An empty list means the device has no such
/// setting; the current values are what a scan uses unless told otherwise.
struct ScannerOptions
{
    QStringList sources; ///< "Flatbed", "Automatic Document Feeder", ...
    QStringList modes; ///< "Lineart", "Gray", "Color", ...
    QList<int> resolutions; ///< dots per inch, ascending
    QString source;
    QString mode;
    int resolution = 0;
};

/// What one scan asks for; empty values leave the device's own setting.
struct ScanSettings
{
    QString source;
    QString mode;
    int resolution = 0;
    bool preview = false; ///< a quick overview pass, where the device offers one
};

/// The shape of the data one frame delivers, as the device reports it once
/// the frame has started.
struct ScanFrame
{
    enum class Format { Gray, Rgb, Red, Green, Blue };
    Format format = Format::Gray;
    int depth = 8; ///< bits per sample: 1, 8 or 16
    int pixelsPerLine = 0;
    int bytesPerLine = 0;
    int lines = -1; ///< -1 when the device cannot tell in advance (hand scanners)
    bool lastFrame = true; ///< false for the first two passes of a three-pass scanner
    double resolution = 0; ///< the dots per inch actually used
};

/// A scanner driver behind one small interface: the library of real
/// scanners, or a stand-in that tests steer into failures.
///
/// A backend is used by one thread at a time; the caller that starts a frame
/// reads it to its end, or cancels it, on the same thread. Nothing throws:
/// every call returns a result and, on failure, an error text.
class ScannerBackend
{
public:
    /// Outcome of starting or reading a frame.
    enum class Status {
        Ok, ///< data (possibly none yet) was delivered
        EndOfFrame, ///< the frame is complete
        NoDocuments, ///< the document feeder is empty
        Cancelled, ///< the scan was cancelled
        Failed ///< a device error; the error text says which
    };

    virtual ~ScannerBackend() = default;

    /// Every scanner that answers now, in the driver's order.
    virtual bool listDevices(QList<ScannerDevice>* devices, QString* error) = 0;
    /// Opens the named device, closing one opened before.
    virtual bool openDevice(const QString& name, QString* error) = 0;
    /// Closes the open device; harmless when none is open.
    virtual void closeDevice() = 0;
    /// The sources, modes and resolutions the open device offers.
    virtual bool readOptions(ScannerOptions* options, QString* error) = 0;
    /// Sets source, mode, resolution and preview where given and offered.
    virtual bool applySettings(const ScanSettings& settings, QString* error) = 0;
    /// Starts the next frame (or page) and reports its shape.
    virtual Status startFrame(ScanFrame* frame, QString* error) = 0;
    /// Reads up to maxLength bytes of the running frame into buffer.
    virtual Status readData(unsigned char* buffer, int maxLength, int* length, QString* error) = 0;
    /// Ends the running scan, finished or not; needed after the last frame too.
    virtual void cancel() = 0;
};
