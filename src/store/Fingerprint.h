#pragma once

#include <QByteArray>
#include <QString>

class QIODevice;

/// Digests that prove an archived file or the archive's database unchanged.
namespace Fingerprint {

/// Lower-case hexadecimal MD5 digest of the bytes.
QString md5String(const QByteArray& bytes);

/// The salt every archive's fingerprints depend on. It is built from two
/// constant pieces at run time and must never change: stored fingerprints of
/// every existing archive would stop matching.
QString salt();

/// Digest text of (digest text of bytes followed by the salt).
QString saltedFingerprint(const QByteArray& bytes, const QString& salt);
/// The same, from the digest text of the bytes.
QString saltedFingerprintOfDigest(const QString& digestText, const QString& salt);

} // namespace Fingerprint
