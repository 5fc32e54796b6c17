#include "store/Fingerprint.h"

#include <QCryptographicHash>

namespace {
// Fixed once for every archive ever written; never edit.
constexpr char saltFirstPiece[] = "Qu1LL4rc-Ark1v-";
constexpr char saltSecondPiece[] = "GoBD.Pruefsumme.2020";
} // namespace

QString Fingerprint::md5String(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

QString Fingerprint::salt()
{
    return QString::fromLatin1(saltFirstPiece) + QString::fromLatin1(saltSecondPiece);
}

QString Fingerprint::saltedFingerprintOfDigest(const QString& digestText, const QString& salt)
{
    return md5String((digestText + salt).toLatin1());
}

QString Fingerprint::saltedFingerprint(const QByteArray& bytes, const QString& salt)
{
    return saltedFingerprintOfDigest(md5String(bytes), salt);
}
