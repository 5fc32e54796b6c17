#pragma once

#include "model/QuillarcDatabaseObject.h"
#include "store/KeyedArchiver.h"

#include <QHash>
#include <QSet>
#include <QStringList>

/// Everything one save writes, taken in one go on the main thread: the
/// values the database dictionary is filled from and the fields of every
/// archive object below the container and the preferences. Taking it costs a
/// shared reference per object (the values are copied only when the window
/// changes them later), so the save itself can encode and write on another
/// thread while the window goes on.
class ArchiveSnapshot : public KeyedArchiver::FieldSource
{
public:
    QString packagePath;
    bool isInitialDataCreated = false;
    bool isAlreadyOpen = false;
    QString host;
    Value container;       ///< the container object, nil when there is none
    Value preferences;     ///< the preferences object
    Value indexDictionary; ///< the selection state
    /// Folders of documents deleted since the archive was opened.
    QStringList deleteIDs;
    /// The uniqueID of every document the snapshot holds.
    QSet<QString> documentIDs;

    /// Records the objects reachable from container and preferences.
    void captureObjects();

    const FieldValues& fieldsOf(const QuillarcDatabaseObject& object) const override;
    qsizetype objectCount() const { return m_fields.size(); }

private:
    void captureValue(const Value& value);
    void captureObject(const ObjectPtr& object);

    QHash<const QuillarcDatabaseObject*, std::shared_ptr<const FieldValues>> m_fields;
};
