#pragma once

#include "model/Value.h"

/// The canonical text of a decoded keyed archive: JSON with a 2-space indent,
/// every value with its stored kind, dictionary keys in UTF-16 order and
/// archive objects with every field of their class in table order. Two
/// implementations that store the same archive print the same bytes.
namespace CanonicalDump {

/// The database dictionary; its "companyData" is shown decoded. With
/// `semantic`, the length and digest of "companyData" are left out. Empty
/// when the dump would exceed 1 GiB (values shared over and over).
QByteArray dumpDatabase(const Value& database, bool semantic);
/// Any other decoded archive, such as an archived file member.
QByteArray dump(const Value& root);
/// Why a dump came back empty.
QString tooLargeMessage();

} // namespace CanonicalDump
