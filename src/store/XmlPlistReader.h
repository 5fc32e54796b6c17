#pragma once

#include <QByteArray>
#include <QString>

/// Reads an XML property list and re-encodes it as a binary one, so that one
/// reader serves both forms. UIDs are written in XML as {"CF$UID": n}.
class XmlPlistReader
{
public:
    /// True and the binary form in `binary`; false with a message in `error`.
    static bool toBinary(const QByteArray& xml, QByteArray* binary, QString* error);
    static bool looksLikeXml(const QByteArray& bytes);
};
