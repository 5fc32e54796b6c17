#pragma once

#include <QString>

class ClassInfo;

/// What a class name recorded in a keyed archive stands for: one of the
/// persisted archive classes, one of the platform's own values that archives
/// hold (dates, lists, dictionaries, texts, bytes, numbers), or nothing known.
struct ArchiveClass
{
    enum Kind : quint8 { Model, Date, Array, Dictionary, String, Data, Number, Unknown };

    QString name;
    Kind kind = Unknown;
    bool isMutable = false; ///< the NSMutable... form of a platform class
    const ClassInfo* info = nullptr; ///< the persisted class, for Model

    static ArchiveClass forName(const QString& name);
};
