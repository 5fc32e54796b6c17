#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <cstdint>

/// Read-only view of an OLE2 compound file (the container of Word 97 and
/// other old office files): header, allocation table with its extension
/// sectors, directory and mini stream. Every chain is bounded by the size of
/// the file, so cycles and counts that point past the end fail instead of
/// looping or reading outside the bytes.
class CompoundFile
{
public:
    /// Parses the container held in data (which must outlive this object).
    bool open(const QByteArray& data);
    QString errorString() const { return m_error; }

    /// True when a stream of that name sits directly in the root storage.
    bool hasStream(const QString& name) const;
    /// The bytes of the root-level stream called name; false when it is
    /// missing or its sector chain is broken.
    bool readStream(const QString& name, QByteArray* bytes) const;

    /// True when data begins with the compound-file signature.
    static bool hasSignature(const QByteArray& data);

private:
    struct Entry
    {
        QString name;
        quint8 type = 0;
        quint32 left = 0;
        quint32 right = 0;
        quint32 child = 0;
        quint32 start = 0;
        quint64 size = 0;
    };

    bool fail(const QString& message);
    /// Follows a chain through the allocation table (or the mini table for the
    /// mini stream) and gathers up to size bytes; wholeChain reads until the
    /// end-of-chain mark instead (the directory has no recorded size).
    bool readChain(quint32 start, quint64 size, bool mini, bool wholeChain, QByteArray* out) const;
    const char* sector(quint32 index) const;
    const Entry* rootChild(const QString& name) const;

    const QByteArray* m_data = nullptr;
    qsizetype m_sectorSize = 512;
    qsizetype m_miniSectorSize = 64;
    quint32 m_miniCutoff = 4096;
    quint32 m_sectorCount = 0;
    QList<quint32> m_fat;
    QList<quint32> m_miniFat;
    QList<Entry> m_entries;
    QByteArray m_miniStream;
    QString m_error;
};
