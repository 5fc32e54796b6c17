#pragma once

#include "model/Clock.h"

#include <QByteArray>
#include <QString>

/// A file offered for intake, looked at once with statx() and read once.
///
/// The attributes are taken before anything opens the file, so that FIFOs,
/// devices and sockets are turned away before a reader could block on them,
/// and files too large to hold in memory are refused before they are read.
class SourceFile
{
public:
    /// Files larger than this are refused: a member holds the bytes in one
    /// keyed-archive data object, and intake keeps about three copies of them
    /// in memory while it writes the member.
    static constexpr qint64 kMaximumSize = (qint64(2) << 30) - 1;

    enum class Kind { Missing, Regular, Directory, Other };

    /// Reads the attributes of path (links followed).
    explicit SourceFile(const QString& path);

    QString path() const { return m_path; }
    /// False when the attributes could not be read (the file vanished, say).
    bool hasAttributes() const { return m_hasAttributes; }
    Kind kind() const { return m_kind; }
    qint64 size() const { return m_size; }
    ReferenceTime modificationDate() const { return m_modificationDate; }
    /// The birth time where the file system keeps one, else the modification time.
    ReferenceTime creationDate() const { return m_creationDate; }
    quint64 inode() const { return m_inode; }
    /// errno of a failed statx(), 0 otherwise.
    int statError() const { return m_statError; }

    /// Why this file cannot be taken in at all; "" when it can. A missing file
    /// can (it is archived empty); loops, directories, devices, FIFOs,
    /// sockets and oversized files cannot.
    QString refusal() const;

    /// Reads the whole file, hashing it as it arrives. Any failure on the way
    /// (no permission, an I/O error, a file that turned into something that
    /// is not a regular file, or grew past the limit) gives empty bytes and
    /// returns false, so a member never holds a truncated file.
    bool readAll(QByteArray* bytes, QString* md5Hex, QString* error = nullptr) const;

    /// Bytes of memory the system could still give, or -1 when unknown.
    static qint64 availableMemory();

private:
    QString m_path;
    bool m_hasAttributes = false;
    Kind m_kind = Kind::Missing;
    qint64 m_size = 0;
    ReferenceTime m_modificationDate = 0;
    ReferenceTime m_creationDate = 0;
    quint64 m_inode = 0;
    int m_statError = 0;
};
