#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

/// Keyed archives that a reader must refuse without crashing or hanging:
/// objects that contain themselves (through UIDs, "$class", "NS.objects",
/// "NS.keys" or directly at the property-list level), nesting past the
/// limit, counts and lengths far beyond the file, unequal dictionary lists,
/// an offset table that points every object at the same bytes, and the XML
/// forms of these. Each comes with the reason the reader is expected to give.
class DamagedArchives
{
public:
    struct Case
    {
        QString name; ///< also the fuzz corpus file name
        QByteArray bytes;
        QString reason; ///< a part of the expected error text
    };

    static QList<Case> cycles();
    static QList<Case> propertyListLoops();
    static QList<Case> absurdSizes();
    static QList<Case> xmlCases();
};
