#pragma once

#include "intake/ScannerBackend.h"

/// Scanners through the SANE library (libsane).
///
/// SANE is not thread-safe: every call into it, from every SaneBackend of the
/// process, runs under one lock, so listing devices in the background while a
/// scan runs elsewhere is safe. The library is started with the first
/// SaneBackend and shut down with the last. Which drivers are asked follows
/// SANE's own configuration (dll.conf in SANE_CONFIG_DIR or /etc/sane.d).
class SaneBackend : public ScannerBackend
{
public:
    SaneBackend();
    ~SaneBackend() override;
    SaneBackend(const SaneBackend&) = delete;
    SaneBackend& operator=(const SaneBackend&) = delete;

    bool listDevices(QList<ScannerDevice>* devices, QString* error) override;
    bool openDevice(const QString& name, QString* error) override;
    void closeDevice() override;
    bool readOptions(ScannerOptions* options, QString* error) override;
    bool applySettings(const ScanSettings& settings, QString* error) override;
    Status startFrame(ScanFrame* frame, QString* error) override;
    Status readData(unsigned char* buffer, int maxLength, int* length, QString* error) override;
    void cancel() override;

    /// Resolutions offered from a range: the usual steps that fall inside it,
    /// or its two ends when none does.
    static QList<int> resolutionsInRange(int minimum, int maximum, int quant);

private:
    bool isStarted(QString* error) const;
    bool isOpen(QString* error) const;
    QString deviceError(int status) const;

    void* m_handle = nullptr; ///< SANE_Handle of the open device
    QString m_deviceName;
    bool m_started = false; ///< whether this object holds a start of the library
    QString m_startError;
};
