#pragma once

#include <QByteArray>
#include <QString>
#include <atomic>

/// An archived file member: a keyed archive of a dictionary holding the
/// file's bytes exactly as taken in ("data") and its two images
/// ("quickLook", "fileIcon"). Members are written once and never rewritten.
class PackageMember
{
public:
    /// Stopped: only from fingerprint(), when asked to stop part-way.
    enum class Status
    {
        Ok,
        Missing,
        Undecodable,
        Stopped
    };

    struct Contents
    {
        Status status = Status::Missing;
        QByteArray data;
        QByteArray quickLook;
        QByteArray fileIcon;
        bool hasData = false; ///< the archive holds a "data" entry
    };

    /// The absolute location of a package-relative path, or "" when it would
    /// lead outside the package (absolute paths, "..", links pointing out).
    /// An empty relative path names the package itself.
    static QString resolve(const QString& packagePath, const QString& relativePath);
    /// The same, with the package's canonical path worked out beforehand, for
    /// many members of one package.
    static QString resolve(
        const QString& packagePath, const QString& relativePath, const QString& canonicalPackagePath);

    /// Reads and decodes a member; the status tells missing from undecodable.
    /// A member that shrinks while it is read is undecodable.
    static Contents read(const QString& memberPath);

    /// The salted fingerprint of a member's "data", hashed straight from the
    /// mapped file so that no second copy of a large member is made, and
    /// without keeping what was hashed resident. A member that decodes but
    /// holds no "data", or that shrinks while it is hashed, gives a null
    /// fingerprint. A member changed in place while it is hashed gives the
    /// fingerprint of what was read. @p stop is looked at between pieces of a
    /// large member; once it is true the result is Stopped.
    static Status fingerprint(
        const QString& memberPath, const QString& salt, QString* fingerprint, const std::atomic<bool>* stop = nullptr);

    static QByteArray encode(const QByteArray& data, const QByteArray& quickLook, const QByteArray& fileIcon);
};
